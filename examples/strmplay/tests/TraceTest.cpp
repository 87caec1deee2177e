#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "Trace.h"

namespace strmplay {
namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

Trace TwoSamples() {
  Trace t;
  TraceSample a;
  a.time = 0.05;
  a.measuredKbps = 0;
  a.linkKbps = 8000;
  a.selectedKbps = 1200;
  a.variant = 1;
  a.bufferSeconds = 0.0;
  t.Add(a);
  TraceSample b = a;
  b.time = 2.5;
  b.measuredKbps = 7800;
  b.selectedKbps = 3000;
  b.variant = 2;
  b.bufferSeconds = 3.25;
  b.playing = true;
  t.Add(b);
  t.AddEvent(2.4, "v1>v2");
  return t;
}

TEST(Trace, CsvHasAHeaderAndOneRowPerSample) {
  const std::string path = ::testing::TempDir() + "strmplay_trace.csv";
  std::string error;
  ASSERT_TRUE(TwoSamples().WriteCsv(path, error)) << error;
  EXPECT_EQ(ReadFile(path),
            "time_s,measured_kbps,link_kbps,selected_kbps,variant,buffer_s,playing\n"
            "0.050,0,8000,1200,1,0.000,0\n"
            "2.500,7800,8000,3000,2,3.250,1\n");
  std::remove(path.c_str());
}

TEST(Trace, SvgDrawsTheFourSeriesAndTheSwitchMarker) {
  const std::string path = ::testing::TempDir() + "strmplay_trace.svg";
  std::string error;
  ASSERT_TRUE(TwoSamples().WriteSvg(path, "title <&>", error)) << error;
  const std::string svg = ReadFile(path);
  EXPECT_EQ(svg.rfind("<svg ", 0), 0u);
  EXPECT_NE(svg.find("</svg>"), std::string::npos);
  EXPECT_NE(svg.find("title &lt;&amp;&gt;"), std::string::npos);
  EXPECT_GT(std::count(svg.begin(), svg.end(), '\n'), 10);
  EXPECT_NE(svg.find("v1&gt;v2"), std::string::npos);
  for (const char* label : {"link rate", "measured bandwidth", "selected variant", "buffer"}) {
    EXPECT_NE(svg.find(label), std::string::npos) << label;
  }
  EXPECT_NE(svg.find("<polygon"), std::string::npos);
  EXPECT_NE(svg.find("<polyline"), std::string::npos);
  std::remove(path.c_str());
}

TEST(Trace, WritingToAMissingDirectoryFailsWithAReason) {
  std::string error;
  EXPECT_FALSE(TwoSamples().WriteCsv("/nonexistent-dir/x.csv", error));
  EXPECT_NE(error.find("/nonexistent-dir/x.csv"), std::string::npos);
}

}  // namespace
}  // namespace strmplay
