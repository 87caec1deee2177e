// strmplay as a user runs it, against real servers on 127.0.0.1: its built-in one, nginx,
// Python's http.server and misbehaving servers of the tests' own.
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <regex>
#include <sstream>
#include <tuple>

#include "ChildProcess.h"
#include "ExternalServers.h"
#include "LoopbackServer.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string kSample = STRMPLAY_SAMPLE_DIR;

bool Contains(const std::string& text, const std::string& what) {
  return text.find(what) != std::string::npos;
}

int CountOf(const std::string& text, const std::string& what) {
  int n = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

class StrmplayE2e : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    m_dir = fs::path(::testing::TempDir()) /
            ("strmplay_e2e_" + std::to_string(::getpid()) + "_" + info->name());
    fs::remove_all(m_dir);
    fs::create_directories(m_dir / "run");
    fs::create_directories(m_dir / "www");
  }
  void TearDown() override {
    if (!HasFailure()) fs::remove_all(m_dir);
  }

  // The environment of every run: cookie files in the test's directory, the library's log off.
  std::vector<std::string> Env() const {
    return {"TZPLATFORM_STUB_ROOT=" + (m_dir / "root").string(), "DLOG_STUB_LEVEL=S"};
  }

  RunResult Strmplay(std::vector<std::string> args, std::chrono::milliseconds deadline = 60s) {
    args.insert(args.begin(), STRMPLAY_BINARY);
    RunResult r = RunProgram(args, Env(), (m_dir / "run").string(), deadline);
    m_log = "--- stdout\n" + r.out + "--- stderr\n" + r.err;
    return r;
  }

  std::string Www() const { return (m_dir / "www").string(); }

  // A media playlist of the given segment URIs, 2 s each (1 s with a target of 1).
  static std::string MediaPlaylistOf(const std::vector<std::string>& uris, int target = 2,
                                     bool endList = true, unsigned int sequence = 0) {
    std::string text =
        "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:" + std::to_string(target) +
        "\n#EXT-X-MEDIA-SEQUENCE:" + std::to_string(sequence) + "\n";
    for (const auto& uri : uris) {
      if (uri == "#EXT-X-DISCONTINUITY") {
        text += uri + "\n";
        continue;
      }
      text += "#EXTINF:" + std::to_string(target) + ".0,\n" + uri + "\n";
    }
    if (endList) text += "#EXT-X-ENDLIST\n";
    return text;
  }

  static void Serve(testsupport::LoopbackServer& server, const std::string& path,
                    const std::string& body, const char* type) {
    const auto shared = std::make_shared<std::string>(body);
    server.Get(path, [shared, type](const httplib::Request&, httplib::Response& res) {
      res.set_content(*shared, type);
    });
  }

  fs::path m_dir;
  std::string m_log;  // of the last run, for failure messages
};

// --- The built-in stream -----------------------------------------------------------------

TEST_F(StrmplayE2e, TheBuiltInStreamPlaysEverySegmentSwitchesDownAndKeepsItsCookie) {
  const std::string csv = (m_dir / "trace.csv").string();
  const std::string svg = (m_dir / "plot.svg").string();
  RunResult r =
      Strmplay({"--quick", "--cap", "600", "--client-name", "e2e", "--csv", csv, "--svg", svg});
  ASSERT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 15/15 (failed 0")) << m_log;
  EXPECT_TRUE(std::regex_search(r.out, std::regex("  switches: [0-9]+ \\(up [0-9]+, down [1-9]")))
      << m_log;
  EXPECT_TRUE(Contains(r.out, "  errors by code: none\n")) << m_log;
  EXPECT_FALSE(Contains(r.out, "other errors")) << m_log;
  // The resolution of every variant as ffprobe reported it when the sample was made.
  std::istringstream info(ReadFile(kSample + "/ffprobe.txt"));
  std::string line;
  int variants = 0;
  while (std::getline(info, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string name, width, height;
    fields >> name >> width >> height;
    ++variants;
    EXPECT_TRUE(Contains(r.out, "  resolution " + name + ": " + width + "x" + height + " "))
        << name << "\n"
        << m_log;
  }
  EXPECT_EQ(variants, 3);
  EXPECT_GT(ReadFile(csv).size(), 100u);
  EXPECT_TRUE(Contains(ReadFile(svg), "</svg>"));
  EXPECT_TRUE(fs::exists(m_dir / "root/e2e/data/cookie/persistent_cookie.txt")) << m_log;

  // A second run under the same client name sends the cookie that the first one kept.
  r = Strmplay({"--quick", "--duration", "2", "--client-name", "e2e"});
  EXPECT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "cookies: the server's cookie came back (visit 2)")) << m_log;
}

// Consecutive runs of equal values: (value, length).
template <typename T>
std::vector<std::pair<T, int>> Runs(const std::vector<T>& values) {
  std::vector<std::pair<T, int>> runs;
  for (const auto& v : values) {
    if (runs.empty() || runs.back().first != v) runs.emplace_back(v, 0);
    ++runs.back().second;
  }
  return runs;
}

TEST_F(StrmplayE2e, TheOutputOfTheBuiltInStreamDecodesCleanlyAndChangesSizeAtTheSwitches) {
  ASSERT_TRUE(HaveProgram("ffmpeg") && HaveProgram("ffprobe"))
      << "ffmpeg is not installed (scripts/deps installs it)";
  // The stream on standard output, every message on standard error.
  const RunResult r = Strmplay({"--quick", "-o", "-"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(Contains(r.err, "  output: ")) << r.err;
  EXPECT_EQ(r.out.compare(0, 1, "\x47"), 0) << "the stream starts with a sync byte";
  const std::string ts = (m_dir / "out.ts").string();
  WriteFile(ts, r.out);

  const RunResult decode =
      RunProgram({"ffmpeg", "-nostdin", "-v", "error", "-i", ts, "-f", "null", "-"}, {},
                 (m_dir / "run").string(), 60s);
  EXPECT_EQ(decode.status, 0);
  EXPECT_EQ(decode.err, "") << "decoding errors";

  // Picture sizes frame by frame, against the client's segment lines: 50 frames a segment.
  const RunResult frames = RunProgram({"ffprobe", "-v", "error", "-select_streams", "v:0",
                                       "-show_entries", "frame=width,height", "-of", "csv=p=0", ts},
                                      {}, (m_dir / "run").string(), 60s);
  ASSERT_EQ(frames.status, 0) << frames.err;
  std::vector<std::string> frameSizes;
  std::istringstream frameLines(frames.out);
  const std::regex frameLine("^([0-9]+),([0-9]+)");
  for (std::string line; std::getline(frameLines, line);) {
    std::smatch m;
    if (std::regex_search(line, m, frameLine)) frameSizes.push_back(m.str(1) + "x" + m.str(2));
  }
  std::vector<std::string> segmentSizes;
  const std::regex segmentLine("segment [0-9]+/15  v[0-9] ([0-9]+x[0-9]+) ");
  for (std::sregex_iterator it(r.err.begin(), r.err.end(), segmentLine), end; it != end; ++it) {
    segmentSizes.push_back((*it)[1]);
  }
  ASSERT_EQ(segmentSizes.size(), 15u) << r.err;
  const auto frameRuns = Runs(frameSizes);
  const auto segmentRuns = Runs(segmentSizes);
  EXPECT_GE(segmentRuns.size(), 2u) << "the run switched variants";
  ASSERT_EQ(frameRuns.size(), segmentRuns.size()) << frames.out;
  for (std::size_t i = 0; i < frameRuns.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(frameRuns[i].first, segmentRuns[i].first);
    EXPECT_EQ(frameRuns[i].second, 50 * segmentRuns[i].second);
  }
}

TEST_F(StrmplayE2e, CtrlCPrintsTheSummaryAndSavesTheCookieJar) {
  ChildProcess child;
  std::string error;
  const std::string out = (m_dir / "run/ctrlc.out").string();
  ASSERT_TRUE(child.Start({STRMPLAY_BINARY, "--client-name", "ctrlc"}, out,
                          (m_dir / "run/ctrlc.err").string(), Env(), error))
      << error;
  // Real time: the stream would take 30 s. Stop it once two segments are in.
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!Contains(ReadFile(out), "segment 2/15") && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(10ms);
  }
  ASSERT_TRUE(Contains(ReadFile(out), "segment 2/15")) << ReadFile(out);
  child.Signal(SIGINT);
  const int status = child.Wait(10s);
  const std::string text = ReadFile(out);
  EXPECT_EQ(status, 130) << text;
  EXPECT_TRUE(Contains(text, "stopping: asked to stop (Ctrl-C)")) << text;
  EXPECT_TRUE(Contains(text, "\nsummary\n  segments fetched: ")) << text;
  EXPECT_TRUE(Contains(text, "  cookies: ")) << text;
  EXPECT_TRUE(fs::exists(m_dir / "root/ctrlc/data/cookie/persistent_cookie.txt")) << text;
  EXPECT_TRUE(Contains(ReadFile(m_dir / "root/ctrlc/data/cookie/persistent_cookie.txt"),
                       "strmplay_visits"));
}

TEST_F(StrmplayE2e, TheEndOfPlayProbeFetchesOnlyTheStartOfUnplayedVariants) {
  // Capped below the lowest variant, the run stays on v0; v1 and v2 are probed at the end.
  const RunResult r = Strmplay({"--quick", "--cap", "300", "--start", "0", "--duration", "4"});
  ASSERT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "v1 was not played: probed the first 65536 bytes")) << m_log;
  EXPECT_TRUE(Contains(r.out, "v2 was not played: probed the first 65536 bytes")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  resolution v2: 1280x720 ")) << m_log;
  std::smatch m;
  ASSERT_TRUE(std::regex_search(r.out, m, std::regex("playlists/keys/probes ([0-9]+)\\)")));
  EXPECT_LE(std::stoul(m[1]), 2u * 65536u + 8192u) << "two probes, three playlists and a key";
}

// --- Live playlists that stop ----------------------------------------------------------

TEST_F(StrmplayE2e, AStaleLivePlaylistEndsWithAClearErrorWithinFourTargetDurations) {
  testsupport::LoopbackServer server;
  Serve(server, "/live.m3u8", MediaPlaylistOf({"a.ts", "b.ts", "c.ts"}, 1, false, 7),
        "application/vnd.apple.mpegurl");
  const std::string segment = ReadFile(kSample + "/v0/seg100.ts");
  for (const char* name : {"/a.ts", "/b.ts", "/c.ts"}) Serve(server, name, segment, "video/mp2t");
  const RunResult r = Strmplay({server.Url("/live.m3u8")}, 30s);
  EXPECT_EQ(r.status, 4) << m_log;
  EXPECT_LT(r.seconds, 4.0) << "four target durations of 1 s\n" << m_log;
  EXPECT_TRUE(Contains(r.err, "has not changed for")) << m_log;
  EXPECT_TRUE(Contains(r.err, "the stream has stopped")) << m_log;
  EXPECT_TRUE(Contains(r.out, "\nsummary\n")) << m_log;
}

TEST_F(StrmplayE2e, AnEventPlaylistThatLostItsEndlistEndsAsAStoppedStream) {
  std::string error;
  ASSERT_TRUE(MakeHls(Www(), 3,
                      {"-hls_playlist_type", "event", (m_dir / "www/event.m3u8").string()}, error))
      << error;
  std::string playlist = ReadFile((m_dir / "www/event.m3u8").string());
  ASSERT_TRUE(Contains(playlist, "#EXT-X-ENDLIST"));
  playlist = std::regex_replace(playlist, std::regex("#EXT-X-ENDLIST\n"), "");
  WriteFile((m_dir / "www/event.m3u8").string(), playlist);
  std::smatch m;
  ASSERT_TRUE(std::regex_search(playlist, m, std::regex("#EXT-X-TARGETDURATION:([0-9]+)")));
  const int target = std::stoi(m[1]);
  Nginx nginx;
  ASSERT_TRUE(nginx.Start(m_dir.string(), Www(), "", error)) << error;
  const RunResult r = Strmplay({nginx.Url("/event.m3u8")}, 30s);
  EXPECT_EQ(r.status, 4) << m_log;
  EXPECT_LT(r.seconds, 4.0 * target) << m_log;
  EXPECT_TRUE(Contains(r.err, "the stream has stopped")) << m_log;
}

// --- Redirects -----------------------------------------------------------------------------

TEST_F(StrmplayE2e, ARedirectedMasterAndRedirectedMediaPlaylistsPlay) {
  // The master playlist moves with an absolute Location, each media playlist with a relative
  // one; the segments and keys exist only where the media playlists really are.
  fs::create_directories(m_dir / "www/cdn");
  fs::create_directories(m_dir / "www/moved");
  fs::copy_file(kSample + "/master.m3u8", m_dir / "www/cdn/master.m3u8");
  for (const char* v : {"v0", "v1", "v2"}) {
    fs::create_directory_symlink(fs::path(kSample) / v, m_dir / "www/moved" / v);
  }
  Nginx nginx;
  std::string error;
  ASSERT_TRUE(nginx.Start(m_dir.string(), Www(),
                          "    location = /start/master.m3u8 { return 302 /cdn/master.m3u8; }\n"
                          "    location ~ ^/cdn/(v[0-9])/index.m3u8$ {\n"
                          "      absolute_redirect off;\n"
                          "      return 302 /moved/$1/index.m3u8;\n"
                          "    }\n",
                          error))
      << error;
  const RunResult r = Strmplay({"--quick", "--verbose", nginx.Url("/start/master.m3u8")});
  EXPECT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 15/15 (failed 0, encrypted ")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  errors by code: none\n")) << m_log;
  EXPECT_TRUE(Contains(r.out, "redirected: " + nginx.Url("/start/master.m3u8") + " -> " +
                                  nginx.Url("/cdn/master.m3u8")))
      << m_log;
  EXPECT_TRUE(Contains(r.out, "-> " + nginx.Url("/moved/v1/index.m3u8"))) << m_log;
}

// --- Failures in words ---------------------------------------------------------------------

TEST_F(StrmplayE2e, FailedRequestsAreToldInWordsWithTheirHttpStatus) {
  testsupport::LoopbackServer server;
  std::map<std::string, int> requests;
  std::mutex lock;
  auto count = [&](const std::string& path) {
    std::lock_guard<std::mutex> guard(lock);
    ++requests[path];
  };
  const std::string segment = ReadFile(kSample + "/v0/seg100.ts");
  Serve(server, "/ok.ts", segment, "video/mp2t");
  for (const auto& [path, status] : std::vector<std::pair<std::string, int>>{
           {"/missing.ts", 404}, {"/broken.ts", 500}, {"/busy.ts", 503}}) {
    const int code = status;
    server.Get(path, [&count, code](const httplib::Request& req, httplib::Response& res) {
      count(req.path);
      res.status = code;
      res.set_content("no\n", "text/plain");
    });
  }
  server.Get("/loop.ts", [&count](const httplib::Request& req, httplib::Response& res) {
    count(req.path);
    res.status = 302;
    res.set_header("Location", "/loop.ts");
  });
  Serve(server, "/media.m3u8",
        MediaPlaylistOf({"ok.ts", "missing.ts", "broken.ts", "busy.ts",
                         server.Url("/drop/300000/1000"), "loop.ts"}),
        "application/vnd.apple.mpegurl");
  const RunResult r = Strmplay({"--quick", server.Url("/media.m3u8")});
  std::map<std::string, int> seen;
  {
    std::lock_guard<std::mutex> guard(lock);  // the server's handlers count on their own thread
    seen = requests;
  }
  EXPECT_EQ(r.status, 1) << m_log;
  EXPECT_TRUE(Contains(r.out, "missing.ts: HTTP 404 Not Found, result 10 (err_retry: ")) << m_log;
  EXPECT_TRUE(Contains(r.out, "not requested again: the server refuses the request itself"))
      << m_log;
  EXPECT_EQ(seen["/missing.ts"], 1) << "a missing file is asked for once";
  EXPECT_TRUE(Contains(r.out, "broken.ts: HTTP 500 Internal Server Error, result 10")) << m_log;
  EXPECT_EQ(seen["/broken.ts"], 3);
  EXPECT_TRUE(Contains(r.out, "busy.ts: HTTP 503 Service Unavailable, result 10")) << m_log;
  EXPECT_TRUE(Contains(r.out, "/drop/300000/1000: HTTP 200 OK, the transfer broke off after"))
      << m_log;
  EXPECT_TRUE(Contains(r.out, "loop.ts: more than 10 redirects: a redirect loop")) << m_log;
  EXPECT_FALSE(Contains(r.out, "result code")) << "no bare numbers";
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 1/6 (failed 5")) << m_log;
  EXPECT_TRUE(Contains(r.out,
                       "    10 err_retry: failed, and the engine asks for the same request "
                       "again (HTTP 200 OK x3, HTTP 404 Not Found x1, HTTP 500 Internal "
                       "Server Error x3, HTTP 503 Service Unavailable x3)"))
      << m_log;
  EXPECT_TRUE(Contains(r.out, "  other errors: redirect loop x1")) << m_log;
}

TEST_F(StrmplayE2e, ARefusedPortIsToldInWordsAndEndsWithNothingToPlay) {
  const RunResult r =
      Strmplay({"http://127.0.0.1:" + std::to_string(FreePort()) + "/master.m3u8"}, 30s);
  EXPECT_EQ(r.status, 3) << m_log;
  EXPECT_TRUE(Contains(r.err, "result -20 (err_recv_error: the transfer failed")) << m_log;
  EXPECT_TRUE(Contains(r.err, "libcurl: ")) << m_log;
  EXPECT_TRUE(Contains(r.err, "onnect")) << m_log;
}

// --- Media the client cannot play --------------------------------------------------------

TEST_F(StrmplayE2e, AGarbageSegmentIsAnErrorInTheSummaryAndTheExitStatus) {
  testsupport::LoopbackServer server;
  std::string garbage(200000, '\0');
  for (std::size_t i = 0; i < garbage.size(); ++i) {
    garbage[i] = static_cast<char>((i * 2654435761u) >> 13);
  }
  Serve(server, "/good.ts", ReadFile(kSample + "/v0/seg100.ts"), "video/mp2t");
  Serve(server, "/garbage.ts", garbage, "video/mp2t");
  Serve(server, "/media.m3u8", MediaPlaylistOf({"good.ts", "garbage.ts"}),
        "application/vnd.apple.mpegurl");
  const RunResult r = Strmplay({"--quick", server.Url("/media.m3u8")});
  EXPECT_EQ(r.status, 1) << m_log;
  EXPECT_TRUE(Contains(r.out, "v0: segment not played: ")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 1/2 (failed 1")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  other errors: not a transport stream x1")) << m_log;
  EXPECT_TRUE(Contains(r.err, "1 of 2 segments were not played (exit status 1)")) << m_log;
}

TEST_F(StrmplayE2e, FragmentedMp4IsRefusedAtOnceWithAClearMessage) {
  std::string error;
  ASSERT_TRUE(MakeHls(Www(), 3,
                      {"-hls_segment_type", "fmp4", "-hls_playlist_type", "vod",
                       (m_dir / "www/fmp4.m3u8").string()},
                      error))
      << error;
  Nginx nginx;
  ASSERT_TRUE(nginx.Start(m_dir.string(), Www(), "", error)) << error;
  const RunResult r = Strmplay({nginx.Url("/fmp4.m3u8")});
  EXPECT_EQ(r.status, 3) << m_log;
  EXPECT_LT(r.seconds, 3.0) << m_log;
  EXPECT_TRUE(Contains(r.err, "fragmented MP4 segments (EXT-X-MAP")) << m_log;
  EXPECT_TRUE(Contains(r.err, "plays MPEG-2 transport streams only")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 0/0")) << m_log;
}

TEST_F(StrmplayE2e, AnOversizedPlaylistIsCutOffWithAClearError) {
  testsupport::LoopbackServer server;
  std::string big = "#EXTM3U\n#EXT-X-TARGETDURATION:2\n";
  while (big.size() < 6 * 1024 * 1024) big += "#EXTINF:2.0,\nsegment-with-a-long-name.ts\n";
  Serve(server, "/big.m3u8", big, "application/vnd.apple.mpegurl");
  const RunResult r = Strmplay({server.Url("/big.m3u8")});
  EXPECT_EQ(r.status, 3) << m_log;
  EXPECT_TRUE(Contains(r.err, "larger than the client accepts: cut off after")) << m_log;
}

// --- Byte ranges -------------------------------------------------------------------------

class ByteRangeStream : public StrmplayE2e {
 protected:
  void SetUp() override {
    StrmplayE2e::SetUp();
    std::string error;
    ASSERT_TRUE(MakeHls(Www(), 4,
                        {"-hls_flags", "single_file", "-hls_playlist_type", "vod",
                         (m_dir / "www/ranges.m3u8").string()},
                        error))
        << error;
    ASSERT_TRUE(Contains(ReadFile((m_dir / "www/ranges.m3u8").string()), "#EXT-X-BYTERANGE"));
  }
};

TEST_F(ByteRangeStream, AServerThatAnswersARangeWithTheWholeFileFailsTheSegments) {
  PythonHttpServer python;
  std::string error;
  ASSERT_TRUE(python.Start(m_dir.string(), Www(), error)) << error;
  const RunResult r = Strmplay({"--quick", python.Url("/ranges.m3u8")});
  EXPECT_EQ(r.status, 1) << m_log;
  EXPECT_TRUE(Contains(r.out, "and got HTTP 200 OK with the whole resource of")) << m_log;
  EXPECT_TRUE(Contains(r.out, "the server does not honour byte ranges")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  segments fetched: 0/")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  other errors: byte range not honoured x")) << m_log;
}

TEST_F(ByteRangeStream, AServerThatHonoursRangesPlaysThem) {
  Nginx nginx;
  std::string error;
  ASSERT_TRUE(nginx.Start(m_dir.string(), Www(), "", error)) << error;
  const RunResult r = Strmplay({"--quick", nginx.Url("/ranges.m3u8")});
  EXPECT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "  errors by code: none\n")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  resolution v0: 160x90 ")) << m_log;
}

// --- What the stream carries -------------------------------------------------------------

TEST_F(StrmplayE2e, ADiscontinuityIsShownAndTheNewPictureSizeNamed) {
  testsupport::LoopbackServer server;
  Serve(server, "/lo1.ts", ReadFile(kSample + "/v0/seg100.ts"), "video/mp2t");
  Serve(server, "/lo2.ts", ReadFile(kSample + "/v0/seg101.ts"), "video/mp2t");
  Serve(server, "/hi1.ts", ReadFile(kSample + "/v2/seg102.ts"), "video/mp2t");
  Serve(server, "/hi2.ts", ReadFile(kSample + "/v2/seg103.ts"), "video/mp2t");
  Serve(server, "/media.m3u8",
        MediaPlaylistOf({"lo1.ts", "lo2.ts", "#EXT-X-DISCONTINUITY", "hi1.ts", "hi2.ts"}),
        "application/vnd.apple.mpegurl");
  const RunResult r = Strmplay({"--quick", server.Url("/media.m3u8")});
  EXPECT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out, "discontinuity at 4.0 s of media")) << m_log;
  EXPECT_TRUE(Contains(r.out,
                       "v0 resolution 1280x720 from the SPS after a discontinuity (was "
                       "416x234)"))
      << m_log;
  EXPECT_TRUE(Contains(r.out, "segment 3/4  v0 1280x720 ")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  discontinuities: 1\n")) << m_log;
  EXPECT_TRUE(Contains(r.out, "  resolution v0: 416x234, then 1280x720 ")) << m_log;
}

TEST_F(StrmplayE2e, AlternativeAudioStaysOutOfTheSwitchingLadder) {
  std::string error;
  ASSERT_TRUE(MakeHls(
      Www(), 3,
      {"-map", "0:v", "-map", "1:a", "-hls_playlist_type", "vod", "-master_pl_name", "master.m3u8",
       "-var_stream_map", "v:0,agroup:aud a:0,agroup:aud", "-hls_segment_filename",
       (m_dir / "www/s%v_%d.ts").string(), (m_dir / "www/p%v.m3u8").string()},
      error))
      << error;
  ASSERT_TRUE(Contains(ReadFile((m_dir / "www/master.m3u8").string()), "#EXT-X-MEDIA:TYPE=AUDIO"));
  Nginx nginx;
  ASSERT_TRUE(nginx.Start(m_dir.string(), Www(), "", error)) << error;
  const RunResult r = Strmplay({"--quick", nginx.Url("/master.m3u8")});
  EXPECT_EQ(r.status, 0) << m_log;
  EXPECT_TRUE(Contains(r.out,
                       "alternative audio is not played: 1 EXT-X-MEDIA audio rendition "
                       "(group \"group_aud\") and 1 audio-only variant"))
      << m_log;
  EXPECT_EQ(CountOf(r.out, "  resolution v"), 1) << "one variant in the ladder\n" << m_log;
  EXPECT_FALSE(Contains(r.out, "p1.m3u8")) << m_log;
}

}  // namespace
}  // namespace e2e
