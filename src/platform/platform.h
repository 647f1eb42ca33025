// The operating system. Nothing outside this folder includes a system header.
//
// File ids are file descriptors; on Windows, those of the C runtime. A function that fails returns -1 and leaves the
// reason in errno. Offsets and sizes have 64 bits on every host.
#ifndef AMBIELF_PLATFORM_PLATFORM_H
#define AMBIELF_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>

namespace ambielf::platform {

// The size of the file in bytes.
int64_t file_size(int file_id);

// Reads `count` bytes at the file position and moves it. Continues after a short read or an interrupted call, so a
// result below `count` means the end of the file. -1 if an error stops it, even after some bytes were read.
int64_t read(int file_id, void* buffer, uint64_t count);

// Reads like read, but at `offset` from the start, and does not move the file position.
int64_t read_at(int file_id, uint64_t offset, void* buffer, uint64_t count);

// Writes `count` bytes at the file position and moves it, continuing after short writes. 0, or -1.
int write(int file_id, const void* buffer, uint64_t count);

// Moves the file position to `offset` from the start. The new position, or -1.
int64_t seek(int file_id, uint64_t offset);

// The file position, which does not move.
int64_t tell(int file_id);

// A second id for the same open file, which shares its position.
int duplicate(int file_id);

// Opens `path` with the platform's own flags and permissions. If the platform has a text mode and the flags choose no
// mode, the file opens in binary mode. A file id, or -1.
int open(const char* path, int flags, int permissions);

// Creates an empty file for reading and writing that is deleted when its id is closed. The id, or -1.
int temporary_file();

// Closes an id. 0, or -1.
int close(int file_id);

// Writes the working directory and its terminator to the `size` bytes at `buffer`. 0, or -1, also if it does not fit.
int working_directory(char* buffer, size_t size);

// A view of a whole file.
struct MappedFile {
  void* address = nullptr;
  uint64_t size = 0;
};

enum class Mapping { done, not_opened, not_mapped };

// Maps a whole existing file, which others may still read. The view can be written to, but the file never changes.
// The view holds no file id. `file` is set only on success. Empty files and directories cannot be mapped.
Mapping map_file(const char* path, MappedFile& file);

// Ends a view that map_file made. 0, or -1.
int unmap_file(const MappedFile& file);

}  // namespace ambielf::platform

#endif
