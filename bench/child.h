// Other programs, and what they cost.
#ifndef AMBIELF_BENCH_CHILD_H
#define AMBIELF_BENCH_CHILD_H

#include <string>
#include <vector>

namespace ambielf::bench {

// Runs a program, whose output goes to /dev/null, and returns its processor time in seconds. Ends this program if the
// other fails.
double seconds_of_child(const std::vector<std::string>& arguments);

}  // namespace ambielf::bench

#endif
