#include "Player.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

#include "Clock.h"
#include "StopSignal.h"
#include "VariantProber.h"
#include "tzplatform_config.h"

namespace strmplay {

namespace {

// The engine's duties run every 50 ms and the checker closes a block every 250 ms (200 ms for
// low-latency segments), in playback-model time: in compressed time they come timeScale times
// as often.
constexpr double kPollIntervalMs = 50.0;
constexpr double kMonitorIntervalMs = 250.0;
constexpr double kLowLatencyMonitorIntervalMs = 200.0;
// A live stream is played from this many segments before its end, for this long by default.
constexpr std::size_t kLiveStartSegments = 3;
constexpr double kLiveSeconds = 60.0;
// Reloads of a live playlist that fail in a row before the run ends.
constexpr int kMaxReloadFailures = 5;
// The fixed worker loop: one pass, then 1 ms.
constexpr int kWorkerSleepUs = 0;
// Presentation time stamps run at 90 kHz.
constexpr double kPtsPerSecond = 90000.0;
// Slack when segment durations are summed.
constexpr double kTimeSlack = 0.05;

// Refuses at once what the client cannot play, before any segment is fetched.
bool Playable(const MediaPlaylist& pl, const std::string& url, std::string& error) {
  if (pl.mapUri.empty()) return true;
  error = url + ": fragmented MP4 segments (EXT-X-MAP " + pl.mapUri +
          ") are not played: strmplay plays MPEG-2 transport streams only";
  return false;
}

unsigned int IntervalMs(double ms, double timeScale) {
  return static_cast<unsigned int>(std::max(1.0, std::round(ms / timeScale)));
}

std::string TransferLabel(const FetchRequest& r) {
  switch (r.kind) {
    case TransferKind::kPlaylist:
      return "playlist";
    case TransferKind::kKey:
      return "key";
    case TransferKind::kSegment:
      return Format("v%d segment %d", r.stream, r.segment + 1);
    case TransferKind::kProbe:
      return "probe";
  }
  return "transfer";
}

const char* ClientFailureWords(FetchFailure failure) {
  switch (failure) {
    case FetchFailure::kRangeIgnored:
      return "byte range not honoured";
    case FetchFailure::kTooLarge:
      return "over the size limit";
    case FetchFailure::kRedirectLoop:
      return "redirect loop";
    default:
      return nullptr;
  }
}

}  // namespace

Player::Player(const PlayerOptions& options, Reporter& reporter, Trace& trace, TsOutput* output)
    : m_options(options),
      m_reporter(reporter),
      m_trace(trace),
      m_output(output),
      m_switcher(m_checker, options.timeScale),
      m_decryptor([this](const std::string& url, std::vector<std::uint8_t>& key,
                         std::string& error) { return FetchKey(url, key, error); }),
      m_model(options.timeScale, options.startupSeconds) {}

Player::~Player() {
  if (m_curl) m_curl->Quit();
}

double Player::RealNow() const {
  return static_cast<double>(strmcommon::vas_getTime() - m_realStart) / 1000.0;
}

bool Player::Stopping() {
  if (!m_stopped && StopRequested()) {
    m_stopped = true;
    m_reporter.Line(Now(), "stopping: asked to stop (Ctrl-C)");
  }
  return m_stopped;
}

void Player::Fail(ExitStatus status, const std::string& error) {
  if (m_exit == kExitPlayed) {
    m_exit = status;
    m_error = error;
  }
}

void Player::Tick() {
  const PlaybackModel::Event event = m_model.Advance();
  if (event == PlaybackModel::Event::kStalled) {
    m_reporter.Line(Now(), "buffer empty: rebuffering");
  }
  const long long now = static_cast<long long>(strmcommon::vas_getTime());
  if (static_cast<double>(now - m_lastPoll) < kPollIntervalMs / m_options.timeScale) return;
  m_lastPoll = now;
  m_checker.OnPolling(now);
  if (m_ladder.variants.empty()) return;
  const int estimate = m_checker.GetCurrentBandwidth();
  const Variant& v = m_ladder.variants[static_cast<std::size_t>(m_current)];
  const VariantReport& seen = m_summary.variants[static_cast<std::size_t>(m_current)];
  TraceSample s;
  s.time = Now();
  s.measuredKbps = BandwidthKbps(estimate, m_options.timeScale);
  s.linkKbps = m_options.linkRateKbps ? m_options.linkRateKbps() : 0;
  s.variant = m_current;
  s.selectedKbps = v.bandwidth / 1000;
  s.bufferSeconds = m_model.Buffer();
  s.playing = m_model.Playing();
  m_trace.Add(s);
  const std::string segments =
      std::to_string(m_segmentsDone) + (m_live ? std::string(" live")
                                        : m_summary.segmentsTotal > 0
                                            ? "/" + std::to_string(m_summary.segmentsTotal)
                                            : std::string());
  const bool sized = !seen.sizes.empty();
  m_reporter.Status(
      Format("%7.1f s  buffer %5.1f s  v%d %4dx%-4d %5d kbit/s  bw %s  seg %s%s", s.time,
             s.bufferSeconds, m_current, sized ? seen.sizes.back().first : v.width,
             sized ? seen.sizes.back().second : v.height, v.bandwidth / 1000,
             m_reporter.Bandwidth(estimate).c_str(), segments.c_str(),
             m_model.Playing() ? "" : (m_model.Started() ? "  [rebuffering]" : "  [starting]")));
}

void Player::WaitUntil(const std::function<bool()>& done) {
  while (!done() && !Stopping()) {
    Tick();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

void Player::OnFetchFailed(const FetchRequest& request, const FetchAttempt& attempt) {
  if (attempt.failure == FetchFailure::kInterrupted) return;
  if (attempt.failure == FetchFailure::kEngine || attempt.failure == FetchFailure::kNotStarted) {
    ++m_summary.errors[attempt.code][attempt.httpStatus];
  } else if (const char* words = ClientFailureWords(attempt.failure)) {
    ++m_summary.otherErrors[words];
  }
  m_reporter.FetchFailed(Now(), TransferLabel(request), request.url, attempt);
}

bool Player::StartEngine() {
  // The cookie jar is saved under <platform root>/<client name>/data/cookie/, which must exist.
  const char* root = tzplatform_getenv(TZ_USER_DATA_ROOT);
  if (root != nullptr) {
    std::error_code ec;
    std::filesystem::create_directories(
        std::filesystem::path(root) / m_options.clientName / "data" / "cookie", ec);
  }
  m_curl = std::make_unique<strmcommon::Curl>(strmcommon::CURL_THREAD_FIXED, kWorkerSleepUs,
                                              m_options.clientName);
  FetcherHooks hooks;
  hooks.idle = [this] { Tick(); };
  hooks.stop = [this] { return Stopping(); };
  hooks.failed = [this](const FetchRequest& r, const FetchAttempt& a) { OnFetchFailed(r, a); };
  m_fetcher = std::make_unique<Fetcher>(*m_curl, hooks);
  m_checker.Init(m_switcher.DataHandler());
  m_checker.SetMonitorInterval(IntervalMs(kMonitorIntervalMs, m_options.timeScale));
  m_curl->Init(m_fetcher.get(), &m_checker);
  if (m_options.capKbps > 0) {
    m_curl->SetMaxNwSpeed(static_cast<int>(m_options.capKbps * 1000.0 / 8.0 * m_options.timeScale));
  }
  if (!m_curl->StartLoop()) {
    Fail(kExitCannotPlay, "cannot start the download thread");
    return false;
  }
  m_checker.Start();
  m_events.onSwitch = [this](const PlayerEvents::Switch& sw) {
    if (sw.toBps > sw.fromBps) {
      ++m_summary.switchesUp;
    } else {
      ++m_summary.switchesDown;
    }
    m_reporter.Switch(Now(), sw.from, sw.to, sw.fromBps, sw.toBps, m_checker.GetCurrentBandwidth(),
                      m_model.Buffer());
    m_trace.AddEvent(Now(), Format("v%d>v%d", sw.from, sw.to));
  };
  m_events.onDiscontinuity = [this](unsigned long long pts) {
    ++m_summary.discontinuities;
    m_reporter.Line(Now(), Format("discontinuity at %.1f s of media: new timestamps, the program "
                                  "tables and the SPS are read afresh",
                                  static_cast<double>(pts) / kPtsPerSecond));
  };
  return true;
}

FetchResult Player::FetchPlaylist(const std::string& url) {
  FetchRequest request;
  request.url = url;
  request.kind = TransferKind::kPlaylist;
  request.maxBytes = kMaxPlaylistBytes;
  FetchResult result = m_fetcher->Fetch(request);
  if (result.Ok()) {
    m_summary.otherBytes += result.body.size();
    if (result.redirected && m_options.verbose) {
      m_reporter.Line(Now(), "redirected: " + url + " -> " + result.url);
    }
  }
  return result;
}

bool Player::FetchKey(const std::string& url, std::vector<std::uint8_t>& key, std::string& error) {
  FetchRequest request;
  request.url = url;
  request.kind = TransferKind::kKey;
  FetchResult result = m_fetcher->Fetch(request);
  if (!result.Ok()) {
    error = DescribeAttempt(result.Last());
    return false;
  }
  m_summary.otherBytes += result.body.size();
  key.swap(result.body);
  return true;
}

bool Player::LoadMaster() {
  const FetchResult fetched = FetchPlaylist(m_options.url);
  if (!fetched.Ok()) {
    Fail(kExitCannotPlay, "cannot fetch " + m_options.url + ": " + DescribeAttempt(fetched.Last()));
    return false;
  }
  m_masterUrl = fetched.url;
  const std::string text(fetched.body.begin(), fetched.body.end());
  std::string error;
  if (!IsMasterPlaylist(text)) {
    m_media.resize(1);
    if (!ParseMediaPlaylist(text, m_media[0], error)) {
      Fail(kExitCannotPlay, m_options.url + ": " + error);
      return false;
    }
    if (!Playable(m_media[0], m_options.url, error)) {
      Fail(kExitCannotPlay, error);
      return false;
    }
    Variant only;
    only.bandwidth = 1000000;
    only.uri = m_options.url;
    m_ladder.variants.push_back(only);
    m_mediaUrls.push_back(m_options.url);
    m_mediaBases.push_back(m_masterUrl);
    m_mediaLoaded.assign(1, true);
    m_reporter.Line(-1, "a media playlist: one stream, no variants to switch between");
    return true;
  }
  MasterPlaylist master;
  if (!ParseMasterPlaylist(text, master, error)) {
    Fail(kExitCannotPlay, m_options.url + ": " + error);
    return false;
  }
  m_ladder = BuildLadder(master);
  if (m_ladder.variants.empty()) {
    Fail(kExitCannotPlay, m_options.url + ": only audio variants, and strmplay plays video");
    return false;
  }
  // Relative URIs of the master playlist are resolved against where it came from.
  for (const auto& v : m_ladder.variants) m_mediaUrls.push_back(ResolveUri(m_masterUrl, v.uri));
  m_mediaBases = m_mediaUrls;
  m_media.resize(m_ladder.variants.size());
  m_mediaLoaded.assign(m_ladder.variants.size(), false);
  m_reporter.Ladder(m_ladder, m_mediaUrls);
  return true;
}

bool Player::LoadMediaPlaylist(int variant, bool reload, std::string& error) {
  const auto v = static_cast<std::size_t>(variant);
  if (m_mediaLoaded[v] && !reload) return true;
  const FetchResult fetched = FetchPlaylist(m_mediaUrls[v]);
  if (!fetched.Ok()) {
    error = "cannot fetch " + m_mediaUrls[v] + ": " + DescribeAttempt(fetched.Last());
    return false;
  }
  MediaPlaylist pl;
  if (!ParseMediaPlaylist(std::string(fetched.body.begin(), fetched.body.end()), pl, error)) {
    error = m_mediaUrls[v] + ": " + error;
    return false;
  }
  if (!Playable(pl, m_mediaUrls[v], error)) return false;
  const bool first = !m_mediaLoaded[v];
  m_media[v] = pl;
  // Segment and key URIs are resolved against where the playlist came from, after redirects.
  m_mediaBases[v] = fetched.url;
  m_mediaLoaded[v] = true;
  ApplyLowLatency(pl);
  if (first) m_reporter.Playlist(Now(), variant, pl);
  return true;
}

void Player::ApplyLowLatency(const MediaPlaylist& pl) {
  if (pl.serverControl.present) {
    m_lowLatency.Setparams(pl.serverControl.canBlockReload, pl.serverControl.canSkipUntil,
                           pl.serverControl.holdBack, pl.serverControl.partHoldBack);
  }
  if (pl.hasPartInf && !m_lowLatency.IsLowLatency()) {
    // The part target as the tag gives it, in milliseconds.
    m_lowLatency.SetPartTagInfo(static_cast<unsigned int>(std::lround(pl.partTarget * 1000.0)));
    m_switcher.SetLowLatency(true);
    // That set the checker's block to 200 ms; keep it in model time.
    m_checker.SetMonitorInterval(IntervalMs(kLowLatencyMonitorIntervalMs, m_options.timeScale));
    m_reporter.Line(-1, Format("low-latency stream: part target %.3f s, hold back %.1f s, blocking "
                               "reload %s",
                               pl.partTarget, pl.serverControl.partHoldBack,
                               m_lowLatency.CanBlock() ? "yes" : "no"));
  }
}

bool Player::ProbeSegment(int variant, const std::vector<std::uint8_t>& plain,
                          bool afterDiscontinuity, int& width, int& height) {
  VariantReport& report = m_summary.variants[static_cast<std::size_t>(variant)];
  const ProbeResult r = m_probes[static_cast<std::size_t>(variant)]->Probe(plain);
  width = report.sizes.empty() ? 0 : report.sizes.back().first;
  height = report.sizes.empty() ? 0 : report.sizes.back().second;
  if (!r.transportStream) {
    m_reporter.Line(Now(), Format("v%d: segment not played: %s", variant, r.error.c_str()));
    ++m_summary.otherErrors["not a transport stream"];
    return false;
  }
  if (!r.ok) m_reporter.Line(Now(), Format("v%d: %s", variant, r.error.c_str()));
  if (r.spsUnreadable && r.spsProfile >= 0 && report.misreadProfile < 0) {
    report.misreadProfile = r.spsProfile;
    m_reporter.MisreadSps(Now(), variant, r.spsProfile);
  }
  if (!r.spsFound) return true;
  if (report.sizes.empty()) {
    report.width = r.width;
    report.height = r.height;
    m_reporter.Resolution(Now(), variant, r, report);
  } else if (report.sizes.back() != std::make_pair(r.width, r.height)) {
    m_reporter.ResolutionChange(Now(), variant, r.width, r.height, width, height,
                                afterDiscontinuity);
  }
  if (report.sizes.empty() || report.sizes.back() != std::make_pair(r.width, r.height)) {
    report.sizes.emplace_back(r.width, r.height);
  }
  width = r.width;
  height = r.height;
  return true;
}

void Player::DecideVariant() {
  const int next = m_switcher.Decide(m_current, m_model.Buffer());
  if (next == m_current) return;
  std::string error;
  if (!LoadMediaPlaylist(next, m_live, error)) {
    m_reporter.Line(Now(), "cannot switch: " + error);
    return;
  }
  const auto from =
      static_cast<unsigned int>(m_ladder.variants[static_cast<std::size_t>(m_current)].bandwidth);
  const auto to =
      static_cast<unsigned int>(m_ladder.variants[static_cast<std::size_t>(next)].bandwidth);
  const int previous = m_current;
  m_current = next;
  m_events.BitrateChanged(previous, next, from, to,
                          static_cast<unsigned long long>(m_position * kPtsPerSecond));
}

void Player::FetchSegment(const Segment& seg, int index) {
  const auto v = static_cast<std::size_t>(m_current);
  const bool discontinuity = seg.discontinuity && m_segmentsDone > 0;
  if (discontinuity) {
    m_events.Discontinuity(static_cast<int>(seg.discontinuitySequence),
                           static_cast<unsigned long long>(m_position * kPtsPerSecond));
    // New program tables may come with new PIDs: every variant's probe starts afresh.
    for (auto& probe : m_probes) probe = std::make_unique<TsProbe>();
  }
  FetchRequest request;
  request.url = ResolveUri(m_mediaBases[v], seg.uri);
  request.kind = TransferKind::kSegment;
  request.stream = m_current;
  request.segment = index;
  request.bitrate = m_ladder.variants[v].bandwidth;
  request.measure = true;
  request.rangeOffset = seg.rangeOffset;
  request.rangeLength = seg.rangeLength;
  ++m_summary.variants[v].requested;
  FetchResult fetched = m_fetcher->Fetch(request);
  bool ok = fetched.Ok();
  const std::size_t bytes = fetched.body.size();
  int width = 0;
  int height = 0;
  std::string error;
  if (ok && !m_decryptor.Decrypt(m_mediaBases[v], seg, false, fetched.body, error)) {
    m_reporter.Line(Now(), Format("v%d segment %d: %s", m_current, index + 1, error.c_str()));
    ++m_summary.otherErrors["not decrypted"];
    ok = false;
  }
  if (ok) ok = ProbeSegment(m_current, fetched.body, discontinuity, width, height);
  if (ok && m_output != nullptr && m_output->IsOpen() && !m_output->Write(fetched.body, error)) {
    Fail(kExitOutputFailed, error);
  }
  if (ok) {
    m_summary.mediaBytes += bytes;
    ++m_summary.segmentsFetched;
    VariantReport& report = m_summary.variants[v];
    ++report.segments;
    m_bitrateSeconds += m_ladder.variants[v].bandwidth / 1000.0 * seg.duration;
    m_model.Add(seg.duration);
  } else {
    ++m_summary.segmentsFailed;
  }
  m_position += seg.duration;
  ++m_segmentsDone;
  if (!m_reporter.Terminal()) {
    m_reporter.Segment(Now(), m_segmentsDone,
                       m_live ? std::string("live") : std::to_string(m_summary.segmentsTotal),
                       m_current, width, height, bytes, m_model.Buffer(),
                       m_checker.GetCurrentBandwidth(), ok);
  }
}

void Player::PlayVod(double total) {
  const double limit =
      m_options.maxMediaSeconds > 0.0 ? std::min(total, m_options.maxMediaSeconds) : total;
  while (m_position < limit - kTimeSlack && m_exit == kExitPlayed) {
    WaitUntil([&] { return m_model.Buffer() < m_options.maxBufferSeconds; });
    if (m_stopped) return;
    DecideVariant();
    // The segment of the current variant that starts where the buffer ends.
    const MediaPlaylist& pl = m_media[static_cast<std::size_t>(m_current)];
    double start = 0.0;
    std::size_t index = 0;
    while (index < pl.segments.size() &&
           start + pl.segments[index].duration <= m_position + kTimeSlack) {
      start += pl.segments[index].duration;
      ++index;
    }
    if (index >= pl.segments.size()) break;
    m_position = start;
    FetchSegment(pl.segments[index], static_cast<int>(index));
  }
  if (m_options.maxMediaSeconds > 0.0) m_summary.segmentsTotal = m_segmentsDone;
}

void Player::PlayLive() {
  m_live = true;
  const double limit = m_options.maxMediaSeconds > 0.0 ? m_options.maxMediaSeconds : kLiveSeconds;
  m_reporter.Line(-1, Format("live stream: playing %.0f s from %zu segments before the live edge",
                             limit, kLiveStartSegments));
  const MediaPlaylist& first = m_media[static_cast<std::size_t>(m_current)];
  m_liveWatch.Loaded(first, RealNow());
  double loadedAt = RealNow();
  unsigned int next = first
                          .segments[first.segments.size() > kLiveStartSegments
                                        ? first.segments.size() - kLiveStartSegments
                                        : 0]
                          .sequence;
  int reloadFailures = 0;
  while (m_position < limit - kTimeSlack && m_exit == kExitPlayed) {
    WaitUntil([&] { return m_model.Buffer() < m_options.maxBufferSeconds; });
    if (m_stopped) return;
    DecideVariant();
    const auto v = static_cast<std::size_t>(m_current);
    const Segment* seg = nullptr;
    std::size_t index = 0;
    for (;;) {
      const MediaPlaylist& pl = m_media[v];
      for (index = 0; index < pl.segments.size(); ++index) {
        if (pl.segments[index].sequence >= next) break;
      }
      if (index < pl.segments.size()) {
        seg = &pl.segments[index];
        break;
      }
      if (pl.endList) break;
      // Nothing new yet: reload once half a target duration has passed; give up on a playlist
      // that has stopped changing.
      const double due = loadedAt + std::max(0.5, pl.targetDuration / 2.0);
      WaitUntil([&] { return RealNow() >= due || m_liveWatch.Stale(RealNow()); });
      if (m_stopped) return;
      if (m_liveWatch.Stale(RealNow())) {
        Fail(kExitLiveStalled,
             Format("the live playlist %s has not changed for %.1f s (%.0f target durations of "
                    "%.1f s): the stream has stopped",
                    m_mediaUrls[v].c_str(), RealNow() - m_liveWatch.LastChange(),
                    kStaleTargetDurations, m_liveWatch.TargetDuration()));
        m_reporter.Line(Now(), m_error);
        return;
      }
      std::string error;
      loadedAt = RealNow();
      if (!LoadMediaPlaylist(m_current, true, error)) {
        m_reporter.Line(Now(), error);
        if (++reloadFailures > kMaxReloadFailures) {
          Fail(kExitCannotPlay, error);
          return;
        }
        continue;
      }
      reloadFailures = 0;
      m_liveWatch.Loaded(m_media[v], RealNow());
    }
    if (seg == nullptr) break;  // the stream ended
    if (seg->sequence > next) {
      m_reporter.Line(
          Now(), Format("fell behind the live window: skipped %u segments", seg->sequence - next));
    }
    next = seg->sequence + 1;
    const Segment copy = *seg;  // a reload may replace the playlist while the segment loads
    FetchSegment(copy, static_cast<int>(index));
  }
  m_summary.segmentsTotal = m_segmentsDone;
}

void Player::ProbeUnplayedVariants() {
  VariantProber prober(*m_fetcher, m_decryptor);
  for (std::size_t v = 0; v < m_ladder.variants.size() && !Stopping(); ++v) {
    VariantReport& report = m_summary.variants[v];
    if (report.requested > 0 || !report.sizes.empty() || report.misreadProfile >= 0) continue;
    std::string error;
    if (!LoadMediaPlaylist(static_cast<int>(v), false, error)) {
      m_reporter.Line(-1, Format("v%zu: %s", v, error.c_str()));
      continue;
    }
    ProbeResult probe;
    std::size_t bytes = 0;
    const bool ok = prober.Probe(m_mediaBases[v], m_media[v].segments.front(), probe, bytes, error);
    m_summary.otherBytes += bytes;
    if (!ok) {
      m_reporter.Line(-1,
                      Format("v%zu was not played, and its probe failed: %s", v, error.c_str()));
      continue;
    }
    m_reporter.Line(-1, Format("v%zu was not played: probed the first %zu bytes of its first "
                               "segment",
                               v, bytes));
    if (probe.spsFound) {
      report.width = probe.width;
      report.height = probe.height;
      report.sizes.emplace_back(probe.width, probe.height);
      m_reporter.Resolution(-1, static_cast<int>(v), probe, report);
    } else if (probe.spsUnreadable && probe.spsProfile >= 0) {
      report.misreadProfile = probe.spsProfile;
      m_reporter.MisreadSps(-1, static_cast<int>(v), probe.spsProfile);
    }
  }
}

ExitStatus Player::Run() {
  m_realStart = static_cast<long long>(strmcommon::vas_getTime());
  m_model.Start();
  m_lastPoll = m_realStart;
  if (!StartEngine() || !LoadMaster()) return Finish();

  for (std::size_t i = 0; i < m_ladder.variants.size(); ++i) {
    const Variant& v = m_ladder.variants[i];
    VariantReport report;
    report.bandwidth = v.bandwidth;
    report.declaredWidth = v.width;
    report.declaredHeight = v.height;
    report.uri = m_mediaUrls[i];
    m_summary.variants.push_back(report);
    m_probes.push_back(std::make_unique<TsProbe>());
  }
  if (!m_switcher.SetLadder(m_ladder.variants)) {
    Fail(kExitCannotPlay, "the variant table was refused");
    return Finish();
  }

  const int count = static_cast<int>(m_ladder.variants.size());
  m_current = m_options.startVariant >= 0 ? std::min(m_options.startVariant, count - 1) : count / 2;
  std::string error;
  if (!LoadMediaPlaylist(m_current, false, error)) {
    Fail(kExitCannotPlay, error);
    return Finish();
  }
  const MediaPlaylist& timeline = m_media[static_cast<std::size_t>(m_current)];
  m_summary.segmentsTotal = timeline.endList ? static_cast<int>(timeline.segments.size()) : 0;
  if (timeline.endList) {
    PlayVod(timeline.TotalDuration());
  } else {
    PlayLive();
  }
  if (m_exit == kExitPlayed && !m_stopped) {
    m_model.EndOfStream();
    WaitUntil([&] { return m_model.Ended(); });
  }
  return Finish();
}

ExitStatus Player::Finish() {
  Tick();
  m_summary.mediaSeconds = m_model.PlayedSeconds();
  m_summary.runSeconds = m_model.Ended() ? m_model.EndSeconds() : Now();
  m_summary.startupSeconds = m_model.StartupSeconds();
  m_summary.encryptedSegments = m_decryptor.Decrypted();
  m_summary.stalls = m_model.Stalls();
  m_summary.rebufferSeconds = m_model.RebufferSeconds();
  m_summary.averageBitrateKbps =
      m_summary.mediaSeconds > 0.0 ? m_bitrateSeconds / m_summary.mediaSeconds : 0.0;
  m_reporter.Finish();
  m_checker.Stop();
  if (m_exit == kExitPlayed && !m_stopped && m_fetcher) ProbeUnplayedVariants();
  if (m_curl) {
    m_curl->Quit();  // saves the cookie jar
    m_curl.reset();
  }
  if (Stopping()) return kExitInterrupted;
  if (m_exit != kExitPlayed) return m_exit;
  const bool complete =
      m_summary.segmentsFetched == m_summary.segmentsTotal && m_summary.segmentsFailed == 0;
  return complete ? kExitPlayed : kExitSegmentErrors;
}

}  // namespace strmplay
