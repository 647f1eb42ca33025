// Units of .debug_line: headers and tables of every version, and the line program.
#include "support/dwarf_text.h"

namespace ambielf::test {
namespace {

const std::string name_tables = "'/usr/include' 'src' b0 'main.c' u1 u11170 u12c 'a.h' u2 u0 u0 b0 ";
// Two directories by a form of 4 bytes; two files with a name, a directory, an MD5 sum and a size.
const std::string entry_tables =
    "b1 u1 u1f u2 w1020304 w5060708 b4 u1 u8 u2 ub u5 u1e u4 u6 u2 "
    "'main.c' b1 16*x3e w1020304 'main.c' b1 16*x3e w1020304 ";
const std::string set_address = "b0 b5 b2 w1020304 ";

// Up to the tables, with these lengths of the standard opcodes.
std::string header(uint64_t version, const std::string& lengths = "000101010100000001000001") {
  return item('h', version) + (version == 5 ? "b4 b0 " : "") + "w1020304 b4 " +
         (version == 4 || version == 5 ? "b1 " : "") + "b1 bfb be " + item('b', lengths.size() / 2 + 1) +
         "x" + lengths + " ";
}
const std::string& tables(uint64_t version) { return version == 5 ? entry_tables : name_tables; }
std::string program(uint64_t version, const std::string& operations) {
  return unit(header(version) + tables(version) + operations);
}
void expect_line(const std::string& text) { expect_reads(".debug_line", text); }
void expect_line_raw(const std::string& text) { expect_raw(".debug_line", text); }

constexpr uint64_t every_version[] = {0, 1, 2, 3, 4, 5, 6, 0xffff};

TEST(DwarfLine, OperationsOfAllVersionsTakeTheirOperands) {
  for (const uint64_t version : every_version) {
    SCOPED_TRACE(version);
    const std::string one = program(
        version, set_address +
                     "x010607080a0b20ff b2 u12c b3 u12c b4 u12c b5 u12c b0 bc b3 'b.h' u12c u11170 u12c " +
                     set_address +
                     // Passed by their lengths, though their operands look like operations.
                     "b0 b4 b4 x000502 b0 b4 b80 x000502 b0 b4 bff x000502 " + set_address + "b0 b1 b1");
    expect_line(one + one);
    if (version != 5) expect_line(unit(header(version) + "b0 b0 " + set_address));  // empty tables
  }
}

TEST(DwarfLine, PublishedProgramsGoByTheirLengths) {
  for (const uint64_t version : {4u, 5u}) {
    SCOPED_TRACE(version);
    expect_line(program(version, "b9 h102 bc u12c b0 u5/3 b2 w1020304 b0 uc8 b90 199*x02 " + set_address));
    // Operations behind the known ones have as many operands as the header says, and none from opcode_base on.
    expect_line(unit(header(version, "0001010101000000010000010003") + tables(version) +
                     "bd be u12c u2 u0 bf " + set_address));
    expect_line(unit(header(version, "0001") + tables(version) + "b2 u12c x030405090c " + set_address));
    const char* const bad[] = {"x000001",        // no room for the sub-opcode
                               "x000402010203",  // an address of three bytes
                               "x0009020102030405060708",
                               "x0004036100010101",  // a file beyond the length
                               "x00098001"};         // a length beyond the unit
    for (const char* const operation : bad) expect_line_raw(program(version, operation));
  }
}

TEST(DwarfLine, OtherVersionsKnowNoOperandOfFixedAdvance) {
  // The two bytes are operations: the second takes a number behind it.
  for (const uint64_t version : {2u, 3u, 6u}) expect_line(program(version, "b9 b21 b2 u12c " + set_address));
  // Nor do they ask opcode_base or the lengths behind it.
  for (const char* const lengths : {"", "09", "000000000000"})
    expect_line(unit(header(2, lengths) + name_tables + "b3 s-11170 " + set_address));
}

TEST(DwarfLine, FormsOfEntryTablesGoByTheTableOfForms) {
  // A format of pairs of content type and form, and so many entries by it.
  const auto with_format = [](const std::string& format) {
    return unit(header(5) + "b0 u0 " + format + set_address);
  };
  // The attribute of number 2 holds an expression.
  expect_line(with_format("b2 u2 ua u0 u5 u2 (b x0301020304 ) h102 (b x0301020304 ) h102 "));
  expect_line(with_format("b1 u1 u16 u1 ue w1020304 "));
  expect_line(with_format("b1 u1 u19 uffffffffffffffff "));
  expect_line_raw(with_format("b1 u1 ub uffffffffffffffff "));
  expect_line_raw(with_format("b1 u1 u99 u1 "));
}

TEST(DwarfLine, UnitsThatDoNotEndWhereTheyShouldStayAsTheyAre) {
  for (const uint64_t version : {2u, 3u, 4u, 5u}) {
    const std::string whole = header(version) + tables(version) + set_address + "b3 s-11170";
    expect_line(unit(whole));
    const size_t size = dwarf_bytes(host_order, whole).size();
    for (size_t cut = 0; cut < size; ++cut) {
      if (cut == size - 11 || cut == size - 4) continue;  // a program may end behind any of its operations
      SCOPED_TRACE(cut);
      for (const ByteOrder order : both_orders) {
        Bytes section = dwarf_bytes(order, "w0 " + whole);
        section.resize(4 + cut);
        put_number(section, 0, cut, 4, order);
        Input in(Road::image, ObjectBuilder(order).section(".debug_line", SHT_PROGBITS, section).build());
        if (order == host_order) elf_setreadswapcontroller(in, hold_in(other_order));
        EXPECT_EQ(in.contents(1), section);
      }
    }
  }
}

TEST(DwarfLine, NamesThatOnlyBeginAsTheSectionDoes) {
  const std::string units = program(4, set_address);
  for (const char* const name : {".debug_line", ".debug_line.dwo", ".debug_liner"}) expect_reads(name, units);
  for (const char* const name : {".debug_lin", ".debug_info.dwo", ".debug_infos", ".rela.debug_line"}) {
    Input in(Road::image, debug_object(other_order, name, units, ""));
    EXPECT_EQ(in.contents(2), dwarf_bytes(other_order, units)) << name;
    EXPECT_EQ(elf_errno(), 0);
  }
  // The strings of version 5 are no units.
  expect_raw(".debug_line_str", "'/usr/src' 'main.c' '' 'b.h'");
}

}  // namespace
}  // namespace ambielf::test
