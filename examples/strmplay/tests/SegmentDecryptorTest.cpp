#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "SegmentDecryptor.h"

namespace strmplay {
namespace {

constexpr const char* kBase = "http://127.0.0.1/v1/index.m3u8";

std::vector<std::uint8_t> ReadSample(const std::string& name) {
  std::ifstream in(std::string(STRMPLAY_SAMPLE_DIR) + "/" + name, std::ios::binary);
  return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in),
                                   std::istreambuf_iterator<char>());
}

// The sample's v1 playlist: key1 with the IV from the sequence number, key2 with an explicit IV.
MediaPlaylist SampleV1() {
  std::ifstream in(std::string(STRMPLAY_SAMPLE_DIR) + "/v1/index.m3u8");
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  MediaPlaylist pl;
  std::string error;
  EXPECT_TRUE(ParseMediaPlaylist(text, pl, error)) << error;
  return pl;
}

class SegmentDecryptorTest : public ::testing::Test {
 protected:
  SegmentDecryptor m_decryptor{
      [this](const std::string& url, std::vector<std::uint8_t>& key, std::string& error) {
        m_keyUrls.push_back(url);
        if (m_keyError) {
          error = "HTTP 403 Forbidden";
          return false;
        }
        key = ReadSample("v1/" + url.substr(url.rfind('/') + 1));
        if (m_shortKey) key.resize(15);
        return true;
      }};
  std::vector<std::string> m_keyUrls;
  bool m_keyError = false;
  bool m_shortKey = false;
};

TEST_F(SegmentDecryptorTest, BothKindsOfIvGiveTransportStreamsAndEachKeyIsFetchedOnce) {
  const MediaPlaylist pl = SampleV1();
  ASSERT_GE(pl.segments.size(), 9u);
  for (std::size_t i : {0u, 1u, 7u, 8u}) {
    SCOPED_TRACE(i);
    auto body = ReadSample("v1/" + pl.segments[i].uri);
    std::string error;
    ASSERT_TRUE(m_decryptor.Decrypt(kBase, pl.segments[i], false, body, error)) << error;
    ASSERT_GE(body.size(), 188u);
    EXPECT_EQ(body[0], 0x47);
    EXPECT_EQ(body.size() % 188, 0u);
  }
  EXPECT_EQ(m_keyUrls, (std::vector<std::string>{"http://127.0.0.1/v1/key1.bin",
                                                 "http://127.0.0.1/v1/key2.bin"}));
  EXPECT_EQ(m_decryptor.Decrypted(), 4);
}

TEST_F(SegmentDecryptorTest, ThePrefixOfAnEncryptedSegmentDecryptsWithoutItsPadding) {
  const MediaPlaylist pl = SampleV1();
  auto body = ReadSample("v1/" + pl.segments[0].uri);
  body.resize(65536);
  std::string error;
  ASSERT_TRUE(m_decryptor.Decrypt(kBase, pl.segments[0], true, body, error)) << error;
  EXPECT_EQ(body.size(), 65536u);
  EXPECT_EQ(body[188], 0x47);
  EXPECT_EQ(m_decryptor.Decrypted(), 0);
}

TEST_F(SegmentDecryptorTest, AKeyThatCannotBeHadIsToldWithItsUrlAndReason) {
  m_keyError = true;
  const MediaPlaylist pl = SampleV1();
  auto body = ReadSample("v1/" + pl.segments[0].uri);
  std::string error;
  EXPECT_FALSE(m_decryptor.Decrypt(kBase, pl.segments[0], false, body, error));
  EXPECT_EQ(error, "key http://127.0.0.1/v1/key1.bin: HTTP 403 Forbidden");
}

TEST_F(SegmentDecryptorTest, AKeyOfTheWrongSizeIsRefused) {
  m_shortKey = true;
  const MediaPlaylist pl = SampleV1();
  auto body = ReadSample("v1/" + pl.segments[0].uri);
  std::string error;
  EXPECT_FALSE(m_decryptor.Decrypt(kBase, pl.segments[0], false, body, error));
  EXPECT_EQ(error, "key http://127.0.0.1/v1/key1.bin: 15 bytes, not 16");
}

TEST_F(SegmentDecryptorTest, ClearSegmentsStayAsTheyAreAndOtherMethodsAreRefused) {
  Segment clear;
  std::vector<std::uint8_t> body = {1, 2, 3};
  std::string error;
  EXPECT_TRUE(m_decryptor.Decrypt(kBase, clear, false, body, error));
  EXPECT_EQ(body, (std::vector<std::uint8_t>{1, 2, 3}));
  Segment sampleAes;
  sampleAes.key.method = "SAMPLE-AES";
  EXPECT_FALSE(m_decryptor.Decrypt(kBase, sampleAes, false, body, error));
  EXPECT_EQ(error, "key method SAMPLE-AES is not supported (AES-128 only)");
  EXPECT_TRUE(m_keyUrls.empty());
}

}  // namespace
}  // namespace strmplay
