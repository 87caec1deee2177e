#include "LibraryRule.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "Platform.h"
#include "dlog_capture.h"

namespace abrsim {

namespace {

// Simulated time starts here, away from zero like a real monotonic clock.
constexpr long long kStartMs = 1000000;

// The text after the "file: function(line) > " prefix of a log line.
const char* Message(const char* text) {
  const char* mark = std::strstr(text, ") > ");
  return mark == nullptr ? text : mark + 4;
}

}  // namespace

// The switcher with its selection observed: what the bandwidth asked for before the rules spoke.
class LibraryRule::Switcher : public strmcommon::AdaptiveSegSwitcher {
 public:
  int GetSatisfiedStreamIndex(int cbw, int current) override {
    wanted = AdaptiveSegSwitcher::GetSatisfiedStreamIndex(cbw, current);
    return wanted;
  }
  int wanted = -1;
};

std::string Describe(const LibrarySettings& s) {
  std::ostringstream text;
  text << "up timer " << s.upTimerSeconds << " s, margin ";
  if (s.marginKbps == 0) {
    text << "relative";
  } else {
    text << s.marginKbps << " kbit/s";
  }
  text << ", monitor " << s.monitorMs << " ms, ";
  if (s.groups == 0) {
    text << "no groups";
  } else {
    text << s.groups << " groups";
  }
  if (s.startVariant != 0) text << ", start variant " << s.startVariant;
  return text.str();
}

std::vector<strmcommon::bitrateParam_t> Groups(const std::vector<int>& ladderKbps, int groups) {
  std::vector<strmcommon::bitrateParam_t> params;
  if (groups <= 0) return params;
  const int n = static_cast<int>(ladderKbps.size());
  for (int i = 0; i < n; ++i) params.push_back({ladderKbps[i] * 1000, 1 + i * groups / n, 1});
  return params;
}

const char* ReasonText(Reason reason) {
  switch (reason) {
    case Reason::kNoEstimate:
      return "no estimate";
    case Reason::kStay:
      return "stay";
    case Reason::kUpNoParam:
      return "up, no groups";
    case Reason::kUpSameGroup:
      return "up, same group";
    case Reason::kUpFreeUpgrade:
      return "up, free group upgrade";
    case Reason::kUpStepInGroup:
      return "up inside the group, group change waits";
    case Reason::kUpTimerPassed:
      return "up, up timer passed";
    case Reason::kDownNoParam:
      return "down, no groups";
    case Reason::kDownSameGroup:
      return "down, same group";
    case Reason::kDownOtherGroup:
      return "down, other group";
    case Reason::kDownOverLimit:
      return "down, variant over a limit";
    case Reason::kDownRefused:
      return "down refused (buffer)";
    case Reason::kUpRefusedUpgradeGroup:
      return "up refused, other upgrade group";
    case Reason::kUpRefusedTimerStarted:
      return "up refused, up timer started";
    case Reason::kUpRefusedSilent:
      return "up refused (level, buffer or running up timer)";
    case Reason::kCount:
      break;
  }
  return "?";
}

LibraryRule::LibraryRule(const Setup& setup, const LibrarySettings& settings)
    : m_settings(settings), m_switcher(new Switcher) {
  std::vector<int> bitrates;
  std::vector<strmcommon::_VariantData> variants;
  for (int kbps : setup.ladderKbps) {
    bitrates.push_back(kbps * 1000);
    variants.push_back(strmcommon::_VariantData{kbps * 1000, 0, 0, 0});
  }
  SetStreamBitrates(bitrates);
  m_clockMs = kStartMs;
  SetSimulatedClockMs(m_clockMs);
  m_nextPollMs = kStartMs + settings.pollMs;
  dlog_stub_set_capture(&LibraryRule::Sink, this);

  m_checker.Init(StreamHandler());
  m_checker.SetMonitorInterval(settings.monitorMs);
  m_checker.Start();
  m_switcher->Init(&m_checker);
  m_switcher->SetSwitchParam(settings.upTimerSeconds, settings.marginKbps);
  m_switcher->ResetData(variants, false);
  m_switcher->SetBitrateLimit(Groups(setup.ladderKbps, settings.groups), {});
  m_current = settings.startVariant;
  m_upTimer = settings.upTimerSeconds;
}

LibraryRule::~LibraryRule() { dlog_stub_set_capture(nullptr, nullptr); }

long long LibraryRule::ClockMs(double seconds) {
  return kStartMs + static_cast<long long>(std::floor(seconds * 1000 + 1e-6));
}

void LibraryRule::Sink(void* ctx, int, int, const char*, const char* text) {
  auto* self = static_cast<LibraryRule*>(ctx);
  if (self->m_capturing) self->m_lines.emplace_back(Message(text));
}

bool LibraryRule::Wrote(const char* part) const {
  for (const std::string& line : m_lines)
    if (line.find(part) != std::string::npos) return true;
  return false;
}

void LibraryRule::AdvanceTo(double seconds) {
  const long long target = ClockMs(seconds);
  while (m_nextPollMs <= target) {
    m_clockMs = m_nextPollMs;
    SetSimulatedClockMs(m_clockMs);
    m_checker.OnPolling(m_clockMs);
    if (m_calls != nullptr)
      m_calls->push_back({LibraryCall::kPoll, m_clockMs, m_clockMs, 0, 0, 0, 0});
    const int estimate = m_checker.GetCurrentBandwidth();
    if (estimate != m_lastEstimate) {
      if (m_firstEstimateSeconds < 0) m_firstEstimateSeconds = (m_clockMs - kStartMs) / 1000.0;
      if (m_estimates != nullptr)
        m_estimates->push_back({(m_clockMs - kStartMs) / 1000.0, estimate});
      m_lastEstimate = estimate;
    }
    m_nextPollMs += m_settings.pollMs;
  }
  m_clockMs = target;
  SetSimulatedClockMs(m_clockMs);
}

int LibraryRule::Choose(int index, double now, double bufferSeconds, int) {
  AdvanceTo(now);
  const unsigned int bufferMs = static_cast<unsigned int>(std::lround(bufferSeconds * 1000));
  m_lines.clear();
  m_capturing = true;
  m_switcher->wanted = -1;
  m_switcher->ProcessAdaptiveSegLevel(0, bufferMs, false);
  const int result = m_switcher->ProcessAdaptiveSeg(m_current, bufferMs);
  m_capturing = false;
  if (m_calls != nullptr) {
    m_calls->push_back({LibraryCall::kLevel, m_clockMs, 0, bufferMs, 0, 0, 0});
    m_calls->push_back({LibraryCall::kDecide, m_clockMs, m_current, bufferMs, 0, 0, result});
  }

  DecisionRecord d{index,
                   now,
                   bufferSeconds,
                   m_current,
                   m_switcher->wanted,
                   result,
                   m_checker.GetCurrentBandwidth(),
                   Classify(m_current, result),
                   Wrote("fail up timer check"),
                   Wrote("first fragment avg bandwidth")};
  for (const std::string& line : m_lines) {
    int value = 0;
    if (std::sscanf(line.c_str(), "Bitrate upgrade timer increased: %d", &value) == 1) {
      ++m_upTimerRaises;
      m_upTimer = value;
    }
  }
  if (d.firstFragment) ++m_firstFragmentDecisions;
  m_decisions.push_back(d);
  if (result >= 0) m_current = result;
  return m_current;
}

Reason LibraryRule::Classify(int current, int result) const {
  if (result >= 0) {
    if (result > current) {
      if (Wrote("ok, no param")) return Reason::kUpNoParam;
      if (Wrote("ok, same group")) return Reason::kUpSameGroup;
      if (Wrote("m_upTimer == 0 && !no_upgrade")) return Reason::kUpFreeUpgrade;
      if (Wrote("skip up timer check for same group")) return Reason::kUpStepInGroup;
      return Reason::kUpTimerPassed;
    }
    if (Wrote("setting stream down")) return Reason::kDownOverLimit;
    if (Wrote("ok, no param")) return Reason::kDownNoParam;
    if (Wrote("ok, same group")) return Reason::kDownSameGroup;
    return Reason::kDownOtherGroup;
  }
  if (!Wrote("total streams are")) return Reason::kNoEstimate;
  if (!Wrote("Bandwidth Switch Pass")) return Reason::kStay;
  if (Wrote("CheckStreamDn ret")) return Reason::kDownRefused;
  if (Wrote("fail, no upgrade")) return Reason::kUpRefusedUpgradeGroup;
  if (Wrote("start up timer check")) return Reason::kUpRefusedTimerStarted;
  return Reason::kUpRefusedSilent;
}

void LibraryRule::Downloaded(int index, int variant, double request, double payloadStart,
                             double bytes, double, const Link& link) {
  // The body arrives in chunks, each reported with the time of the one before (the request's
  // set-up time for the first), as the download engine reports them.
  const long long total = std::llround(bytes);
  long long done = 0;
  long long previousMs = ClockMs(request);
  while (done < total) {
    const long long size = std::min<long long>(total - done, m_settings.chunkBytes);
    done += size;
    AdvanceTo(link.Finish(payloadStart, static_cast<double>(done)));
    m_checker.AddRxTimeInfo(static_cast<unsigned int>(previousMs),
                            static_cast<unsigned int>(m_clockMs), static_cast<unsigned int>(size),
                            variant, index, 0);
    if (m_calls != nullptr) {
      m_calls->push_back({LibraryCall::kChunk, m_clockMs, previousMs, m_clockMs, size, variant, 0});
    }
    previousMs = m_clockMs;
  }
}

LibraryStats LibraryRule::Stats() const {
  LibraryStats s;
  s.firstEstimateSeconds = m_firstEstimateSeconds;
  s.finalUpTimer = m_upTimer;
  s.upTimerRaises = m_upTimerRaises;
  s.firstFragmentDecisions = m_firstFragmentDecisions;
  for (const DecisionRecord& d : m_decisions) {
    ++s.reasons[static_cast<int>(d.reason)];
    if (d.timerGivenUp) ++s.timersGivenUp;
    if (d.result < 0 && d.wanted > d.current) ++s.wantedUpRefused;
    if (d.reason == Reason::kDownRefused) ++s.downRefused;
  }
  return s;
}

}  // namespace abrsim
