#include "report.h"

#include <ambielf/ambielf.hpp>
#include <cstdio>
#include <new>

#include "output.h"

namespace ambielf::tools {

namespace {

// A single write, so that lines of several processes do not mix.
void print(std::string_view name, std::string_view text) {
  std::string line = "ambielf: ";
  append_visible(line, name);
  line.append(": ").append(text).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void Report::failure(std::string_view name, std::string_view why) {
  status_ = Status::failure;
  print(name, why);
}

void Report::warning(std::string_view name, std::string_view what) { print(name, what); }

void Report::current_exception(std::string_view name) {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    failure(name, "out of memory");
  } catch (const std::exception& problem) {
    failure(name, problem.what());
  }
}

}  // namespace ambielf::tools
