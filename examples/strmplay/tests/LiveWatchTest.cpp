#include <gtest/gtest.h>

#include "LiveWatch.h"

namespace strmplay {
namespace {

MediaPlaylist Live(unsigned int sequence, int segments, double target = 2.0) {
  MediaPlaylist pl;
  pl.targetDuration = target;
  pl.mediaSequence = sequence;
  for (int i = 0; i < segments; ++i) {
    Segment s;
    s.uri = "seg" + std::to_string(sequence + static_cast<unsigned int>(i)) + ".ts";
    pl.segments.push_back(s);
  }
  return pl;
}

TEST(LiveWatch, APlaylistThatStopsChangingIsStaleAfterThreeTargetDurations) {
  LiveWatch watch;
  EXPECT_FALSE(watch.Stale(0.0)) << "nothing loaded yet";
  EXPECT_TRUE(watch.Loaded(Live(100, 3), 0.0));
  EXPECT_DOUBLE_EQ(watch.Limit(), 6.0);
  EXPECT_FALSE(watch.Loaded(Live(100, 3), 1.0));
  EXPECT_FALSE(watch.Loaded(Live(100, 3), 6.0));
  EXPECT_FALSE(watch.Stale(6.0));
  EXPECT_TRUE(watch.Stale(6.01));
}

TEST(LiveWatch, EveryKindOfChangeRestartsTheClock) {
  struct Row {
    const char* what;
    MediaPlaylist next;
  } rows[] = {
      {"window slid", Live(101, 3)},
      {"segment added", Live(100, 4)},
      {"last segment renamed",
       [] {
         auto pl = Live(100, 3);
         pl.segments.back().uri = "other.ts";
         return pl;
       }()},
      {"ENDLIST added",
       [] {
         auto pl = Live(100, 3);
         pl.endList = true;
         return pl;
       }()},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    LiveWatch watch;
    watch.Loaded(Live(100, 3), 0.0);
    EXPECT_TRUE(watch.Loaded(row.next, 5.0));
    EXPECT_DOUBLE_EQ(watch.LastChange(), 5.0);
    EXPECT_FALSE(watch.Stale(10.0));
  }
}

TEST(LiveWatch, APlaylistWithoutTargetDurationGetsTenSeconds) {
  LiveWatch watch;
  watch.Loaded(Live(1, 1, 0.0), 0.0);
  EXPECT_DOUBLE_EQ(watch.Limit(), 30.0);
}

}  // namespace
}  // namespace strmplay
