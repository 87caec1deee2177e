#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Drm_Common.h"

namespace {

constexpr unsigned char kFill = 0xEE;

// A 16-byte IV with four guard bytes behind it, all pre-filled so untouched bytes show.
struct GuardedIv {
  GuardedIv() { bytes.fill(kFill); }
  unsigned char* iv() { return bytes.data(); }
  std::vector<unsigned char> Iv() const { return {bytes.begin(), bytes.begin() + 16}; }
  bool GuardIntact() const {
    for (std::size_t i = 16; i < bytes.size(); ++i)
      if (bytes[i] != kFill) return false;
    return true;
  }
  std::array<unsigned char, 20> bytes;
};

std::vector<unsigned char> Ending(std::initializer_list<unsigned char> tail) {
  std::vector<unsigned char> iv(16 - tail.size(), 0);
  iv.insert(iv.end(), tail);
  return iv;
}

}  // namespace

// byteToHexString

TEST(Drm_CommonByteToHex, WritesUpperCaseDigitsWithoutTerminator) {
  char bytes[] = {static_cast<char>(0xAB), 0x0C};
  char hex[8];
  std::memset(hex, 'z', sizeof(hex));
  byteToHexString(bytes, hex, 2);
  EXPECT_EQ(std::string(hex, 4), "AB0C");
  EXPECT_EQ(hex[4], 'z');
}

TEST(Drm_CommonByteToHex, ZeroLengthWritesNothing) {
  char bytes[] = {0x12};
  char hex[4] = {'z', 'z', 'z', 'z'};
  byteToHexString(bytes, hex, 0);
  EXPECT_EQ(std::string(hex, 4), "zzzz");
}

TEST(Drm_CommonByteToHex, EveryByteValueRoundTripsThroughHexStringToByte) {
  char bytes[256];
  for (int i = 0; i < 256; ++i) bytes[i] = static_cast<char>(i);
  std::string hex(512, '\0');
  byteToHexString(bytes, &hex[0], 256);
  EXPECT_EQ(hex.substr(0, 8), "00010203");
  EXPECT_EQ(hex.substr(504), "FCFDFEFF");
  unsigned char back[256];
  ASSERT_EQ(hexStringToByte(hex, back, 256), 256);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(back[i], i);
}

// hexStringToByte

TEST(Drm_CommonHexToByte, ShortTextIsRightAlignedBehindZeros) {
  GuardedIv out;
  EXPECT_EQ(hexStringToByte("0x0102", out.iv(), 16), 2);
  EXPECT_EQ(out.Iv(), Ending({0x01, 0x02}));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(Drm_CommonHexToByte, PrefixIsOptionalAndEitherCase) {
  for (const char* text : {"0XAB", "0xab", "AB", "ab", "0xAb"}) {
    GuardedIv out;
    EXPECT_EQ(hexStringToByte(text, out.iv(), 16), 1) << text;
    EXPECT_EQ(out.Iv(), Ending({0xAB})) << text;
  }
}

TEST(Drm_CommonHexToByte, OddLeadingDigitIsDropped) {
  GuardedIv out;
  // Intended: "0xABC" is the single byte 0xBC, not 0x0A 0xBC.
  EXPECT_EQ(hexStringToByte("0xABC", out.iv(), 16), 1);
  EXPECT_EQ(out.Iv(), Ending({0xBC}));
  GuardedIv plain;
  EXPECT_EQ(hexStringToByte("12345", plain.iv(), 16), 2);
  EXPECT_EQ(plain.Iv(), Ending({0x23, 0x45}));
}

TEST(Drm_CommonHexToByte, FewerThanTwoDigitsGiveZeroAndZeroedOutput) {
  for (const char* text : {"", "7", "0x", "0X", "0x7", "x"}) {
    GuardedIv out;
    EXPECT_EQ(hexStringToByte(text, out.iv(), 16), 0) << text;
    EXPECT_EQ(out.Iv(), std::vector<unsigned char>(16, 0)) << text;
    EXPECT_TRUE(out.GuardIntact()) << text;
  }
}

TEST(Drm_CommonHexToByte, ZeroAloneIsNotAPrefix) {
  GuardedIv out;
  EXPECT_EQ(hexStringToByte("00", out.iv(), 16), 1);
  EXPECT_EQ(out.Iv(), std::vector<unsigned char>(16, 0));
  GuardedIv x0;
  // "x0" has no prefix ('x' isn't after a zero), so it is one pair.
  EXPECT_EQ(hexStringToByte("x0", x0.iv(), 16), 1);
}

TEST(Drm_CommonHexToByte, OverlongTextKeepsTheRightmostBytes) {
  GuardedIv out;
  const std::string text = "FF" + std::string("00112233445566778899AABBCCDDEEFF");
  ASSERT_EQ(text.size(), 34u);
  EXPECT_EQ(hexStringToByte(text, out.iv(), 16), 16);
  EXPECT_EQ(out.Iv(), (std::vector<unsigned char>{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                                  0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(Drm_CommonHexToByte, ExactlyFullTextFillsAllBytes) {
  GuardedIv out;
  EXPECT_EQ(hexStringToByte("0x000102030405060708090A0B0C0D0E0F", out.iv(), 16), 16);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(out.Iv()[i], i);
}

TEST(Drm_CommonHexToByte, SmallerOutputKeepsTheLastBytes) {
  unsigned char out[4] = {kFill, kFill, kFill, kFill};
  EXPECT_EQ(hexStringToByte("0x010203", out, 2), 2);
  EXPECT_EQ(out[0], 0x02);
  EXPECT_EQ(out[1], 0x03);
  EXPECT_EQ(out[2], kFill);
}

TEST(Drm_CommonHexToByte, ZeroSizeStoresNothing) {
  unsigned char out[2] = {kFill, kFill};
  EXPECT_EQ(hexStringToByte("ABCD", out, 0), 0);
  EXPECT_EQ(out[0], kFill);
}

TEST(Drm_CommonHexToByte, CharactersAreNotChecked) {
  // 'g' counts as 16 and ' ' as -16; the byte is whatever the arithmetic leaves.
  GuardedIv out;
  EXPECT_EQ(hexStringToByte("GG", out.iv(), 16), 1);
  EXPECT_EQ(out.Iv()[15], ((16 << 4) | 16) & 0xFF);
  GuardedIv blank;
  EXPECT_EQ(hexStringToByte(" 1", blank.iv(), 16), 1);
  EXPECT_EQ(blank.Iv()[15], 0x01);
  GuardedIv zz;
  EXPECT_EQ(hexStringToByte("zz", zz.iv(), 16), 1);
  EXPECT_EQ(zz.Iv()[15], ((0x23 << 4) | 0x23) & 0xFF);
}

// IsLittleEndian / swapByteOrder

TEST(Drm_CommonByteOrder, BuildIsLittleEndian) {
  EXPECT_TRUE(IsLittleEndian());
  const uint32_t probe = 1;
  unsigned char first;
  std::memcpy(&first, &probe, 1);
  EXPECT_EQ(first, 1) << "this build assumes a little-endian target";
}

TEST(Drm_CommonByteOrder, SwapReversesFourBytes) {
  EXPECT_EQ(swapByteOrder(0x01020304u), 0x04030201u);
  EXPECT_EQ(swapByteOrder(0x000000FFu), 0xFF000000u);
  EXPECT_EQ(swapByteOrder(0u), 0u);
  EXPECT_EQ(swapByteOrder(swapByteOrder(0xDEADBEEFu)), 0xDEADBEEFu);
}

// sequenceToiv

TEST(Drm_CommonSequenceToIv, SequenceOneEndsInOne) {
  GuardedIv out;
  sequenceToiv(1, out.iv(), 16);
  EXPECT_EQ(out.Iv(), Ending({0x01}));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(Drm_CommonSequenceToIv, IsBigEndianInTheLastFourBytes) {
  GuardedIv out;
  sequenceToiv(0x01020304u, out.iv(), 16);
  EXPECT_EQ(out.Iv(), Ending({0x01, 0x02, 0x03, 0x04}));
}

TEST(Drm_CommonSequenceToIv, BoundarySequenceNumbers) {
  struct Case {
    unsigned int sequence;
    std::vector<unsigned char> iv;
  };
  const Case cases[] = {
      {0u, Ending({0x00, 0x00, 0x00, 0x00})},
      {1u, Ending({0x00, 0x00, 0x00, 0x01})},
      {0x80000000u, Ending({0x80, 0x00, 0x00, 0x00})},
      {0xFFFFFFFFu, Ending({0xFF, 0xFF, 0xFF, 0xFF})},
  };
  for (const Case& c : cases) {
    GuardedIv out;
    sequenceToiv(c.sequence, out.iv(), 16);
    EXPECT_EQ(out.Iv(), c.iv) << c.sequence;
    EXPECT_TRUE(out.GuardIntact());
  }
}

TEST(Drm_CommonSequenceToIv, ZeroesEarlierContent) {
  GuardedIv out;
  sequenceToiv(0xFFFFFFFFu, out.iv(), 16);
  sequenceToiv(2u, out.iv(), 16);
  EXPECT_EQ(out.Iv(), Ending({0x02}));
}

TEST(Drm_CommonSequenceToIv, SmallerIvStillEndsInTheSequence) {
  unsigned char iv[6] = {kFill, kFill, kFill, kFill, kFill, kFill};
  sequenceToiv(0x0A0B0C0Du, iv, 5);
  EXPECT_EQ(iv[0], 0x00);
  EXPECT_EQ(iv[1], 0x0A);
  EXPECT_EQ(iv[4], 0x0D);
  EXPECT_EQ(iv[5], kFill);
}

// stringToiv

TEST(Drm_CommonStringToIv, PrefixedFullIv) {
  GuardedIv out;
  EXPECT_EQ(stringToiv("0x" + std::string(31, '0') + "1", out.iv(), 16), 16);
  EXPECT_EQ(out.Iv(), Ending({0x01}));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(Drm_CommonStringToIv, EmptyTextGivesZeroAndAZeroIv) {
  GuardedIv out;
  EXPECT_EQ(stringToiv("", out.iv(), 16), 0);
  EXPECT_EQ(out.Iv(), std::vector<unsigned char>(16, 0));
}

TEST(Drm_CommonStringToIv, SingleDigitAfterPrefixGivesZero) {
  GuardedIv out;
  EXPECT_EQ(stringToiv("0x7", out.iv(), 16), 0);
  EXPECT_EQ(out.Iv(), std::vector<unsigned char>(16, 0));
}

TEST(Drm_CommonStringToIv, MatchesSequenceIvForTheSameNumber) {
  GuardedIv fromText;
  GuardedIv fromSequence;
  EXPECT_EQ(stringToiv("0x00000000000000000000000012345678", fromText.iv(), 16), 16);
  sequenceToiv(0x12345678u, fromSequence.iv(), 16);
  EXPECT_EQ(fromText.Iv(), fromSequence.Iv());
}
