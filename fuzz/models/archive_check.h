// Opens an archive, walks it in every way that the interface knows, and holds what it shows against the slow reader.
#ifndef AMBIELF_FUZZ_MODELS_ARCHIVE_CHECK_H
#define AMBIELF_FUZZ_MODELS_ARCHIVE_CHECK_H

#include <ambielf/ambielf.h>

#include <string>

#include "models/describe.h"
#include "models/memory_file.h"
#include "models/slow_archive.h"
#include "platform/platform.h"

namespace ambielf::test {

class ArchiveCheck {
 public:
  // Checks the archive in `bytes`, which are also what the file holds, its position being 0.
  ArchiveCheck(const Bytes& bytes, int file_id)
      : file_id_(file_id), bytes_(bytes), expected_(slow_archive(bytes)) {}

  // The first difference, or "" when there is none.
  std::string difference() {
    elf_version(EV_CURRENT);
    elf_errno();
    Elf* const archive = elf_begin(file_id_, ELF_C_READ, nullptr);
    if (archive == nullptr) {
      const int code = elf_errno();
      return code == expected_.code ? "" : "code " + std::to_string(code);
    }
    std::string found = expected_.code != 0 ? "it opens" : symbols(archive);
    if (found.empty()) found = walk(archive);
    elf_cntl(archive, ELF_C_FDREAD);
    elf_end(archive);
    return found;
  }

 private:
  std::string symbols(Elf* archive) const {
    size_t count = 0;
    const Elf_Arsym* const entries = elf_getarsym(archive, &count);
    if ((entries != nullptr) != expected_.symbols.has_value()) return "presence of the symbol table";
    if (entries == nullptr) return elf_errno() == 15 ? "" : "code for no symbol table";
    if (count != expected_.symbols->size()) return "number of symbols";
    for (size_t i = 0; i < count; ++i) {
      const SlowSymbol& symbol = (*expected_.symbols)[i];
      if (symbol.name != entries[i].as_name || symbol.offset != entries[i].as_off ||
          entries[i].as_hash != 0) {
        return "symbol " + std::to_string(i);
      }
    }
    return "";
  }

  // Both ways to each member: by elf_next from the one before it, and by elf_rand.
  std::string walk(Elf* archive) const {
    for (size_t i = 0; i < expected_.members.size(); ++i) {
      const SlowHeader& member = expected_.members[i];
      const std::string place = " at member " + std::to_string(i);
      if (platform::tell(file_id_) != static_cast<int64_t>(member.start)) return "position" + place;
      // A member that is no object fails the first time, and is there the second time all the same.
      Elf* elf = elf_begin(file_id_, ELF_C_READ, archive);
      const int refusal = elf_errno();
      if (elf_rand(archive, static_cast<size_t>(member.start)) != member.start) return "elf_rand" + place;
      Elf* const again = elf_begin(file_id_, ELF_C_READ, archive);
      if (again == nullptr || (elf != nullptr && elf != again)) return "descriptor" + place;
      if (elf_kind(again) != ELF_K_AR || elf_getbase(again) != static_cast<int64_t>(member.contents)) {
        return "contents" + place;
      }
      if (!same_header(*elf_getarhdr(again), member)) return "header" + place;
      if (!reads_as_alone(again, refusal, member)) return "the object" + place;
      elf_end(again);
      if (elf != nullptr) elf_end(elf);

      elf_rand(archive, 1);
      const bool last = i + 1 == expected_.members.size();
      if (elf_next(again) != (last ? ELF_C_NULL : ELF_C_READ)) return "elf_next" + place;
      if (last && (elf_errno() != 59 || platform::tell(file_id_) != 1)) return "end of the walk";
    }
    return "";
  }

  static bool same_header(const Elf_Arhdr& header, const SlowHeader& expected) {
    return std::strcmp(header.ar_name, expected.name.c_str()) == 0 &&
           std::strcmp(header.ar_rawname, expected.raw_name.c_str()) == 0 &&
           header.ar_date == expected.date && header.ar_uid == expected.uid &&
           header.ar_gid == expected.gid && header.ar_mode == expected.mode &&
           header.ar_size == expected.size;
  }

  // A member is bounded by itself: it reads, or is refused, as the same bytes in a file of their own, where these have
  // an e_ident. But all members share what an input may claim (4).
  bool reads_as_alone(Elf* elf, int refusal, const SlowHeader& member) const {
    static const MemoryFile file;
    const size_t place = static_cast<size_t>(std::min<uint64_t>(member.contents, bytes_.size()));
    const size_t size = static_cast<size_t>(
        std::min<uint64_t>(static_cast<uint64_t>(std::max<int64_t>(member.size, 0)), bytes_.size() - place));
    if (size < EI_NIDENT || refusal == 4) return true;
    const auto start = bytes_.begin() + static_cast<long>(place);
    const std::string magic(start, start + 8);
    if (magic == "!<elfa>\n" || magic == "!<sola>\n") return elf32_getehdr(elf) == nullptr;  // no object
    file.set(Bytes(start, start + static_cast<long>(size)));
    Elf* const alone = elf_begin(file.id(), ELF_C_READ, nullptr);
    if (alone == nullptr) return elf_errno() == refusal;
    const std::string here = Describe(elf, size).all();
    const bool same = here == Describe(alone, size).all();
    elf_end(alone);
    return same || here.find(" code 4\n") != std::string::npos;
  }

  int file_id_;
  const Bytes& bytes_;
  SlowArchive expected_;
};

}  // namespace ambielf::test

#endif
