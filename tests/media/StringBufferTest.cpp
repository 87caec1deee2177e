#include <gtest/gtest.h>

#include <string>

#include "IArrayBuffer.h"
#include "StringBuffer.h"

using strmcommon::IArrayBuffer;
using strmcommon::IOutputBuffer;
using strmcommon::StringBuffer;

TEST(StringBuffer, PushBackAppendsAndAlwaysSucceeds) {
  StringBuffer b(16);
  EXPECT_TRUE(b.Empty());
  EXPECT_TRUE(b.PushBack(const_cast<char*>("abcd"), 4));
  EXPECT_TRUE(b.PushBack(const_cast<char*>("ef"), 2));
  EXPECT_FALSE(b.Empty());
  EXPECT_EQ(b.Size(), 6u);
  EXPECT_EQ(b.GetString(), "abcdef");
}

TEST(StringBuffer, PopFrontTakesTheOldestBytes) {
  StringBuffer b(0);
  b.PushBack(const_cast<char*>("abcd"), 4);
  char out[8] = {};
  ASSERT_TRUE(b.PopFront(1, out));
  EXPECT_EQ(out[0], 'a');
  EXPECT_EQ(b.GetString(), "bcd");
  EXPECT_FALSE(b.PopFront(5, out));
  EXPECT_EQ(b.GetString(), "bcd");
  EXPECT_EQ(b.FreeSize(), 0x200000u - 3);
  ASSERT_TRUE(b.PopFront(3, out));
  EXPECT_EQ(std::string(out, 3), "bcd");
  EXPECT_TRUE(b.Empty());
}

TEST(StringBuffer, PopFrontOfZeroBytesSucceeds) {
  StringBuffer b(0);
  char out[1] = {'x'};
  EXPECT_TRUE(b.PopFront(0, out));
  EXPECT_EQ(out[0], 'x');
}

TEST(StringBuffer, HasNoLimitAndFreeSizeWrapsPastTwoMebibytes) {
  StringBuffer b(0);
  std::string big(0x200000 + 10, 'z');
  EXPECT_TRUE(b.PushBack(big.data(), static_cast<unsigned int>(big.size())));
  EXPECT_EQ(b.Size(), 0x20000Au);
  EXPECT_EQ(b.FreeSize(), static_cast<unsigned int>(-10));
}

TEST(StringBuffer, MaxAndAdjustSizeAreFixedAndDifferFromTheFreeSizeBase) {
  StringBuffer b(0);
  EXPECT_EQ(b.MaxSize(), 0x7FFFFFFu);
  EXPECT_EQ(b.AdjustSize(0), 0x7FFFFFFu);
  EXPECT_EQ(b.AdjustSize(1000), 0x7FFFFFFu);
  b.SetMaxSize(10);
  EXPECT_EQ(b.MaxSize(), 0x7FFFFFFu);
  EXPECT_EQ(b.FreeSize(), 0x200000u);
}

TEST(StringBuffer, SinglePacketOperationsDoNothing) {
  StringBuffer b(0);
  b.PushBack(const_cast<char*>("xyz"), 3);
  b.PopFront();
  EXPECT_EQ(b.Size(), 3u);
  char out[4] = {'-', '-', '-', '-'};
  EXPECT_FALSE(b.GetFront(out));
  EXPECT_EQ(out[0], '-');
}

TEST(StringBuffer, ClearReturnsTheFormerSize) {
  StringBuffer b(0);
  b.PushBack(const_cast<char*>("hello"), 5);
  EXPECT_EQ(b.Clear(), 5u);
  EXPECT_EQ(b.Clear(), 0u);
  EXPECT_TRUE(b.Empty());
}

TEST(StringBuffer, KeepsBinaryBytes) {
  StringBuffer b(0);
  unsigned char bytes[4] = {0x00, 0xFF, 0x00, 0x47};
  b.PushBack(bytes, 4);
  EXPECT_EQ(b.GetString(), std::string("\0\xFF\0\x47", 4));
}

TEST(StringBuffer, WorksThroughTheInterfaces) {
  StringBuffer b(0);
  IOutputBuffer& sink = b;
  EXPECT_TRUE(sink.PushBack(const_cast<char*>("ab"), 2));
  IArrayBuffer& array = b;
  char out[2];
  EXPECT_TRUE(array.PopFront(2, out));
  EXPECT_TRUE(sink.Empty());
  IOutputBuffer* owned = new StringBuffer(4);
  delete owned;  // the destructor is virtual
}
