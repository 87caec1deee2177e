#include "Simulator.h"

#include <dlfcn.h>
#include <time.h>

#include <algorithm>

#include "CHLSDataHandler.h"

namespace {

long long g_simulatedMs = 0;
std::vector<abrsim::Rung> g_ladder;

// The engine's stream record as the checker reads it: the third 32-bit word is the bit rate.
struct StreamRecord {
  uint32_t words[4];
};
std::vector<StreamRecord> g_records;

}  // namespace

// The library reads its clock through clock_gettime; this program's definition takes precedence
// over the C library's, so the up timer and the measurement blocks run on simulated time.
extern "C" int clock_gettime(clockid_t clockId, struct timespec* ts) noexcept {
  if (clockId == CLOCK_MONOTONIC) {
    ts->tv_sec = static_cast<time_t>(g_simulatedMs / 1000);
    ts->tv_nsec = static_cast<long>((g_simulatedMs % 1000) * 1000000);
    return 0;
  }
  typedef int (*Real)(clockid_t, struct timespec*);
  static Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "clock_gettime"));
  return real(clockId, ts);
}

// The playback engine's stream lookup, answered from the ladder.
void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  if (index < 0 || static_cast<size_t>(index) >= g_records.size()) return nullptr;
  return g_records[index].words;
}

namespace abrsim {

void SetSimulatedClockMs(long long ms) { g_simulatedMs = ms; }

int ObservedSwitcher::GetSatisfiedStreamIndex(int cbw, int current) {
  lastTarget = AdaptiveSegSwitcher::GetSatisfiedStreamIndex(cbw, current);
  return lastTarget;
}

namespace {

// Simulated time starts here, away from zero like a real monotonic clock.
constexpr long long kStartMs = 1000000;

}  // namespace

Simulator::Simulator(const Options& options, const Trace& trace)
    : m_options(options), m_trace(trace) {
  g_ladder = options.ladder;
  g_records.clear();
  std::vector<strmcommon::_VariantData> variants;
  std::vector<strmcommon::bitrateParam_t> params;
  for (const Rung& rung : options.ladder) {
    g_records.push_back(StreamRecord{{0, 0, static_cast<uint32_t>(rung.bps), 0}});
    variants.push_back(strmcommon::_VariantData{rung.bps, 0, 0, 0});
    if (rung.hasGroup) params.push_back({rung.bps, rung.group, rung.upgradeGroup});
  }
  SetSimulatedClockMs(kStartMs);
  m_nowUs = kStartMs * 1000;
  m_nextPollMs = kStartMs + options.pollMs;
  static strmengine::CHLSDataHandler handler;
  m_checker.Init(&handler);
  m_checker.Start();
  m_switcher.Init(&m_checker);
  m_switcher.SetSwitchParam(options.upTimerSeconds, options.marginKbps);
  m_switcher.ResetData(variants, false);
  m_switcher.SetBitrateLimit(params, {});
}

void Simulator::Play(long long us) {
  const long long span = us - m_nowUs;
  m_nowUs = us;
  if (!m_playing || span <= 0) return;
  if (m_bufferUs >= span) {
    m_bufferUs -= span;
    return;
  }
  if (!m_stalled) {
    m_stalled = true;
    ++m_summary.rebufferEvents;
  }
  m_summary.rebufferSeconds += (span - m_bufferUs) / 1e6;
  m_bufferUs = 0;
}

// Moves simulated time to `us`, firing the engine's poll ticks and playing out the buffer.
void Simulator::AdvanceTo(long long us) {
  while (m_nextPollMs * 1000 <= us) {
    Play(m_nextPollMs * 1000);
    SetSimulatedClockMs(m_nextPollMs);
    m_checker.OnPolling(m_nextPollMs);
    m_nextPollMs += m_options.pollMs;
  }
  Play(us);
  SetSimulatedClockMs(us / 1000);
}

std::string Simulator::Why(int current, int result, unsigned int bufferMs, int estimate,
                           int levelAfterUpdate, bool runningBefore, bool passedBefore,
                           int upTimerBefore, int countBefore) {
  const int target = m_switcher.lastTarget;
  const bool gaveUp = runningBefore && !m_switcher.TimerRunning();
  if (result >= 0) {
    if (result > current) {
      if (m_switcher.TimerPassed() && !passedBefore) return "up: timer passed";
      if (m_switcher.UpgradeCount() > countBefore) return "up: free group upgrade";
      if (result < target) return "up: step inside the group, group change waits";
      return "up";
    }
    if (m_switcher.UpTimer() > upTimerBefore)
      return "down: left the group early, up timer now " + std::to_string(m_switcher.UpTimer()) +
             " s";
    if (bufferMs >= 8000 && !m_switcher.Eligible(current)) return "down: variant over a limit";
    return "down";
  }
  if (target < 0) return "no estimate";
  std::string why;
  if (target == current) {
    why = "stay";
  } else if (target < current) {
    why = "down refused: buffer holds 8 s or more";
  } else {
    strmcommon::bitrateParam_t from;
    strmcommon::bitrateParam_t to;
    const int fromBps = g_ladder[current].bps;
    const int toBps = g_ladder[target].bps;
    const bool params =
        m_switcher.GetBitrateParam(fromBps, from) && m_switcher.GetBitrateParam(toBps, to);
    if (levelAfterUpdate > 2 && !m_switcher.SkipLevelCheck()) {
      why = "up refused: buffer level " + std::to_string(levelAfterUpdate);
    } else if (toBps - fromBps > 512000 && fromBps > 512000 && bufferMs < 5000 && estimate != 0) {
      why = "up refused: buffer under 5 s";
    } else if (params && from.group != to.group && from.upgradeGroup != to.upgradeGroup) {
      why = "up refused: other upgrade group";
    } else if (m_switcher.TimerRunning() && !runningBefore) {
      why = "up refused: up timer started";
    } else {
      why = "up refused: up timer running";
    }
  }
  if (gaveUp && why.rfind("up refused: other upgrade group", 0) != 0) why += " (up timer given up)";
  return why;
}

Summary Simulator::Run(void (*row)(const SegmentRow&, const Options&)) {
  const long long endUs = kStartMs * 1000 + static_cast<long long>(m_trace.EndSeconds() * 1e6);
  const long long segmentUs = static_cast<long long>(m_options.segmentMs) * 1000;
  const long long roomUs = static_cast<long long>(m_options.maxBufferMs) * 1000 - segmentUs;
  int current = std::min<int>(std::max(m_options.startVariant, 0),
                              static_cast<int>(m_options.ladder.size()) - 1);
  long long bitSum = 0;
  for (int segment = 0; m_nowUs < endUs; ++segment) {
    // The engine asks for the next segment once the buffer has room for it.
    if (m_bufferUs > roomUs) AdvanceTo(m_nowUs + m_bufferUs - std::max(roomUs, 0LL));
    if (m_nowUs >= endUs) break;

    SegmentRow out;
    out.segment = segment;
    out.startSeconds = (m_nowUs / 1000 - kStartMs) / 1000.0;
    out.bufferMs = static_cast<unsigned int>(m_bufferUs / 1000);
    out.current = current;
    const bool runningBefore = m_switcher.TimerRunning();
    const bool passedBefore = m_switcher.TimerPassed();
    const int upTimerBefore = m_switcher.UpTimer();
    const int countBefore = m_switcher.UpgradeCount();
    m_switcher.lastTarget = -1;
    m_switcher.ProcessAdaptiveSegLevel(0, out.bufferMs, false);
    out.level = m_switcher.Level();
    out.estimate = m_checker.GetCurrentBandwidth();
    out.result = m_switcher.ProcessAdaptiveSeg(current, out.bufferMs);
    out.why = Why(current, out.result, out.bufferMs, out.estimate, out.level, runningBefore,
                  passedBefore, upTimerBefore, countBefore);
    if (out.result >= 0) {
      ++m_summary.switches;
      if (out.result > current)
        ++m_summary.upSwitches;
      else
        ++m_summary.downSwitches;
      current = out.result;
    }

    // The download: chunks at the trace's rate, each one reported as the body path does.
    const long long beginUs = m_nowUs;
    long long remaining =
        static_cast<long long>(m_options.ladder[current].bps) * m_options.segmentMs / 8000;
    long long previousUs = m_nowUs;
    while (remaining > 0) {
      const unsigned int bytes =
          static_cast<unsigned int>(std::min<long long>(remaining, m_options.chunkBytes));
      const double bps = m_trace.BpsAt((m_nowUs / 1000 - kStartMs) / 1000.0);
      const long long chunkEndUs = m_nowUs + static_cast<long long>(bytes * 8.0 * 1e6 / bps);
      AdvanceTo(chunkEndUs);
      m_checker.AddRxTimeInfo(static_cast<unsigned int>(previousUs / 1000),
                              static_cast<unsigned int>(chunkEndUs / 1000), bytes, current, segment,
                              0);
      previousUs = chunkEndUs;
      remaining -= bytes;
    }
    out.downloadSeconds = (m_nowUs - beginUs) / 1e6;
    m_bufferUs += segmentUs;
    m_stalled = false;
    if (!m_playing) {
      m_playing = true;
      m_summary.startupSeconds = (m_nowUs / 1000 - kStartMs) / 1000.0;
    }
    bitSum += m_options.ladder[current].bps;
    ++m_summary.segments;
    if (row != nullptr) row(out, m_options);
  }
  if (m_summary.segments > 0) m_summary.averageKbps = bitSum / 1000.0 / m_summary.segments;
  m_summary.finalUpTimer = m_switcher.UpTimer();
  return m_summary;
}

}  // namespace abrsim
