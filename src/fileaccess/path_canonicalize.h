// The canonical form of a path: absolute, with `.` and `..` resolved and one backslash between components.
//
// The rules are those of Windows on every host. They work on the text alone; only the working directory comes from
// the file system. "/" and "\" are both separators. An absolute path has one of three forms. Its root is copied
// unchanged, and `..` cannot climb past it:
//
//   drive      a letter, ":", a separator               root: the letter and the ":"
//   extended   \\?\, a letter, ":", "\"                 root: the first six bytes
//   network    \\, a server that begins with a letter   root: \\server\share; only "\" ends the two names
//
// Everything else is relative to the base, including `\dir`, `//server/share` and `C:dir`.
#ifndef AMBIELF_FILEACCESS_PATH_CANONICALIZE_H
#define AMBIELF_FILEACCESS_PATH_CANONICALIZE_H

namespace ambielf {

// Writes the canonical form of `path` and its terminator to the `out_size` bytes at `out`, which must not overlap the
// other texts. A relative path starts from `base`, or from the working directory if `base` is NULL; the base is
// copied unchanged, not canonicalised.
//
// Returns a status, and reports nothing:
//   0  `out` holds the canonical path;
//   1  with its terminator it takes more than 260 bytes, or 248 if `short_limit` is not 0;
//   2  `out` is NULL, `out_size` is below 3, the path takes more than `out_size` bytes, or there is no memory for
//      a path that is longer before its `..` are resolved;
//   3  `path` is NULL, or it is relative and the base is not absolute.
// After 1, 2 and 3 the contents of `out` are undefined.
unsigned path_canonicalize(char* out, int out_size, const char* path, const char* base, int short_limit);

}  // namespace ambielf

#endif
