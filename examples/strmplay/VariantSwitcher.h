// Variant choice once a segment: the library's AdaptiveSegSwitcher on the bandwidth checker's
// estimate and the playback buffer, over the ladder. Also the variant table that the checker
// reads through the engine's GetStreamInfo.
#pragma once

#include <cstdint>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "CHLSDataHandler.h"
#include "IBandwidthChecker.h"
#include "Playlist.h"

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

class VariantSwitcher {
 public:
  // timeScale > 1: the link runs that much faster (compressed time), and so does the switcher's
  // table; the checker's records keep the declared rates, which turn bytes into media seconds.
  VariantSwitcher(strmcommon::IBandwidthChecker& checker, double timeScale);

  // For BandwidthChecker::Init.
  strmengine::CHLSDataHandler* DataHandler() { return &m_table; }
  // The ladder in ascending bandwidth. False when the switcher refuses the table.
  bool SetLadder(const std::vector<Variant>& ladder);
  // Low-latency segments: the checker drops chunks that waited on a blocked reload.
  void SetLowLatency(bool on) { m_switcher.Setllsegbw(on); }
  // Once a segment: the buffer trend, then the decision. Returns the variant for the next
  // segment, `current` when there is no move.
  int Decide(int current, double bufferSeconds);

 private:
  double m_timeScale;
  StreamTable m_table;
  strmcommon::AdaptiveSegSwitcher m_switcher;
  int m_variants = 0;
};

}  // namespace strmplay
