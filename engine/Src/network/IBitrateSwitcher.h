/// \file
/// The variant choice as the playback engine asks for it, once a segment.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "IBandwidthChecker.h"
#include "VariantData.h"

namespace strmcommon {

/// Chooses the variant stream of the next segment. The variant table comes in ascending order of
/// bandwidth; a stream index is a position in it. Implemented by AdaptiveSegSwitcher. Init comes
/// first, then the limits and the switch parameters, then the table. The decisions take the
/// switcher's lock; the setters and getters of single values take none, so they belong to the time
/// before playback or to the thread that makes the decisions.
class IBitrateSwitcher {
 public:
  /// Virtual, for the implementing class.
  virtual ~IBitrateSwitcher() {}
  /// Starts over with `bandwidthChecker` (not owned): switching on, no limits, no audio, relative
  /// margin, up timer 0, buffer level 1. Mandatory before anything else; the table, the
  /// low-latency flag and the timer's start are left as they were.
  virtual void Init(IBandwidthChecker* bandwidthChecker) = 0;
  /// Installs the variant table. -52 (and the old table kept) when the application's maximum width
  /// or height is below the first variant's; 0 otherwise. `skipLevelCheck` lifts the buffer-level
  /// block on moves up. The table must not be empty. Takes the lock.
  virtual int ResetData(std::vector<_VariantData> const& variants, bool skipLevelCheck) = 0;
  /// The up timer in seconds (how long a wanted group upgrade must persist) and the estimate
  /// margin in kilobits per second (0: a margin relative to the bitrate). Call it after Init. The
  /// library never calls it itself.
  virtual void SetSwitchParam(int upTimer, int estimateMargin) = 0;
  /// The decision of one segment: the index to fetch next, or -1 for no change (no estimate yet,
  /// switching off, nothing better, or a move the buffer, the groups or the up timer refuse now).
  /// `current` is the index now played (not bounds-checked), `bufferDuration` the buffered media
  /// in ms. Before the first estimate the block average stands in. Takes the lock; the engine's
  /// thread.
  virtual int ProcessAdaptiveSeg(int current, unsigned int bufferDuration) = 0;
  /// Tracks the buffer trend that blocks moves up: a fall below 8000 ms raises the level (up to 4;
  /// above 2 no move up), a rise lowers it. `hold` keeps a fall from counting. Only while an
  /// estimate exists. The first argument is ignored. Takes the lock.
  virtual void ProcessAdaptiveSegLevel(unsigned int ignored, unsigned int bufferDuration,
                                       bool hold) = 0;
  /// The highest variant within the application's limits whose estimated need is strictly below
  /// `cbw` (bits per second); else the cheapest variant within the limits; else 0. The second
  /// argument is ignored. Rebuilds the per-variant limit bits.
  virtual int GetSatisfiedStreamIndex(int cbw, int current) = 0;
  /// The highest index whose bandwidth equals `bandwidth`, or -1.
  virtual int GetMatchingStreamIndex(int bandwidth) = 0;
  /// Turns adaptive switching on or off.
  virtual void SetEnableSwitch(bool enable) = 0;
  /// Whether adaptive switching is on.
  virtual bool GetEnableSwitch() = 0;
  /// Copies the limit list (groups of variant bandwidths) and the bitrate ranges.
  virtual void SetBitrateLimit(std::vector<bitrateParam_t> const& params,
                               std::vector<std::pair<int, int>> const& ranges) = 0;
  /// True when the limit list is not empty; ranges alone do not count.
  virtual bool HasBitrateLimit() = 0;
  /// Low-latency segment mode, passed on to the bandwidth checker; the checker's monitor interval
  /// becomes 200 ms for either value. Always true.
  virtual bool Setllsegbw(bool llsegbw) = 0;
  /// Whether `bitrate` is allowed: 1 yes, 0 no; with exactly one range, 2 below it and 3 above
  /// it (the limit list then plays no part). With neither list, 1.
  virtual int CheckBitrateLimit(int bitrate) = 0;
  /// The audio bitrate added to every variant's estimated need, bits per second.
  virtual void SetAudioBitrate(int bitrate) = 0;
  /// The audio bitrate.
  virtual int GetAudioBitrate() = 0;
  /// The start bitrate, stored for the client; no decision uses it.
  virtual int GetStartBitrate() = 0;
  /// The start bitrate text, stored for the client; no decision uses it.
  virtual std::string GetStartBitrateString() = 0;
  /// Stores the start bitrate.
  virtual void SetStartBitrate(int bitrate) = 0;
  /// Stores the start bitrate text.
  virtual void SetStartBitrateString(std::string bitrate) = 0;
  /// The application's maximum bitrate; -1 for none (0 is a real limit).
  virtual void SetMaxBitrate(int bitrate) = 0;
  /// The application's maximum picture width; -1 for none.
  virtual void SetMaxWidth(int width) = 0;
  /// The application's maximum picture height; -1 for none.
  virtual void SetMaxHeight(int height) = 0;
};

}  // namespace strmcommon
