// A file that a command writes. It grows under a temporary name beside its place and is renamed when it is complete,
// so that a failure leaves what was there as it was.
#ifndef AMBIELF_TOOLS_OUTPUT_FILE_H
#define AMBIELF_TOOLS_OUTPUT_FILE_H

#include <ambielf/ambielf.hpp>
#include <filesystem>
#include <string>

namespace ambielf::tools {

class OutputFile {
 public:
  // Creates the temporary file. Throws a Refusal if `path` names something that is no regular file. A symbolic link
  // is followed: the file that it names is replaced.
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

  // Closes the file, gives it `mode` (without: what new files get), and renames it to its place.
  void commit();
  void commit(std::filesystem::perms mode);

 private:
  std::filesystem::path path_, temporary_;
  File file_;
};

}  // namespace ambielf::tools

#endif
