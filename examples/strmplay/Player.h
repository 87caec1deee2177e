// The client's playback session: what a playback engine does with the library, for one stream.
//   - Curl fetches playlists, keys and segments (BeginDownload, GetCompleted, EndDownload), with
//     the player as its ICurlCB and the BandwidthChecker as its IDownloadEvent;
//   - the checker is polled every 50 ms; AdaptiveSegSwitcher decides once a segment on the
//     measured bandwidth and a playback buffer model; switches go out through CPlayerSupport;
//   - AES-128 segments are decrypted, and TsProbe finds PIDs, PCRs and the picture size.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
#include "CHLSDataHandler.h"
#include "CPlayerSupport.h"
#include "Curl.h"
#include "LowLatency.h"
#include "Playlist.h"
#include "StatusLine.h"
#include "Trace.h"
#include "TsProbe.h"

namespace strmplay {

// The record the bandwidth checker gets from GetStreamInfo: its third word is the declared
// bitrate of the stream, bit/s.
struct StreamRecord {
  std::uint32_t index;
  std::uint32_t width;
  std::uint32_t bitrate;
  std::uint32_t height;
};

// The client's side of strmengine::CHLSDataHandler: the variant table as the checker sees it.
class StreamTable : public strmengine::CHLSDataHandler {
 public:
  std::vector<StreamRecord> records;
};

struct PlayerOptions {
  std::string url;                      // master (or media) playlist
  std::string clientName = "strmplay";  // cookie files live under this name
  double timeScale = 1.0;               // >1: the playback model runs this much faster (--quick)
  int capKbps = 0;                      // client-side cap for streams from a URL, 0 for none
  int startVariant = -1;                // index in ascending bandwidth order; -1: the middle one
  double maxBufferSeconds = 8.0;        // no new segment while this much is buffered
  double startupSeconds = 4.0;          // playback starts (and resumes) with this much buffered
  double maxMediaSeconds = 0.0;         // stop after this much media; 0: all (live: 60 s)
  std::function<int()> linkRateKbps;    // the link's rate now (built-in server), for the trace
  bool verbose = false;
};

struct VariantReport {
  int bandwidth = 0;
  int declaredWidth = 0, declaredHeight = 0;
  int width = 0, height = 0;  // from the SPS, 0 when not seen
  bool played = false;
  int segments = 0;
  int videoPid = -1, audioPid = -1;
  bool probeFailed = false;  // reported once
  bool announced = false;    // its playlist has been described
  std::string uri;
};

struct PlayerSummary {
  int segmentsTotal = 0;
  int segmentsFetched = 0;
  int segmentsFailed = 0;
  double mediaSeconds = 0.0;  // played
  double runSeconds = 0.0;    // model time from start to the end of playback
  double startupSeconds = 0.0;
  double rebufferSeconds = 0.0;
  int stalls = 0;
  double averageBitrateKbps = 0;  // declared bitrate of the played segments, weighted by duration
  int switchesUp = 0, switchesDown = 0;
  std::uint64_t mediaBytes = 0, otherBytes = 0;
  std::map<int, int> errors;  // result code -> count
  int decryptFailures = 0;
  int encryptedSegments = 0;
  std::vector<VariantReport> variants;  // ascending bandwidth
};

class Player : public strmcommon::ICurlCB {
 public:
  Player(const PlayerOptions& options, StatusLine& status, Trace& trace);
  ~Player() override;

  // Plays the stream to its end. False when it could not start (no playlist, nothing to play).
  bool Run(std::string& error);
  const PlayerSummary& Summary() const { return m_summary; }

  // ICurlCB
  int OnDownloadStart(strmcommon::UnitObject* unit) override;
  int OnDownloadData(strmcommon::UnitObject* unit, int code, unsigned char* data,
                     unsigned int size) override;
  int OnRedirect(strmcommon::UnitObject* unit, const char* url) override;

 private:
  enum TransferType { kPlaylist = 1, kKey = 2, kSegment = 3 };

  // Fetches one URL through Curl, pumping the model while it runs. Returns the final code.
  // A range ("first-last") goes in front of the URL, the way BeginDownload takes it.
  int Fetch(const std::string& url, TransferType type, int stream, int segment, bool noMeasure,
            std::vector<std::uint8_t>& body, const std::string& range = std::string());
  bool FetchText(const std::string& url, std::string& text, std::string& error);
  bool LoadMediaPlaylist(int variant, std::string& error);
  // Hands the low-latency tags of a media playlist to the library's low-latency state.
  void ApplyLowLatency(const MediaPlaylist& pl);
  bool SegmentPlain(int variant, const Segment& seg, std::vector<std::uint8_t>& body);
  void ProbeSegment(int variant, const std::vector<std::uint8_t>& plain);
  // Advances the buffer model and runs the 50 ms duties (poll, trace, status line).
  void Pump();
  void WaitUntil(const std::function<bool()>& done);
  double ModelNow() const;
  double BufferSeconds() const { return m_buffer; }
  void OnSwitch(unsigned int from, unsigned int to);
  void ProbeUnplayedVariants();
  // Once a segment: the buffer trend, the switch decision, and the switch itself.
  void DecideVariant();
  // Fetches, decrypts and probes one segment of the current variant and buffers it.
  bool FetchSegment(const Segment& seg, int index);
  void PlayVod(double total);
  void PlayLive();
  static strmcommon::tag_VAS_Status BandwidthEvent(unsigned int event, unsigned int from,
                                                   unsigned int to, unsigned long long videoPts,
                                                   unsigned long long audioPts, void* user);

  PlayerOptions m_options;
  StatusLine& m_status;
  Trace& m_trace;
  std::unique_ptr<strmcommon::Curl> m_curl;
  strmcommon::BandwidthChecker m_checker;
  strmcommon::AdaptiveSegSwitcher m_switcher;
  strmcommon::CPlayerSupport m_support;
  StreamTable m_table;
  strmcommon::LowLatency m_lowLatency;

  std::mutex m_bodyLock;  // the worker thread appends, the player thread takes
  std::map<strmcommon::UnitObject*, std::vector<std::uint8_t>*> m_sinks;
  std::vector<std::uint8_t>* m_nextSink = nullptr;

  std::string m_masterUrl;
  std::vector<Variant> m_variants;  // ascending bandwidth
  std::vector<std::string> m_mediaUrls;
  std::vector<MediaPlaylist> m_media;
  std::vector<bool> m_mediaLoaded;
  std::vector<std::unique_ptr<TsProbe>> m_probes;
  std::map<std::string, std::vector<std::uint8_t>> m_keys;

  int m_current = 0;
  double m_position = 0.0;  // media seconds fetched so far (start of the next segment)
  double m_buffer = 0.0;    // media seconds buffered
  bool m_playing = false;
  bool m_started = false;
  bool m_allFetched = false;
  bool m_live = false;
  double m_stallStart = 0.0;
  double m_lastModel = 0.0;
  long long m_realStart = 0;
  long long m_lastPoll = 0;
  int m_segmentsDone = 0;
  double m_bitrateSeconds = 0.0;  // sum of declared kbit/s x seconds played

  PlayerSummary m_summary;
};

}  // namespace strmplay
