// What a write loads for the conversions that it has to make, what it leaves alone, and what becomes of output that
// loses its end.
#include <cstddef>

#include "support/failing_allocation.h"
#include "support/way_back.h"
#include "update/new_object.h"

namespace ambielf::test {
namespace {

class Companions : public testing::TestWithParam<ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(All, Companions, testing::ValuesIn(both_orders), order_name);

struct Rewriting : Input {
  explicit Rewriting(const Object& object) : Input(Road::file, object, ELF_C_RDWR) {
    elf_flagelf(elf(), ELF_C_SET, ELF_F_DIRTY);
  }
  int32_t write() const {
    file().seek(0);
    return elf_update(elf(), ELF_C_WRITE);
  }
};

// A name table without a name of its own cannot be written once it is loaded (43). Nobody touched it.
TEST_P(Companions, NameTableIsLoadedOnlyForABlockToConvert) {
  const ByteOrder order = GetParam();
  const struct {
    const char* name;
    uint32_t type;
    int behavior;  // of the new section: in the file's order, or the other
    bool converted;
    std::optional<uint32_t> names_size{};  // as the table's header states it
  } rows[] = {{".text", ELF_T_WORD, 0, false},
              {".debug_line", ELF_T_BYTE, 0, false},
              {".text", ELF_T_WORD, ELF_SWAP_NEVER, false},
              {".text", ELF_T_BYTE, 1, false},
              {".text", ELF_T_WORD, 1, true},
              {".debug_line", ELF_T_BYTE, 1, true},
              {".debug_line", ELF_T_BYTE, 1, false, 0},
              {".debug_line", ELF_T_BYTE, 1, false, 11}};  // the table ends in front of the "e"
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.name) + " of type " + std::to_string(row.type) + " held " +
                 std::to_string(row.behavior));
    ObjectBuilder builder(order);
    builder.section(row.name, SHT_PROGBITS, "old contents", {.addralign = 4});
    Object object = builder.build();
    const auto set_in_table = [&](size_t field, uint32_t value) {
      put_number(object.bytes, object.shdr_field(builder.name_table_index(), field), value, 4, order);
    };
    set_in_table(offsetof(Elf32_Shdr, sh_name), 0);
    if (row.names_size) set_in_table(offsetof(Elf32_Shdr, sh_size), *row.names_size);
    const Rewriting in(object);
    Elf_Scn* const scn = elf_newscn(in);
    elf32_getshdr(scn)->sh_name = 1;
    elf32_getshdr(scn)->sh_type = SHT_PROGBITS;
    Bytes contents = Emit(order).words({1, 2, 3});
    Elf_Data* const block = elf_newdata(scn);
    block->d_buf = contents.data();
    block->d_size = static_cast<uint32_t>(contents.size());
    block->d_type = row.type;
    const bool msb = (order == ByteOrder::big) != (row.behavior == 1);
    elf_setswapbehavior(scn, row.behavior == ELF_SWAP_NEVER ? ELF_SWAP_NEVER
                             : msb                          ? ELF_SWAP_TO_MSB
                                                            : ELF_SWAP_TO_LSB);
    if (row.converted) {
      EXPECT_TRUE(failed(in.write(), -1, 43));
      continue;
    }
    ASSERT_GT(in.write(), 1) << elf_errno();
    EXPECT_EQ(bytes_at(in.file().contents(), elf32_getshdr(scn)->sh_offset, contents.size()), contents);
    EXPECT_EQ(in.elf()->loaded_scn(builder.name_table_index()), nullptr);
  }
}

// Output that is gathered and has lost its end must not take the place of old bytes, however the write ended. Here some
// is gathered when memory runs out that has to save further old bytes.
TEST_P(Companions, AWriteThatRunsOutOfMemoryLeavesTheFileAlone) {
  constexpr size_t large = 100'000;
  const Object object = ObjectBuilder(GetParam())
                            .section(".grows", SHT_PROGBITS, Bytes(large, 'g'))
                            .section(".moves", SHT_PROGBITS, Bytes(3 * large, 'm'))
                            .build();
  size_t ran_out = 0;
  for (size_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    const Rewriting in(object);
    Bytes more(large, 'n');
    for (int blocks = 0; blocks < 2; ++blocks) {
      Elf_Data* const block = elf_newdata(in.scn(1));
      block->d_buf = more.data();
      block->d_size = large;
    }
    bool happened = false;
    int32_t size = 0;
    {
      const FailingAllocation failing(nth);
      size = in.write();
      happened = failing.happened();
    }
    if (!happened) break;
    if (size != -1) continue;
    ++ran_out;
    EXPECT_NE(elf_errno(), 0);
    EXPECT_TRUE(in.file().contents() == object.bytes);
  }
  EXPECT_GT(ran_out, 2u);
}

}  // namespace
}  // namespace ambielf::test
