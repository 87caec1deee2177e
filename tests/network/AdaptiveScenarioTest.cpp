#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "StreamingRig.h"

using strmcommon::_VariantData;
using strmcommon::bitrateParam_t;
using switchertest::StreamingRig;
using testsupport::FakeClock;

namespace {

constexpr long long kT0 = 1000000;

// Throughput in bits per second, switching at whole seconds after the start.
struct Phase {
  long long untilSecond;
  double bps;
};
std::function<double(long long)> Phases(std::vector<Phase> phases) {
  return [phases](long long ms) {
    for (const Phase& phase : phases)
      if (ms < kT0 + phase.untilSecond * 1000) return phase.bps;
    return phases.back().bps;
  };
}

// Two ladders of the same shape: groups 1 to 4, the top variant alone in upgrade group 2. The
// lowest variant of the second lies above 512 kbit/s, so moves up from it need buffer.
const std::vector<_VariantData> kLadder = {
    {400000, 640, 360, 0},   {800000, 960, 540, 0},    {1600000, 1280, 720, 0},
    {2400000, 1280, 720, 0}, {3000000, 1920, 1080, 0}, {6000000, 3840, 2160, 0},
};
const std::vector<bitrateParam_t> kGroups = {
    {400000, 1, 1},  {800000, 1, 1},  {1600000, 2, 1},
    {2400000, 2, 1}, {3000000, 3, 1}, {6000000, 4, 2},
};
const std::vector<_VariantData> kLadder600 = {
    {600000, 640, 360, 0},   {1000000, 960, 540, 0},   {1600000, 1280, 720, 0},
    {2400000, 1280, 720, 0}, {3000000, 1920, 1080, 0}, {6000000, 3840, 2160, 0},
};
const std::vector<bitrateParam_t> kGroups600 = {
    {600000, 1, 1},  {1000000, 1, 1}, {1600000, 2, 1},
    {2400000, 2, 1}, {3000000, 3, 1}, {6000000, 4, 2},
};

}  // namespace

TEST(AdaptiveScenario, SteadyFourMegabitsClimbsOnceAndStays) {
  FakeClock clock(kT0);
  StreamingRig rig(clock, kLadder, kGroups, 10, Phases({{1000, 4e6}}));
  auto decisions = rig.Run(40);
  // The first decision has no sample; the second runs on the first fragment's block average,
  // needs no buffer, and the first group upgrade is free. 3 Mbit/s is the highest variant whose
  // estimate (3.3 Mbit/s + 128 kbit/s) lies under 4 Mbit/s.
  EXPECT_EQ(StreamingRig::Describe(decisions),
            "0: 0 -> -1 (no estimate)\n"
            "1: 0 -> 4 (up: free group upgrade)\n")
      << StreamingRig::DescribeAll(decisions);
  EXPECT_EQ(rig.Current(), 4);
  EXPECT_EQ(rig.RebufferMs(), 0);
  // Chunk times are whole milliseconds, so the samples sit within a fraction of a percent.
  EXPECT_NEAR(rig.Estimate(), 4000000, 20000);
}

TEST(AdaptiveScenario, DropToOneMegabitWithStallsThenRecovery) {
  FakeClock clock(kT0);
  StreamingRig rig(clock, kLadder600, kGroups600, 10, Phases({{40, 4e6}, {58, 1e6}, {1000, 4e6}}));
  rig.SetMaxBuffer(20000);
  // Two segments in the slow phase stall for 2 s each before their data comes.
  rig.SetStall([](int segment) { return segment == 29 || segment == 30 ? 2000 : 0; });
  auto decisions = rig.Run(50);
  EXPECT_EQ(StreamingRig::Describe(decisions),
            "0: 0 -> -1 (no estimate)\n"
            "1: 0 -> 4 (up: free group upgrade)\n"
            // The estimate falls within a segment of the drop, but 8 s or more of buffer hold
            // the stream where it is.
            "28: 4 -> -1 (refused down: buffer)\n"
            "29: 4 -> -1 (refused down: buffer)\n"
            // Under 8 s it goes straight to the variant the estimate satisfies, another group.
            "30: 4 -> 0 (down: other group)\n"
            // Two falls in a row (the stalls) reach level 3 just as the bandwidth recovers.
            "31: 0 -> -1 (refused up: level)\n"
            // Back at level 2, but a step of more than 512 kbit/s from 600 kbit/s needs 5 s.
            "32: 0 -> -1 (refused up: buffer)\n"
            // The second free group upgrade.
            "33: 0 -> 3 (up: free group upgrade)\n"
            // The third group change waits for the 10 s up timer.
            "34: 3 -> -1 (refused up: timer started)\n"
            "35: 3 -> -1 (refused up: timer running)\n"
            "36: 3 -> -1 (refused up: timer running)\n"
            "37: 3 -> -1 (refused up: timer running)\n"
            "38: 3 -> -1 (refused up: timer running)\n"
            "39: 3 -> -1 (refused up: timer running)\n"
            "40: 3 -> -1 (refused up: timer running)\n"
            "41: 3 -> -1 (refused up: timer running)\n"
            "42: 3 -> -1 (refused up: timer running)\n"
            "43: 3 -> 4 (up: timer passed)\n")
      << StreamingRig::DescribeAll(decisions);
  EXPECT_EQ(rig.RebufferMs(), 0);
  EXPECT_EQ(rig.UpTimer(), 10);
}

TEST(AdaptiveScenario, BurstAndOscillationHitTheUpgradeGroupAndLengthenTheTimer) {
  FakeClock clock(kT0);
  std::vector<Phase> phases = {{20, 4e6}, {40, 10e6}};
  for (long long second = 48; second <= 200; second += 12)
    phases.push_back({second, (second / 12) % 2 ? 1.2e6 : 4e6});
  StreamingRig rig(clock, kLadder, kGroups, 4, Phases(phases));
  auto decisions = rig.Run(90);
  EXPECT_EQ(StreamingRig::Describe(decisions),
            "0: 0 -> -1 (no estimate)\n"
            "1: 0 -> 4 (up: free group upgrade)\n"
            // 10 Mbit/s would carry 6 Mbit/s, but that variant is in another upgrade group.
            "16: 4 -> -1 (refused up: upgrade group)\n"
            "17: 4 -> -1 (refused up: upgrade group)\n"
            "18: 4 -> -1 (refused up: upgrade group)\n"
            "19: 4 -> -1 (refused up: upgrade group)\n"
            "20: 4 -> -1 (refused up: upgrade group)\n"
            "21: 4 -> -1 (refused up: upgrade group)\n"
            "22: 4 -> -1 (refused up: upgrade group)\n"
            "23: 4 -> -1 (refused up: upgrade group)\n"
            "24: 4 -> -1 (refused up: upgrade group)\n"
            "25: 4 -> -1 (refused up: upgrade group)\n"
            // First slow phase: 800 kbit/s is the variant 1.2 Mbit/s satisfies.
            "30: 4 -> 1 (down: other group)\n"
            // Fast phase: the second free upgrade, the step inside group 2 that leaves the group
            // change to the 4 s timer, and the timed change.
            "36: 1 -> 2 (up: free group upgrade)\n"
            "37: 2 -> 3 (up: in-group step)\n"
            "38: 3 -> -1 (refused up: timer started)\n"
            "39: 3 -> -1 (refused up: timer running)\n"
            "40: 3 -> 4 (up: timer passed)\n"
            // The timed upgrade fell back within five timer lengths: 4 s becomes 8 s.
            "42: 4 -> 1 (down: other group, timer raised)\n"
            "48: 1 -> -1 (refused up: timer started)\n"
            "49: 1 -> -1 (refused up: timer running)\n"
            "50: 1 -> -1 (refused up: timer running)\n"
            "51: 1 -> -1 (refused up: timer running)\n"
            "52: 1 -> 4 (up: timer passed)\n"
            // Again: 8 s becomes 12 s.
            "54: 4 -> 1 (down: other group, timer raised)\n"
            // From now on a fast phase is too short for the 12 s timer: each wait is given up
            // once it has run a second past its length, and the stream stays low.
            "60: 1 -> -1 (refused up: timer started)\n"
            "61: 1 -> -1 (refused up: timer running)\n"
            "62: 1 -> -1 (refused up: timer running)\n"
            "63: 1 -> -1 (refused up: timer running)\n"
            "64: 1 -> -1 (refused up: timer running)\n"
            "65: 1 -> -1 (refused up: timer running)\n"
            "67: 1 -> -1 (stay, timer given up)\n"
            "72: 1 -> -1 (refused up: timer started)\n"
            "73: 1 -> -1 (refused up: timer running)\n"
            "74: 1 -> -1 (refused up: timer running)\n"
            "75: 1 -> -1 (refused up: timer running)\n"
            "76: 1 -> -1 (refused up: timer running)\n"
            "77: 1 -> -1 (refused up: timer running)\n"
            "79: 1 -> -1 (stay, timer given up)\n"
            "84: 1 -> -1 (refused up: timer started)\n"
            "85: 1 -> -1 (refused up: timer running)\n"
            "86: 1 -> -1 (refused up: timer running)\n"
            "87: 1 -> -1 (refused up: timer running)\n"
            "88: 1 -> -1 (refused up: timer running)\n"
            "89: 1 -> -1 (refused up: timer running)\n")
      << StreamingRig::DescribeAll(decisions);
  EXPECT_EQ(rig.UpTimer(), 12);
}
