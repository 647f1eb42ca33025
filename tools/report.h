// What the program tells its user on standard error, and the exit status that follows from it.
#ifndef AMBIELF_TOOLS_REPORT_H
#define AMBIELF_TOOLS_REPORT_H

#include <stdexcept>
#include <string>
#include <string_view>

namespace ambielf::tools {

// Exit statuses of every command.
enum class Status { success = 0, failure = 1, usage = 2 };

// Why a command does not do what it was asked, in words for its user. The report adds the file's name.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Report {
 public:
  // "ambielf: NAME: WHY" on standard error. The exit status will be 1.
  void failure(std::string_view name, std::string_view why);
  // The same line, but the exit status stays.
  void warning(std::string_view name, std::string_view what);

  // Runs `work`, and reports what it throws as a failure of the file `name`. Whether it came to its end.
  template <class Work>
  bool attempt(std::string_view name, Work&& work) {
    try {
      work();
      return true;
    } catch (...) {
      current_exception(name);
      return false;
    }
  }

  Status status() const { return status_; }

 private:
  void current_exception(std::string_view name);

  Status status_ = Status::success;
};

}  // namespace ambielf::tools

#endif
