// Replays a throughput trace through BandwidthChecker and AdaptiveSegSwitcher the way the playback
// engine drives them, with a simple player buffer.
#pragma once

#include <string>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
#include "Trace.h"

namespace abrsim {

struct Rung {
  int bps;
  int group;         // only with hasGroup
  int upgradeGroup;  // only with hasGroup
  bool hasGroup;
};

struct Options {
  std::vector<Rung> ladder;
  int upTimerSeconds = 10;
  int marginKbps = 0;
  unsigned int segmentMs = 2000;
  unsigned int maxBufferMs = 20000;
  unsigned int chunkBytes = 16384;
  unsigned int pollMs = 50;
  int startVariant = 0;
};

// One segment: the decision before it and what its download did.
struct SegmentRow {
  int segment;
  double startSeconds;
  unsigned int bufferMs;
  int level;
  int estimate;
  int current;
  int result;
  std::string why;
  double downloadSeconds;
};

struct Summary {
  int segments = 0;
  double averageKbps = 0;
  int switches = 0;
  int upSwitches = 0;
  int downSwitches = 0;
  double startupSeconds = 0;
  double rebufferSeconds = 0;
  int rebufferEvents = 0;
  int finalUpTimer = 0;
};

// AdaptiveSegSwitcher that remembers what the selection asked for, so each refusal can be named.
class ObservedSwitcher : public strmcommon::AdaptiveSegSwitcher {
 public:
  int GetSatisfiedStreamIndex(int cbw, int current) override;

  int lastTarget = -1;
  int Level() const { return m_level; }
  bool TimerRunning() const { return m_upTimerRunning; }
  bool TimerPassed() const { return m_upTimerPassed; }
  int UpTimer() const { return m_upTimer; }
  int UpgradeCount() const { return m_upgradeCount; }
  bool SkipLevelCheck() const { return m_skipLevelCheck; }
  bool Eligible(int index) const {
    return index >= 0 && static_cast<size_t>(index) < m_eligibleStreams.size() &&
           m_eligibleStreams[index];
  }
};

class Simulator {
 public:
  Simulator(const Options& options, const Trace& trace);
  // Runs until the trace ends; calls `row` after each segment.
  Summary Run(void (*row)(const SegmentRow&, const Options&));

 private:
  void AdvanceTo(long long us);
  void Play(long long us);
  // Names the rule behind a decision, from the state before and after it. A first fragment
  // (no estimate yet) needs no buffer for a move up.
  std::string Why(int current, int result, unsigned int bufferMs, int estimate,
                  int levelAfterUpdate, bool runningBefore, bool passedBefore, int upTimerBefore,
                  int countBefore);

  Options m_options;
  const Trace& m_trace;
  strmcommon::BandwidthChecker m_checker;
  ObservedSwitcher m_switcher;
  long long m_nowUs = 0;
  long long m_nextPollMs = 0;
  long long m_bufferUs = 0;
  bool m_playing = false;
  bool m_stalled = false;
  Summary m_summary;
};

// The simulated monotonic clock the library reads through vas_getTime().
void SetSimulatedClockMs(long long ms);

}  // namespace abrsim
