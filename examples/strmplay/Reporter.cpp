#include "Reporter.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>

#include "Datetime.h"
#include "ResultText.h"

namespace strmplay {

std::string Format(const char* fmt, ...) {
  char buf[1024];
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, args);
  va_end(args);
  return buf;
}

namespace {

// The largest figure the checker's 32-bit estimate holds, bit/s.
constexpr double kLargestEstimate = std::numeric_limits<int>::max();

std::string Plural(int n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

std::string SizeText(const VariantReport& v) {
  if (v.sizes.empty()) {
    if (v.misreadProfile >= 0) {
      return "unknown (SPS of " + SpsProfileName(v.misreadProfile) + ", profile " +
             std::to_string(v.misreadProfile) + ")";
    }
    return v.width > 0 ? Format("%dx%d", v.width, v.height) : std::string("unknown");
  }
  std::string text;
  for (const auto& size : v.sizes) {
    text += (text.empty() ? "" : ", then ") + Format("%dx%d", size.first, size.second);
  }
  return text;
}

}  // namespace

std::string BandwidthText(int bitsPerSecond, double timeScale) {
  if (bitsPerSecond >= 0) return Format("%d kbit/s", BandwidthKbps(bitsPerSecond, timeScale));
  // Rounded down, so that the figure shown is one the estimate has certainly passed.
  const double largest = kLargestEstimate / timeScale;
  if (largest >= 1e9) return Format("over %.1f Gbit/s", std::floor(largest / 1e8) / 10.0);
  return Format("over %.1f Mbit/s", std::floor(largest / 1e5) / 10.0);
}

int BandwidthKbps(int bitsPerSecond, double timeScale) {
  const double bps = bitsPerSecond >= 0 ? bitsPerSecond : kLargestEstimate;
  return static_cast<int>(std::lround(bps / timeScale / 1000.0));
}

Reporter::Reporter(StatusLine& status, double timeScale) : m_status(status), m_scale(timeScale) {}

void Reporter::Line(double time, const std::string& text) {
  m_status.Print(time >= 0.0 ? Format("%7.1f s  %s", time, text.c_str()) : text);
}

void Reporter::Ladder(const strmplay::Ladder& ladder, const std::vector<std::string>& urls) {
  for (std::size_t i = 0; i < ladder.variants.size(); ++i) {
    const Variant& v = ladder.variants[i];
    Line(-1, Format("v%zu  %5d kbit/s  %4dx%-4d  %s", i, v.bandwidth / 1000, v.width, v.height,
                    i < urls.size() ? urls[i].c_str() : v.uri.c_str()));
  }
  if (ladder.audio.empty() && ladder.audioOnly.empty()) return;
  std::string groups;
  for (const auto& r : ladder.audio) {
    if (groups.find("\"" + r.groupId + "\"") == std::string::npos) {
      groups += (groups.empty() ? "" : ", ") + ("\"" + r.groupId + "\"");
    }
  }
  std::string what;
  if (!ladder.audio.empty()) {
    what = Plural(static_cast<int>(ladder.audio.size()), "EXT-X-MEDIA audio rendition",
                  "EXT-X-MEDIA audio renditions") +
           " (group " + groups + ")";
  }
  if (!ladder.audioOnly.empty()) {
    what += (what.empty() ? "" : " and ") + Plural(static_cast<int>(ladder.audioOnly.size()),
                                                   "audio-only variant", "audio-only variants");
  }
  Line(-1, "alternative audio is not played: " + what +
               " kept out of the switching ladder; the sound is what the video variants carry");
}

void Reporter::Playlist(double time, int variant, const MediaPlaylist& pl) {
  int encrypted = 0;
  int discontinuities = 0;
  for (const auto& seg : pl.segments) {
    encrypted += seg.key.Encrypted() ? 1 : 0;
    discontinuities += seg.discontinuity ? 1 : 0;
  }
  const long long dateTime = pl.segments.empty() ? 0 : pl.segments.front().programDateTime;
  Line(time,
       Format("v%d playlist: %zu segments, %.1f s, media sequence %u%s%s%s%s%s", variant,
              pl.segments.size(), pl.TotalDuration(), pl.mediaSequence,
              encrypted > 0 ? Format(", %d AES-128", encrypted).c_str() : "",
              discontinuities > 0 ? Format(", %d discontinuities", discontinuities).c_str() : "",
              dateTime > 0
                  ? (", program date-time " + strmcommon::vas_dateTimeToString(dateTime)).c_str()
                  : "",
              pl.hasPartInf ? ", low-latency parts" : "",
              pl.serverControl.canBlockReload ? ", blocking reload" : ""));
}

void Reporter::Resolution(double time, int variant, const ProbeResult& r,
                          const VariantReport& report) {
  Line(time, Format("v%d resolution %dx%d from the SPS (playlist: %dx%d), video PID 0x%x, audio "
                    "PID 0x%x, PCR PID 0x%x, PCR span %.2f s",
                    variant, r.width, r.height, report.declaredWidth, report.declaredHeight,
                    r.videoPid, r.audioPid, r.pcrPid, r.PcrSpanSeconds()));
}

void Reporter::ResolutionChange(double time, int variant, int width, int height, int oldWidth,
                                int oldHeight, bool afterDiscontinuity) {
  Line(time, Format("v%d resolution %dx%d from the SPS %s (was %dx%d)", variant, width, height,
                    afterDiscontinuity ? "after a discontinuity" : "without a discontinuity",
                    oldWidth, oldHeight));
}

void Reporter::MisreadSps(double time, int variant, int profile) {
  Line(time, Format("v%d: warning: the SPS is of profile %d (%s), whose chroma fields the "
                    "library's SPS parser does not read: picture size unknown",
                    variant, profile, SpsProfileName(profile).c_str()));
}

void Reporter::Segment(double time, int number, const std::string& of, int variant, int width,
                       int height, std::size_t bytes, double buffer, int bitsPerSecond, bool ok) {
  Line(time, Format("segment %d/%s  v%d %dx%d  %zu bytes  buffer %.1f s  bw %s%s", number,
                    of.c_str(), variant, width, height, bytes, buffer,
                    Bandwidth(bitsPerSecond).c_str(), ok ? "" : "  FAILED"));
}

void Reporter::Switch(double time, int from, int to, unsigned int fromBps, unsigned int toBps,
                      int bitsPerSecond, double buffer) {
  // Before the checker has an estimate the switcher decides on the first blocks' average.
  const std::string basis = bitsPerSecond != 0 ? "measured " + Bandwidth(bitsPerSecond)
                                               : std::string("first-fragment average");
  Line(time, Format("switch %-4s v%d -> v%d  %u -> %u kbit/s  (%s, buffer %.1f s)",
                    toBps > fromBps ? "up" : "down", from, to, fromBps / 1000, toBps / 1000,
                    basis.c_str(), buffer));
}

void Reporter::FetchFailed(double time, const std::string& what, const std::string& url,
                           const FetchAttempt& attempt) {
  std::string text = what + " " + url + ": " + DescribeAttempt(attempt);
  if (attempt.decision != RetryDecision::kGiveUpFinal && attempt.decision != RetryDecision::kDone) {
    text += "; " + std::string(RetryDecisionWords(attempt.decision));
  }
  Line(time, text);
}

std::string Reporter::SummaryText(const PlayerSummary& s) {
  std::string out = "\nsummary\n";
  out += Format("  segments fetched: %d/%d (failed %d, encrypted %d)\n", s.segmentsFetched,
                s.segmentsTotal, s.segmentsFailed, s.encryptedSegments);
  out += Format("  played: %.1f s of media in %.1f s (startup %.1f s)\n", s.mediaSeconds,
                s.runSeconds, s.startupSeconds);
  out += Format("  rebuffering: %.1f s in %d stalls\n", s.rebufferSeconds, s.stalls);
  out += Format("  average bitrate: %.0f kbit/s\n", s.averageBitrateKbps);
  out += Format("  switches: %d (up %d, down %d)\n", s.switchesUp + s.switchesDown, s.switchesUp,
                s.switchesDown);
  if (s.discontinuities > 0) out += Format("  discontinuities: %d\n", s.discontinuities);
  out += Format("  bytes: %llu (media %llu, playlists/keys/probes %llu)\n",
                static_cast<unsigned long long>(s.mediaBytes + s.otherBytes),
                static_cast<unsigned long long>(s.mediaBytes),
                static_cast<unsigned long long>(s.otherBytes));
  std::string codes;
  std::string meanings;
  for (const auto& e : s.errors) {
    int count = 0;
    std::string statuses;
    for (const auto& st : e.second) {
      count += st.second;
      statuses += (statuses.empty() ? "" : ", ") +
                  (st.first != 0 ? HttpStatusText(st.first) : std::string("no HTTP status")) +
                  " x" + std::to_string(st.second);
    }
    codes += (codes.empty() ? "" : ", ") + std::to_string(e.first) + " x" + std::to_string(count);
    meanings += Format("    %d %s: %s (%s)\n", e.first, ResultName(e.first).c_str(),
                       ResultMeaning(e.first).c_str(), statuses.c_str());
  }
  out += "  errors by code: " + (codes.empty() ? std::string("none") : codes) + "\n" + meanings;
  if (!s.otherErrors.empty()) {
    std::string other;
    for (const auto& e : s.otherErrors) {
      other += (other.empty() ? "" : ", ") + e.first + " x" + std::to_string(e.second);
    }
    out += "  other errors: " + other + "\n";
  }
  for (std::size_t i = 0; i < s.variants.size(); ++i) {
    const auto& v = s.variants[i];
    out += Format("  resolution v%zu: %s (playlist %dx%d, %d kbit/s, %d segments played)\n", i,
                  SizeText(v).c_str(), v.declaredWidth, v.declaredHeight, v.bandwidth / 1000,
                  v.segments);
  }
  return out;
}

}  // namespace strmplay
