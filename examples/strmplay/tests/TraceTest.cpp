#include <gtest/gtest.h>
#include <unistd.h>

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
  const std::string path =
      ::testing::TempDir() + "strmplay_trace_" + std::to_string(::getpid()) + ".csv";
  std::string error;
  ASSERT_TRUE(TwoSamples().WriteCsv(path, error)) << error;
  EXPECT_EQ(ReadFile(path),
            "time_s,measured_kbps,link_kbps,selected_kbps,variant,buffer_s,playing\n"
            "0.050,0,8000,1200,1,0.000,0\n"
            "2.500,7800,8000,3000,2,3.250,1\n");
  std::remove(path.c_str());
}

// The points of the polyline drawn in this colour, or empty when there is none.
std::string PolylinePoints(const std::string& svg, const std::string& color) {
  const std::string start = "<polyline fill=\"none\" stroke=\"" + color + "\"";
  const auto at = svg.find(start);
  if (at == std::string::npos) return std::string();
  const auto points = svg.find("points=\"", at);
  const auto end = svg.find('"', points + 8);
  return svg.substr(points + 8, end - points - 8);
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(Trace, SvgDrawsTheFourSeriesAndTheSwitchMarker) {
  const std::string path =
      ::testing::TempDir() + "strmplay_trace_" + std::to_string(::getpid()) + ".svg";
  std::string error;
  ASSERT_TRUE(TwoSamples().WriteSvg(path, "title <&>", error)) << error;
  const std::string svg = ReadFile(path);
  EXPECT_EQ(svg.rfind("<svg ", 0), 0u);
  EXPECT_NE(svg.find("</svg>"), std::string::npos);
  EXPECT_NE(svg.find("title &lt;&amp;&gt;"), std::string::npos);
  EXPECT_NE(svg.find("v1&gt;v2"), std::string::npos);
  for (const char* label : {"link rate", "measured bandwidth", "selected variant", "buffer"}) {
    EXPECT_NE(svg.find(label), std::string::npos) << label;
  }
  // Three lines and the buffer's area, each through both samples: link and selected variant as
  // steps (two points a sample), the measurement as a plain line.
  EXPECT_EQ(Count(svg, "<polyline"), 3u);
  EXPECT_EQ(Count(svg, "<polygon"), 1u);
  EXPECT_EQ(Count(PolylinePoints(svg, "#888888"), ","), 4u) << "link rate";
  EXPECT_EQ(Count(PolylinePoints(svg, "#1f77b4"), ","), 2u) << "measured bandwidth";
  EXPECT_EQ(Count(PolylinePoints(svg, "#ff7f0e"), ","), 4u) << "selected variant";
  const auto polygon = svg.find("<polygon");
  const auto polygonEnd = svg.find("/>", polygon);
  EXPECT_EQ(Count(svg.substr(polygon, polygonEnd - polygon), ","), 4u) << "buffer";
  std::remove(path.c_str());
}

TEST(Trace, WritingToAMissingDirectoryFailsWithAReason) {
  std::string error;
  EXPECT_FALSE(TwoSamples().WriteCsv("/nonexistent-dir/x.csv", error));
  EXPECT_NE(error.find("/nonexistent-dir/x.csv"), std::string::npos);
}

}  // namespace
}  // namespace strmplay
