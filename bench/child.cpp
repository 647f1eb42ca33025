#include "child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "inputs.h"

namespace ambielf::bench {

double seconds_of_child(const std::vector<std::string>& arguments) {
  std::vector<std::string> copies = arguments;
  std::vector<char*> pointers;
  pointers.reserve(copies.size() + 1);
  for (std::string& argument : copies) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = -1;
  demand(posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ) == 0, pointers[0]);
  posix_spawn_file_actions_destroy(&actions);
  int status = -1;
  rusage usage{};
  demand(wait4(child, &status, 0, &usage) == child && status == 0, pointers[0]);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace ambielf::bench
