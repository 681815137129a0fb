#include "kyv/byte_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace {

TEST(ByteBuffer, KeepsWhatWasAppendedWhileItGrows) {
  kyv::ByteBuffer buffer;
  std::string expected;
  for (std::size_t length = 0; length < 700; ++length) {
    const std::string piece(length, static_cast<char>('a' + length % 26));
    buffer.append(piece);
    expected += piece;
  }
  EXPECT_EQ(buffer.view(), expected);
  buffer.truncate(3);
  EXPECT_EQ(buffer.view(), "bcc");
  const char* memory = buffer.data();
  buffer.clear();
  EXPECT_TRUE(buffer.empty());
  EXPECT_EQ(buffer.prepare(expected.size()), memory) << "clear keeps the memory";
}

TEST(ByteBuffer, CountsPreparedRoomOnlyOnceItIsCommitted) {
  kyv::ByteBuffer buffer;
  buffer.append("head");
  std::memcpy(buffer.prepare(100'000), "body", 4);
  EXPECT_EQ(buffer.view(), "head");
  buffer.commit(4);
  EXPECT_EQ(buffer.view(), "headbody");
}

TEST(ByteBuffer, RefusesSizesBeyondMemoryAndStaysAsItWas) {
  kyv::ByteBuffer buffer;
  buffer.append("kept");
  for (const std::size_t bytes : {SIZE_MAX, SIZE_MAX - 3, std::size_t{PTRDIFF_MAX}}) {
    EXPECT_THROW(buffer.prepare(bytes), std::bad_alloc) << bytes;
    EXPECT_EQ(buffer.view(), "kept") << bytes;
  }
}

TEST(ByteBuffer, MovesItsMemory) {
  kyv::ByteBuffer first;
  first.append("one");
  kyv::ByteBuffer second(std::move(first));
  EXPECT_EQ(second.view(), "one");
  first.append("two");
  second = std::move(first);
  EXPECT_EQ(second.view(), "two");
  EXPECT_TRUE(first.empty());
  kyv::ByteBuffer& same = second;
  second = std::move(same);
  EXPECT_EQ(second.view(), "two");
}

}  // namespace
