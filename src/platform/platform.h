// The operating system, by effect. Nothing outside this folder includes one of its headers.
//
// File ids are the caller's and the platform's own (descriptors, or the ids of the C runtime). Every function
// that fails gives -1 and leaves the reason in errno. Offsets and sizes are 64 bits wide on every host.
#ifndef AMBIELF_PLATFORM_PLATFORM_H
#define AMBIELF_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>

namespace ambielf::platform {

// Size in bytes of the file behind `file_id`.
int64_t file_size(int file_id);

// Reads `count` bytes at the file position and moves it. Goes on after a short read or an interrupted call,
// so that fewer bytes than `count` mean the end of the file. -1 when an error stops it, whatever was read.
int64_t read(int file_id, void* buffer, uint64_t count);

// Reads `count` bytes at `offset` from the start, as read does, and leaves the file position where it is.
int64_t read_at(int file_id, uint64_t offset, void* buffer, uint64_t count);

// Writes `count` bytes at the file position and moves it, going on after short writes. 0, or -1.
int write(int file_id, const void* buffer, uint64_t count);

// Moves the file position to `offset` from the start. The new position, or -1.
int64_t seek(int file_id, uint64_t offset);

// The file position, unmoved.
int64_t tell(int file_id);

// A second id for the same open file, which shares its position.
int duplicate(int file_id);

// Opens `path` with the platform's own flags and permissions, as they are; where the platform knows a text
// mode, flags that choose no mode mean bytes as they are. A file id, or -1.
int open(const char* path, int flags, int permissions);

// A new empty file for reading and writing, which is gone once its id is closed. The id, or -1.
int temporary_file();

// Closes an id. 0, or -1.
int close(int file_id);

// Writes the working directory with its terminator to the `size` bytes at `buffer`. 0, or -1, which is also
// the answer when it needs more room.
int working_directory(char* buffer, size_t size);

// A view of a whole file.
struct MappedFile {
  void* address = nullptr;
  uint64_t size = 0;
};

enum class Mapping { done, not_opened, not_mapped };

// Maps a whole existing file, sharing reads with others. The view may be written to and keeps what is
// written to itself: the file never changes. It holds no file id. `file` is set only by success; a file
// without contents, and what is no file, cannot be mapped.
Mapping map_file(const char* path, MappedFile& file);

// Ends a view that map_file made. 0, or -1.
int unmap_file(const MappedFile& file);

}  // namespace ambielf::platform

#endif
