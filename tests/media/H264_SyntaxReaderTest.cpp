#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Bitstream.h"
#include "H264_SyntaxReader.h"

using strmcommon::H264_SyntaxReader;
using strmcommon::H264HeaderParser;
using strmcommon::H264SequenceSetParse;
using strmcommon::Packet;

namespace {

class ParserProbe : public H264HeaderParser {
 public:
  using H264HeaderParser::m_packet;
  using H264HeaderParser::m_startCode;
  using H264HeaderParser::m_zeroCount;
};

// Bytes from a string of '0' and '1' characters (spaces ignored), padded with zero bits.
std::vector<unsigned char> Bits(const std::string& text) {
  std::vector<unsigned char> bytes;
  int n = 0;
  for (char c : text) {
    if (c != '0' && c != '1') continue;
    if (n % 8 == 0) bytes.push_back(0);
    if (c == '1') bytes.back() |= static_cast<unsigned char>(0x80 >> (n % 8));
    ++n;
  }
  return bytes;
}

// A reader over its own copy of the bytes.
struct ReaderOver {
  explicit ReaderOver(std::vector<unsigned char> data) : bytes(std::move(data)), reader(&packet) {
    packet.SetPtr(bytes.data(), static_cast<unsigned int>(bytes.size()));
  }
  std::vector<unsigned char> bytes;
  Packet packet;
  H264_SyntaxReader reader;
};

std::vector<unsigned char> Payload(ReaderOver& r) {
  std::vector<unsigned char> out;
  unsigned char b = 0;
  while (r.reader.Increment(b) == 0) out.push_back(b);
  return out;
}

// Writes Exp-Golomb and fixed fields as a '0'/'1' string, for hand-made SPS payloads.
struct SpsWriter {
  std::string bits;
  SpsWriter& U(unsigned int value, int width) {
    for (int i = width - 1; i >= 0; --i) bits += ((value >> i) & 1) ? '1' : '0';
    return *this;
  }
  SpsWriter& UE(unsigned int value) {
    unsigned long long code = static_cast<unsigned long long>(value) + 1;
    int len = 0;
    while ((code >> len) > 1) ++len;
    bits.append(len, '0');
    for (int i = len; i >= 0; --i) bits += ((code >> i) & 1) ? '1' : '0';
    return *this;
  }
  SpsWriter& SE(int value) { return UE(value > 0 ? 2 * value - 1 : -2 * value); }
  // One stop bit and padding, as an RBSP ends.
  std::vector<unsigned char> Bytes() const { return Bits(bits + "1"); }
};

// profile_idc, constraint flags and reserved bits, level_idc, seq_parameter_set_id.
SpsWriter SpsStart(unsigned int profile, unsigned int id = 0) {
  SpsWriter w;
  w.U(profile, 8).U(0, 8).U(40, 8).UE(id);
  return w;
}

// From log2_max_frame_num_minus4 up to the cropping fields, poc type 0.
void SpsPicture(SpsWriter& w, unsigned int widthMbs1, unsigned int heightMapUnits1,
                unsigned int frameMbsOnly, bool crop, unsigned int left = 0, unsigned int right = 0,
                unsigned int top = 0, unsigned int bottom = 0) {
  w.UE(0).UE(0).UE(2);  // log2_max_frame_num_minus4, poc type 0, log2_max_poc_lsb_minus4
  w.UE(4).U(0, 1);      // max_num_ref_frames, gaps flag
  w.UE(widthMbs1).UE(heightMapUnits1).U(frameMbsOnly, 1);
  if (!frameMbsOnly) w.U(1, 1);
  w.U(1, 1).U(crop ? 1 : 0, 1);
  if (crop) w.UE(left).UE(right).UE(top).UE(bottom);
}

}  // namespace

// ---- H264_SyntaxReader ----

TEST(H264_SyntaxReader, IncrementAtTheEndReturnsMinusNineAndZeroesTheOutput) {
  ReaderOver r({});
  unsigned char b = 0x55;
  EXPECT_EQ(r.reader.Increment(b), -9);
  EXPECT_EQ(b, 0);
}

TEST(H264_SyntaxReader, EmulationPreventionByteAfterTwoZerosIsDropped) {
  ReaderOver r({0x00, 0x00, 0x03, 0x01});
  EXPECT_EQ(Payload(r), (std::vector<unsigned char>{0x00, 0x00, 0x01}));
}

TEST(H264_SyntaxReader, ThirdZeroRestartsTheCountSoTheThreeIsKept) {
  ReaderOver r({0x00, 0x00, 0x00, 0x03, 0x01});
  EXPECT_EQ(Payload(r), (std::vector<unsigned char>{0x00, 0x00, 0x00, 0x03, 0x01}));
}

TEST(H264_SyntaxReader, ZeroAfterAnEmulationPreventionByteIsNotCounted) {
  // The second 03 follows only one counted zero, so it stays in the payload.
  ReaderOver r({0x00, 0x00, 0x03, 0x00, 0x00, 0x03});
  EXPECT_EQ(Payload(r), (std::vector<unsigned char>{0x00, 0x00, 0x00, 0x00, 0x03}));
}

TEST(H264_SyntaxReader, FourZerosCountAgainFromOne) {
  // Zeros 1,2 then the third resets to 0, the fourth makes 1: 03 is kept after four zeros.
  ReaderOver four({0x00, 0x00, 0x00, 0x00, 0x03});
  EXPECT_EQ(Payload(four).size(), 5u);
  // Five zeros make the count two again, and 03 is dropped.
  ReaderOver five({0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0x07});
  EXPECT_EQ(Payload(five), (std::vector<unsigned char>{0, 0, 0, 0, 0, 0x07}));
}

TEST(H264_SyntaxReader, EmulationPreventionByteAtTheEndOfTheDataIsTheEnd) {
  ReaderOver r({0x00, 0x00, 0x03});
  unsigned char b = 0;
  EXPECT_EQ(r.reader.Increment(b), 0);
  EXPECT_EQ(r.reader.Increment(b), 0);
  b = 9;
  EXPECT_EQ(r.reader.Increment(b), -9);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(r.packet.GetDataSize(), 0);
}

TEST(H264_SyntaxReader, WalksTheDataCursorNotTheByteCursor) {
  ReaderOver r({0x11, 0x22, 0x33});
  unsigned char b = 0;
  r.reader.Increment(b);
  EXPECT_EQ(r.packet.GetDataPtr(), r.bytes.data() + 1);
  unsigned char out = 0;
  EXPECT_EQ(r.packet.GetByte(&out, 1), 0);
  EXPECT_EQ(out, 0x11);
}

TEST(H264_SyntaxReader, ReadUReadsMostSignificantFirstAcrossBytes) {
  ReaderOver r({0xA5, 0xF0});
  unsigned int v = 0;
  ASSERT_EQ(r.reader.ReadU(4, v), 0);
  EXPECT_EQ(v, 0xAu);
  ASSERT_EQ(r.reader.ReadU(8, v), 0);
  EXPECT_EQ(v, 0x5Fu);
}

TEST(H264_SyntaxReader, ReadUOfZeroOrNegativeCountGivesZero) {
  ReaderOver r({});
  unsigned int v = 7;
  EXPECT_EQ(r.reader.ReadU(0, v), 0);
  EXPECT_EQ(v, 0u);
  v = 7;
  EXPECT_EQ(r.reader.ReadU(static_cast<unsigned int>(-3), v), 0);
  EXPECT_EQ(v, 0u);
}

TEST(H264_SyntaxReader, ReadUPastTheEndFailsAndLeavesTheValue) {
  ReaderOver r({0xFF});
  unsigned int v = 1234;
  EXPECT_EQ(r.reader.ReadU(9, v), -1);
  EXPECT_EQ(v, 1234u);
}

TEST(H264_SyntaxReader, ReadUESmallCodes) {
  // 1 | 010 | 011 | 00100 | 00111 | 0001000
  ReaderOver r(Bits("1 010 011 00100 00111 0001000"));
  const unsigned int expected[] = {0, 1, 2, 3, 6, 7};
  for (unsigned int e : expected) {
    unsigned int v = 99;
    ASSERT_EQ(r.reader.ReadUE(v), 0);
    EXPECT_EQ(v, e);
  }
}

TEST(H264_SyntaxReader, ReadSEMapsCodesToAlternatingSigns) {
  ReaderOver r(Bits("010 011 00100 00101 1"));
  const int expected[] = {1, -1, 2, -2, 0};
  for (int e : expected) {
    int v = 99;
    ASSERT_EQ(r.reader.ReadSE(v), 0);
    EXPECT_EQ(v, e);
  }
}

TEST(H264_SyntaxReader, StreamEndingInsideAGolombPrefixFails) {
  ReaderOver r({0x00});
  unsigned int v = 5;
  EXPECT_EQ(r.reader.ReadUE(v), -1);
  EXPECT_EQ(v, 0u);  // ReadUE zeroes its value first
  ReaderOver s({0x00});
  int sv = 5;
  EXPECT_EQ(s.reader.ReadSE(sv), -1);
  EXPECT_EQ(sv, 5);
  ReaderOver c({0x00});
  int zeros = 77;
  EXPECT_EQ(c.reader.CountGolombLength(zeros), -1);
  EXPECT_EQ(zeros, 77);
}

TEST(H264_SyntaxReader, StreamEndingInsideAGolombSuffixFails) {
  ReaderOver r(Bits("00001 010"));  // prefix of four zeros, then only three suffix bits
  unsigned int v = 5;
  EXPECT_EQ(r.reader.ReadUE(v), -1);
}

TEST(H264_SyntaxReader, CountGolombLengthHasNoUpperBound) {
  std::vector<unsigned char> bytes(6, 0x00);
  bytes.push_back(0x80);
  ReaderOver r(bytes);
  int zeros = 0;
  ASSERT_EQ(r.reader.CountGolombLength(zeros), 0);
  EXPECT_EQ(zeros, 48);
}

TEST(H264_SyntaxReader, ReadUETakesTheShiftCountModulo32) {
  // 33 leading zeros, a 1, then a 33-bit suffix of zeros ending in 1: 2^(33 mod 32) + 1 - 1.
  std::string bits(33, '0');
  bits += "1";
  bits += std::string(32, '0') + "1";
  ReaderOver r(Bits(bits));
  unsigned int v = 0;
  ASSERT_EQ(r.reader.ReadUE(v), 0);
  EXPECT_EQ(v, 2u);
}

TEST(H264_SyntaxReader, LoadByteDoesNothingWhileBitsRemain) {
  ReaderOver r({0x80, 0x00});
  ASSERT_EQ(r.reader.LoadByte(), 0);
  EXPECT_EQ(r.reader.GetBitIncrement(), 1);
  EXPECT_EQ(r.reader.LoadByte(), 0);
  EXPECT_EQ(r.packet.GetDataSize(), 1);
  EXPECT_EQ(r.reader.GetBitIncrement(), 0);
}

// ---- read_scaling_list ----

TEST(read_scaling_list, ZeroSizeReadsNothing) {
  ReaderOver r({});
  EXPECT_TRUE(read_scaling_list(r.reader, 0));
}

TEST(read_scaling_list, DeltaToZeroStopsReading) {
  // delta -8 makes nextScale 0 ("use the default list"): no more bits are read.
  SpsWriter w;
  w.SE(-8).U(1, 1);
  ReaderOver r(w.Bytes());
  ASSERT_TRUE(read_scaling_list(r.reader, 16));
  unsigned int marker = 0;
  ASSERT_EQ(r.reader.ReadU(1, marker), 0);
  EXPECT_EQ(marker, 1u);
}

TEST(read_scaling_list, ReadsOneDeltaPerEntryWhileNonZero) {
  SpsWriter w;
  for (int i = 0; i < 16; ++i) w.SE(i % 2 ? 3 : -1);
  w.U(0x5, 3);
  ReaderOver r(w.Bytes());
  ASSERT_TRUE(read_scaling_list(r.reader, 16));
  unsigned int marker = 0;
  ASSERT_EQ(r.reader.ReadU(3, marker), 0);
  EXPECT_EQ(marker, 0x5u);
}

TEST(read_scaling_list, WrapsScalesModulo256) {
  // 8 + 248 = 256 -> 0: the list ends after one delta.
  SpsWriter w;
  w.SE(248).U(0x3, 2);
  ReaderOver r(w.Bytes());
  ASSERT_TRUE(read_scaling_list(r.reader, 64));
  unsigned int marker = 0;
  ASSERT_EQ(r.reader.ReadU(2, marker), 0);
  EXPECT_EQ(marker, 0x3u);
}

TEST(read_scaling_list, FailsWhenTheDataEnds) {
  SpsWriter w;
  w.SE(1).SE(1);
  ReaderOver r(Bits(w.bits));
  EXPECT_FALSE(read_scaling_list(r.reader, 16));
}

// ---- H264HeaderParser::ParseHeader ----

TEST(H264HeaderParser, ConstructorClearsTheScanState) {
  ParserProbe p;
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
  EXPECT_EQ(p.GetSpsOffet(), 0);
}

TEST(H264HeaderParser, FindsSpsAfterFourByteStartCode) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x00, 0x01, 0x67, 0x42};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 1);
  EXPECT_EQ(p.GetSpsOffet(), 4);
}

TEST(H264HeaderParser, NonIdrSliceFirstGivesTwo) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x01, 0x41, 0x00, 0x00, 0x01, 0x67};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 2);
  EXPECT_EQ(p.GetSpsOffet(), 0);
}

TEST(H264HeaderParser, IdrSliceIsPassedOverAndClearsTheState) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x01, 0x65};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 0);
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
}

TEST(H264HeaderParser, OtherNalUnitsArePassedOver) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x00, 0x01, 0x09, 0xF0, 0x00, 0x00,
                          0x01, 0x06, 0x05, 0x00, 0x00, 0x01, 0x27, 0x64};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 1);
  EXPECT_EQ(p.GetSpsOffet(), 14);
}

TEST(H264HeaderParser, StartCodeSplitAcrossBuffersIsFound) {
  ParserProbe p;
  unsigned char first[] = {0xAB, 0x00, 0x00, 0x01};
  unsigned char second[] = {0x67, 0x4D};
  EXPECT_EQ(p.ParseHeader(first, sizeof first), 0);
  EXPECT_EQ(p.ParseHeader(second, sizeof second), 1);
  EXPECT_EQ(p.GetSpsOffet(), 0);
}

TEST(H264HeaderParser, ZerosSplitAcrossBuffersCount) {
  ParserProbe p;
  unsigned char first[] = {0x00};
  unsigned char second[] = {0x00, 0x01, 0x67};
  EXPECT_EQ(p.ParseHeader(first, 1), 0);
  EXPECT_EQ(p.ParseHeader(second, sizeof second), 1);
  EXPECT_EQ(p.GetSpsOffet(), 2);
}

TEST(H264HeaderParser, ZerosAfterTheOneAlsoMakeAStartCode) {
  ParserProbe p;
  unsigned char data[] = {0x01, 0x00, 0x00, 0x67};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 1);
  EXPECT_EQ(p.GetSpsOffet(), 3);
}

TEST(H264HeaderParser, ZerosSplitAroundTheOneMakeAStartCode) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x01, 0x00, 0x67};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 1);
}

TEST(H264HeaderParser, OneZeroIsNotEnough) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x01, 0x67};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 0);
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
}

TEST(H264HeaderParser, SecondOneWithTooFewZerosClearsTheState) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x01, 0x01};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 0);
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
}

TEST(H264HeaderParser, ByteBetweenZerosAndOneBreaksTheStartCode) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x05, 0x01, 0x67};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 0);
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
}

TEST(H264HeaderParser, EmptyOrNegativeSizeGivesZeroAndKeepsState) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00};
  ASSERT_EQ(p.ParseHeader(data, 2), 0);
  EXPECT_EQ(p.ParseHeader(data, 0), 0);
  EXPECT_EQ(p.ParseHeader(nullptr, -1), 0);
  EXPECT_EQ(p.m_zeroCount, 2);
}

TEST(H264HeaderParser, StateStaysAfterAResultUntilReset) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x01, 0x67};
  ASSERT_EQ(p.ParseHeader(data, sizeof data), 1);
  EXPECT_EQ(p.m_zeroCount, 2);
  EXPECT_TRUE(p.m_startCode);
  unsigned char slice[] = {0x41};
  EXPECT_EQ(p.ParseHeader(slice, 1), 2);  // still waiting for a NAL header
  p.Reset();
  EXPECT_EQ(p.m_zeroCount, 0);
  EXPECT_FALSE(p.m_startCode);
  EXPECT_EQ(p.GetSpsOffet(), 3);  // Reset leaves the offset
  EXPECT_EQ(p.ParseHeader(slice, 1), 0);
}

TEST(H264HeaderParser, NalRefIdcBitsAreIgnoredInTheType) {
  ParserProbe p;
  unsigned char data[] = {0x00, 0x00, 0x01, 0x07};
  EXPECT_EQ(p.ParseHeader(data, sizeof data), 1);
  p.Reset();
  unsigned char slice[] = {0x00, 0x00, 0x01, 0x21};
  EXPECT_EQ(p.ParseHeader(slice, sizeof slice), 2);
}

// ---- ParseSPS and CalcResolution ----

TEST(H264HeaderParser, ParseSpsOfZeroSizeFails) {
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  unsigned char data[1] = {0x42};
  EXPECT_FALSE(p.ParseSPS(data, 0, sps));
}

TEST(H264HeaderParser, Baseline720pGivesWidthAndHeightFields) {
  SpsWriter w = SpsStart(66, 3);
  SpsPicture(w, 79, 44, 1, false);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.seq_parameter_set_id, 3u);
  EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, 2u);
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 79u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 44u);
  EXPECT_EQ(sps.frame_mbs_only_flag, 1u);
  EXPECT_EQ(sps.frame_cropping_flag, 0u);
  int width = 0, height = 0;
  ASSERT_TRUE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 1280);
  EXPECT_EQ(height, 720);
}

TEST(H264HeaderParser, Progressive1080pWithBottomCrop) {
  SpsWriter w = SpsStart(100);
  w.UE(1).UE(0).UE(0).U(0, 1).U(0, 1);  // 4:2:0, 8 bit, no bypass, no matrix
  SpsPicture(w, 119, 67, 1, true, 0, 0, 0, 4);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.frame_crop_bottom_offset, 4u);
  int width = 0, height = 0;
  ASSERT_TRUE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 1920);
  EXPECT_EQ(height, 1080);
}

TEST(H264HeaderParser, InterlacedDoublesHeightAndVerticalCropUnit) {
  SpsWriter w = SpsStart(77);
  SpsPicture(w, 119, 33, 0, true, 0, 0, 0, 2);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.frame_mbs_only_flag, 0u);
  int width = 0, height = 0;
  ASSERT_TRUE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 1920);
  EXPECT_EQ(height, 34 * 2 * 16 - 2 * 2 * 2);
}

TEST(H264HeaderParser, HorizontalCropTakesTwoPixelsPerUnit) {
  SpsWriter w = SpsStart(77);
  SpsPicture(w, 53, 29, 1, true, 1, 4, 0, 0);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  int width = 0, height = 0;
  ASSERT_TRUE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 54 * 16 - 10);
  EXPECT_EQ(height, 480);
}

TEST(H264HeaderParser, PocTypeOneStoresTheFlagAndSkipsTheCycle) {
  SpsWriter w = SpsStart(77);
  w.UE(2).UE(1);                                    // log2_max_frame_num_minus4, poc type 1
  w.U(1, 1).SE(-3).SE(5).UE(3).SE(1).SE(-2).SE(7);  // flag, two offsets, 3 cycle entries
  w.UE(1).U(0, 1).UE(39).UE(29).U(1, 1).U(1, 1).U(0, 1);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  sps.log2_max_pic_order_cnt_lsb_minus4 = 0xAAAA;
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.log2_max_frame_num_minus4, 2u);
  EXPECT_EQ(sps.pic_order_cnt_type, 1u);
  EXPECT_EQ(sps.delta_pic_order_always_zero_flag, 1u);
  EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, 0xAAAAu);  // written only for type 0
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 39u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 29u);
}

TEST(H264HeaderParser, PocTypeTwoReadsNoPocFields) {
  SpsWriter w = SpsStart(66);
  w.UE(0).UE(2).UE(1).U(0, 1).UE(10).UE(8).U(1, 1).U(1, 1).U(0, 1);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.pic_order_cnt_type, 2u);
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 10u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 8u);
}

TEST(H264HeaderParser, HighProfileWithChroma444ReadsTheSeparatePlaneFlag) {
  SpsWriter w = SpsStart(122);
  w.UE(3).U(1, 1).UE(2).UE(2).U(0, 1).U(0, 1);
  SpsPicture(w, 39, 29, 1, false);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 39u);
}

TEST(H264HeaderParser, ScalingMatrixHasEightListsSixteenThenSixtyFourEntries) {
  for (unsigned int profile : {100u, 110u, 122u, 144u}) {
    SpsWriter w = SpsStart(profile);
    w.UE(1).UE(0).UE(0).U(0, 1).U(1, 1);
    for (int i = 0; i < 8; ++i) {
      w.U(1, 1);
      int entries = i < 6 ? 16 : 64;
      for (int k = 0; k < entries; ++k) w.SE(k == 0 ? 4 : (k % 3 == 0 ? -1 : 1));
    }
    SpsPicture(w, 44, 35, 1, true, 0, 0, 0, 1);
    auto bytes = w.Bytes();
    H264HeaderParser p;
    H264SequenceSetParse sps{};
    ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps)) << profile;
    EXPECT_EQ(sps.pic_width_in_mbs_minus1, 44u) << profile;
    EXPECT_EQ(sps.pic_height_in_map_units_minus1, 35u) << profile;
    EXPECT_EQ(sps.frame_crop_bottom_offset, 1u) << profile;
  }
}

TEST(H264HeaderParser, ScalingMatrixOfChroma444StillHasEightLists) {
  SpsWriter w = SpsStart(144);
  w.UE(3).U(0, 1).UE(0).UE(0).U(0, 1).U(1, 1);
  for (int i = 0; i < 8; ++i) w.U(1, 1).SE(-8);  // each list: "use the default"
  SpsPicture(w, 19, 14, 1, true, 0, 0, 0, 3);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 19u);
  EXPECT_EQ(sps.pic_height_in_map_units_minus1, 14u);
  EXPECT_EQ(sps.frame_crop_bottom_offset, 3u);
}

TEST(H264HeaderParser, OtherProfilesSkipTheHighProfileFields) {
  // A profile-244 SPS laid out as the standard has it. Intended: the parser goes straight from
  // the id to log2_max_frame_num_minus4, so chroma_format_idc (3) lands there, and the separate
  // plane flag with the next code (0 1 1) reads as pic_order_cnt_type 2.
  SpsWriter w = SpsStart(244);
  w.UE(3).U(0, 1).UE(0).UE(0).U(0, 1).U(0, 1);
  SpsPicture(w, 39, 29, 1, false);
  auto bytes = w.Bytes();
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps);
  EXPECT_EQ(sps.log2_max_frame_num_minus4, 3u);
  EXPECT_EQ(sps.pic_order_cnt_type, 2u);
  EXPECT_NE(sps.pic_width_in_mbs_minus1, 39u);
}

TEST(H264HeaderParser, TruncatedSpsFailsWithTheFieldsReadSoFar) {
  SpsWriter w = SpsStart(77, 5);
  w.UE(1).UE(0).UE(3).UE(2).U(0, 1).UE(20);
  auto bytes = Bits(w.bits);  // ends after the width: the height can't be read
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  EXPECT_FALSE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_EQ(sps.seq_parameter_set_id, 5u);
  EXPECT_EQ(sps.log2_max_pic_order_cnt_lsb_minus4, 3u);
  EXPECT_EQ(sps.pic_width_in_mbs_minus1, 20u);
}

TEST(H264HeaderParser, ParseStopsAfterTheCroppingFlag) {
  // Nothing after the flag: VUI and the rest are never read.
  SpsWriter w = SpsStart(66);
  SpsPicture(w, 21, 17, 1, false);
  auto bytes = Bits(w.bits);
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  EXPECT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
}

TEST(H264HeaderParser, ParseSpsCopiesTheBytesAndReusesItsBuffer) {
  SpsWriter big = SpsStart(66);
  SpsPicture(big, 79, 44, 1, true, 0, 0, 0, 0);
  auto bytes = big.Bytes();
  ParserProbe p;
  H264SequenceSetParse sps{};
  ASSERT_TRUE(p.ParseSPS(bytes.data(), static_cast<int>(bytes.size()), sps));
  EXPECT_NE(p.m_packet.GetPtr(), bytes.data());
  unsigned char* buffer = p.m_packet.GetPtr();
  SpsWriter small = SpsStart(66);
  SpsPicture(small, 1, 1, 1, false);
  auto smallBytes = small.Bytes();
  ASSERT_LE(smallBytes.size(), bytes.size());
  H264SequenceSetParse sps2{};
  ASSERT_TRUE(p.ParseSPS(smallBytes.data(), static_cast<int>(smallBytes.size()), sps2));
  EXPECT_EQ(p.m_packet.GetPtr(), buffer);
  EXPECT_EQ(sps2.pic_width_in_mbs_minus1, 1u);
}

TEST(H264HeaderParser, OneMacroblockWideOrHighIsNoPicture) {
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  sps.pic_width_in_mbs_minus1 = 0;
  sps.pic_height_in_map_units_minus1 = 10;
  int width = -7, height = -7;
  EXPECT_FALSE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, -7);
  EXPECT_EQ(height, -7);
  sps.pic_width_in_mbs_minus1 = 10;
  sps.pic_height_in_map_units_minus1 = 0;
  EXPECT_FALSE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, -7);
}

TEST(H264HeaderParser, CropOffsetsCountEvenWithTheFlagClear) {
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  sps.pic_width_in_mbs_minus1 = 9;
  sps.pic_height_in_map_units_minus1 = 9;
  sps.frame_mbs_only_flag = 1;
  sps.frame_crop_right_offset = 3;
  sps.frame_crop_top_offset = 1;
  int width = 0, height = 0;
  ASSERT_TRUE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 160 - 6);
  EXPECT_EQ(height, 160 - 2);
}

TEST(H264HeaderParser, CropThatEatsThePictureWritesButFails) {
  H264HeaderParser p;
  H264SequenceSetParse sps{};
  sps.pic_width_in_mbs_minus1 = 1;
  sps.pic_height_in_map_units_minus1 = 1;
  sps.frame_mbs_only_flag = 1;
  sps.frame_crop_left_offset = 16;
  int width = 0, height = 0;
  EXPECT_FALSE(p.CalcResolution(sps, width, height));
  EXPECT_EQ(width, 0);
  EXPECT_EQ(height, 32);
}
