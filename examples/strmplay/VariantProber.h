// After playback, a look at the variants that were not played: the first bytes of their first
// segment (a short byte range, or a transfer cut off where the server ignores ranges) are enough
// for the program tables and the SPS, without downloading whole segments.
#pragma once

#include <cstddef>
#include <string>

#include "Fetcher.h"
#include "Playlist.h"
#include "SegmentDecryptor.h"
#include "TsProbe.h"

namespace strmplay {

// Bytes fetched for a probe.
constexpr std::size_t kProbeBytes = 64 * 1024;

class VariantProber {
 public:
  VariantProber(Fetcher& fetcher, SegmentDecryptor& decryptor);

  // Probes the segment of the playlist at playlistUrl (the URL its body came from). False with a
  // reason when the bytes cannot be had or decrypted; bytes tells how many were fetched.
  bool Probe(const std::string& playlistUrl, const Segment& segment, ProbeResult& result,
             std::size_t& bytes, std::string& error);

 private:
  Fetcher& m_fetcher;
  SegmentDecryptor& m_decryptor;
};

}  // namespace strmplay
