// What the client tells its user: the lines of a run (variants, playlists, segments, switches,
// resolutions, failures in words), the status line, and the summary at the end.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Fetcher.h"
#include "Ladder.h"
#include "Playlist.h"
#include "StatusLine.h"
#include "TsProbe.h"

namespace strmplay {

std::string Format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The bandwidth checker's estimate is a signed 32-bit figure in bit/s and wraps above 2^31 bit/s.
// In kbit/s of model time ("7831 kbit/s"); a wrapped (negative) figure is shown as what it is
// known to be: more than the largest figure ("over 2.1 Gbit/s").
std::string BandwidthText(int bitsPerSecond, double timeScale);
// The same as a number for the trace: kbit/s of model time, the largest figure when wrapped.
int BandwidthKbps(int bitsPerSecond, double timeScale);

struct VariantReport {
  int bandwidth = 0;
  int declaredWidth = 0, declaredHeight = 0;
  int width = 0, height = 0;               // from the first SPS, 0 when not seen
  std::vector<std::pair<int, int>> sizes;  // every picture size seen, in order of change
  int misreadProfile = -1;  // profile_idc of an SPS whose size the parser cannot give, else -1
  int segments = 0;         // segments played
  int requested = 0;        // segments asked for, played or not
  std::string uri;
};

struct PlayerSummary {
  int segmentsTotal = 0;
  int segmentsFetched = 0;  // fetched, decrypted and playable
  int segmentsFailed = 0;
  int encryptedSegments = 0;
  double mediaSeconds = 0.0;  // played
  double runSeconds = 0.0;    // model time from the start to the end of playback
  double startupSeconds = 0.0;
  double rebufferSeconds = 0.0;
  int stalls = 0;
  double averageBitrateKbps = 0;  // declared bitrate of the played segments, weighted by duration
  int switchesUp = 0, switchesDown = 0;
  int discontinuities = 0;
  std::uint64_t mediaBytes = 0, otherBytes = 0;
  // Engine result codes of failed requests: code -> (HTTP status -> count).
  std::map<int, std::map<long, int>> errors;
  // The client's own findings, in words -> count ("not a transport stream").
  std::map<std::string, int> otherErrors;
  std::vector<VariantReport> variants;  // ladder order
};

class Reporter {
 public:
  Reporter(StatusLine& status, double timeScale);

  // A line of its own, with the model time in front when time >= 0.
  void Line(double time, const std::string& text);
  void Status(const std::string& text) { m_status.Update(text); }
  bool Terminal() const { return m_status.IsTerminal(); }
  void Finish() { m_status.Finish(); }
  std::string Bandwidth(int bitsPerSecond) const { return BandwidthText(bitsPerSecond, m_scale); }

  void Ladder(const strmplay::Ladder& ladder, const std::vector<std::string>& urls);
  void Playlist(double time, int variant, const MediaPlaylist& playlist);
  void Resolution(double time, int variant, const ProbeResult& probe, const VariantReport& report);
  void ResolutionChange(double time, int variant, int width, int height, int oldWidth,
                        int oldHeight, bool afterDiscontinuity);
  void MisreadSps(double time, int variant, int profile);
  void Segment(double time, int number, const std::string& of, int variant, int width, int height,
               std::size_t bytes, double buffer, int bitsPerSecond, bool ok);
  void Switch(double time, int from, int to, unsigned int fromBps, unsigned int toBps,
              int bitsPerSecond, double buffer);
  void FetchFailed(double time, const std::string& what, const std::string& url,
                   const FetchAttempt& attempt);

  // The summary block, from the blank line before "summary" to the per-variant lines.
  static std::string SummaryText(const PlayerSummary& summary);

 private:
  StatusLine& m_status;
  double m_scale;
};

}  // namespace strmplay
