// A sink of each class over room of a known size, for tests that hold for both.
#ifndef AMBIELF_TESTS_BYTEORDER_SINKS_H
#define AMBIELF_TESTS_BYTEORDER_SINKS_H

#include "byteorder/dest_buffer.h"
#include "byteorder/file_dest_buffer.h"
#include "support/temp_file.h"

namespace ambielf::test {

// Runs `use` on a memory sink and on a file sink, and gives what each received.
template <class Use>
std::vector<Bytes> received_by_each_sink(size_t room, Use use) {
  Bytes memory(room, 0xEE);
  CharDestBuffer to_memory(memory.data());
  use(to_memory);
  memory.resize(to_memory.bytesWritten());

  const TempFile file;
  {
    FileDestBuffer to_file;
    to_file.attach(file.id());
    use(to_file);
    to_file.flush();
    to_file.check();
  }
  return {memory, file.contents()};
}

}  // namespace ambielf::test

#endif
