// The library's own ABR as a rule: the real BandwidthChecker and AdaptiveSegSwitcher, driven the
// way the playback engine drives them, on simulated time. Each decision and its reason come from
// the library's results and its log lines.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
#include "Session.h"

namespace abrsim {

// The engine's knobs.
struct LibrarySettings {
  int upTimerSeconds = 0;           // SetSwitchParam's first argument
  int marginKbps = 0;               // SetSwitchParam's second argument; 0 is the relative margin
  unsigned int monitorMs = 250;     // the checker's block length
  int groups = 0;                   // bitrate groups over the ladder, 0 for no limit list
  int startVariant = 0;             // the variant of the first segment
  unsigned int pollMs = 50;         // how often the engine calls OnPolling
  unsigned int chunkBytes = 16384;  // body chunk size of a transfer
};

// The settings in words, "up timer 10 s, margin relative, monitor 250 ms, 3 groups". A
// default-constructed LibrarySettings is what an engine gets that sets none of the knobs.
std::string Describe(const LibrarySettings& settings);

// The limit list that puts `groups` contiguous, near-equal runs of the ladder into groups 1, 2,
// ... of one upgrade group; empty for 0 groups.
std::vector<strmcommon::bitrateParam_t> Groups(const std::vector<int>& ladderKbps, int groups);

// Why a decision came out as it did, from the lines the decision wrote.
enum class Reason {
  kNoEstimate,
  kStay,
  kUpNoParam,
  kUpSameGroup,
  kUpFreeUpgrade,
  kUpStepInGroup,
  kUpTimerPassed,
  kDownNoParam,
  kDownSameGroup,
  kDownOtherGroup,
  kDownOverLimit,
  kDownRefused,
  kUpRefusedUpgradeGroup,
  kUpRefusedTimerStarted,
  kUpRefusedSilent,  // level, buffer or a running up timer: the library writes no line for these
  kCount,
};
const char* ReasonText(Reason reason);

// One call into the library, for replaying the same sequence elsewhere.
struct LibraryCall {
  enum Kind { kPoll, kChunk, kLevel, kDecide } kind;
  long long clockMs;
  long long a, b, c, d;  // the call's arguments in order
  int result;            // ProcessAdaptiveSeg's result
};

struct DecisionRecord {
  int index;
  double seconds;
  double bufferSeconds;
  int current;
  int wanted;  // the selection's answer, -1 when no selection ran
  int result;  // ProcessAdaptiveSeg's result
  int estimate;
  Reason reason;
  bool timerGivenUp;
  bool firstFragment;  // made on the first-fragment average, not on an estimate
};

struct LibraryStats {
  double firstEstimateSeconds = -1;  // first time the checker had a current bandwidth
  int firstFragmentDecisions = 0;    // decisions made on the first-fragment average
  int finalUpTimer = 0;              // up timer in force at the end, seconds
  int upTimerRaises = 0;
  int timersGivenUp = 0;
  int wantedUpRefused = 0;  // decisions where the selection wanted a higher variant and got none
  int downRefused = 0;      // decisions where it wanted a lower one and got none
  double stallAfterDownRefused = 0;    // seconds stalled fetching the segments of those decisions
  double stallAfterFirstFragment = 0;  // the same for decisions on the first-fragment average
  int reasons[static_cast<int>(Reason::kCount)] = {};
};

class LibraryRule : public Rule {
 public:
  LibraryRule(const Setup& setup, const LibrarySettings& settings);
  ~LibraryRule() override;
  LibraryRule(const LibraryRule&) = delete;
  LibraryRule& operator=(const LibraryRule&) = delete;

  std::string Name() const override { return "library"; }
  int Choose(int index, double now, double bufferSeconds, int current) override;
  void Downloaded(int index, int variant, double request, double payloadStart, double bytes,
                  double end, const Link& link) override;

  // Keep every call into the library (for the replay test), and the estimate's changes over time.
  void RecordCalls(std::vector<LibraryCall>* calls) { m_calls = calls; }
  void RecordEstimates(std::vector<std::pair<double, int>>* estimates) { m_estimates = estimates; }

  const std::vector<DecisionRecord>& Decisions() const { return m_decisions; }
  LibraryStats Stats() const;

  // The simulated clock in milliseconds at `seconds` into the session.
  static long long ClockMs(double seconds);

 private:
  class Switcher;
  static void Sink(void* ctx, int logId, int priority, const char* tag, const char* text);
  // Moves the library's clock to `seconds`, with the engine's poll ticks on the way.
  void AdvanceTo(double seconds);
  Reason Classify(int current, int result) const;
  bool Wrote(const char* part) const;

  LibrarySettings m_settings;
  strmcommon::BandwidthChecker m_checker;
  std::unique_ptr<Switcher> m_switcher;
  long long m_nextPollMs;
  long long m_clockMs;
  int m_current = -1;
  bool m_capturing = false;
  std::vector<std::string> m_lines;
  std::vector<DecisionRecord> m_decisions;
  std::vector<LibraryCall>* m_calls = nullptr;
  std::vector<std::pair<double, int>>* m_estimates = nullptr;
  double m_firstEstimateSeconds = -1;
  int m_upTimerRaises = 0;
  int m_upTimer = 0;  // as the library's raise lines report it
  int m_firstFragmentDecisions = 0;
  int m_lastEstimate = 0;
};

}  // namespace abrsim
