#include <gtest/gtest.h>
#include <httplib.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "SampleServer.h"

namespace strmplay {
namespace {

namespace fs = std::filesystem;

class SampleServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_dir = fs::path(::testing::TempDir()) /
            ("strmplay_sample_server_test_" + std::to_string(::getpid()));
    fs::remove_all(m_dir);
    fs::create_directories(m_dir / "v0");
    Write("master.m3u8", "#EXTM3U\n");
    Write("v0/seg1.ts", std::string(200000, 'G'));
  }
  void TearDown() override { fs::remove_all(m_dir); }
  void Write(const std::string& name, const std::string& content) {
    std::ofstream(m_dir / name, std::ios::binary) << content;
  }
  fs::path m_dir;
};

TEST_F(SampleServerTest, ServesFilesByPathWithTheirTypesAnd404ForTheRest) {
  RateSchedule schedule;
  SampleServer server(schedule, 1.0);
  std::string error;
  ASSERT_TRUE(server.Load(m_dir.string(), error)) << error;
  ASSERT_TRUE(server.Start(error)) << error;
  httplib::Client client("127.0.0.1", server.Port());
  auto res = client.Get("/v0/seg1.ts");
  ASSERT_TRUE(res);
  EXPECT_EQ(res->status, 200);
  EXPECT_EQ(res->body.size(), 200000u);
  EXPECT_EQ(res->get_header_value("Content-Type"), "video/mp2t");
  res = client.Get("/master.m3u8");
  ASSERT_TRUE(res);
  EXPECT_EQ(res->get_header_value("Content-Type"), "application/vnd.apple.mpegurl");
  res = client.Get("/missing.ts");
  ASSERT_TRUE(res);
  EXPECT_EQ(res->status, 404);
  EXPECT_EQ(server.Requests(), 3);
  EXPECT_EQ(server.BytesServed(), 200000u + 8u);
  server.Stop();
}

TEST_F(SampleServerTest, VisitCookieCountsUpWhenItComesBack) {
  RateSchedule schedule;
  SampleServer server(schedule, 1.0);
  std::string error;
  ASSERT_TRUE(server.Load(m_dir.string(), error) && server.Start(error)) << error;
  httplib::Client client("127.0.0.1", server.Port());
  auto res = client.Get("/master.m3u8");
  ASSERT_TRUE(res);
  EXPECT_EQ(res->get_header_value("Set-Cookie").rfind("strmplay_visits=1;", 0), 0u);
  EXPECT_EQ(server.CookieVisitsSeen(), 0);
  res = client.Get("/master.m3u8", {{"Cookie", "a=b; strmplay_visits=4"}});
  ASSERT_TRUE(res);
  EXPECT_EQ(res->get_header_value("Set-Cookie").rfind("strmplay_visits=5;", 0), 0u);
  EXPECT_EQ(server.CookieVisitsSeen(), 4);
}

TEST_F(SampleServerTest, LoadRefusesADirectoryWithoutMasterPlaylist) {
  RateSchedule schedule;
  SampleServer server(schedule, 1.0);
  std::string error;
  fs::remove(m_dir / "master.m3u8");
  EXPECT_FALSE(server.Load(m_dir.string(), error));
  EXPECT_NE(error.find("master.m3u8"), std::string::npos);
  EXPECT_FALSE(server.Load((m_dir / "nothing").string(), error));
}

// The link never delivers faster than its rate: 200000 bytes at 4000 kbit/s need 400 ms, and at
// ten times the rate with time compressed ten times, 40 ms. Only the lower bound is checked.
TEST_F(SampleServerTest, PacedBodyTakesAtLeastItsTimeOnTheLink) {
  for (double scale : {1.0, 10.0}) {
    RateSchedule schedule;
    std::string error;
    ASSERT_TRUE(schedule.Parse("4000@0", error));
    SampleServer server(schedule, scale);
    ASSERT_TRUE(server.Load(m_dir.string(), error) && server.Start(error)) << error;
    httplib::Client client("127.0.0.1", server.Port());
    const auto start = std::chrono::steady_clock::now();
    auto res = client.Get("/v0/seg1.ts");
    const auto elapsed = std::chrono::steady_clock::now() - start;
    ASSERT_TRUE(res);
    EXPECT_EQ(res->body.size(), 200000u);
    EXPECT_GE(std::chrono::duration<double>(elapsed).count(), 0.4 / scale * 0.95) << scale;
    EXPECT_EQ(server.GetLink().RateNowKbps(), 4000);
  }
}

TEST(Link, ScheduleTimeRunsTimeScaleTimesFasterOnceStarted) {
  RateSchedule schedule;
  std::string error;
  ASSERT_TRUE(schedule.Parse("100@0,200@1000", error));
  Link link(schedule, 1000.0);
  EXPECT_EQ(link.ScheduleSeconds(), 0.0);
  EXPECT_EQ(link.RateNowKbps(), 100);
  link.Start();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (link.RateNowKbps() != 200 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(link.RateNowKbps(), 200);  // schedule second 1000 after one real second
}

}  // namespace
}  // namespace strmplay
