// Drives BandwidthChecker and AdaptiveSegSwitcher the way the playback engine does: segments are
// fetched one after another as 16 KiB chunks at a scripted throughput, every chunk is reported
// through IDownloadEvent, OnPolling ticks every 50 ms, and once a segment the engine updates the
// buffer level and asks ProcessAdaptiveSeg for the next variant. Time runs on the fake clock.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
#include "FakeClock.h"
#include "FakeStreamInfo.h"
#include "LogCapture.h"

namespace switchertest {

// The decision made before one segment, and why.
struct SegmentDecision {
  int segment;
  int current;
  unsigned int buffer;
  int level;
  int result;
  std::string why;
};

class StreamingRig : public strmcommon::AdaptiveSegSwitcher {
 public:
  static constexpr unsigned int kChunkBytes = 16384;
  static constexpr long long kPollMs = 50;
  static constexpr unsigned int kSegmentMs = 2000;

  // `throughput` gives bits per second at a clock value in ms.
  StreamingRig(testsupport::FakeClock& clock, const std::vector<strmcommon::_VariantData>& table,
               const std::vector<strmcommon::bitrateParam_t>& params, int upTimer,
               std::function<double(long long)> throughput)
      : m_clock(clock), m_table(table), m_throughput(std::move(throughput)) {
    for (size_t i = 0; i < table.size(); ++i)
      m_streams.SetBitrate(static_cast<int>(i), static_cast<unsigned int>(table[i].bandwidth));
    m_checker.Init(m_streams.Handler());
    m_checker.Start();
    Init(&m_checker);
    SetSwitchParam(upTimer, 0);
    ResetData(table, false);
    SetBitrateLimit(params, {});
    m_nowUs = clock.NowMs() * 1000;
    m_nextPollMs = clock.NowMs() + kPollMs;
  }

  // Runs `count` segments; returns the decision made before each.
  std::vector<SegmentDecision> Run(int count) {
    std::vector<SegmentDecision> out;
    for (int segment = 0; segment < count; ++segment) {
      WaitForRoom();
      out.push_back(Decide(segment));
      Download(segment);
    }
    return out;
  }

  // "segment: current -> result (why)" lines for every decision that is not a plain stay; a
  // stay is the one decision left out, so the text still names every decision the rules made.
  static std::string Describe(const std::vector<SegmentDecision>& decisions) {
    std::ostringstream text;
    for (const SegmentDecision& d : decisions) {
      if (d.why == "stay" && d.result == -1) continue;
      text << d.segment << ": " << d.current << " -> " << d.result << " (" << d.why << ")\n";
    }
    return text.str();
  }
  // Every decision with the buffer and level it was made at, for failure output.
  static std::string DescribeAll(const std::vector<SegmentDecision>& decisions) {
    std::ostringstream text;
    for (const SegmentDecision& d : decisions) {
      text << d.segment << ": " << d.current << " -> " << d.result << " (" << d.why << ") buffer "
           << d.buffer << " level " << d.level << "\n";
    }
    return text.str();
  }

  // Before segment `n` the server stalls for stall(n) ms: the engine's first request comes back
  // asking for a retry, and the data flows only after the second request. No chunk arrives
  // meanwhile, so the estimate stays as it was while the buffer drains.
  void SetStall(std::function<long long(int)> stall) { m_stall = std::move(stall); }
  // The engine fetches the next segment once the buffer leaves room for it.
  void SetMaxBuffer(unsigned int ms) { m_maxBufferMs = ms; }
  int Current() const { return m_current; }
  long long RebufferMs() const { return m_rebufferUs / 1000; }
  int Level() const { return m_level; }
  int UpTimer() const { return m_upTimer; }
  int Estimate() { return m_checker.GetCurrentBandwidth(); }

 private:
  long long NowMs() const { return m_nowUs / 1000; }

  // Moves the clock to `us`, firing the poll ticks on the way and playing out the buffer.
  void AdvanceTo(long long us) {
    while (m_nextPollMs * 1000 <= us) {
      Play(m_nextPollMs * 1000);
      m_clock.SetMs(m_nextPollMs);
      m_checker.OnPolling(m_nextPollMs);
      m_nextPollMs += kPollMs;
    }
    Play(us);
    m_clock.SetMs(us / 1000);
  }

  void Play(long long us) {
    const long long span = us - m_nowUs;
    m_nowUs = us;
    if (!m_playing) return;
    if (m_bufferUs >= span) {
      m_bufferUs -= span;
    } else {
      m_rebufferUs += span - m_bufferUs;
      m_bufferUs = 0;
    }
  }

  void WaitForRoom() {
    const long long room = static_cast<long long>(m_maxBufferMs - kSegmentMs) * 1000;
    if (m_bufferUs > room) AdvanceTo(m_nowUs + m_bufferUs - room);
  }

  SegmentDecision Decide(int segment) {
    const unsigned int buffer = static_cast<unsigned int>(m_bufferUs / 1000);
    const bool timerBefore = m_upTimerRunning;
    ProcessAdaptiveSegLevel(0, buffer, false);
    const int level = m_level;
    testsupport::LogCapture capture;
    const int result = ProcessAdaptiveSeg(m_current, buffer);
    SegmentDecision decision{segment, m_current, buffer,
                             level,   result,    Why(capture, result, buffer, level, timerBefore)};
    if (result >= 0) m_current = result;
    return decision;
  }

  std::string Why(const testsupport::LogCapture& capture, int result, unsigned int buffer,
                  int level, bool timerBefore) {
    auto has = [&](const std::string& part) {
      for (const auto& line : capture.Lines())
        if (testsupport::LogCapture::Message(line.text).find(part) != std::string::npos)
          return true;
      return false;
    };
    std::string why;
    if (result >= 0) {
      why = result > m_current ? "up: " : "down: ";
      if (has("setting stream down"))
        why += "excluded";
      else if (has("ok, no param"))
        why += "no param";
      else if (has("ok, same group"))
        why += "same group";
      else if (has("m_upTimer == 0 && !no_upgrade"))
        why += "free group upgrade";
      else if (has("skip up timer check"))
        why += "in-group step";
      else if (has("success up timer check"))
        why += "timer passed";
      else if (has("diffrent group"))
        why += has("timer increased") ? "other group, timer raised" : "other group";
      return why;
    }
    if (!has("total streams")) return "no estimate";
    if (!has("Bandwidth Switch")) {
      why = "stay";
    } else if (has("CheckStreamDn ret (0)")) {
      why = "refused down: buffer";
    } else if (has("fail, no upgrade")) {
      why = "refused up: upgrade group";
    } else if (has("start up timer check")) {
      why = "refused up: timer started";
    } else if (level > 2) {
      why = "refused up: level";
    } else if (timerBefore && buffer >= 5000) {
      why = "refused up: timer running";
    } else {
      why = "refused up: buffer";
    }
    if (has("fail up timer check")) why += ", timer given up";
    return why;
  }

  void Download(int segment) {
    const strmcommon::_VariantData& variant = m_table[m_current];
    long long remaining = static_cast<long long>(variant.bandwidth) * kSegmentMs / 8000;
    if (m_stall) AdvanceTo(m_nowUs + m_stall(segment) * 1000);
    long long previousUs = m_nowUs;
    while (remaining > 0) {
      const unsigned int bytes =
          static_cast<unsigned int>(std::min<long long>(remaining, kChunkBytes));
      const double bps = m_throughput(NowMs());
      const long long endUs = m_nowUs + static_cast<long long>(bytes * 8.0 * 1e6 / bps);
      AdvanceTo(endUs);
      m_checker.AddRxTimeInfo(static_cast<unsigned int>(previousUs / 1000),
                              static_cast<unsigned int>(endUs / 1000), bytes, m_current, segment,
                              0);
      previousUs = endUs;
      remaining -= bytes;
    }
    m_bufferUs += static_cast<long long>(kSegmentMs) * 1000;
    m_playing = true;
  }

  testsupport::FakeClock& m_clock;
  std::vector<strmcommon::_VariantData> m_table;
  std::function<double(long long)> m_throughput;
  std::function<long long(int)> m_stall;
  testsupport::FakeStreamInfo m_streams;
  strmcommon::BandwidthChecker m_checker;
  unsigned int m_maxBufferMs = 12000;
  long long m_nowUs = 0;
  long long m_nextPollMs = 0;
  long long m_bufferUs = 0;
  long long m_rebufferUs = 0;
  bool m_playing = false;
  int m_current = 0;
};

}  // namespace switchertest
