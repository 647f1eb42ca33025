#include "archive_file.h"

#include "standard_archive.h"

namespace ambielf::tools {

ArchiveFile::ArchiveFile(const std::string& path, const Contents& contents)
    : path_(path), contents_(contents.view()), kind_(kind_of(contents_)) {
  if (kind_ == FileKind::object) throw Refusal("is not an archive");
}

void ArchiveFile::each_member(const std::function<void(const ArchiveMember&)>& visit) const {
  if (kind_ == FileKind::archive) {
    const Object archive(path_.c_str());
    for (const Member& member : archive.members()) visit(ArchiveMember(member));
    return;
  }
  StandardArchive archive(contents_);
  while (const std::optional<StandardArchive::Member> member = archive.next()) {
    visit({member->name, member->header, member->contents});
  }
}

void ArchiveFile::each_symbol(
    const std::function<void(std::string_view symbol, uint64_t header)>& visit) const {
  if (kind_ == FileKind::archive) {
    const Object archive(path_.c_str());
    for (const ArchiveSymbol symbol : archive.archive_symbols()) visit(symbol.name, symbol.member);
    return;
  }
  StandardArchive archive(contents_);
  archive.next();  // passes the symbol table
  for (const StandardArchive::Symbol& symbol : archive.symbols()) visit(symbol.name, symbol.header);
}

}  // namespace ambielf::tools
