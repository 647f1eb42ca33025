// The canonical form of a path: absolute, with `.` and `..` resolved and one backslash between components.
//
// The rules are those of Windows whatever the host, and work on the text alone: the file system is asked for
// nothing but the working directory. "/" and "\" are both separators. A path is absolute in one of three
// forms, each with a root that is copied as it stands and that `..` cannot climb past:
//
//   drive      a letter, ":", a separator               root: the letter and the ":"
//   extended   \\?\, a letter, ":", "\"                 root: the first six bytes
//   network    \\, a server that begins with a letter   root: \\server\share; only "\" ends the two names
//
// Everything else is relative, `\dir`, `//server/share` and `C:dir` among them, and is taken from the base.
#ifndef AMBIELF_FILEACCESS_PATH_CANONICALIZE_H
#define AMBIELF_FILEACCESS_PATH_CANONICALIZE_H

namespace ambielf {

// Writes the canonical form of `path` with its terminator to the `out_size` bytes at `out`, which must not
// overlap the texts. A relative path is taken from `base`, or from the working directory when `base` is NULL;
// what follows the root of a base is taken as it is, uncleaned.
//
// Returns a status, and reports nothing:
//   0  `out` holds the canonical path;
//   1  it takes more than 260 bytes, or 248 with a non-zero `short_limit`, its terminator included;
//   2  `out` is NULL or `out_size` less than 3, or the path takes more than `out_size` bytes, or the block for
//      a path that needs more room before its `..` are resolved could not be had;
//   3  `path` is NULL, or it is relative and the base is not absolute.
// After 1, 2 and 3 what `out` holds has no meaning.
unsigned path_canonicalize(char* out, int out_size, const char* path, const char* base, int short_limit);

}  // namespace ambielf

#endif
