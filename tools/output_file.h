// A file that a command writes. It is written under a temporary name in the same folder and renamed when it is
// complete, so a failure leaves the old file unchanged.
#ifndef AMBIELF_TOOLS_OUTPUT_FILE_H
#define AMBIELF_TOOLS_OUTPUT_FILE_H

#include <ambielf/ambielf.hpp>
#include <filesystem>
#include <string>

namespace ambielf::tools {

class OutputFile {
 public:
  // Creates the temporary file. Throws a Refusal if `path` is something else than a regular file. A symbolic link is
  // followed: its target is replaced.
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  // Removes the temporary file, unless commit() was called.
  ~OutputFile();

  // Open for reading and writing, in binary mode, at position 0.
  int id() const { return file_.id(); }
  // The temporary name.
  const std::filesystem::path& temporary() const { return temporary_; }
  // Writes `bytes` at the position.
  void write(std::string_view bytes);

  // Closes the file, sets its mode to `mode` (if given) and renames it.
  void commit();
  void commit(std::filesystem::perms mode);

 private:
  std::filesystem::path path_, temporary_;
  File file_;
};

}  // namespace ambielf::tools

#endif
