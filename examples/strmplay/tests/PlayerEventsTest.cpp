#include <gtest/gtest.h>

#include <vector>

#include "PlayerEvents.h"

namespace strmplay {
namespace {

TEST(PlayerEvents, ABitrateChangeComesBackThroughTheBandwidthCallbackWithItsIndices) {
  PlayerEvents events;
  std::vector<PlayerEvents::Switch> seen;
  events.onSwitch = [&](const PlayerEvents::Switch& s) { seen.push_back(s); };
  events.BitrateChanged(2, 0, 3000000, 400000, 90000);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].from, 2);
  EXPECT_EQ(seen[0].to, 0);
  EXPECT_EQ(seen[0].fromBps, 3000000u);
  EXPECT_EQ(seen[0].toBps, 400000u);
}

TEST(PlayerEvents, ADiscontinuityComesBackThroughTheDiscontinuityCallbackWithItsPts) {
  PlayerEvents events;
  std::vector<unsigned long long> seen;
  events.onDiscontinuity = [&](unsigned long long pts) { seen.push_back(pts); };
  events.Discontinuity(3, 720000);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0], 720000u);
}

TEST(PlayerEvents, WithoutListenersEventsAreDropped) {
  PlayerEvents events;
  events.BitrateChanged(0, 1, 1, 2, 0);
  events.Discontinuity(1, 0);
}

}  // namespace
}  // namespace strmplay
