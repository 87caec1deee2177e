#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "Bitstream.h"

using strmcommon::BitstreamBuilder;
using strmcommon::BitstreamReader;
using strmcommon::Packet;

namespace {

// Exposes the packet's fields to the tests.
class PacketProbe : public Packet {
 public:
  using Packet::m_dataPos;
  using Packet::m_owned;
  using Packet::m_pos;
  using Packet::m_ptr;
  using Packet::m_size;
};

class ReaderProbe : public BitstreamReader {
 public:
  using BitstreamReader::m_bitsLeft;
  using BitstreamReader::m_cur;
  using BitstreamReader::m_curByte;
  using BitstreamReader::m_start;
};

class BuilderProbe : public BitstreamBuilder {
 public:
  using BitstreamBuilder::m_accum;
  using BitstreamBuilder::m_bitsFree;
  using BitstreamBuilder::m_cur;
  using BitstreamBuilder::m_size;
  using BitstreamBuilder::m_start;
};

}  // namespace

// ---- Packet ----

TEST(Packet, StartsEmptyAndNotOwned) {
  PacketProbe p;
  EXPECT_EQ(p.GetSize(), 0u);
  EXPECT_EQ(p.GetPtr(), nullptr);
  EXPECT_FALSE(p.m_owned);
  EXPECT_EQ(p.m_pos, 0u);
  EXPECT_EQ(p.m_dataPos, 0);
  EXPECT_EQ(p.m_tag, 0);
  for (double v : p.m_userValues) EXPECT_EQ(v, 0.0);
}

TEST(Packet, GetByteFailsForTheVeryLastByteOfThePacket) {
  unsigned char bytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  PacketProbe p;
  p.SetPtr(bytes, 10);
  unsigned char out = 0xEE;
  p.m_pos = 9;
  EXPECT_EQ(p.GetByte(&out, 1), -1);
  EXPECT_EQ(out, 0xEE);
  EXPECT_EQ(p.m_pos, 9u);
  p.m_pos = 8;
  EXPECT_EQ(p.GetByte(&out, 1), 0);
  EXPECT_EQ(out, 8);
  EXPECT_EQ(p.m_pos, 9u);
}

TEST(Packet, GetByteCopiesAndAdvancesTheByteCursorOnly) {
  unsigned char bytes[6] = {10, 11, 12, 13, 14, 15};
  PacketProbe p;
  p.SetPtr(bytes, 6);
  unsigned char out[4] = {};
  ASSERT_EQ(p.GetByte(out, 3), 0);
  EXPECT_EQ(out[0], 10);
  EXPECT_EQ(out[2], 12);
  EXPECT_EQ(p.m_pos, 3u);
  EXPECT_EQ(p.m_dataPos, 0);
  EXPECT_EQ(p.GetByte(out, 3), -1);  // would end on the last byte
  EXPECT_EQ(p.GetByte(out, 2), 0);
  EXPECT_EQ(out[1], 14);
}

TEST(Packet, GetByteOnEmptyPacketFailsEvenForZeroCount) {
  Packet p;
  unsigned char out = 0;
  EXPECT_EQ(p.GetByte(&out, 0), -1);
  unsigned char byte = 1;
  p.SetPtr(&byte, 0);  // a buffer but no size: 0 + 0 >= 0
  EXPECT_EQ(p.GetByte(&out, 0), -1);
}

TEST(Packet, GetByteOfZeroCountAtLegalPositionSucceeds) {
  unsigned char bytes[3] = {1, 2, 3};
  PacketProbe p;
  p.SetPtr(bytes, 3);
  p.m_pos = 1;
  EXPECT_EQ(p.GetByte(nullptr, 0), 0);
  EXPECT_EQ(p.m_pos, 1u);
}

TEST(Packet, UngetByteAndResetPosMoveTheByteCursorUnchecked) {
  unsigned char bytes[8] = {};
  PacketProbe p;
  p.SetPtr(bytes, 8);
  unsigned char out[4];
  ASSERT_EQ(p.GetByte(out, 4), 0);
  p.UngetByte(3);
  EXPECT_EQ(p.m_pos, 1u);
  p.UngetByte(2);
  EXPECT_EQ(p.m_pos, 0xFFFFFFFFu);
  p.ResetPos();
  EXPECT_EQ(p.m_pos, 0u);
}

TEST(Packet, DataCursorIsIndependentOfTheByteCursor) {
  unsigned char bytes[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  PacketProbe p;
  p.SetPtr(bytes, 8);
  p.SetDataPos(3);
  EXPECT_EQ(p.GetDataPtr(), bytes + 3);
  EXPECT_EQ(p.GetDataSize(), 5);
  p.MoveDataPos(-1);
  EXPECT_EQ(p.GetDataPtr(), bytes + 2);
  EXPECT_EQ(p.GetDataSize(), 6);
  EXPECT_EQ(p.m_pos, 0u);
  unsigned char out;
  ASSERT_EQ(p.GetByte(&out, 1), 0);
  EXPECT_EQ(out, 0);
  EXPECT_EQ(p.m_dataPos, 2);
}

TEST(Packet, PtrAllocOwnsAFreshBufferAndResetsCursors) {
  PacketProbe p;
  unsigned char bytes[4] = {};
  p.SetPtr(bytes, 4);
  p.SetDataPos(2);
  EXPECT_EQ(p.PtrAlloc(16), 0);
  EXPECT_EQ(p.GetSize(), 16u);
  EXPECT_NE(p.GetPtr(), nullptr);
  EXPECT_NE(p.GetPtr(), bytes);
  EXPECT_TRUE(p.m_owned);
  EXPECT_EQ(p.m_dataPos, 0);
}

TEST(Packet, PtrAllocOfZeroLeavesNoBuffer) {
  PacketProbe p;
  EXPECT_EQ(p.PtrAlloc(0), 0);
  EXPECT_EQ(p.GetPtr(), nullptr);
  EXPECT_EQ(p.GetSize(), 0u);
}

TEST(Packet, PtrFreeKeepsTagAndOwnedFlag) {
  PacketProbe p;
  p.PtrAlloc(8);
  p.m_tag = 77;
  p.SetDataPos(3);
  p.PtrFree();
  EXPECT_EQ(p.GetPtr(), nullptr);
  EXPECT_EQ(p.GetSize(), 0u);
  EXPECT_EQ(p.m_pos, 0u);
  EXPECT_EQ(p.m_dataPos, 0);
  EXPECT_EQ(p.m_tag, 77);
  EXPECT_TRUE(p.m_owned);
}

TEST(Packet, PtrResizeGrowingMakesAnOwningCopyAndLeavesTheSourceAlone) {
  unsigned char bytes[4] = {1, 2, 3, 4};
  PacketProbe p;
  p.SetPtr(bytes, 4);
  p.SetDataPos(1);
  EXPECT_EQ(p.PtrResize(8), 0);
  EXPECT_EQ(p.GetSize(), 8u);
  EXPECT_NE(p.GetPtr(), bytes);
  EXPECT_TRUE(p.m_owned);
  EXPECT_EQ(0, memcmp(p.GetPtr(), bytes, 4));
  EXPECT_EQ(p.m_dataPos, 1);  // cursors untouched
  p.GetPtr()[0] = 9;
  EXPECT_EQ(bytes[0], 1);
}

TEST(Packet, PtrResizeShrinkingOrToZeroKeepsTheBuffer) {
  PacketProbe p;
  p.PtrAlloc(8);
  unsigned char* buffer = p.GetPtr();
  EXPECT_EQ(p.PtrResize(3), 0);
  EXPECT_EQ(p.GetPtr(), buffer);
  EXPECT_EQ(p.GetSize(), 3u);
  EXPECT_EQ(p.PtrResize(0), 0);
  EXPECT_EQ(p.GetPtr(), buffer);
  EXPECT_EQ(p.GetSize(), 0u);
  // Growing again compares with the current size, not with the buffer's real length.
  EXPECT_EQ(p.PtrResize(5), 0);
  EXPECT_NE(p.GetPtr(), nullptr);
  EXPECT_EQ(p.GetSize(), 5u);
}

TEST(Packet, PtrResizeOfEmptyPacketAllocates) {
  PacketProbe p;
  EXPECT_EQ(p.PtrResize(4), 0);
  EXPECT_NE(p.GetPtr(), nullptr);
  EXPECT_TRUE(p.m_owned);
}

TEST(Packet, AssignmentGivesANonOwningViewWithTagAndCursors) {
  PacketProbe src;
  src.PtrAlloc(10);
  src.m_tag = 5;
  src.m_userValues[0] = 1.5;
  unsigned char out[2];
  src.GetByte(out, 2);
  src.SetDataPos(4);
  PacketProbe dst;
  dst.m_userValues[0] = 2.5;
  dst = src;
  EXPECT_EQ(dst.GetPtr(), src.GetPtr());
  EXPECT_EQ(dst.GetSize(), 10u);
  EXPECT_EQ(dst.m_tag, 5);
  EXPECT_EQ(dst.m_pos, 2u);
  EXPECT_EQ(dst.m_dataPos, 4);
  EXPECT_FALSE(dst.m_owned);
  EXPECT_EQ(dst.m_userValues[0], 2.5);  // the engine's values are not copied
  EXPECT_TRUE(src.m_owned);
}

TEST(Packet, CopyConstructionIsAViewWithFreshEngineValues) {
  PacketProbe src;
  src.PtrAlloc(4);
  src.m_userValues[3] = 7.0;
  Packet copy(src);
  EXPECT_EQ(copy.GetPtr(), src.GetPtr());
  EXPECT_EQ(copy.m_userValues[3], 0.0);
}

TEST(Packet, SetPtrReleasesAnOwnedBufferAndAdoptsAView) {
  PacketProbe p;
  p.PtrAlloc(32);  // released here; ASan would report a leak otherwise
  unsigned char bytes[3] = {};
  p.SetPtr(bytes, 3);
  EXPECT_EQ(p.GetPtr(), bytes);
  EXPECT_EQ(p.GetSize(), 3u);
  EXPECT_FALSE(p.m_owned);
}

// ---- BitstreamReader ----

TEST(BitstreamReader, ResetTakesFirstByteAndEightBits) {
  unsigned char bytes[2] = {0x5A, 0x01};
  ReaderProbe r;
  r.Reset(bytes, 2);
  EXPECT_EQ(r.m_start, bytes);
  EXPECT_EQ(r.m_cur, bytes);
  EXPECT_EQ(r.m_curByte, 0x5A);
  EXPECT_EQ(r.m_bitsLeft, 8);
}

TEST(BitstreamReader, ResetWithNullBufferHasNoBitsAndReadsNothing) {
  ReaderProbe r;
  r.Reset(nullptr, 0);
  EXPECT_EQ(r.m_bitsLeft, 0);
  EXPECT_EQ(r.m_curByte, 0);
  unsigned int v = 0x1234;
  r.GetBits(4, v);
  EXPECT_EQ(v, 0x1234u);
}

TEST(BitstreamReader, ReadsNibbleByteNibbleAcrossByteBorders) {
  unsigned char bytes[2] = {0xAB, 0xCD};
  BitstreamReader r;
  r.Reset(bytes, 2);
  unsigned int a = 0, b = 0, c = 0;
  r.GetBits(4, a);
  r.GetBits(8, b);
  r.GetBits(4, c);
  EXPECT_EQ(a, 0xAu);
  EXPECT_EQ(b, 0xBCu);
  EXPECT_EQ(c, 0xDu);
}

TEST(BitstreamReader, ReadEndingOnTheLastBitSucceedsThenZeroBitReadLeavesOutput) {
  unsigned char bytes[2] = {0x12, 0x34};
  BitstreamReader r;
  r.Reset(bytes, 2);
  unsigned int v = 0;
  r.GetBits(16, v);
  EXPECT_EQ(v, 0x1234u);
  r.GetBits(0, v);  // cursor at the end: nothing happens
  EXPECT_EQ(v, 0x1234u);
}

TEST(BitstreamReader, ReadLongerThanTheBufferLeavesOutputAndConsumesNothing) {
  unsigned char bytes[2] = {0x12, 0x34};
  ReaderProbe r;
  r.Reset(bytes, 2);
  unsigned int v = 0xDEADBEEF;
  r.GetBits(17, v);
  EXPECT_EQ(v, 0xDEADBEEFu);
  EXPECT_EQ(r.m_cur, bytes);
  EXPECT_EQ(r.m_bitsLeft, 8);
  r.GetBits(16, v);
  EXPECT_EQ(v, 0x1234u);
}

TEST(BitstreamReader, PartialReadThatWouldOverrunLeavesPositionAlone) {
  unsigned char bytes[2] = {0xF0, 0x0F};
  ReaderProbe r;
  r.Reset(bytes, 2);
  unsigned int v = 0;
  r.GetBits(3, v);
  EXPECT_EQ(v, 7u);
  v = 99;
  r.GetBits(14, v);  // 13 bits are left
  EXPECT_EQ(v, 99u);
  EXPECT_EQ(r.m_bitsLeft, 5);
  r.GetBits(13, v);
  EXPECT_EQ(v, 0x100Fu);
}

TEST(BitstreamReader, ZeroBitReadInsideTheBufferZeroesTheOutput) {
  unsigned char bytes[1] = {0xFF};
  ReaderProbe r;
  r.Reset(bytes, 1);
  int v = 42;
  r.GetBits(0, v);
  EXPECT_EQ(v, 0);
  EXPECT_EQ(r.m_bitsLeft, 8);
}

TEST(BitstreamReader, SignedFormIsNotSignExtended) {
  unsigned char bytes[4] = {0xFF, 0xFF, 0xFF, 0xFE};
  BitstreamReader r;
  r.Reset(bytes, 4);
  int v = 0;
  r.GetBits(4, v);
  EXPECT_EQ(v, 15);
  r.Reset(bytes, 4);
  r.GetBits(32, v);
  EXPECT_EQ(static_cast<unsigned int>(v), 0xFFFFFFFEu);
}

TEST(BitstreamReader, WideFormReadsA33BitFieldAndTheFollowingSixBits) {
  // 33-bit value 0x1_2345_6789, then 6 bits 0b101101, then padding ones.
  unsigned long long field = 0x123456789ULL;
  unsigned long long all = (field << 31) | (0x2DULL << 25) | 0x1FFFFFFULL;
  unsigned char bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(all >> (56 - 8 * i));
  BitstreamReader r;
  r.Reset(bytes, 8);
  unsigned long long wide = 0;
  unsigned int w = 0;
  r.GetBits(33, wide);
  r.GetBits(6, w);
  EXPECT_EQ(wide, field);
  EXPECT_EQ(w, 0x2Du);
}

TEST(BitstreamReader, WideFormReadsAll64Bits) {
  unsigned char bytes[9] = {0x80, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xFF};
  BitstreamReader r;
  r.Reset(bytes, 9);
  unsigned long long v = 0;
  r.GetBits(64, v);
  EXPECT_EQ(v, 0x8001020304050607ULL);
}

TEST(BitstreamReader, ReadsTakeBytesThroughTheCursorNotTheResetCopy) {
  unsigned char bytes[2] = {0x00, 0x00};
  BitstreamReader r;
  r.Reset(bytes, 2);
  bytes[0] = 0xC3;
  unsigned int v = 0;
  r.GetBits(8, v);
  EXPECT_EQ(v, 0xC3u);
}

TEST(BitstreamReader, SkipBytesRefusesToLandExactlyOnTheEnd) {
  unsigned char bytes[4] = {1, 2, 3, 4};
  ReaderProbe r;
  r.Reset(bytes, 4);
  r.SkipBytes(4);
  EXPECT_EQ(r.m_cur, bytes);
  r.SkipBits(32);
  EXPECT_EQ(r.m_cur, bytes + 4);
}

TEST(BitstreamReader, SkipBytesCountsFromTheCurrentByteAndDropsThePartialPosition) {
  unsigned char bytes[4] = {0x00, 0x00, 0xA5, 0x00};
  ReaderProbe r;
  r.Reset(bytes, 4);
  r.SkipBits(3);
  r.SkipBytes(2);
  EXPECT_EQ(r.m_cur, bytes + 2);
  EXPECT_EQ(r.m_bitsLeft, 8);
  unsigned int v = 0;
  r.GetBits(8, v);
  EXPECT_EQ(v, 0xA5u);
}

TEST(BitstreamReader, SkipOfZeroOrNegativeCountDoesNothing) {
  unsigned char bytes[2] = {};
  ReaderProbe r;
  r.Reset(bytes, 2);
  r.SkipBits(0);
  r.SkipBits(-3);
  r.SkipBytes(0);
  r.SkipBytes(-1);
  EXPECT_EQ(r.m_cur, bytes);
  EXPECT_EQ(r.m_bitsLeft, 8);
}

TEST(BitstreamReader, SkipBitsWithinAndAcrossBytes) {
  unsigned char bytes[3] = {0x00, 0x3C, 0x00};
  ReaderProbe r;
  r.Reset(bytes, 3);
  r.SkipBits(5);
  EXPECT_EQ(r.m_bitsLeft, 3);
  EXPECT_EQ(r.m_cur, bytes);
  r.SkipBits(5);  // 3 from this byte, 2 from the next
  EXPECT_EQ(r.m_cur, bytes + 1);
  EXPECT_EQ(r.m_bitsLeft, 6);
  unsigned int v = 0;
  r.GetBits(4, v);
  EXPECT_EQ(v, 0xFu);
}

TEST(BitstreamReader, SkipBitsEqualToBitsLeftMovesToTheNextByte) {
  unsigned char bytes[2] = {0xFF, 0x80};
  ReaderProbe r;
  r.Reset(bytes, 2);
  r.SkipBits(8);
  EXPECT_EQ(r.m_cur, bytes + 1);
  EXPECT_EQ(r.m_bitsLeft, 8);
}

TEST(BitstreamReader, SkipBitsBeyondTheEndDoesNothing) {
  unsigned char bytes[2] = {};
  ReaderProbe r;
  r.Reset(bytes, 2);
  r.SkipBits(4);
  r.SkipBits(13);
  EXPECT_EQ(r.m_cur, bytes);
  EXPECT_EQ(r.m_bitsLeft, 4);
}

TEST(BitstreamReader, SkipAtTheEndDoesNothing) {
  unsigned char bytes[1] = {0xFF};
  ReaderProbe r;
  r.Reset(bytes, 1);
  r.SkipBits(8);
  ASSERT_EQ(r.m_cur, bytes + 1);
  r.SkipBits(1);
  r.SkipBytes(1);
  EXPECT_EQ(r.m_cur, bytes + 1);
}

// ---- BitstreamBuilder ----

TEST(BitstreamBuilder, TwoFieldsFillOneByte) {
  unsigned char bytes[2] = {0x00, 0x00};
  BitstreamBuilder b;
  b.Reset(bytes, 2);
  b.AddBits(0x3, 2);
  EXPECT_EQ(bytes[0], 0xC0);  // every call stores the byte it touched
  b.AddBits(0x3F, 6);
  EXPECT_EQ(bytes[0], 0xFF);
  EXPECT_EQ(bytes[1], 0x00);
}

TEST(BitstreamBuilder, FirstByteStartsFromZeroAndLaterBytesArePatchedInPlace) {
  unsigned char bytes[2] = {0xAA, 0xAA};
  BitstreamBuilder b;
  b.Reset(bytes, 2);
  b.AddBits(0, 8);
  b.AddBits(1, 1);
  EXPECT_EQ(bytes[0], 0x00);
  EXPECT_EQ(bytes[1], 0xAA | 0x80);
}

TEST(BitstreamBuilder, FirstByteStartsFromZeroEvenForAPartialField) {
  unsigned char bytes[1] = {0xFF};
  BitstreamBuilder b;
  b.Reset(bytes, 1);
  b.AddBits(1, 1);
  EXPECT_EQ(bytes[0], 0x80);
}

TEST(BitstreamBuilder, FieldsCrossByteBordersMostSignificantFirst) {
  unsigned char bytes[3] = {0xFF, 0xFF, 0xFF};
  BitstreamBuilder b;
  b.Reset(bytes, 3);
  b.AddBits(0x5, 3);
  b.AddBits(0x1234, 16);  // 5 bits here, 8 in the next byte, 3 in the last
  EXPECT_EQ(bytes[0], 0xA0 | (0x1234 >> 11));
  EXPECT_EQ(bytes[1], (0x1234 >> 3) & 0xFF);
  EXPECT_EQ(bytes[2], ((0x1234 & 0x7) << 5) | 0x1F);  // bits not written keep the old content
}

TEST(BitstreamBuilder, RewritingAFieldClearsItsOldBits) {
  unsigned char bytes[2] = {0xFF, 0xFF};
  BitstreamBuilder b;
  b.Reset(bytes, 2);
  b.AddBits(0, 4);
  b.AddBits(0xF, 4);
  b.AddBits(0x0, 3);  // patches the top three bits of the second byte
  EXPECT_EQ(bytes[0], 0x0F);
  EXPECT_EQ(bytes[1], 0x1F);
}

TEST(BitstreamBuilder, ValueWiderThanCountSpillsIntoTheNeighbouringBits) {
  unsigned char bytes[1] = {0x00};
  BitstreamBuilder b;
  b.Reset(bytes, 1);
  b.AddBits(0, 2);
  b.AddBits(0x7, 2);          // only two bits asked for, three given
  EXPECT_EQ(bytes[0], 0x70);  // field bits 0x30 plus the spilled 0x40
}

TEST(BitstreamBuilder, BitsBeyondTheEndAreLostSilently) {
  unsigned char bytes[3] = {0x00, 0x00, 0x77};
  BitstreamBuilder b;
  b.Reset(bytes, 2);
  b.AddBits(0xFFFF, 16);
  b.AddBits(0x1, 1);
  b.AddBits(0xFF, 8);
  EXPECT_EQ(bytes[0], 0xFF);
  EXPECT_EQ(bytes[1], 0xFF);
  EXPECT_EQ(bytes[2], 0x77);
}

TEST(BitstreamBuilder, DefaultBuilderWritesNothing) {
  BuilderProbe b;
  b.AddBits(1, 1);  // no buffer: returns at once
  b.AddBits(0xFF, 8);
  EXPECT_EQ(b.m_start, nullptr);
  EXPECT_EQ(b.m_cur, nullptr);
  EXPECT_EQ(b.m_size, 0);
  EXPECT_EQ(b.m_accum, 0);
  EXPECT_EQ(b.m_bitsFree, 8);
}

TEST(BitstreamBuilder, BuilderOverAnEmptyBufferLeavesTheBytesThere) {
  unsigned char bytes[2] = {0xAA, 0xAA};
  BuilderProbe b;
  b.Reset(bytes, 0);
  b.AddBits(0x55, 8);
  b.AddBits(1, 1);
  EXPECT_EQ(bytes[0], 0xAA);
  EXPECT_EQ(bytes[1], 0xAA);
  EXPECT_EQ(b.m_cur, bytes);
  EXPECT_EQ(b.m_bitsFree, 8);
}

TEST(BitstreamBuilder, ReaderReadsBackWhatTheBuilderWrote) {
  std::vector<unsigned char> bytes(16, 0);
  BitstreamBuilder b;
  b.Reset(bytes.data(), 16);
  const unsigned int values[] = {1, 0x2A, 0x3, 0x1FFF, 0, 0x12345, 0x7};
  const int widths[] = {1, 6, 2, 13, 3, 17, 3};
  for (int i = 0; i < 7; ++i) b.AddBits(values[i], widths[i]);
  BitstreamReader r;
  r.Reset(bytes.data(), 16);
  for (int i = 0; i < 7; ++i) {
    unsigned int v = 0xFFFFFFFF;
    r.GetBits(widths[i], v);
    EXPECT_EQ(v, values[i]) << "field " << i;
  }
}
