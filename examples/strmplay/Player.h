// The client's playback session for one stream: what a playback engine does with the library.
// The jobs are units of their own: Fetcher (transfers, body sinks, retries), PlaybackModel (the
// buffer), VariantSwitcher (the switch decision), PlayerEvents (the player callbacks),
// SegmentDecryptor, TsProbe and VariantProber (looking into segments), LiveWatch (a live playlist
// that stopped), Reporter (what the user is told). The player runs them in order: the master
// playlist, the ladder, then segment after segment until the end of the stream, and at the end a
// probe of the variants that were not played.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BandwidthChecker.h"
#include "Curl.h"
#include "ExitStatus.h"
#include "Fetcher.h"
#include "Ladder.h"
#include "LiveWatch.h"
#include "LowLatency.h"
#include "PlaybackModel.h"
#include "PlayerEvents.h"
#include "Playlist.h"
#include "Reporter.h"
#include "SegmentDecryptor.h"
#include "Trace.h"
#include "TsOutput.h"
#include "TsProbe.h"
#include "VariantSwitcher.h"

namespace strmplay {

// Playlists larger than this are refused (and their transfer cut off).
constexpr std::size_t kMaxPlaylistBytes = 4 * 1024 * 1024;

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

class Player {
 public:
  // output may be null (no --output).
  Player(const PlayerOptions& options, Reporter& reporter, Trace& trace, TsOutput* output);
  ~Player();

  // Plays the stream to its end, or until a stop is asked for (StopSignal.h).
  ExitStatus Run();
  const PlayerSummary& Summary() const { return m_summary; }
  // Why the run ended early, in words; empty when it did not.
  const std::string& Error() const { return m_error; }

 private:
  bool StartEngine();
  bool LoadMaster();
  // Fetches and reads the media playlist of a variant (again, when reload is set).
  bool LoadMediaPlaylist(int variant, bool reload, std::string& error);
  void ApplyLowLatency(const MediaPlaylist& pl);
  FetchResult FetchPlaylist(const std::string& url);
  bool FetchKey(const std::string& url, std::vector<std::uint8_t>& key, std::string& error);
  void FetchSegment(const Segment& seg, int index);
  // Looks into a clear segment; false when it is not a transport stream.
  bool ProbeSegment(int variant, const std::vector<std::uint8_t>& plain, bool afterDiscontinuity,
                    int& width, int& height);
  void DecideVariant();
  void PlayVod(double total);
  void PlayLive();
  void ProbeUnplayedVariants();
  // Advances the buffer model and runs the 50 ms duties (poll, trace, status line).
  void Tick();
  void WaitUntil(const std::function<bool()>& done);
  double Now() const { return m_model.Now(); }
  // Real seconds since the start: the clock of a live stream's reloads.
  double RealNow() const;
  bool Stopping();
  void OnFetchFailed(const FetchRequest& request, const FetchAttempt& attempt);
  void Fail(ExitStatus status, const std::string& error);
  ExitStatus Finish();

  PlayerOptions m_options;
  Reporter& m_reporter;
  Trace& m_trace;
  TsOutput* m_output;

  std::unique_ptr<strmcommon::Curl> m_curl;
  std::unique_ptr<Fetcher> m_fetcher;
  strmcommon::BandwidthChecker m_checker;
  VariantSwitcher m_switcher;
  PlayerEvents m_events;
  strmcommon::LowLatency m_lowLatency;
  SegmentDecryptor m_decryptor;
  PlaybackModel m_model;
  LiveWatch m_liveWatch;

  std::string m_masterUrl;  // where the master playlist came from, after redirects
  strmplay::Ladder m_ladder;
  std::vector<std::string> m_mediaUrls;   // as resolved from the master playlist
  std::vector<std::string> m_mediaBases;  // where each media playlist came from
  std::vector<MediaPlaylist> m_media;
  std::vector<bool> m_mediaLoaded;
  std::vector<std::unique_ptr<TsProbe>> m_probes;

  int m_current = 0;
  double m_position = 0.0;  // media seconds fetched so far (start of the next segment)
  bool m_live = false;
  bool m_pendingDiscontinuity = false;
  long long m_realStart = 0;
  long long m_lastPoll = 0;
  int m_segmentsDone = 0;
  double m_bitrateSeconds = 0.0;  // sum of declared kbit/s x seconds played
  bool m_stopped = false;         // the user stopped the run
  ExitStatus m_exit = kExitPlayed;
  std::string m_error;

  PlayerSummary m_summary;
};

}  // namespace strmplay
