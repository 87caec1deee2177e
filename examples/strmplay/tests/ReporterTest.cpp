#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "Reporter.h"
#include "UnitCode.h"

namespace strmplay {
namespace {

// The lines a reporter prints, through a status line on a memory stream (not a terminal).
class Printed {
 public:
  Printed()
      : m_file(open_memstream(&m_buffer, &m_size)), m_status(m_file), m_reporter(m_status, 1.0) {}
  ~Printed() {
    std::fclose(m_file);
    std::free(m_buffer);
  }
  Reporter& reporter() { return m_reporter; }
  std::string Text() {
    std::fflush(m_file);
    return std::string(m_buffer, m_size);
  }

 private:
  char* m_buffer = nullptr;
  std::size_t m_size = 0;
  std::FILE* m_file;
  StatusLine m_status;
  Reporter m_reporter;
};

TEST(Reporter, TheBandwidthEstimateIsShownHonestlyAlsoWhenItsThirtyTwoBitsWrapped) {
  struct Row {
    int bps;
    double scale;
    const char* text;
  } rows[] = {
      {7831000, 1.0, "7831 kbit/s"},
      {0, 1.0, "0 kbit/s"},
      {78310000, 10.0, "7831 kbit/s"},
      {2147483647, 1.0, "2147484 kbit/s"},
      // A link faster than 2^31 bit/s: the signed figure went negative.
      {-2037372000, 1.0, "over 2.1 Gbit/s"},
      {-1, 1.0, "over 2.1 Gbit/s"},
      {-2037372000, 10.0, "over 214.7 Mbit/s"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.bps);
    EXPECT_EQ(BandwidthText(row.bps, row.scale), row.text);
  }
  EXPECT_EQ(BandwidthKbps(-2037372000, 1.0), 2147484);
  EXPECT_EQ(BandwidthKbps(7831000, 1.0), 7831);
}

TEST(Reporter, ASegmentLineShowsAWrappedEstimateInWords) {
  Printed out;
  out.reporter().Segment(1.25, 5, "15", 2, 1280, 720, 268088, 9.1, -2037372000, true);
  EXPECT_EQ(out.Text(),
            "    1.2 s  segment 5/15  v2 1280x720  268088 bytes  buffer 9.1 s  bw over 2.1 "
            "Gbit/s\n");
}

PlayerSummary CleanRun() {
  PlayerSummary s;
  s.segmentsTotal = s.segmentsFetched = 15;
  s.encryptedSegments = 2;
  s.mediaSeconds = 30.0;
  s.runSeconds = 30.5;
  s.startupSeconds = 0.5;
  s.averageBitrateKbps = 2240;
  s.switchesUp = 3;
  s.switchesDown = 1;
  s.mediaBytes = 3217640;
  s.otherBytes = 2347;
  VariantReport v0;
  v0.bandwidth = 400000;
  v0.declaredWidth = v0.width = 416;
  v0.declaredHeight = v0.height = 234;
  v0.sizes = {{416, 234}};
  v0.segments = 3;
  s.variants = {v0};
  return s;
}

TEST(Reporter, TheSummaryOfACleanRunKeepsItsShape) {
  EXPECT_EQ(Reporter::SummaryText(CleanRun()),
            "\nsummary\n"
            "  segments fetched: 15/15 (failed 0, encrypted 2)\n"
            "  played: 30.0 s of media in 30.5 s (startup 0.5 s)\n"
            "  rebuffering: 0.0 s in 0 stalls\n"
            "  average bitrate: 2240 kbit/s\n"
            "  switches: 4 (up 3, down 1)\n"
            "  bytes: 3219987 (media 3217640, playlists/keys/probes 2347)\n"
            "  errors by code: none\n"
            "  resolution v0: 416x234 (playlist 416x234, 400 kbit/s, 3 segments played)\n");
}

TEST(Reporter, TheSummaryNamesEveryErrorCodeInWordsWithItsHttpStatuses) {
  PlayerSummary s = CleanRun();
  s.errors[10][404] = 1;
  s.errors[10][503] = 3;
  s.errors[-20][0] = 1;
  s.otherErrors["not a transport stream"] = 1;
  s.otherErrors["byte range not honoured"] = 2;
  s.discontinuities = 1;
  const std::string text = Reporter::SummaryText(s);
  EXPECT_NE(text.find("  discontinuities: 1\n"), std::string::npos) << text;
  EXPECT_NE(text.find("  errors by code: -20 x1, 10 x4\n"
                      "    -20 err_recv_error: the transfer failed: no connection"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("(no HTTP status x1)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("    10 err_retry: failed, and the engine asks for the same request again "
                      "(HTTP 404 Not Found x1, HTTP 503 Service Unavailable x3)\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("  other errors: byte range not honoured x2, not a transport stream x1\n"),
            std::string::npos)
      << text;
}

TEST(Reporter, TheSummaryShowsEveryPictureSizeOfAVariantAndAnSpsItCannotRead) {
  PlayerSummary s = CleanRun();
  s.variants[0].sizes = {{416, 234}, {1280, 720}};
  VariantReport misread;
  misread.bandwidth = 800000;
  misread.misreadProfile = 244;
  s.variants.push_back(misread);
  const std::string text = Reporter::SummaryText(s);
  EXPECT_NE(text.find("  resolution v0: 416x234, then 1280x720 (playlist 416x234"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("  resolution v1: unknown (SPS of High 4:4:4 Predictive, profile 244)"),
            std::string::npos)
      << text;
}

TEST(Reporter, AFailedRequestIsToldInWordsWithItsStatusAndWhatHappensNext) {
  Printed out;
  FetchAttempt a;
  a.code = strmcommon::err_retry;
  a.httpStatus = 404;
  a.failure = FetchFailure::kEngine;
  a.decision = RetryDecision::kGiveUpClient;
  out.reporter().FetchFailed(3.0, "v1 segment 4", "http://h/v1/seg103.ts", a);
  EXPECT_EQ(out.Text(),
            "    3.0 s  v1 segment 4 http://h/v1/seg103.ts: HTTP 404 Not Found, result 10 "
            "(err_retry: failed, and the engine asks for the same request again); not requested "
            "again: the server refuses the request itself\n");
}

TEST(Reporter, AudioRenditionsAreSaidNotToBePlayed) {
  Printed out;
  Ladder ladder;
  Variant v;
  v.bandwidth = 35200;
  v.width = 160;
  v.height = 90;
  ladder.variants = {v};
  ladder.audioOnly = {Variant()};
  ladder.audio = {{"AUDIO", "group_aud", "audio_1", "p1.m3u8"}};
  out.reporter().Ladder(ladder, {"http://h/p0.m3u8"});
  EXPECT_EQ(out.Text(),
            "v0     35 kbit/s   160x90    http://h/p0.m3u8\n"
            "alternative audio is not played: 1 EXT-X-MEDIA audio rendition (group "
            "\"group_aud\") and 1 audio-only variant kept out of the switching ladder; the sound "
            "is what the video variants carry\n");
}

TEST(Reporter, AResolutionChangeAfterADiscontinuityNamesTheNewSizeAndTheOld) {
  Printed out;
  out.reporter().ResolutionChange(4.0, 0, 1280, 720, 416, 234, true);
  EXPECT_EQ(out.Text(),
            "    4.0 s  v0 resolution 1280x720 from the SPS after a discontinuity (was 416x234)\n");
}

}  // namespace
}  // namespace strmplay
