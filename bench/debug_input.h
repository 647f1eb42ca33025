// A compiler's debug information, for the benchmarks of conversion.
#ifndef AMBIELF_BENCH_DEBUG_INPUT_H
#define AMBIELF_BENCH_DEBUG_INPUT_H

#include "inputs.h"

namespace ambielf::bench {

// clang's object for a large generated source and a big-endian target, built once; empty without clang.
const Bytes& debug_object();

// The number of entries in an object's debug information, as counted by LLVM; 0 without LLVM.
size_t entries_of(const Bytes& object);

}  // namespace ambielf::bench

#endif
