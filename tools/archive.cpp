// ambielf archive: builds an archive in the library's format, with a symbol table of all symbols that its members
// define.
//
// The whole archive is built in memory, because the symbol table comes first and its size depends on every object. The
// numbers of the table are in the byte order of the first object.
#include <string>
#include <vector>

#include "commands.h"
#include "inputs.h"
#include "output.h"
#include "output_file.h"

namespace ambielf::tools {

namespace {

// An undefined symbol although its section is not 0: a small one, expected near the global pointer.
constexpr unsigned mips_small_undefined = 0xff04;

bool is_defined(const Object& object, const Symbol& symbol) {
  return symbol.section() != SHN_UNDEF &&
         (object.header().e_machine != EM_MIPS || symbol.section() != mips_small_undefined);
}

class ArchiveBuilder {
 public:
  // Reads an object and makes it the next member. If it throws, the archive does not change.
  void add(const std::string& path);
  // Writes the archive.
  void write(OutputFile& out) const;

 private:
  struct Member {
    size_t header;   // offset in members_
    size_t symbols;  // how many
  };

  static std::string header(const std::string& name, uint64_t size);
  // The names of the symbols that an object defines, each with its zero byte.
  static std::string defined_names(const Object& object, uint64_t size, size_t& count);

  unsigned encoding_ = ELFDATANONE;
  std::string members_;
  std::string names_;
  std::vector<Member> index_;
};

void ArchiveBuilder::add(const std::string& path) {
  const Contents contents(path);
  if (kind_of(contents.view()) != FileKind::object) throw Refusal("is an archive, which can't be a member");
  if (contents.size() > INT32_MAX) throw Refusal("is too large for a member");
  // A copy from before the library opens the object and sets EI_DATA in its header.
  std::string member =
      header(std::filesystem::path(path).filename().string(), contents.size()).append(contents.view());
  if (contents.size() % 2 != 0) member += '\n';

  const Object object(contents.data(), contents.size());
  refuse_unreadable(object);
  Member entry{members_.size(), 0};
  const std::string names = defined_names(object, contents.size(), entry.symbols);
  if (encoding_ == ELFDATANONE) encoding_ = object.encoding();
  members_ += member;
  names_ += names;
  index_.push_back(entry);
}

// The name, "/", and spaces up to a whole word; then date, user, group, mode, size, each ended by a space or the end
// mark. Only the size differs, so that the same objects always give the same archive.
std::string ArchiveBuilder::header(const std::string& name, uint64_t size) {
  std::string header = name + "/";
  header.resize((header.size() + 3) / 4 * 4, ' ');
  header += "0           0     0     100644  ";
  std::string digits = std::to_string(size);
  digits.resize(10, ' ');
  return header + digits + "`\n";
}

std::string ArchiveBuilder::defined_names(const Object& object, uint64_t size, size_t& count) {
  std::string names;
  for (const Section section : object.sections()) {
    if (section.type() != SHT_SYMTAB) continue;
    for (const Symbol symbol : section.symbols()) {
      if (symbol.binding() == STB_LOCAL || !is_defined(object, symbol)) continue;
      const std::string_view name = symbol.name();
      if (name.empty()) continue;
      names.append(name).append(1, '\0');
      ++count;
      if (names.size() > Output::limit_for(size))
        throw Refusal("has names that overlap out of all proportion");
    }
  }
  return names;
}

void ArchiveBuilder::write(OutputFile& out) const {
  size_t count = 0;
  for (const Member& member : index_) count += member.symbols;
  const uint64_t table_size = 4 + uint64_t{4} * count + names_.size();
  std::string start = (encoding_ == ELFDATA2MSB ? "!<sola>\n" : "!<elfa>\n") + header("", table_size);
  const uint64_t first_member = start.size() + table_size;
  if (first_member + members_.size() > UINT32_MAX || table_size > INT32_MAX) {
    throw Refusal("would be too large for an archive");
  }
  const auto append = [&](uint64_t number) {
    char bytes[4];
    store<uint32_t>(bytes, static_cast<uint32_t>(number), encoding_);
    start.append(bytes, sizeof bytes);
  };
  append(count);
  for (const Member& member : index_) {
    for (size_t i = 0; i < member.symbols; ++i) append(first_member + member.header);
  }
  out.write(start);
  out.write(names_);
  out.write(members_);
}

}  // namespace

void run_archive(const ArchiveOptions& options, Report& report) {
  ArchiveBuilder builder;
  bool complete = true;
  for (const std::string& object : options.objects) {
    complete &= report.attempt(object, [&] { builder.add(object); });
  }
  if (!complete) return;
  report.attempt(options.archive, [&] {
    OutputFile out(options.archive);
    builder.write(out);
    out.commit();
  });
}

}  // namespace ambielf::tools
