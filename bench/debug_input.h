// Debug information of a compiler, for the benchmarks of its conversion.
#ifndef AMBIELF_BENCH_DEBUG_INPUT_H
#define AMBIELF_BENCH_DEBUG_INPUT_H

#include "inputs.h"

namespace ambielf::bench {

// What clang makes of a large generated source for a big-endian target, once; empty without clang.
const Bytes& debug_object();

// How many entries the debug information of an object holds, by LLVM's count; 0 without it.
size_t entries_of(const Bytes& object);

}  // namespace ambielf::bench

#endif
