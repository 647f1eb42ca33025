// Bytes of test inputs, put together item by item in a stated byte order.
#ifndef AMBIELF_TESTS_SUPPORT_BYTES_H
#define AMBIELF_TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace ambielf::test {

using Bytes = std::vector<unsigned char>;

enum class ByteOrder : uint8_t { little = 1, big = 2 };  // as e_ident[EI_DATA] has them

inline constexpr ByteOrder both_orders[] = {ByteOrder::little, ByteOrder::big};
inline constexpr ByteOrder other(ByteOrder order) {
  return order == ByteOrder::big ? ByteOrder::little : ByteOrder::big;
}
// By the compilers' macros: a benchmark that includes this is C++17, which has no std::endian.
inline constexpr ByteOrder host_order =
    __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? ByteOrder::big : ByteOrder::little;
inline constexpr ByteOrder other_order = other(host_order);  // that of foreign files

inline const char* name_of(ByteOrder order) { return order == ByteOrder::big ? "big" : "little"; }

// Writes an unsigned number of `width` bytes at `place`.
inline void put_number(Bytes& bytes, size_t place, uint64_t value, size_t width, ByteOrder order) {
  for (size_t i = 0; i < width; ++i) {
    const size_t shift = 8 * (order == ByteOrder::little ? i : width - 1 - i);
    bytes.at(place + i) = static_cast<unsigned char>(value >> shift);
  }
}
inline uint32_t get_number(const Bytes& bytes, size_t place, size_t width, ByteOrder order) {
  uint32_t value = 0;
  for (size_t i = 0; i < width; ++i) {
    value = value << 8 | bytes.at(place + (order == ByteOrder::big ? i : width - 1 - i));
  }
  return value;
}

inline Bytes bytes_at(const Bytes& file, size_t offset, size_t size) {
  const auto start = file.begin() + static_cast<long>(offset);
  return {start, start + static_cast<long>(size)};
}

inline Bytes text_bytes(std::string_view text) { return {text.begin(), text.end()}; }

// Appends numbers and strings; each call gives the emitter, so that a record is one expression.
class Emit {
 public:
  explicit Emit(ByteOrder order) : order_(order) {}

  Emit& u8(uint64_t value) { return number(value, 1); }
  Emit& u16(uint64_t value) { return number(value, 2); }
  Emit& u32(uint64_t value) { return number(value, 4); }
  Emit& number(uint64_t value, size_t width) {
    bytes_.resize(bytes_.size() + width);
    put_number(bytes_, bytes_.size() - width, value, width, order_);
    return *this;
  }
  Emit& words(std::initializer_list<uint32_t> values) {
    for (const uint32_t value : values) u32(value);
    return *this;
  }
  Emit& text(std::string_view text) { return bytes(text_bytes(text)); }
  Emit& string(std::string_view contents) { return text(contents).u8(0); }
  Emit& bytes(const Bytes& more) {
    bytes_.insert(bytes_.end(), more.begin(), more.end());
    return *this;
  }
  Emit& zeros(size_t count) { return bytes(Bytes(count)); }
  // An Elf32_Sym.
  Emit& symbol(uint32_t name, uint32_t value, uint32_t size, unsigned info, unsigned other,
               unsigned section) {
    return words({name, value, size}).u8(info).u8(other).u16(section);
  }

  size_t size() const { return bytes_.size(); }
  const Bytes& done() const { return bytes_; }
  operator Bytes() const { return bytes_; }  // NOLINT(google-explicit-constructor): a record is a value

 private:
  ByteOrder order_;
  Bytes bytes_;
};

// A number that would become `low` if somebody kept 32 bits of it. Where size_t has no more, the greatest there is.
constexpr size_t beyond_32_bits(uint32_t low) {
  return sizeof(size_t) > sizeof low ? static_cast<size_t>((uint64_t{1} << 32) + low) : SIZE_MAX;
}

}  // namespace ambielf::test

#endif
