#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

#include "SampleServer.h"
#include "VariantProber.h"

namespace strmplay {
namespace {

// The prober over a real engine against the built-in server with the sample stream.
class VariantProberTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("DLOG_STUB_LEVEL", "S", 0);
    setenv("TZPLATFORM_STUB_ROOT", ::testing::TempDir().c_str(), 1);
    std::string error;
    ASSERT_TRUE(m_server.Load(STRMPLAY_SAMPLE_DIR, error)) << error;
    ASSERT_TRUE(m_server.Start(error)) << error;
    m_curl = std::make_unique<strmcommon::Curl>(strmcommon::CURL_THREAD_FIXED, 0, "prober-test");
    m_fetcher = std::make_unique<Fetcher>(*m_curl, FetcherHooks());
    m_curl->Init(m_fetcher.get(), nullptr);
    ASSERT_TRUE(m_curl->StartLoop());
  }
  void TearDown() override {
    m_curl->Quit();
    m_server.Stop();
  }

  MediaPlaylist Playlist(const std::string& variant) {
    std::ifstream in(std::string(STRMPLAY_SAMPLE_DIR) + "/" + variant + "/index.m3u8");
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    MediaPlaylist pl;
    std::string error;
    EXPECT_TRUE(ParseMediaPlaylist(text, pl, error)) << error;
    return pl;
  }

  RateSchedule m_schedule;  // no steps: an unlimited link
  SampleServer m_server{m_schedule, 1.0};
  std::unique_ptr<strmcommon::Curl> m_curl;
  std::unique_ptr<Fetcher> m_fetcher;
  SegmentDecryptor m_decryptor{
      [this](const std::string& url, std::vector<std::uint8_t>& key, std::string& error) {
        FetchRequest request;
        request.url = url;
        const FetchResult r = m_fetcher->Fetch(request);
        if (!r.Ok()) error = DescribeAttempt(r.Last());
        key = r.body;
        return r.Ok();
      }};
};

TEST_F(VariantProberTest, AShortRangeOfTheFirstSegmentGivesThePictureSize) {
  VariantProber prober(*m_fetcher, m_decryptor);
  ProbeResult result;
  std::size_t bytes = 0;
  std::string error;
  const std::uint64_t before = m_server.BytesServed();
  ASSERT_TRUE(prober.Probe(m_server.BaseUrl() + "v2/index.m3u8", Playlist("v2").segments.front(),
                           result, bytes, error))
      << error;
  EXPECT_TRUE(result.spsFound);
  EXPECT_EQ(result.width, 1280);
  EXPECT_EQ(result.height, 720);
  EXPECT_EQ(bytes, kProbeBytes);
  EXPECT_LE(m_server.BytesServed() - before, kProbeBytes) << "no more than the range crossed";
}

TEST_F(VariantProberTest, AnEncryptedVariantIsProbedThroughItsKey) {
  VariantProber prober(*m_fetcher, m_decryptor);
  ProbeResult result;
  std::size_t bytes = 0;
  std::string error;
  ASSERT_TRUE(prober.Probe(m_server.BaseUrl() + "v1/index.m3u8", Playlist("v1").segments.front(),
                           result, bytes, error))
      << error;
  EXPECT_TRUE(result.spsFound);
  EXPECT_EQ(result.width, 854);
  EXPECT_EQ(result.height, 480);
}

TEST_F(VariantProberTest, AMissingSegmentIsToldInWords) {
  VariantProber prober(*m_fetcher, m_decryptor);
  Segment missing;
  missing.uri = "nothing.ts";
  ProbeResult result;
  std::size_t bytes = 0;
  std::string error;
  EXPECT_FALSE(prober.Probe(m_server.BaseUrl() + "v0/index.m3u8", missing, result, bytes, error));
  EXPECT_NE(error.find("HTTP 404 Not Found"), std::string::npos) << error;
}

}  // namespace
}  // namespace strmplay
