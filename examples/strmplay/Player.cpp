#include "Player.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "Aes128.h"
#include "Clock.h"
#include "Datetime.h"
#include "Drm_Common.h"
#include "tzplatform_config.h"

// The one call the bandwidth checker makes into the playback engine: the record of a stream.
void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  auto* table = static_cast<strmplay::StreamTable*>(this);
  if (index < 0 || index >= static_cast<int>(table->records.size())) return nullptr;
  return &table->records[static_cast<std::size_t>(index)];
}

namespace strmplay {

namespace {

std::string Format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* fmt, ...) {
  char buf[512];
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, args);
  va_end(args);
  return buf;
}

// The engine's duties run every 50 ms and the checker closes a block every 250 ms, both in
// playback-model time: in compressed time they come timeScale times as often.
constexpr double kPollIntervalMs = 50.0;
constexpr double kMonitorIntervalMs = 250.0;

}  // namespace

Player::Player(const PlayerOptions& options, StatusLine& status, Trace& trace)
    : m_options(options), m_status(status), m_trace(trace) {}

Player::~Player() {
  if (m_curl) m_curl->Quit();
}

int Player::OnDownloadStart(strmcommon::UnitObject* unit) {
  std::lock_guard<std::mutex> guard(m_bodyLock);
  m_sinks[unit] = m_nextSink;
  return 0;
}

int Player::OnDownloadData(strmcommon::UnitObject* unit, int code, unsigned char* data,
                           unsigned int size) {
  std::lock_guard<std::mutex> guard(m_bodyLock);
  const auto it = m_sinks.find(unit);
  if (it != m_sinks.end() && it->second != nullptr) {
    it->second->insert(it->second->end(), data, data + size);
  }
  return 0;
}

int Player::OnRedirect(strmcommon::UnitObject* unit, const char* url) {
  if (m_options.verbose) {
    std::string target(url);
    while (!target.empty() && (target.back() == '\r' || target.back() == '\n')) target.pop_back();
    m_status.Print("redirected to " + target);
  }
  return 0;
}

double Player::ModelNow() const {
  return static_cast<double>(strmcommon::vas_getTime() - m_realStart) / 1000.0 *
         m_options.timeScale;
}

void Player::Pump() {
  const long long now = strmcommon::vas_getTime();
  const double model = static_cast<double>(now - m_realStart) / 1000.0 * m_options.timeScale;
  const double dt = std::max(0.0, model - m_lastModel);
  m_lastModel = model;

  if (m_playing) {
    const double played = std::min(dt, m_buffer);
    m_buffer -= played;
    m_summary.mediaSeconds += played;
    if (m_buffer <= 1e-9) {
      m_buffer = 0.0;
      m_playing = false;
      if (m_allFetched) {
        m_summary.runSeconds = model;
      } else {
        m_stallStart = model;
        ++m_summary.stalls;
        m_status.Print(Format("%7.1f s  buffer empty: rebuffering", model));
      }
    }
  } else if (m_buffer > 0.0) {
    if (m_allFetched || m_buffer >= m_options.startupSeconds - 1e-9) {
      if (!m_started) {
        m_started = true;
        m_summary.startupSeconds = model;
      } else {
        m_summary.rebufferSeconds += model - m_stallStart;
      }
      m_playing = true;
    }
  }

  if (static_cast<double>(now - m_lastPoll) >= kPollIntervalMs / m_options.timeScale) {
    m_lastPoll = now;
    m_checker.OnPolling(now);
    const int measuredKbps = static_cast<int>(
        std::lround(m_checker.GetCurrentBandwidth() / m_options.timeScale / 1000.0));
    TraceSample s;
    s.time = model;
    s.measuredKbps = measuredKbps;
    s.linkKbps = m_options.linkRateKbps ? m_options.linkRateKbps() : 0;
    s.variant = m_current;
    s.selectedKbps = m_variants.empty() ? 0 : m_variants[m_current].bandwidth / 1000;
    s.bufferSeconds = m_buffer;
    s.playing = m_playing;
    if (!m_variants.empty()) {
      m_trace.Add(s);
      const Variant& v = m_variants[m_current];
      const VariantReport& seen = m_summary.variants[static_cast<std::size_t>(m_current)];
      const std::string segments =
          std::to_string(m_segmentsDone) + (m_live ? std::string(" live")
                                            : m_summary.segmentsTotal > 0
                                                ? "/" + std::to_string(m_summary.segmentsTotal)
                                                : std::string());
      m_status.Update(Format(
          "%7.1f s  buffer %5.1f s  v%d %4dx%-4d %5d kbit/s  bw %6d kbit/s  "
          "seg %s%s",
          model, m_buffer, m_current, seen.width ? seen.width : v.width,
          seen.width ? seen.height : v.height, v.bandwidth / 1000, measuredKbps, segments.c_str(),
          m_playing ? "" : (m_started ? "  [rebuffering]" : "  [starting]")));
    }
  }
}

void Player::WaitUntil(const std::function<bool()>& done) {
  while (!done()) {
    Pump();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

int Player::Fetch(const std::string& url, TransferType type, int stream, int segment,
                  bool noMeasure, std::vector<std::uint8_t>& body, const std::string& range) {
  for (int attempt = 0;; ++attempt) {
    body.clear();
    {
      std::lock_guard<std::mutex> guard(m_bodyLock);
      m_nextSink = &body;
    }
    const int bitrate = stream >= 0 && stream < static_cast<int>(m_variants.size())
                            ? m_variants[static_cast<std::size_t>(stream)].bandwidth
                            : 99999999;
    strmcommon::UserData data{static_cast<int32_t>(type), stream, segment, bitrate, 0, 0};
    strmcommon::UnitObject* unit = nullptr;
    const int rc = m_curl->BeginDownload(static_cast<unsigned int>(m_curl->GetRequestKey()),
                                         range + url, false, unit, noMeasure, data);
    if (rc != 0 || unit == nullptr) {
      const int code = rc != 0 ? rc : -1;
      ++m_summary.errors[code];
      return code;
    }
    int code = 0;
    long date = 0;
    strmcommon::UnitObject* done = nullptr;
    WaitUntil([&] {
      done = m_curl->GetCompleted(code, date);
      return done != nullptr;
    });
    m_curl->EndDownload(done);
    {
      std::lock_guard<std::mutex> guard(m_bodyLock);
      m_sinks.erase(done);
      m_nextSink = nullptr;
    }
    if (code == 0) {
      if (type == kSegment) {
        m_summary.mediaBytes += body.size();
      } else {
        m_summary.otherBytes += body.size();
      }
      return 0;
    }
    ++m_summary.errors[code];
    if (m_options.verbose || code != 10) {
      m_status.Print(Format("%7.1f s  %s: result code %d%s", ModelNow(), url.c_str(), code,
                            code == 10 && attempt < 3 ? ", requesting again" : ""));
    }
    if (code == 10 && attempt < 3) continue;
    return code;
  }
}

bool Player::FetchText(const std::string& url, std::string& text, std::string& error) {
  std::vector<std::uint8_t> body;
  const int code = Fetch(url, kPlaylist, -1, -1, true, body);
  if (code != 0) {
    error = Format("cannot fetch %s: result code %d", url.c_str(), code);
    return false;
  }
  text.assign(body.begin(), body.end());
  return true;
}

bool Player::LoadMediaPlaylist(int variant, std::string& error) {
  const auto v = static_cast<std::size_t>(variant);
  if (m_mediaLoaded[v]) return true;
  std::string text;
  if (!FetchText(m_mediaUrls[v], text, error)) return false;
  if (!ParseMediaPlaylist(text, m_media[v], error)) {
    error = m_mediaUrls[v] + ": " + error;
    return false;
  }
  m_mediaLoaded[v] = true;
  const MediaPlaylist& pl = m_media[v];
  ApplyLowLatency(pl);
  if (!m_summary.variants.empty() && !m_summary.variants[v].announced) {
    m_summary.variants[v].announced = true;
    int encrypted = 0;
    for (const auto& seg : pl.segments) encrypted += seg.key.Encrypted() ? 1 : 0;
    const long long dateTime = pl.segments.front().programDateTime;
    m_status.Print(Format(
        "%7.1f s  v%d playlist: %zu segments, %.1f s, media sequence %u%s%s%s%s", ModelNow(),
        variant, pl.segments.size(), pl.TotalDuration(), pl.mediaSequence,
        encrypted > 0 ? Format(", %d AES-128", encrypted).c_str() : "",
        dateTime > 0 ? (", program date-time " + strmcommon::vas_dateTimeToString(dateTime)).c_str()
                     : "",
        pl.hasPartInf ? ", low-latency parts" : "",
        pl.serverControl.canBlockReload ? ", blocking reload" : ""));
  }
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
    // Low-latency segments: the checker drops chunks that waited on a blocked reload.
    m_switcher.Setllsegbw(true);
    // That set the checker's block to 200 ms; keep it in model time.
    m_checker.SetMonitorInterval(
        static_cast<unsigned int>(std::max(1.0, std::round(200.0 / m_options.timeScale))));
    m_status.Print(Format(
        "low-latency stream: part target %.3f s, hold back %.1f s, blocking "
        "reload %s",
        pl.partTarget, pl.serverControl.partHoldBack, m_lowLatency.CanBlock() ? "yes" : "no"));
  }
}

bool Player::SegmentPlain(int variant, const Segment& seg, std::vector<std::uint8_t>& body) {
  if (seg.key.Clear()) return true;
  if (!seg.key.Encrypted()) {
    m_status.Print("unsupported key method " + seg.key.method);
    ++m_summary.decryptFailures;
    return false;
  }
  ++m_summary.encryptedSegments;
  const std::string keyUrl =
      ResolveUri(m_mediaUrls[static_cast<std::size_t>(variant)], seg.key.uri);
  auto it = m_keys.find(keyUrl);
  if (it == m_keys.end()) {
    std::vector<std::uint8_t> key;
    const int code = Fetch(keyUrl, kKey, -1, -1, true, key);
    if (code != 0 || key.size() != 16) {
      m_status.Print(Format("key %s: %s", keyUrl.c_str(),
                            code != 0 ? Format("result code %d", code).c_str() : "not 16 bytes"));
      ++m_summary.decryptFailures;
      return false;
    }
    it = m_keys.emplace(keyUrl, key).first;
  }
  unsigned char iv[16];
  if (!seg.key.iv.empty()) {
    stringToiv(seg.key.iv, iv, sizeof iv);
  } else {
    sequenceToiv(seg.sequence, iv, sizeof iv);
  }
  std::vector<std::uint8_t> plain;
  if (!DecryptAes128Cbc(it->second.data(), iv, body, plain)) {
    m_status.Print(Format("segment %u of v%d: AES-128 decryption failed", seg.sequence, variant));
    ++m_summary.decryptFailures;
    return false;
  }
  body.swap(plain);
  return true;
}

void Player::ProbeSegment(int variant, const std::vector<std::uint8_t>& plain) {
  VariantReport& report = m_summary.variants[static_cast<std::size_t>(variant)];
  const ProbeResult r = m_probes[static_cast<std::size_t>(variant)]->Probe(plain);
  if (!r.ok) {
    if (!report.probeFailed) m_status.Print(Format("v%d: %s", variant, r.error.c_str()));
    report.probeFailed = true;
    return;
  }
  report.videoPid = r.videoPid;
  report.audioPid = r.audioPid;
  if (r.spsFound && report.width == 0) {
    report.width = r.width;
    report.height = r.height;
    m_status.Print(
        Format("%7.1f s  v%d resolution %dx%d from the SPS (playlist: %dx%d), video "
               "PID 0x%x, audio PID 0x%x, PCR PID 0x%x, PCR span %.2f s",
               ModelNow(), variant, r.width, r.height, report.declaredWidth, report.declaredHeight,
               r.videoPid, r.audioPid, r.pcrPid, r.PcrSpanSeconds()));
  }
}

strmcommon::tag_VAS_Status Player::BandwidthEvent(unsigned int event, unsigned int from,
                                                  unsigned int to, unsigned long long videoPts,
                                                  unsigned long long audioPts, void* user) {
  if (event == 20) static_cast<Player*>(user)->OnSwitch(from, to);
  return strmcommon::tag_VAS_Status(0);
}

void Player::OnSwitch(unsigned int from, unsigned int to) {
  int fromIdx = -1, toIdx = -1;
  for (std::size_t i = 0; i < m_variants.size(); ++i) {
    if (static_cast<unsigned int>(m_variants[i].bandwidth) == from && fromIdx < 0) fromIdx = int(i);
    if (static_cast<unsigned int>(m_variants[i].bandwidth) == to && toIdx < 0) toIdx = int(i);
  }
  const bool up = to > from;
  if (up) {
    ++m_summary.switchesUp;
  } else {
    ++m_summary.switchesDown;
  }
  const double model = ModelNow();
  const int measured =
      static_cast<int>(std::lround(m_checker.GetCurrentBandwidth() / m_options.timeScale / 1000.0));
  // Before the checker has an estimate the switcher decides on the first blocks' average.
  const std::string basis =
      measured > 0 ? Format("measured %d kbit/s", measured) : std::string("first-fragment average");
  m_status.Print(Format("%7.1f s  switch %-4s v%d -> v%d  %d -> %d kbit/s  (%s, buffer %.1f s)",
                        model, up ? "up" : "down", fromIdx, toIdx, from / 1000, to / 1000,
                        basis.c_str(), m_buffer));
  m_trace.AddEvent(model, Format("v%d>v%d", fromIdx, toIdx));
}

void Player::ProbeUnplayedVariants() {
  for (std::size_t v = 0; v < m_variants.size(); ++v) {
    VariantReport& report = m_summary.variants[v];
    if (report.width != 0) continue;
    std::string error;
    if (!LoadMediaPlaylist(static_cast<int>(v), error)) {
      m_status.Print("v" + std::to_string(v) + ": " + error);
      continue;
    }
    const Segment& seg = m_media[v].segments.front();
    std::vector<std::uint8_t> body;
    if (Fetch(ResolveUri(m_mediaUrls[v], seg.uri), kPlaylist, -1, -1, true, body,
              seg.RangeText()) != 0) {
      continue;
    }
    if (!SegmentPlain(static_cast<int>(v), seg, body)) continue;
    m_status.Print(Format("v%zu was not played: probing its first segment", v));
    ProbeSegment(static_cast<int>(v), body);
  }
}

void Player::DecideVariant() {
  const auto bufferMs = static_cast<unsigned int>(m_buffer * 1000.0);
  m_switcher.ProcessAdaptiveSegLevel(0, bufferMs, false);
  const int next = m_switcher.ProcessAdaptiveSeg(m_current, bufferMs);
  if (next < 0 || next == m_current || next >= static_cast<int>(m_variants.size())) return;
  std::string error;
  if (m_live) m_mediaLoaded[static_cast<std::size_t>(next)] = false;  // a fresh one
  if (!LoadMediaPlaylist(next, error)) {
    m_status.Print("cannot switch: " + error);
    return;
  }
  const auto from =
      static_cast<unsigned int>(m_variants[static_cast<std::size_t>(m_current)].bandwidth);
  const auto to = static_cast<unsigned int>(m_variants[static_cast<std::size_t>(next)].bandwidth);
  m_current = next;
  const auto pts = static_cast<unsigned long long>(m_position * 90000.0);
  m_support.OnBitrateChanged(from, to, pts, pts, pts, pts);
}

bool Player::FetchSegment(const Segment& seg, int index) {
  std::vector<std::uint8_t> body;
  const int code = Fetch(ResolveUri(m_mediaUrls[static_cast<std::size_t>(m_current)], seg.uri),
                         kSegment, m_current, index, false, body, seg.RangeText());
  const bool ok = code == 0 && SegmentPlain(m_current, seg, body);
  if (ok) {
    ProbeSegment(m_current, body);
    ++m_summary.segmentsFetched;
    VariantReport& report = m_summary.variants[static_cast<std::size_t>(m_current)];
    report.played = true;
    ++report.segments;
    m_bitrateSeconds +=
        m_variants[static_cast<std::size_t>(m_current)].bandwidth / 1000.0 * seg.duration;
    m_buffer += seg.duration;
  } else {
    ++m_summary.segmentsFailed;
  }
  m_position += seg.duration;
  ++m_segmentsDone;
  if (!m_status.IsTerminal()) {
    const VariantReport& seen = m_summary.variants[static_cast<std::size_t>(m_current)];
    m_status.Print(Format(
        "%7.1f s  segment %d/%s  v%d %dx%d  %zu bytes  buffer %.1f s  bw %d kbit/s%s", ModelNow(),
        m_segmentsDone, m_live ? "live" : std::to_string(m_summary.segmentsTotal).c_str(),
        m_current, seen.width, seen.height, body.size(), m_buffer,
        static_cast<int>(
            std::lround(m_checker.GetCurrentBandwidth() / m_options.timeScale / 1000.0)),
        ok ? "" : "  FAILED"));
  }
  return ok;
}

void Player::PlayVod(double total) {
  const double limit =
      m_options.maxMediaSeconds > 0.0 ? std::min(total, m_options.maxMediaSeconds) : total;
  while (m_position < limit - 0.05) {
    WaitUntil([&] { return m_buffer < m_options.maxBufferSeconds; });
    DecideVariant();
    // The segment of the current variant that starts where the buffer ends.
    const MediaPlaylist& pl = m_media[static_cast<std::size_t>(m_current)];
    double start = 0.0;
    std::size_t index = 0;
    while (index < pl.segments.size() && start + pl.segments[index].duration <= m_position + 0.05) {
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
  const double limit = m_options.maxMediaSeconds > 0.0 ? m_options.maxMediaSeconds : 60.0;
  m_status.Print(
      Format("live stream: playing %.0f s from three segments before the live edge", limit));
  std::vector<double> loadedAt(m_variants.size(), ModelNow());
  const MediaPlaylist& first = m_media[static_cast<std::size_t>(m_current)];
  unsigned int next =
      first.segments[first.segments.size() > 3 ? first.segments.size() - 3 : 0].sequence;
  int reloadFailures = 0;
  while (m_position < limit - 0.05) {
    WaitUntil([&] { return m_buffer < m_options.maxBufferSeconds; });
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
      // Nothing new yet: reload once half a target duration has passed.
      const double due = loadedAt[v] + std::max(0.5, pl.targetDuration / 2.0);
      WaitUntil([&] { return ModelNow() >= due; });
      m_mediaLoaded[v] = false;
      std::string error;
      loadedAt[v] = ModelNow();
      if (!LoadMediaPlaylist(m_current, error)) {
        m_status.Print(error);
        if (++reloadFailures > 5) return;
      }
    }
    if (seg == nullptr) break;  // the stream ended
    if (seg->sequence > next) {
      m_status.Print(Format("%7.1f s  fell behind the live window: skipped %u segments", ModelNow(),
                            seg->sequence - next));
    }
    next = seg->sequence + 1;
    const Segment copy = *seg;  // a reload may replace the playlist while the segment loads
    FetchSegment(copy, static_cast<int>(index));
  }
  m_summary.segmentsTotal = m_segmentsDone;
}

bool Player::Run(std::string& error) {
  m_realStart = strmcommon::vas_getTime();
  m_lastPoll = m_realStart;

  // The cookie jar is saved under <platform root>/<client name>/data/cookie/, which must exist.
  const char* root = tzplatform_getenv(TZ_USER_DATA_ROOT);
  if (root != nullptr) {
    std::error_code ec;
    std::filesystem::create_directories(
        std::filesystem::path(root) / m_options.clientName / "data" / "cookie", ec);
  }
  // The fixed worker loop: one pass, then 1 ms.
  m_curl = std::make_unique<strmcommon::Curl>(strmcommon::curl_thread_option(0), 0,
                                              m_options.clientName);
  m_checker.Init(&m_table);
  m_checker.SetMonitorInterval(static_cast<unsigned int>(
      std::max(1.0, std::round(kMonitorIntervalMs / m_options.timeScale))));
  m_curl->Init(this, &m_checker);
  if (m_options.capKbps > 0) {
    m_curl->SetMaxNwSpeed(static_cast<int>(m_options.capKbps * 1000.0 / 8.0 * m_options.timeScale));
  }
  if (!m_curl->StartLoop()) {
    error = "cannot start the download thread";
    return false;
  }
  m_checker.Start();
  m_switcher.Init(&m_checker);
  m_support.SetBandwidthCallbackEx(&Player::BandwidthEvent, this);

  // Master playlist, or a single media playlist.
  std::string text;
  if (!FetchText(m_options.url, text, error)) return false;
  const bool master = IsMasterPlaylist(text);
  if (master) {
    MasterPlaylist master;
    if (!ParseMasterPlaylist(text, master, error)) return false;
    m_variants = master.variants;
    // The switcher walks its table from the top down: ascending bandwidth.
    std::stable_sort(m_variants.begin(), m_variants.end(),
                     [](const Variant& a, const Variant& b) { return a.bandwidth < b.bandwidth; });
    for (const auto& v : m_variants) m_mediaUrls.push_back(ResolveUri(m_options.url, v.uri));
    m_media.resize(m_variants.size());
    m_mediaLoaded.assign(m_variants.size(), false);
  } else {
    Variant only;
    only.bandwidth = 1000000;
    only.uri = m_options.url;
    m_variants.push_back(only);
    m_mediaUrls.push_back(m_options.url);
    m_media.resize(1);
    m_mediaLoaded.assign(1, true);
    if (!ParseMediaPlaylist(text, m_media[0], error)) return false;
  }

  std::vector<strmcommon::_VariantData> table;
  for (std::size_t i = 0; i < m_variants.size(); ++i) {
    const Variant& v = m_variants[i];
    // Bitrates as the checker and switcher see them. In compressed time the link runs timeScale
    // times faster, so the switcher's table does too; the checker's record keeps the declared
    // rate, which turns bytes into seconds of media.
    m_table.records.push_back({static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(v.width),
                               static_cast<std::uint32_t>(v.bandwidth),
                               static_cast<std::uint32_t>(v.height)});
    table.push_back(
        {static_cast<int>(std::lround(v.bandwidth * m_options.timeScale)), v.width, v.height, 0});
    VariantReport report;
    report.bandwidth = v.bandwidth;
    report.declaredWidth = v.width;
    report.declaredHeight = v.height;
    report.uri = m_mediaUrls[i];
    m_summary.variants.push_back(report);
    m_probes.push_back(std::make_unique<TsProbe>());
  }
  if (m_switcher.ResetData(table, false) != 0) {
    error = "the variant table was refused";
    return false;
  }

  if (!master) m_status.Print("a media playlist: one stream, no variants to switch between");
  for (std::size_t i = 0; master && i < m_variants.size(); ++i) {
    const Variant& v = m_variants[i];
    m_status.Print(Format("v%zu  %5d kbit/s  %4dx%-4d  %s", i, v.bandwidth / 1000, v.width,
                          v.height, m_mediaUrls[i].c_str()));
  }

  m_current = m_options.startVariant >= 0
                  ? std::min(m_options.startVariant, static_cast<int>(m_variants.size()) - 1)
                  : static_cast<int>(m_variants.size()) / 2;
  if (!LoadMediaPlaylist(m_current, error)) return false;
  const MediaPlaylist& timeline = m_media[static_cast<std::size_t>(m_current)];
  const double total = timeline.TotalDuration();
  m_summary.segmentsTotal = timeline.endList ? static_cast<int>(timeline.segments.size()) : 0;

  if (timeline.endList) {
    PlayVod(total);
  } else {
    PlayLive();
  }
  m_allFetched = true;
  WaitUntil([&] { return m_buffer <= 0.0; });
  Pump();
  if (m_summary.runSeconds == 0.0) m_summary.runSeconds = ModelNow();
  m_status.Finish();
  m_checker.Stop();
  m_summary.averageBitrateKbps =
      m_summary.mediaSeconds > 0.0 ? m_bitrateSeconds / m_summary.mediaSeconds : 0.0;

  ProbeUnplayedVariants();
  m_curl->Quit();
  m_curl.reset();
  return true;
}

}  // namespace strmplay
