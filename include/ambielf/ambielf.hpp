/** @file
 * The library for C++17 and later: owners, ranges and exceptions over the functions of ambielf.h.
 *
 * It is header-only and thin: an Object is an Elf plus one small allocation, a range is a pointer and a count, and
 * every handle gives access to the C interface through native_handle(). What ambielf.h says about data model,
 * lifetimes, byte order, file position and threads applies here too. In addition:
 *
 * 1. Failures. A function that fails throws ambielf::error with the code of the C function that failed. The only
 *    other exception is std::bad_alloc. Functions marked noexcept return an empty value instead.
 *
 * 2. Ownership. File, Image and Object own what they opened and give it back in their destructors. Sections,
 *    symbols, ranges, strings and bytes borrow from their Object and must not outlive it. Moving an Object
 *    leaves them valid. A Member borrows from the Object of its archive.
 *
 * 3. Records are values in the host's byte order, copied from any alignment. A Section has a copy of its header;
 *    Section::live_header gives the record that the library works with.
 *
 * 4. Strings are std::string_view and never reach past their block, even if the table does not end them with a zero
 *    byte.
 *
 * 5. Sections that cannot be loaded (type above 21) have a header, a name and file_bytes() like all others.
 *
 * @code
 * ambielf::Object object("main.o");
 * for (const ambielf::Section section : object.sections()) {
 *   if (section.type() != SHT_SYMTAB) continue;
 *   for (const ambielf::Symbol symbol : section.symbols()) std::cout << symbol.name() << '\n';
 * }
 * @endcode
 */
#ifndef AMBIELF_AMBIELF_HPP
#define AMBIELF_AMBIELF_HPP

#include <ambielf/ambielf.h>
#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#if defined(_WIN32)
#include <io.h>
#else
#include <sys/types.h>
#include <unistd.h>
#endif

namespace ambielf {
/** @cond */
inline namespace cpp0 {  // keeps these classes apart from the library's own in programs that link it statically
/** @endcond */

/** A failure: a code of the library, and its words. */
class error : public std::exception {
 public:
  /** @param code  a code from elf_errno */
  explicit error(int code) noexcept : code_(code) {}
  /** The code, as in docs/errors.md. */
  int code() const noexcept { return code_; }
  /** The words of elf_errmsg. */
  const char* what() const noexcept override { return elf_errmsg(code_); }

 private:
  int code_;
};

/** @cond */
namespace detail {

// Throws the stored code, or `otherwise` if none is stored.
[[noreturn]] inline void fail(int otherwise) {
  const int code = elf_errno();
  throw error(code != 0 ? code : otherwise);
}

template <class T>
T* need(T* pointer, int otherwise = 32) {
  if (pointer == nullptr) fail(otherwise);
  return pointer;
}

// Iterates over anything with operator[]. Elements are made on the fly, so it only reads.
template <class Range>
class Iterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = std::decay_t<decltype(std::declval<const Range&>()[0])>;
  using reference = decltype(std::declval<const Range&>()[0]);
  using pointer = void;
  using difference_type = std::ptrdiff_t;

  Iterator() noexcept = default;
  Iterator(const Range& range, size_t index) noexcept : range_(&range), index_(index) {}
  reference operator*() const { return (*range_)[index_]; }
  Iterator& operator++() noexcept { return ++index_, *this; }
  Iterator operator++(int) noexcept { return {*range_, index_++}; }
  bool operator==(const Iterator& other) const noexcept { return index_ == other.index_; }
  bool operator!=(const Iterator& other) const noexcept { return index_ != other.index_; }

 private:
  const Range* range_ = nullptr;
  size_t index_ = 0;
};

// begin() and end() for a range with size() and operator[].
template <class Range>
class Iterable {
 public:
  Iterator<Range> begin() const noexcept { return {self(), 0}; }
  Iterator<Range> end() const noexcept { return {self(), self().size()}; }
  bool empty() const noexcept { return self().size() == 0; }

 private:
  friend Range;
  Iterable() = default;
  const Range& self() const noexcept { return static_cast<const Range&>(*this); }
};

inline int64_t seek(int fildes, int64_t offset, int whence) {
#if defined(_WIN32)
  const int64_t position = _lseeki64(fildes, offset, whence);
#else
  const int64_t position =
      static_cast<off_t>(offset) == offset ? lseek(fildes, static_cast<off_t>(offset), whence) : -1;
#endif
  if (position == -1) throw error(17);
  return position;
}

// Reads up to `size` bytes; less only at the end of the file.
inline size_t read_fully(int fildes, char* buffer, size_t size) {
  size_t done = 0;
  while (done < size) {
    const size_t part = std::min(size - done, size_t{1} << 30);
#if defined(_WIN32)
    const int count = _read(fildes, buffer + done, static_cast<unsigned>(part));
#else
    const ssize_t count = ::read(fildes, buffer + done, part);
#endif
    if (count < 0) throw error(8);
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  return done;
}

struct EndElf {
  void operator()(Elf* elf) const noexcept { elf_end(elf); }
};
struct FreeTable {
  void operator()(void* table) const noexcept { elf32_freeshdrtab(table); }
};

}  // namespace detail
/** @endcond */

/** @name Numbers in bytes
 * For contents that stay in file order.
 * @{ */

/** The host's byte order: ELFDATA2LSB or ELFDATA2MSB. */
inline unsigned host_encoding() noexcept {
  const uint16_t one = 1;
  unsigned char first = 0;
  std::memcpy(&first, &one, 1);
  return first == 1 ? ELFDATA2LSB : ELFDATA2MSB;
}

/** Reads an unsigned number.
 *
 * @param bytes     sizeof(Number) bytes, at any alignment
 * @param encoding  ELFDATA2MSB for big-endian, else little-endian
 */
template <class Number>
Number load(const void* bytes, unsigned encoding) noexcept {
  static_assert(std::is_unsigned_v<Number>, "records have unsigned numbers");
  const unsigned char* const from = static_cast<const unsigned char*>(bytes);
  uint64_t value = 0;
  for (size_t i = 0; i < sizeof(Number); ++i) {
    value = value << 8 | from[encoding == ELFDATA2MSB ? i : sizeof(Number) - 1 - i];
  }
  return static_cast<Number>(value);
}

/** Writes an unsigned number. Arguments as for load. */
template <class Number>
void store(void* bytes, Number value, unsigned encoding) noexcept {
  static_assert(std::is_unsigned_v<Number>, "records have unsigned numbers");
  unsigned char* const to = static_cast<unsigned char*>(bytes);
  uint64_t rest = value;
  for (size_t i = 0; i < sizeof(Number); ++i, rest >>= 8) {
    to[encoding == ELFDATA2MSB ? sizeof(Number) - 1 - i : i] = static_cast<unsigned char>(rest);
  }
}

/** @} */

/** A file id that closes itself. */
class File {
 public:
  /** No file. */
  File() noexcept = default;
  /** Opens a file as elf_open does, on Windows in binary mode.
   *
   * @param path   the path
   * @param oflag  as for the system's open
   * @param pmode  the permissions of a new file
   */
  explicit File(const char* path, int oflag = O_RDONLY, int pmode = 0) {
#if defined(_WIN32)
    oflag |= _O_BINARY;
#endif
    id_ = elf_open(path, oflag, pmode);
    if (id_ == -1) detail::fail(50);
  }
  File(File&& other) noexcept : id_(std::exchange(other.id_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(id_, other.id_);
    return *this;
  }
  ~File() {
    if (id_ != -1) elf_close(id_);
  }
  /** The file id, -1 for no file. */
  int id() const noexcept { return id_; }
  /** Closes the file now, and reports a failure. */
  void close() {
    if (elf_close(std::exchange(id_, -1)) == -1) detail::fail(56);
  }

 private:
  int id_ = -1;
};

/** A whole file mapped into memory, private to the process: writes to it never reach the file. */
class Image {
 public:
  /** No file. */
  Image() noexcept = default;
  /** Maps a file as elf_mopen does. */
  explicit Image(const char* path) {
    void* view = nullptr;
    const int64_t size = elf_mopen(path, &view);
    if (size == -1) detail::fail(51);
    data_ = static_cast<char*>(view);
    size_ = static_cast<size_t>(size);
  }
  Image(Image&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  Image& operator=(Image&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Image() {
    if (data_ != nullptr) elf_mclose(data_);
  }
  char* data() const noexcept { return data_; }
  size_t size() const noexcept { return size_; }

 private:
  char* data_ = nullptr;
  size_t size_ = 0;
};

/** Bytes of a file: a view into an image, or a copy that was read. */
class FileBytes {
 public:
  /** None. */
  FileBytes() noexcept = default;
  /** A view of bytes that have another owner. */
  explicit FileBytes(std::string_view view) noexcept : view_(view) {}
  /** Takes ownership of `bytes`, of which the first `size` count. */
  FileBytes(std::unique_ptr<char[]> bytes, size_t size) noexcept
      : owned_(std::move(bytes)), view_(owned_.get(), size) {}
  const char* data() const noexcept { return view_.data(); }
  size_t size() const noexcept { return view_.size(); }
  std::string_view view() const noexcept { return view_; }

 private:
  std::unique_ptr<char[]> owned_;
  std::string_view view_;
};

/** A string table. */
class Strings {
 public:
  /** No table: it has no strings. */
  Strings() noexcept = default;
  /** The table in section `index`. If it cannot be loaded, at() throws the reason. */
  Strings(Elf* elf, size_t index) noexcept {
    Elf_Scn* const scn = index != 0 ? elf_getscn(elf, index) : nullptr;
    const Elf32_Shdr* const header = scn != nullptr ? elf32_getshdr(scn) : nullptr;
    const bool is_table = header != nullptr && header->sh_type == SHT_STRTAB;
    code_ = index == 0 ? 25 : header == nullptr ? elf_errno() : 68;
    if (!is_table) return;
    scn_ = scn;
    const Elf_Data* const block = elf_getdata(scn, nullptr);
    if (block != nullptr && block->d_buf != nullptr) {
      first_ = {static_cast<const char*>(block->d_buf), block->d_size};
    }
  }
  /** The string at `offset` bytes, without its zero byte; a view without data() if there is none. */
  std::string_view find(size_t offset) const noexcept {
    return offset < first_.size() ? string_in(first_, offset) : find_behind_first(offset);
  }
  /** The string at `offset` bytes. Fails with 25 if the table's index is 0; 68 no string table, or the offset is
   * past its end; the codes of elf_getscn. */
  std::string_view at(size_t offset) const {
    const std::string_view found = find(offset);
    if (found.data() == nullptr) throw error(code_);
    return found;
  }

 private:
  static std::string_view string_in(std::string_view block, size_t offset) noexcept {
    const char* const string = block.data() + offset;
    const size_t most = block.size() - offset;
    const void* const end = std::memchr(string, 0, most);
    return {string, end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - string) : most};
  }
  // Only a table that the program has added to has more than one block.
  std::string_view find_behind_first(size_t offset) const noexcept {
    for (Elf_Data* block = scn_ != nullptr ? elf_getdata(scn_, nullptr) : nullptr; block != nullptr;
         block = elf_getdata(scn_, block)) {
      const size_t begin = static_cast<uint32_t>(block->d_off);
      if (block->d_buf == nullptr || offset < begin || offset - begin >= block->d_size) continue;
      return string_in({static_cast<const char*>(block->d_buf), block->d_size}, offset - begin);
    }
    return {};
  }

  std::string_view first_;
  Elf_Scn* scn_ = nullptr;
  int code_ = 25;
};

/** A table of records that are contiguous in memory: the header tables of an object. */
template <class Record>
class Table {
 public:
  Table() noexcept = default;
  Table(const Record* records, size_t count) noexcept : records_(records), count_(count) {}
  const Record* begin() const noexcept { return records_; }
  const Record* end() const noexcept { return records_ + count_; }
  size_t size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  const Record& operator[](size_t index) const noexcept { return records_[index]; }

 private:
  const Record* records_ = nullptr;
  size_t count_ = 0;
};

/** The records of a section, as values. Record is Elf32_Sym, Elf32_Rel, Elf32_Rela, Elf32_Dyn or Elf32_Word. */
template <class Record>
class Records : public detail::Iterable<Records<Record>> {
 public:
  Records() noexcept = default;
  explicit Records(std::string_view bytes) noexcept : bytes_(bytes) {}
  size_t size() const noexcept { return bytes_.size() / sizeof(Record); }
  /** Record `index`, which must be below size(). */
  Record operator[](size_t index) const noexcept {
    Record record;
    std::memcpy(&record, bytes_.data() + index * sizeof(Record), sizeof record);
    return record;
  }

 private:
  std::string_view bytes_;
};

/** A symbol, and its name. */
class Symbol {
 public:
  Symbol(const Elf32_Sym& record, size_t index, const Strings& strings) noexcept
      : record_(record), index_(index), strings_(strings) {}
  const Elf32_Sym& record() const noexcept { return record_; }
  /** Its index in the symbol table. */
  size_t index() const noexcept { return index_; }
  uint32_t value() const noexcept { return record_.st_value; }
  uint32_t size() const noexcept { return record_.st_size; }
  /** STT_ and STB_ numbers. */
  unsigned type() const noexcept { return ELF32_ST_TYPE(record_.st_info); }
  unsigned binding() const noexcept { return ELF32_ST_BIND(record_.st_info); }
  /** An STV_ number. */
  unsigned visibility() const noexcept { return record_.st_other & 3U; }
  /** The index of its section, or an SHN_ number. */
  unsigned section() const noexcept { return record_.st_shndx; }
  /** Its name. A section's own symbol usually has none. Fails as Strings::at does. */
  std::string_view name() const { return strings_.at(record_.st_name); }
  /** Its name, or a view without data(). */
  std::string_view find_name() const noexcept { return strings_.find(record_.st_name); }

 private:
  Elf32_Sym record_;
  size_t index_;
  Strings strings_;
};

/** The symbols of a table. */
class Symbols : public detail::Iterable<Symbols> {
 public:
  Symbols() noexcept = default;
  Symbols(Records<Elf32_Sym> records, const Strings& strings) noexcept
      : records_(records), strings_(strings) {}
  size_t size() const noexcept { return records_.size(); }
  /** Symbol `index`, which must be below size(). */
  Symbol operator[](size_t index) const noexcept { return {records_[index], index, strings_}; }
  /** The table of their names. */
  const Strings& strings() const noexcept { return strings_; }

 private:
  Records<Elf32_Sym> records_;
  Strings strings_;
};

/** A relocation of either form. */
struct Relocation {
  uint32_t offset; /**< r_offset */
  uint32_t info;   /**< r_info */
  int32_t addend;  /**< r_addend, 0 in a table without addends */
  uint32_t symbol() const noexcept { return ELF32_R_SYM(info); } /**< index in the linked symbol table */
  uint32_t type() const noexcept { return ELF32_R_TYPE(info); }  /**< the machine's R_ number */
};

/** The relocations of a section of type SHT_REL or SHT_RELA. */
class Relocations : public detail::Iterable<Relocations> {
 public:
  Relocations() noexcept = default;
  Relocations(std::string_view bytes, bool addends) noexcept : bytes_(bytes), addends_(addends) {}
  /** Whether they have addends. */
  bool have_addends() const noexcept { return addends_; }
  size_t size() const noexcept { return bytes_.size() / record_size(); }
  /** Relocation `index`, which must be below size(). */
  Relocation operator[](size_t index) const noexcept {
    Elf32_Rela record;
    record.r_addend = 0;
    std::memcpy(&record, bytes_.data() + index * record_size(), record_size());
    return {record.r_offset, record.r_info, record.r_addend};
  }

 private:
  size_t record_size() const noexcept { return addends_ ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel); }

  std::string_view bytes_;
  bool addends_ = false;
};

/** @cond */
namespace detail {

// What an Object owns and its parts point to. The members are declared in the order that their destruction needs.
struct State {
  File file;
  Image mapped;
  int fildes = -1;
  std::string_view image;
  bool is_member = false;
  std::unique_ptr<Elf, EndElf> elf;
  std::unique_ptr<Elf32_Shdr, FreeTable> shdrs;
  std::unique_ptr<Elf32_Phdr, FreeTable> phdrs;
  size_t shdr_count = 0, phdr_count = 0;
  Strings names;
  bool has_names = false;

  // In an image the header may have any alignment.
  Elf32_Ehdr header() const {
    Elf32_Ehdr copy;
    std::memcpy(&copy, static_cast<const void*>(need(elf32_getehdr(elf.get()), 44)), sizeof copy);
    return copy;
  }

  // The C interface gives header tables in the byte order of the file.
  template <class Record>
  void to_host(Record* records, size_t count) const {
    const unsigned encoding = header().e_ident[EI_DATA];
    if (encoding == host_encoding()) return;
    for (char *at = reinterpret_cast<char*>(records), *end = reinterpret_cast<char*>(records + count);
         at != end; at += sizeof(uint32_t)) {
      const uint32_t word = load<uint32_t>(at, encoding);
      std::memcpy(at, &word, sizeof word);
    }
  }
  Table<Elf32_Shdr> section_headers() {
    if (!shdrs && header().e_shnum != 0) {
      shdr_count = header().e_shnum;
      shdrs.reset(need(elf32_getshdrtab(elf.get()), 4));
      to_host(shdrs.get(), shdr_count);
    }
    return {shdrs.get(), shdrs ? shdr_count : 0};
  }
  Table<Elf32_Phdr> program_headers() {
    if (!phdrs && header().e_phnum != 0) {
      phdr_count = header().e_phnum;
      phdrs.reset(need(elf32_getphdr(elf.get()), 4));
      to_host(phdrs.get(), phdr_count);
    }
    return {phdrs.get(), phdrs ? phdr_count : 0};
  }
  const Strings& section_names() {
    if (!has_names) {
      names = Strings(elf.get(), header().e_shstrndx);
      has_names = true;
    }
    return names;
  }
  void forget_tables() noexcept {
    shdrs.reset();
    phdrs.reset();
    has_names = false;
  }
  FileBytes file_bytes(uint64_t offset, uint64_t size) const {
    if (image.data() != nullptr) {
      return FileBytes(offset < image.size() ? image.substr(static_cast<size_t>(offset), clip(size))
                                             : std::string_view());
    }
    const int64_t base = elf_getbase(elf.get());
    if (base == -1) fail(32);
    const int64_t position = seek(fildes, 0, SEEK_CUR);
    uint64_t limit = static_cast<uint64_t>(seek(fildes, 0, SEEK_END) - base);
    if (is_member)
      limit = std::min<uint64_t>(limit, static_cast<uint64_t>(need(elf_getarhdr(elf.get()))->ar_size));
    const size_t count = offset < limit ? clip(std::min(size, limit - offset)) : 0;
    std::unique_ptr<char[]> bytes(new char[count + 1]);
    size_t done = 0;
    if (count != 0) {
      seek(fildes, base + static_cast<int64_t>(offset), SEEK_SET);
      done = read_fully(fildes, bytes.get(), count);
    }
    seek(fildes, position, SEEK_SET);
    return {std::move(bytes), done};
  }
  static size_t clip(uint64_t size) noexcept {
    return static_cast<size_t>(std::min<uint64_t>(size, PTRDIFF_MAX - 1));
  }
};

template <class Record>
constexpr bool is_record_type(uint32_t type) noexcept {
  if (std::is_same_v<Record, Elf32_Sym>) return type == ELF_T_SYM;
  if (std::is_same_v<Record, Elf32_Rel>) return type == ELF_T_REL;
  if (std::is_same_v<Record, Elf32_Rela>) return type == ELF_T_RELA;
  if (std::is_same_v<Record, Elf32_Dyn>) return type == ELF_T_DYN;
  if (std::is_same_v<Record, Elf32_Word>)
    return type == ELF_T_WORD || type == ELF_T_ADDR || type == ELF_T_OFF;
  return false;
}

}  // namespace detail
/** @endcond */

/** A section of an object. */
class Section {
 public:
  /** @cond */
  Section(detail::State& state, size_t index, const Elf32_Shdr& header) noexcept
      : state_(&state), index_(index), header_(header) {}
  /** @endcond */

  size_t index() const noexcept { return index_; }
  /** The header as it was when this Section was made, in host order. */
  const Elf32_Shdr& header() const noexcept { return header_; }
  uint32_t type() const noexcept { return header_.sh_type; }
  uint32_t flags() const noexcept { return header_.sh_flags; }
  /** Its size according to its header, in bytes. */
  uint32_t size() const noexcept { return header_.sh_size; }

  /** Its name. Fails as Strings::at does for the table that e_shstrndx names. */
  std::string_view name() const { return state_->section_names().at(header_.sh_name); }
  /** Its name, or a view without data(). */
  std::string_view find_name() const { return state_->section_names().find(header_.sh_name); }

  /** Whether elf_getscn loads its type. In a file of the other byte order its name must be readable, too. */
  bool is_loadable() const noexcept { return header_.sh_type <= ELF_T_NONE; }
  /** The section of the C interface, loaded. Fails with the codes of elf_getscn. */
  Elf_Scn* native_handle() const { return detail::need(elf_getscn(state_->elf.get(), index_)); }
  /** The header that the library works with; the section is loaded. */
  Elf32_Shdr& live_header() const { return *detail::need(elf32_getshdr(native_handle())); }

  /** Its first block, live; nullptr if there is none. Only sections that the program builds have more blocks; see
   * next_block. */
  Elf_Data* block() const { return next_block(nullptr); }
  /** The block after `block`; nullptr after the last. */
  Elf_Data* next_block(Elf_Data* block) const {
    Elf_Data* const next = elf_getdata(native_handle(), block);
    if (next == nullptr) {
      const int code = elf_errno();
      if (code != 37) throw error(code);
    }
    return next;
  }
  /** Adds a block, as elf_newdata does. */
  Elf_Data& new_block() const { return *detail::need(elf_newdata(native_handle())); }

  /** The contents of the first block, in the host's order if they are records; empty if there is no block. Never
   * longer than the bytes in the file. */
  std::string_view contents() const {
    const Elf_Data* const first = block();
    return first != nullptr ? view_of(*first) : std::string_view();
  }
  /** The section's bytes in the file, whatever its type; none for SHT_NULL and SHT_NOBITS. They are in the file's
   * order, except for a loaded section of an image, which has been converted in the image. */
  FileBytes file_bytes() const {
    if (type() == SHT_NULL || type() == SHT_NOBITS) return {};
    return state_->file_bytes(header_.sh_offset, header_.sh_size);
  }

  /** Its records. Fails with 67 if the section is loaded as something else, or its sh_entsize is smaller. */
  template <class Record>
  Records<Record> records() const {
    const Elf_Data* const first = block();
    if (first == nullptr) return {};
    if (!detail::is_record_type<Record>(first->d_type) || has_small_entries(sizeof(Record))) throw error(67);
    return Records<Record>(view_of(*first));
  }
  /** The symbols of a symbol table. Fails as records does; an unreadable name fails when it is asked for. */
  Symbols symbols() const { return {records<Elf32_Sym>(), Strings(state_->elf.get(), header_.sh_link)}; }
  /** The relocations of a section with or without addends. Fails as records does. */
  Relocations relocations() const {
    const Elf_Data* const first = block();
    if (first == nullptr) return {};
    const bool addends = first->d_type == ELF_T_RELA;
    if (!addends && first->d_type != ELF_T_REL) throw error(67);
    if (has_small_entries(addends ? sizeof(Elf32_Rela) : sizeof(Elf32_Rel))) throw error(67);
    return {view_of(*first), addends};
  }
  /** The section as a string table. */
  Strings strings() const noexcept { return {state_->elf.get(), index_}; }

 private:
  // Such contents are something else, and were not converted.
  bool has_small_entries(size_t record) const noexcept {
    return header_.sh_entsize != 0 && header_.sh_entsize < record;
  }
  static std::string_view view_of(const Elf_Data& block) noexcept {
    return block.d_buf != nullptr ? std::string_view(static_cast<const char*>(block.d_buf), block.d_size)
                                  : std::string_view();
  }

  detail::State* state_;
  size_t index_;
  Elf32_Shdr header_;
};

/** The sections of an object, including section 0. Walking them loads none. */
class Sections : public detail::Iterable<Sections> {
 public:
  /** @cond */
  Sections(detail::State& state, Table<Elf32_Shdr> headers) noexcept : state_(&state), headers_(headers) {}
  /** @endcond */
  size_t size() const noexcept { return headers_.size(); }
  /** Section `index`, which must be below size(). */
  Section operator[](size_t index) const noexcept { return {*state_, index, headers_[index]}; }

 private:
  detail::State* state_;
  Table<Elf32_Shdr> headers_;
};

/** An entry of an archive's symbol table. */
struct ArchiveSymbol {
  std::string_view name; /**< the symbol */
  size_t member;         /**< file offset of the header of the member that defines it, for Object::member */
};

/** An archive's symbol table. */
class ArchiveSymbols : public detail::Iterable<ArchiveSymbols> {
 public:
  ArchiveSymbols() noexcept = default;
  ArchiveSymbols(const Elf_Arsym* entries, size_t count) noexcept : entries_(entries), count_(count) {}
  size_t size() const noexcept { return count_; }
  /** Entry `index`, which must be below size(). */
  ArchiveSymbol operator[](size_t index) const noexcept {
    return {entries_[index].as_name, entries_[index].as_off};
  }

 private:
  const Elf_Arsym* entries_ = nullptr;
  size_t count_ = 0;
};

class Members;
class Member;

/** A descriptor: of an object, of an archive, or of a member of an archive. */
class Object {
 public:
  /** Opens a file for reading, with its own file id. Fails with the codes of elf_open and elf_begin. */
  explicit Object(const char* path) : Object(File(path)) {}
  /** Opens a file for reading, and takes ownership of it. */
  explicit Object(File file) : Object(file.id(), ELF_C_READ) { state_->file = std::move(file); }
  /** Opens a file by its id, which must outlive the Object.
   *
   * @param fildes  a file id, open for the access that `cmd` needs; the file is read from its current position
   * @param cmd     ELF_C_READ, ELF_C_RDWR, or ELF_C_WRITE for a new file
   */
  explicit Object(int fildes, Elf_Cmd cmd = ELF_C_READ) : state_(new detail::State) {
    elf_version(EV_CURRENT);
    state_->fildes = fildes;
    state_->elf.reset(detail::need(elf_begin(fildes, cmd, nullptr)));
  }
  /** Opens a mapped object, and takes ownership of the mapping. This is the fastest way to read a large object. It
   * does not work for archives (9). */
  explicit Object(Image image) : Object(image.data(), image.size()) { state_->mapped = std::move(image); }
  /** Opens an object in memory. The image is used in place and must outlive the Object; see elf_memory. */
  Object(char* image, size_t size) : state_(new detail::State) {
    state_->image = {image, size};
    state_->elf.reset(detail::need(elf_memory(image, size)));
  }

  /** The descriptor of the C interface; the Object still owns it. */
  Elf* native_handle() const noexcept { return state_->elf.get(); }
  /** Whether it is an archive; members() gives its members. */
  bool is_archive() const noexcept { return !state_->is_member && elf_kind(native_handle()) == ELF_K_AR; }

  /** The ELF header. Fails with 44 if there is none: in an archive, or a member that is not an object. */
  Elf32_Ehdr header() const { return state_->header(); }
  /** Changes the header that the library works with. Fails as header() does. */
  void set_header(const Elf32_Ehdr& value) const {
    std::memcpy(static_cast<void*>(detail::need(elf32_getehdr(native_handle()), 44)), &value, sizeof value);
  }
  /** The byte order of the file: ELFDATA2LSB or ELFDATA2MSB. */
  unsigned encoding() const { return header().e_ident[EI_DATA]; }
  /** Whether it has the one class that the library supports. A 64-bit object opens, too, but its records mean
   * nothing. */
  bool is_32_bit() const { return header().e_ident[EI_CLASS] == ELFCLASS32; }
  /** Whether section 0 has the counts, because the ELF header cannot count so many sections or program headers. The
   * library shows such an object without sections. */
  bool has_extended_numbering() const {
    const Elf32_Ehdr ehdr = header();
    return (ehdr.e_shnum == 0 && ehdr.e_shoff != 0) || ehdr.e_phnum == 0xffff || ehdr.e_shstrndx == 0xffff;
  }

  /** The section header table, in host order; read once, see reload(). */
  Table<Elf32_Shdr> section_headers() const { return state_->section_headers(); }
  /** The program header table, in host order; read once, see reload(). */
  Table<Elf32_Phdr> program_headers() const { return state_->program_headers(); }
  /** The sections, including those that cannot be loaded. */
  Sections sections() const { return {*state_, section_headers()}; }
  /** Section `index`. Fails with 21 if there is none. */
  Section section(size_t index) const {
    if (index >= section_headers().size()) throw error(21);
    return sections()[index];
  }
  /** The string table in section `index`. */
  Strings strings(size_t index) const noexcept { return {native_handle(), index}; }
  /** Bytes of the object: of a file, as they are in it; of an image, as they are now.
   *
   * @param offset  bytes from the start of the object
   * @param size    how many; fewer if the file or the member ends earlier
   */
  FileBytes file_bytes(uint64_t offset, uint64_t size) const { return state_->file_bytes(offset, size); }

  /** The members of an archive. Fails with 9 if it is not an archive. */
  Members members() const;
  /** The member whose header is at `offset` in the archive's file. Fails with 9, 13. */
  Member member(size_t offset) const;
  /** The symbol table of an archive; empty if it has none. Fails with 60 if it is not an archive. */
  ArchiveSymbols archive_symbols() const {
    size_t count = 0;
    const Elf_Arsym* const entries = elf_getarsym(native_handle(), &count);
    if (entries != nullptr) return {entries, count};
    const int code = elf_errno();
    if (code != 15) throw error(code);
    return {};
  }

  /** @name Writing
   * @{ */

  /** Makes the ELF header of a new file, as elf32_newehdr does. */
  Elf32_Ehdr& new_header() const { return *detail::need(elf32_newehdr(native_handle())); }
  /** Adds a program header, as elf32_newphdr does. */
  Elf32_Phdr& new_program_header() const {
    state_->phdrs.reset();
    return *detail::need(elf32_newphdr(native_handle()));
  }
  /** Adds a section, as elf_newscn does. Set its fields through live_header. */
  Section new_section() const {
    Elf_Scn* const scn = detail::need(elf_newscn(native_handle()));
    reload();
    return {*state_, elf_ndxscn(scn), Elf32_Shdr{}};
  }
  /** Sets flags of the descriptor: ELF_F_DIRTY, ELF_F_LAYOUT. */
  void set_flags(unsigned flags) const {
    if (elf_flagelf(native_handle(), ELF_C_SET, flags) == 0) detail::fail(66);
  }
  /** Lays out and writes, as elf_update does.
   *
   * @return the size of the file in bytes, or another result of elf_update
   */
  int32_t update(Elf_Cmd cmd = ELF_C_WRITE) const {
    const int32_t size = elf_update(native_handle(), cmd);
    if (size == -1) detail::fail(35);
    reload();
    return size;
  }
  /** Discards the copies of the header tables. Call it after records were changed through the C interface. Earlier
   * ranges and header tables become invalid; a Section does not. */
  void reload() const noexcept { state_->forget_tables(); }
  /** @} */

 private:
  friend class Member;
  // A member of the archive on `fildes`; nullptr if it failed.
  Object(int fildes, Elf* member) : state_(new detail::State) {
    state_->fildes = fildes;
    state_->is_member = true;
    state_->elf.reset(member);
  }

  std::unique_ptr<detail::State> state_;
};

/** A member of an archive. */
class Member {
 public:
  /** @cond */
  Member(int fildes, Elf* archive, size_t offset) : object_(fildes, nullptr), offset_(offset) {
    object_.state_->elf.reset(begin(fildes, archive));
  }
  /** @endcond */

  /** Its header; the strings in it end with zero bytes. */
  const Elf_Arhdr& header() const { return *detail::need(elf_getarhdr(native_handle())); }
  std::string_view name() const { return header().ar_name; }
  /** The offset of its header in the archive's file, in bytes. */
  size_t offset() const noexcept { return offset_; }
  /** Its bytes. */
  FileBytes file_bytes() const { return object_.file_bytes(0, static_cast<uint64_t>(header().ar_size)); }
  /** The descriptor of the C interface. */
  Elf* native_handle() const noexcept { return object_.native_handle(); }
  /** Why it is not an object: a code, or 0 if it is one. */
  int code() const noexcept { return code_; }
  bool is_object() const noexcept { return code_ == 0; }
  /** The object, which must not outlive the Member. Fails with code() if the member is not an object. */
  const Object& object() const {
    if (code_ != 0) throw error(code_);
    return object_;
  }

 private:
  // Opening a member that is not an object fails only once; after that its descriptor has no ELF header.
  Elf* begin(int fildes, Elf* archive) {
    Elf* member = begin_at_offset(fildes, archive);
    if (member != nullptr) return member;
    code_ = elf_errno();
    member = begin_at_offset(fildes, archive);
    if (member == nullptr) throw error(code_);
    return member;
  }
  Elf* begin_at_offset(int fildes, Elf* archive) const {
    return elf_rand(archive, offset_) == offset_ ? elf_begin(fildes, ELF_C_READ, archive) : nullptr;
  }

  Object object_;
  size_t offset_;
  int code_ = 0;
};

/** The members of an archive, in file order. A walk opens them one by one. */
class Members {
 public:
  /** Steps from member to member. Each has its own descriptor, and the file position may move between steps. */
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Member;
    using reference = Member&;
    using pointer = Member*;
    using difference_type = std::ptrdiff_t;

    Iterator() noexcept = default;
    Iterator(int fildes, Elf* archive) : fildes_(fildes), archive_(archive) { step(archive); }
    Member& operator*() const noexcept { return *member_; }
    Member* operator->() const noexcept { return member_.get(); }
    Iterator& operator++() {
      const std::shared_ptr<Member> before = std::move(member_);
      step(before->native_handle());
      return *this;
    }
    bool operator==(const Iterator& other) const noexcept { return member_ == other.member_; }
    bool operator!=(const Iterator& other) const noexcept { return member_ != other.member_; }

   private:
    void step(Elf* from) {
      if (elf_next(from) == ELF_C_NULL) {
        const int code = elf_errno();
        if (code != 59) throw error(code);
        return;
      }
      const int64_t offset = detail::seek(fildes_, 0, SEEK_CUR);
      member_ = std::make_shared<Member>(fildes_, archive_, static_cast<size_t>(offset));
    }

    int fildes_ = -1;
    Elf* archive_ = nullptr;
    std::shared_ptr<Member> member_;
  };

  /** @cond */
  Members(int fildes, Elf* archive) noexcept : fildes_(fildes), archive_(archive) {}
  /** @endcond */
  Iterator begin() const { return {fildes_, archive_}; }
  Iterator end() const noexcept { return {}; }

 private:
  int fildes_;
  Elf* archive_;
};

inline Members Object::members() const {
  if (!is_archive()) throw error(9);
  return {state_->fildes, native_handle()};
}

inline Member Object::member(size_t offset) const {
  if (!is_archive()) throw error(9);
  return {state_->fildes, native_handle(), offset};
}

/** @cond */
}  // namespace cpp0
/** @endcond */
}  // namespace ambielf

#endif
