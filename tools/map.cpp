#include "map.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "listing.h"
#include "names.h"
#include "pieces.h"

namespace ambielf::tools {

namespace {

// What bytes are for. The names are those of the styles, and of the legend.
enum class Kind { headers, code, constants, data, zeros, symbols, other, segment, gap, overlap, hole };
constexpr std::string_view kind_names[] = {"headers", "code",    "constants", "data",    "zeros", "symbols",
                                           "other",   "segment", "gap",       "overlap", "hole"};
constexpr size_t kind_count = std::size(kind_names);

constexpr std::string_view css =
    "svg { background: #fff; }\n"
    "text { font: 12px monospace; }\n.title { font-weight: bold; }\nrect { stroke: #fff; stroke-width: 0.3; "
    "}\n"
    ".headers { fill: #54606c; }\n.code { fill: #e8873a; }\n.constants { fill: #edc949; }\n"
    ".data { fill: #5b9bd5; }\n.zeros { fill: #c3dcf2; }\n.symbols { fill: #76b56b; }\n.other { fill: "
    "#b9a3cf; }\n"
    ".segment { fill: #9aa7b3; }\n.gap { fill: #e3e3e3; }\n.overlap { fill: #d43d3d; }\n.hole { fill: none; "
    "}\n";

constexpr double margin = 20, width = 1200, line = 18, bar = 30, label_width = 350, character_width = 7.3;
constexpr size_t header_parts = 3;
constexpr size_t most_segments = 50, most_parts = 40, most_characters = 40;
constexpr size_t most_bytes = size_t{64} << 20;  // of all pictures

// Bytes of a file or of memory that have one purpose.
struct Part {
  Kind kind;
  Range range;             // in the file
  std::string_view title;  // of a part that is no section
  size_t section = 0;
};

std::string hexadecimal(uint64_t number) {
  char place[24];
  return {place, static_cast<size_t>(
                     std::snprintf(place, sizeof place, "0x%llx", static_cast<unsigned long long>(number)))};
}

std::string bytes_of(uint64_t size, uint64_t whole) {
  char place[64];
  const double share = whole == 0 ? 0 : 100.0 * static_cast<double>(size) / static_cast<double>(whole);
  const auto bytes = static_cast<unsigned long long>(size);
  return {place,
          static_cast<size_t>(std::snprintf(place, sizeof place, "%10llu bytes %5.1f %%", bytes, share))};
}

Kind kind_of(const Elf32_Shdr& header) {
  if ((header.sh_flags & SHF_ALLOC) == 0) {
    const bool is_symbols = header.sh_type == SHT_SYMTAB || header.sh_type == SHT_STRTAB;
    return is_symbols ? Kind::symbols : Kind::other;
  }
  if (header.sh_type == SHT_NOBITS) return Kind::zeros;
  if ((header.sh_flags & SHF_EXECINSTR) != 0) return Kind::code;
  return (header.sh_flags & SHF_WRITE) != 0 ? Kind::data : Kind::constants;
}

bool is_in_memory(const Elf32_Shdr& header) {
  const bool is_thread_zeros = header.sh_type == SHT_NOBITS && (header.sh_flags & SHF_TLS) != 0;
  return header.sh_type != SHT_NULL && (header.sh_flags & SHF_ALLOC) != 0 && !is_thread_zeros;
}

class ObjectMap {
 public:
  ObjectMap(const Input& input, Svg& svg, double y)
      : input_(input), object_(input.object), svg_(svg), y_(y) {}

  // Draws everything; the result is where it ends.
  double draw() {
    heading(shortened(input_.name(), 120) + ": " + std::to_string(input_.size) + " bytes");
    collect_parts();
    file();
    memory();
    largest_parts();
    return y_ + line;
  }

 private:
  void heading(std::string_view text) {
    y_ += line / 2;
    this->text(margin, text, "title");
  }
  // A line of its own.
  void text(double x, std::string_view text, std::string_view style = {}) {
    y_ += line;
    svg_.text(x, y_ - 5, text, style);
  }

  void collect_parts() {
    const Elf32_Ehdr header = object_.header();
    const auto add = [&](Kind kind, std::string_view title, uint64_t begin, uint64_t size,
                         size_t section = 0) {
      parts_.push_back({kind, {begin, begin + size}, title, section});
    };
    const size_t sections = object_.section_headers().size(), segments = object_.program_headers().size();
    add(Kind::headers, "ELF header", 0, sizeof(Elf32_Ehdr));
    add(Kind::headers, "program headers", header.e_phoff, segments * sizeof(Elf32_Phdr));
    add(Kind::headers, "section headers", header.e_shoff, sections * sizeof(Elf32_Shdr));
    const uint64_t headers_end = std::max<uint64_t>(parts_[0].range.end, parts_[1].range.end);
    for (size_t i = 0; i < sections; ++i) {
      const Elf32_Shdr& section = object_.section_headers()[i];
      if (section.sh_type == SHT_NULL) continue;
      add(kind_of(section), {}, section.sh_offset, section.sh_type == SHT_NOBITS ? 0 : section.sh_size, i);
    }
    // Without sections the segments say what the file holds. The first one usually begins with the headers.
    if (sections != 0) return;
    for (const Elf32_Phdr& segment : object_.program_headers()) {
      const uint64_t end = uint64_t{segment.p_offset} + segment.p_filesz;
      const uint64_t begin = std::min(end, std::max<uint64_t>(segment.p_offset, headers_end));
      if (segment.p_type == PT_LOAD) add(Kind::segment, "segment", begin, end - begin);
    }
  }

  // The name of a section is looked up late, because hostile ones overlap and are long.
  std::string title_of(size_t owner) {
    if (owner == nobody) return "gap";
    if (owner == several) return "claimed more than once";
    if (owner >= parts_.size()) return "hole between the segments";
    const Part& part = parts_[owner];
    if (part.section == 0) return std::string(part.title);
    const std::string_view name = section_name(object_.section(part.section));
    if (name.size() > bytes_of_names_) throw Stop(Output::too_long);
    bytes_of_names_ -= name.size();
    return shortened(name, most_characters);
  }
  Kind kind_of_owner(size_t owner) const {
    if (owner == nobody || owner == several) return owner == nobody ? Kind::gap : Kind::overlap;
    return owner < parts_.size() ? parts_[owner].kind : Kind::hole;
  }

  void file() {
    if (input_.size == 0) return;
    std::vector<Claim> claims;
    claims.reserve(parts_.size());
    for (size_t i = 0; i < parts_.size(); ++i) claims.push_back({parts_[i].range, i});
    const std::vector<Claim> pieces = divide({0, input_.size}, claims);
    heading("File, by offset");
    strip(pieces, Scale({{{0, input_.size}, 0}}), margin);
    uint64_t sums[kind_count] = {};
    for (const Claim& piece : pieces) sums[static_cast<size_t>(kind_of_owner(piece.owner))] += piece.size();
    for (size_t i = 0; i < kind_count; ++i) {
      if (sums[i] == 0) continue;
      svg_.rectangle(margin, y_ + 4, 10, 10, kind_names[i], kind_names[i]);
      text(margin + 18, std::string(kind_names[i]).append(11 - kind_names[i].size(), ' ') +
                            bytes_of(sums[i], input_.size));
    }
  }

  // Neighbours that are too small to be seen are drawn as one, in the colour of the largest.
  void strip(const std::vector<Claim>& pieces, const Scale& scale, double x) {
    const double length = width - margin - x;
    const auto place = [&](uint64_t at) { return x + length * scale.place(at); };
    const auto is_small = [&](const Claim& piece) { return place(piece.end) - place(piece.begin) < 1; };
    for (size_t i = 0; i < pieces.size();) {
      const size_t first = i++;
      size_t largest = first;
      const double from = place(pieces[first].begin);
      while (is_small(pieces[first]) && i < pieces.size() && is_small(pieces[i]) &&
             place(pieces[i - 1].end) - from < 1) {
        if (pieces[i].size() > pieces[largest].size()) largest = i;
        ++i;
      }
      const Range range = {pieces[first].begin, pieces[i - 1].end};
      const std::string title =
          i - first == 1 ? title_of(pieces[first].owner) : std::to_string(i - first) + " small parts";
      const std::string_view kind = kind_names[static_cast<size_t>(kind_of_owner(pieces[largest].owner))];
      const double size = place(range.end) - from;
      svg_.rectangle(from, y_, std::max(size, 0.5), bar, kind,
                     title + ", " + std::to_string(range.size()) + " bytes at " + hexadecimal(range.begin));
      if (static_cast<double>(title.size()) * character_width + 6 < size && kind != "hole" && kind != "gap") {
        svg_.text(from + 3, y_ + bar / 2 + 4, title);
      }
    }
    y_ += bar;
    text(x, hexadecimal(pieces.front().begin));
    const std::string end = hexadecimal(pieces.back().end);
    svg_.text(x + length - static_cast<double>(end.size()) * character_width, y_ - 5, end);
  }

  void memory() {
    const Table<Elf32_Phdr> segments = object_.program_headers();
    std::vector<Claim> claims;
    for (const bool only_loaded : {true, false}) {
      if (!claims.empty()) break;
      for (const Elf32_Phdr& segment : segments) {
        if (segment.p_memsz == 0 || (only_loaded && segment.p_type != PT_LOAD)) continue;
        claims.push_back({{segment.p_vaddr, uint64_t{segment.p_vaddr} + segment.p_memsz}, 0});
      }
    }
    if (claims.empty()) return;
    Range whole = claims[0];
    for (const Claim& claim : claims) {
      whole = {std::min(whole.begin, claim.begin), std::max(whole.end, claim.end)};
    }
    const Scale scale(divide(whole, claims));
    heading("Memory of the segments, by address");
    strip(divide(whole, claims_of_memory(scale)), scale, label_width);
    for (size_t i = 0; i < std::min(segments.size(), most_segments); ++i) segment(segments[i], scale);
    if (segments.size() > most_segments) {
      text(margin, "and " + std::to_string(segments.size() - most_segments) + " other segments");
    }
  }

  std::vector<Claim> claims_of_memory(const Scale& scale) {
    std::vector<Claim> claims;
    for (const Range hole : scale.holes()) claims.push_back({hole, parts_.size()});
    const auto add = [&](uint64_t address, uint64_t size, size_t owner) {
      const Range range = {address, address + size};
      if (size != 0 && scale.holds(range)) claims.push_back({range, owner});
    };
    size_t next = header_parts;
    for (const Elf32_Shdr& header : object_.section_headers()) {
      if (header.sh_type == SHT_NULL) continue;
      if (is_in_memory(header)) add(header.sh_addr, header.sh_size, next);
      ++next;
    }
    const bool has_sections = !object_.section_headers().empty();
    for (const Elf32_Phdr& segment : object_.program_headers()) {
      if (segment.p_type != PT_LOAD) continue;
      const auto add_loaded = [&](size_t part) {
        const Range range = parts_[part].range;
        const bool is_loaded =
            range.begin >= segment.p_offset && range.end <= uint64_t{segment.p_offset} + segment.p_filesz;
        if (is_loaded) add(segment.p_vaddr + (range.begin - segment.p_offset), range.size(), part);
      };
      for (size_t i = 0; i < header_parts; ++i) add_loaded(i);
      if (!has_sections) add_loaded(next++);
    }
    return claims;
  }

  void segment(const Elf32_Phdr& segment, const Scale& scale) {
    const Range range = {segment.p_vaddr, uint64_t{segment.p_vaddr} + segment.p_memsz};
    std::string title(names_.segment_type(segment.p_type));
    title.resize(std::max<size_t>(title.size() + 1, 14), ' ');
    for (const auto& [flag, letter] : {std::pair(PF_R, 'R'), std::pair(PF_W, 'W'), std::pair(PF_X, 'E')}) {
      title += (segment.p_flags & static_cast<uint32_t>(flag)) != 0 ? letter : ' ';
    }
    title += ' ';
    title += hexadecimal(range.begin) + " + " + hexadecimal(segment.p_memsz);
    const double length = width - margin - label_width;
    const uint64_t held = std::min(range.end, range.begin + segment.p_filesz);
    const auto rectangle = [&](uint64_t begin, uint64_t end, std::string_view kind, const std::string& what) {
      const double from = length * scale.place(begin), size = length * scale.place(end) - from;
      if (begin >= end || size <= 0) return;
      svg_.rectangle(label_width + from, y_ + 3, std::max(size, 0.5), line - 6, kind, title + what);
    };
    rectangle(range.begin, held, "segment", ", from offset " + hexadecimal(segment.p_offset));
    rectangle(held, range.end, "zeros", ", zeros");
    text(margin, title);
  }

  void largest_parts() {
    std::vector<size_t> order;
    for (size_t i = 0; i < parts_.size(); ++i) {
      if (parts_[i].range.size() != 0) order.push_back(i);
    }
    const size_t shown = std::min(order.size(), most_parts);
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(shown), order.end(),
                      [&](size_t a, size_t b) {
                        const uint64_t size_a = parts_[a].range.size(), size_b = parts_[b].range.size();
                        return size_a != size_b ? size_a > size_b : a < b;
                      });
    heading("The largest parts, and their offsets");
    for (size_t i = 0; i < shown; ++i) {
      const Part& part = parts_[order[i]];
      const uint64_t size = part.range.size();
      const std::string title = title_of(order[i]);
      svg_.text(margin + 18, y_ + line - 5, title);
      svg_.text(label_width, y_ + line - 5, hexadecimal(part.range.begin));
      const double share = std::min(1.0, static_cast<double>(size) / static_cast<double>(input_.size));
      const double x = label_width + 300;
      svg_.rectangle(x, y_ + 3, std::max(0.5, share * (width - margin - x)), line - 6,
                     kind_names[static_cast<size_t>(part.kind)], title);
      text(label_width + 90, bytes_of(size, input_.size));
    }
    if (shown < order.size()) text(margin + 18, "and " + std::to_string(order.size() - shown) + " others");
  }

  const Input& input_;
  const Object& object_;
  Names names_{object_.header()};
  Svg& svg_;
  double y_;
  uint64_t bytes_of_names_ = Output::limit_for(input_.size);  // to be read yet
  std::vector<Part>
      parts_;  // the headers, and behind them the sections, or else the segments that are loaded
};

}  // namespace

void Map::add(const Input& input) {
  if (svg_.size() > most_bytes) throw Refusal("is not drawn: the picture has 64 MiB already");
  Svg picture;  // its own, so that a failure leaves nothing
  height_ = ObjectMap(input, picture, height_ + margin).draw();
  svg_.append(picture);
}

void Map::print(Output& out) const {
  if (svg_.size() != 0) svg_.print(out, width, height_ + margin, css);
}

}  // namespace ambielf::tools
