#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "Aes128.h"
#include "Drm_Common.h"
#include "Playlist.h"
#include "TsProbe.h"

namespace strmplay {
namespace {

std::vector<std::uint8_t> ReadFile(const std::string& name) {
  std::ifstream in(std::string(STRMPLAY_SAMPLE_DIR) + "/" + name, std::ios::binary);
  return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in),
                                   std::istreambuf_iterator<char>());
}

TEST(TsProbe, FindsPidsPcrsAndThePictureSizeOfAClearSegment) {
  const auto segment = ReadFile("v0/seg100.ts");
  ASSERT_FALSE(segment.empty());
  TsProbe probe;
  const ProbeResult r = probe.Probe(segment);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.packets, static_cast<int>(segment.size() / 188));
  EXPECT_EQ(r.videoPid, 0x100);
  EXPECT_EQ(r.audioPid, 0x101);
  EXPECT_EQ(r.pcrPid, 0x100);
  EXPECT_GT(r.pcrCount, 1);
  EXPECT_NEAR(r.PcrSpanSeconds(), 2.0, 0.1);
  EXPECT_EQ(r.continuityErrors, 0);
  EXPECT_TRUE(r.spsFound);
  EXPECT_EQ(r.width, 416);
  EXPECT_EQ(r.height, 234);
}

TEST(TsProbe, ReadsTheTopVariantsResolution) {
  TsProbe probe;
  const ProbeResult r = probe.Probe(ReadFile("v2/seg105.ts"));
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.width, 1280);
  EXPECT_EQ(r.height, 720);
}

// The encrypted variant: the first half takes its IV from the media sequence number, the second
// half from the key tag's IV attribute and another key.
TEST(TsProbe, EncryptedVariantDecryptsWithBothKindsOfIv) {
  const auto text = ReadFile("v1/index.m3u8");
  MediaPlaylist pl;
  std::string error;
  ASSERT_TRUE(ParseMediaPlaylist(std::string(text.begin(), text.end()), pl, error)) << error;
  bool sawSequenceIv = false, sawExplicitIv = false;
  TsProbe probe;
  for (const Segment& seg : pl.segments) {
    ASSERT_TRUE(seg.key.Encrypted()) << seg.uri;
    const auto key = ReadFile("v1/" + seg.key.uri);
    ASSERT_EQ(key.size(), 16u);
    unsigned char iv[16];
    if (seg.key.iv.empty()) {
      sequenceToiv(seg.sequence, iv, sizeof iv);
      sawSequenceIv = true;
    } else {
      stringToiv(seg.key.iv, iv, sizeof iv);
      sawExplicitIv = true;
    }
    std::vector<std::uint8_t> plain;
    ASSERT_TRUE(DecryptAes128Cbc(key.data(), iv, ReadFile("v1/" + seg.uri), plain)) << seg.uri;
    const ProbeResult r = probe.Probe(plain);
    ASSERT_TRUE(r.ok) << seg.uri << ": " << r.error;
    EXPECT_EQ(r.width, 854) << seg.uri;
    EXPECT_EQ(r.height, 480) << seg.uri;
  }
  EXPECT_TRUE(sawSequenceIv);
  EXPECT_TRUE(sawExplicitIv);
}

TEST(TsProbe, CipherTextIsNotATransportStream) {
  TsProbe probe;
  const ProbeResult r = probe.Probe(ReadFile("v1/seg100.ts"));
  EXPECT_FALSE(r.ok);
  EXPECT_FALSE(r.error.empty());
}

TEST(TsProbe, PacketsWithoutPatOrPmtGiveNoVideoPid) {
  std::vector<std::uint8_t> packets(188 * 4, 0xFF);
  for (std::size_t i = 0; i < packets.size(); i += 188) {
    packets[i] = 0x47;
    packets[i + 1] = 0x1F;  // null packets
    packets[i + 2] = 0xFF;
    packets[i + 3] = 0x10;
  }
  TsProbe probe;
  const ProbeResult r = probe.Probe(packets);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.packets, 4);
  EXPECT_EQ(r.videoPid, -1);
  EXPECT_FALSE(r.spsFound);
}

TEST(TsProbe, LostSyncIsReported) {
  auto segment = ReadFile("v0/seg100.ts");
  segment[188 * 3] = 0x00;
  TsProbe probe;
  const ProbeResult r = probe.Probe(segment);
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("sync"), std::string::npos);
}

std::vector<std::uint8_t> ReadTestData(const std::string& name) {
  std::ifstream in(std::string(STRMPLAY_TEST_DATA_DIR) + "/" + name, std::ios::binary);
  return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in),
                                   std::istreambuf_iterator<char>());
}

TEST(TsProbe, AnSpsOfAProfileTheParserMisreadsGivesNoPictureSizeButItsProfile) {
  const auto segment = ReadTestData("high444.ts");  // 64x48, profile 244
  ASSERT_FALSE(segment.empty());
  TsProbe probe;
  const ProbeResult r = probe.Probe(segment);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_TRUE(r.transportStream);
  EXPECT_FALSE(r.spsFound);
  EXPECT_TRUE(r.spsUnreadable);
  EXPECT_EQ(r.spsProfile, 244);
  EXPECT_EQ(r.width, 0);
  EXPECT_EQ(r.height, 0);
}

TEST(TsProbe, TheProfileOfAReadableSpsIsKeptToo) {
  TsProbe probe;
  const ProbeResult r = probe.Probe(ReadFile("v0/seg100.ts"));
  EXPECT_EQ(r.spsProfile, 77);  // Main
  EXPECT_FALSE(r.spsUnreadable);
}

TEST(TsProbe, RandomBytesAreNotATransportStream) {
  std::vector<std::uint8_t> garbage(188 * 10);
  for (std::size_t i = 0; i < garbage.size(); ++i) {
    garbage[i] = static_cast<std::uint8_t>((i * 2654435761u) >> 13);
  }
  garbage[0] = 0x47;  // even with a sync byte in front
  TsProbe probe;
  const ProbeResult r = probe.Probe(garbage);
  EXPECT_FALSE(r.transportStream);
  EXPECT_FALSE(r.ok);
  EXPECT_FALSE(r.error.empty());
}

TEST(TsProbe, ProfilesThatCarryChromaFieldsTheParserSkipsAreKnownByName) {
  struct Row {
    int idc;
    bool misread;
    const char* name;
  } rows[] = {
      {66, false, "Baseline"},
      {77, false, "Main"},
      {100, false, "High"},
      {144, false, "High 4:4:4"},
      {244, true, "High 4:4:4 Predictive"},
      {44, true, "CAVLC 4:4:4 Intra"},
      {118, true, "Multiview High"},
      {7, false, "profile 7"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.idc);
    EXPECT_EQ(SpsProfileMisread(row.idc), row.misread);
    EXPECT_EQ(SpsProfileName(row.idc), row.name);
  }
}

}  // namespace
}  // namespace strmplay
