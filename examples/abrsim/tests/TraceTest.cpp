#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "Trace.h"

using abrsim::Link;
using abrsim::Trace;

namespace {

Trace Make(std::vector<abrsim::TracePoint> points) {
  Trace trace;
  std::string error;
  EXPECT_TRUE(trace.Set(std::move(points), error)) << error;
  return trace;
}

std::string WriteTemp(const std::string& text) {
  char path[] = "/tmp/abrsim-trace-XXXXXX";
  const int fd = mkstemp(path);
  EXPECT_GE(fd, 0);
  FILE* f = fdopen(fd, "w");
  std::fputs(text.c_str(), f);
  std::fclose(f);
  return path;
}

}  // namespace

TEST(Trace, ReadsTabSeparatedSecondsAndMegabits) {
  const std::string path = WriteTemp("# comment\n0.0\t2.5\n1.01\t0.5  # dip\n\n2.02\t3\n");
  Trace trace;
  std::string error;
  ASSERT_TRUE(trace.Load(path, error)) << error;
  std::remove(path.c_str());
  ASSERT_EQ(trace.Points().size(), 3u);
  EXPECT_DOUBLE_EQ(trace.Points()[1].seconds, 1.01);
  EXPECT_DOUBLE_EQ(trace.Points()[1].mbps, 0.5);
  // The last rate lasts as long as the step before it.
  EXPECT_NEAR(trace.PeriodSeconds(), 3.03, 1e-12);
}

TEST(Trace, RejectsBadLines) {
  struct Case {
    const char* text;
    const char* why;
  } cases[] = {
      {"0 1\n1\n", "a rate is missing"},        {"0 1 2\n", "a third field"},
      {"0 1\n0 2\n", "time does not increase"}, {"0 -1\n", "negative rate"},
      {"0 0\n1 0\n", "every rate zero"},        {"# nothing\n", "no points"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string path = WriteTemp(c.text);
    Trace trace;
    std::string error;
    EXPECT_FALSE(trace.Load(path, error));
    EXPECT_FALSE(error.empty());
    std::remove(path.c_str());
  }
}

TEST(Link, PayloadFlowsAtTheEfficiencyShareOfTheRate) {
  const Trace trace = Make({{0, 8}, {10, 8}});  // 1 MB/s
  const Link link(trace, 0.08, 0.5);
  EXPECT_DOUBLE_EQ(link.BpsAt(3), 4e6);
  EXPECT_NEAR(link.Finish(1, 500000), 2, 1e-9);
  EXPECT_DOUBLE_EQ(link.RoundTrip(), 0.08);
}

TEST(Link, ADownloadSpansStepsAndZeroRates) {
  // 1 MB/s for 2 s, nothing for 3 s, 2 MB/s after.
  const Trace trace = Make({{0, 8}, {2, 0}, {5, 16}, {100, 16}});
  const Link link(trace, 0, 1);
  EXPECT_NEAR(link.Finish(1, 1000000), 2, 1e-9);  // ends exactly as the link goes dark
  EXPECT_NEAR(link.Finish(1, 1500000), 5.25, 1e-9);
  EXPECT_NEAR(link.Finish(3, 2000000), 6, 1e-9);  // waits for the link to come back
}

TEST(Link, ARunLongerThanTheTraceWrapsAround) {
  // 1 MB/s for 1 s then 3 MB/s for 1 s: the period is 2 s, 4 MB.
  const Trace trace = Make({{0, 8}, {1, 24}});
  const Link link(trace, 0, 1);
  EXPECT_NEAR(link.Finish(0, 4000000), 2, 1e-9);
  EXPECT_NEAR(link.Finish(0, 5000000), 3, 1e-9);
  EXPECT_NEAR(link.Finish(2.5, 1000000), 3 + 1.0 / 6, 1e-9);
  EXPECT_DOUBLE_EQ(link.BpsAt(3.5), 24e6);
  EXPECT_DOUBLE_EQ(link.BpsAt(4.5), 8e6);
}

TEST(Link, SeveralSizesAtOneStartMatchOneAtATime) {
  const Trace trace = Make({{0, 2.2}, {1.01, 0.3}, {2.011, 0}, {3.02, 4.1}});
  const Link link(trace, 0.08, 0.95);
  const double bytes[] = {0, 150000, 375000, 2150000};
  double ends[4];
  link.Finish(0.7, bytes, 4, ends);
  for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(ends[i], link.Finish(0.7, bytes[i])) << i;
}
