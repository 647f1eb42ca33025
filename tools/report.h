// The program's messages on standard error, and the exit status that results.
#ifndef AMBIELF_TOOLS_REPORT_H
#define AMBIELF_TOOLS_REPORT_H

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace ambielf::tools {

// The exit statuses of all commands.
enum class Status { success = 0, failure = 1, usage = 2 };

// Why a command refuses, in words for the user. The report adds the file's name.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A Refusal after which no other part of the file is tried.
class Stop : public Refusal {
 public:
  using Refusal::Refusal;
};

class Report {
 public:
  // Prints "ambielf: NAME: WHY" on standard error. The exit status becomes 1.
  void failure(std::string_view name, std::string_view why);
  // The same line, but the exit status stays.
  void warning(std::string_view name, std::string_view what);

  // Runs `work`, and reports its exceptions as failures of the file `name`, a text or a function that makes one.
  // Returns whether there was none.
  template <class Name, class Work>
  bool attempt(const Name& name, Work&& work) {
    try {
      work();
      return true;
    } catch (...) {
      if constexpr (std::is_invocable_v<const Name&>) {
        current_exception(name());
      } else {
        current_exception(name);
      }
      return false;
    }
  }

  // The same for a part of a file: a Stop passes on to the caller.
  template <class Name, class Work>
  bool attempt_part(const Name& name, Work&& work) {
    std::exception_ptr stop;
    const bool done = attempt(name, [&] {
      try {
        work();
      } catch (const Stop&) {
        stop = std::current_exception();
      }
    });
    if (stop) std::rethrow_exception(stop);
    return done;
  }

  Status status() const { return status_; }

 private:
  void current_exception(std::string_view name);

  Status status_ = Status::success;
};

}  // namespace ambielf::tools

#endif
