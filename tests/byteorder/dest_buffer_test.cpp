// The output sinks: what reaches memory and file, the write position, and the latched failure of the file sink.
#include "byteorder/dest_buffer.h"

#include <ambielf/ambielf.h>
#include <gtest/gtest.h>

#include "byteorder/sinks.h"

namespace ambielf::test {
namespace {

TEST(ReverseBytes, InPlaceAndCopying) {
  const std::pair<int32_t, std::string> rows[] = {{0, "abcd"}, {1, "abcd"},  {2, "bacd"},
                                                  {3, "cbad"}, {-4, "abcd"}, {4, "dcba"}};
  for (const auto& [count, expected] : rows) {
    std::string in_place = "abcd";
    reverseBytes(in_place.data(), in_place.data(), count);
    EXPECT_EQ(in_place, expected) << count;
    std::string copy = "....";
    reverseBytes("abcd", copy.data(), count);
    const size_t copied = static_cast<size_t>(std::max(count, 0));
    EXPECT_EQ(copy, expected.substr(0, copied) + std::string(4 - copied, '.')) << count;
  }
}

TEST(Sinks, ReceiveTheSameBytesInOrder) {
  const Bytes source = {1, 2, 3, 4, 5};
  const TempFile input(text_bytes("abcdef"));
  const auto results = received_by_each_sink(64, [&](DestBuffer& sink) {
    sink.copy(source.data(), 2);
    sink.move(source.data() + 2, 1);
    sink.fill(0x1F7, 3);  // the low byte counts
    sink.fill(1, 0);
    sink.copySwapped(source.data(), 5);
    sink.copySwapped(source.data(), 0);
    input.seek(4);
    EXPECT_EQ(sink.copyFromFile(input.id(), 4), 2);  // zeros where the file had none
    EXPECT_EQ(sink.copyFromFile(-1, 2), -1);         // the position moves all the same
    EXPECT_EQ(sink.bytesWritten(), 17u);
  });
  const Bytes expected = {1, 2, 3, 0xF7, 0xF7, 0xF7, 5, 4, 3, 2, 1, 'e', 'f', 0, 0, 0, 0};
  for (const Bytes& result : results) EXPECT_EQ(result, expected);
}

TEST(Sinks, SwappedValueIsTheHostNumberOfTheToldSide) {
  const Bytes source = {0x0F, 0x02, 0x83, 0x04};
  for (const uint16_t width : std::initializer_list<uint16_t>{4, 2, 1}) {
    for (const bool before : {true, false}) {
      const uint32_t value = get_number(source, 0, width, before ? host_order : other_order);
      const auto results = received_by_each_sink(4, [&](DestBuffer& sink) {
        const unsigned char* cursor = source.data();
        EXPECT_EQ(sink.copySwappedValue(&cursor, width, before), value) << width << before;
        EXPECT_EQ(cursor, source.data() + width);
      });
      for (const Bytes& result : results)
        EXPECT_EQ(result, Bytes(source.rend() - width, source.rend())) << width;
    }
  }
}

TEST(CharDestBuffer, WorksInPlace) {
  std::string bytes = "abcdefgh";
  CharDestBuffer sink(bytes.data());
  EXPECT_FALSE(sink.differsFrom(bytes.data()));
  sink.copySwapped(bytes.data(), 4);
  EXPECT_TRUE(sink.differsFrom(bytes.data()));
  EXPECT_FALSE(sink.differsFrom(bytes.data() + 4));
  const unsigned char* cursor = reinterpret_cast<unsigned char*>(bytes.data()) + 4;
  sink.copySwappedValue(&cursor, 4, true);
  EXPECT_EQ(bytes, "dcbahgfe");
}

TEST(FileDestBuffer, StartsAtTheIdsPositionAndLeavesTheIdOpen) {
  const TempFile file(text_bytes("0123456789"));
  file.seek(3);
  Bytes large(600'000);  // larger than what is gathered
  for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<unsigned char>(i % 251);
  {
    FileDestBuffer sink;
    ASSERT_TRUE(sink.attach(file.id()));
    EXPECT_TRUE(sink.differsFrom(nullptr));
    sink.copy("ab", 2);
    sink.copy(large.data(), static_cast<uint32_t>(large.size()));
    sink.fill('z', 300'000);
    sink.copySwapped(large.data(), 200);
    sink.flush();
    EXPECT_TRUE(sink.check());
    sink.copy("last words", 10);  // go out as the sink ends
    EXPECT_EQ(sink.bytesWritten(), 900'212u);
  }
  EXPECT_TRUE(is_open(file.id()));
  EXPECT_EQ(file.position(), 900'215);
  Bytes expected = text_bytes("012ab");
  expected.insert(expected.end(), large.begin(), large.end());
  expected.insert(expected.end(), 300'000, 'z');
  expected.insert(expected.end(), large.rend() - 200, large.rend());
  for (const char letter : std::string("last words")) expected.push_back(static_cast<unsigned char>(letter));
  EXPECT_EQ(file.contents(), expected);
}

TEST(FileDestBuffer, ThatIsNotAttachedCountsAndWritesNothing) {
  FileDestBuffer sink;
  sink.copy("abc", 3);
  sink.fill(1, 4);
  EXPECT_EQ(sink.bytesWritten(), 7u);
  EXPECT_FALSE(sink.check());
  EXPECT_EQ(elf_errno(), 64);

  TempFile closed;
  const int id = closed.id();
  closed.close_id();
  EXPECT_FALSE(sink.attach(id));
  EXPECT_EQ(elf_errno(), 88);
}

}  // namespace
}  // namespace ambielf::test
