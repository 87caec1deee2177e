#include <gtest/gtest.h>

#include "FakeClock.h"
#include "PlaybackModel.h"

namespace strmplay {
namespace {

using Event = PlaybackModel::Event;

class PlaybackModelTest : public ::testing::Test {
 protected:
  testsupport::FakeClock m_clock;
};

TEST_F(PlaybackModelTest, StartsOnceTheStartupLevelIsBufferedAndDrainsInRealTime) {
  PlaybackModel model(1.0, 4.0);
  model.Start();
  model.Add(2.0);
  m_clock.AdvanceMs(500);
  EXPECT_EQ(model.Advance(), Event::kNone);
  EXPECT_FALSE(model.Playing());
  model.Add(2.0);
  EXPECT_EQ(model.Advance(), Event::kStarted);
  EXPECT_DOUBLE_EQ(model.StartupSeconds(), 0.5);
  m_clock.AdvanceMs(1500);
  EXPECT_EQ(model.Advance(), Event::kNone);
  EXPECT_DOUBLE_EQ(model.Buffer(), 2.5);
  EXPECT_DOUBLE_EQ(model.PlayedSeconds(), 1.5);
}

TEST_F(PlaybackModelTest, RunningDryIsAStallAndTheSameLevelResumesIt) {
  PlaybackModel model(1.0, 4.0);
  model.Start();
  model.Add(4.0);
  model.Advance();
  m_clock.AdvanceMs(5000);
  EXPECT_EQ(model.Advance(), Event::kStalled);
  EXPECT_EQ(model.Stalls(), 1);
  EXPECT_DOUBLE_EQ(model.PlayedSeconds(), 4.0);
  model.Add(2.0);
  m_clock.AdvanceMs(1000);
  EXPECT_EQ(model.Advance(), Event::kNone);
  model.Add(2.0);
  m_clock.AdvanceMs(1000);
  EXPECT_EQ(model.Advance(), Event::kResumed);
  // Stalled at 4.0 s (the buffer ran out then), resumed at 6.0 s.
  EXPECT_DOUBLE_EQ(model.RebufferSeconds(), 2.0);
}

TEST_F(PlaybackModelTest, TheEndOfTheStreamPlaysOutWhatIsLeftWithoutAStall) {
  PlaybackModel model(1.0, 4.0);
  model.Start();
  model.Add(2.0);
  model.EndOfStream();
  EXPECT_EQ(model.Advance(), Event::kStarted);
  m_clock.AdvanceMs(3000);
  EXPECT_EQ(model.Advance(), Event::kEnded);
  EXPECT_TRUE(model.Ended());
  EXPECT_EQ(model.Stalls(), 0);
  EXPECT_DOUBLE_EQ(model.EndSeconds(), 3.0);
  EXPECT_DOUBLE_EQ(model.PlayedSeconds(), 2.0);
}

TEST_F(PlaybackModelTest, CompressedTimeDrainsTimeScaleTimesFaster) {
  PlaybackModel model(10.0, 4.0);
  model.Start();
  model.Add(8.0);
  EXPECT_EQ(model.Advance(), Event::kStarted);
  m_clock.AdvanceMs(300);
  model.Advance();
  EXPECT_DOUBLE_EQ(model.Now(), 3.0);
  EXPECT_DOUBLE_EQ(model.Buffer(), 5.0);
}

TEST_F(PlaybackModelTest, AStreamThatEndsWithNothingBufferedEndsAtOnce) {
  PlaybackModel model(1.0, 4.0);
  model.Start();
  model.EndOfStream();
  m_clock.AdvanceMs(100);
  EXPECT_EQ(model.Advance(), Event::kEnded);
  EXPECT_FALSE(model.Started());
}

}  // namespace
}  // namespace strmplay
