// Looks into a transport stream segment the way a demultiplexer would: PAT and PMT into the
// library's TsProcessData, PCRs through IPacketProcessor, and the H.264 SPS through
// H264HeaderParser, which gives the picture size.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "PacketProcessor.h"

namespace strmplay {

struct ProbeResult {
  bool ok = false;               // a transport stream with a video PID
  bool transportStream = false;  // 188-byte packets in sync from the first to the last
  std::string error;
  int packets = 0;
  int pmtPid = -1;
  int videoPid = -1;
  int audioPid = -1;
  int pcrPid = -1;
  int pcrCount = 0;
  unsigned long long firstPcr = 0;  // 27 MHz ticks
  unsigned long long lastPcr = 0;
  int continuityErrors = 0;  // on the video PID
  bool spsFound = false;     // an SPS whose picture size the library's parser reads
  int width = 0;
  int height = 0;
  int spsProfile = -1;         // profile_idc of the first SPS seen, -1 when none was seen
  bool spsUnreadable = false;  // an SPS was seen, but its picture size cannot be had from it

  double PcrSpanSeconds() const {
    return pcrCount > 1 ? static_cast<double>(lastPcr - firstPcr) / 27000000.0 : 0.0;
  }
};

// True for the H.264 profiles whose SPS carries the chroma format and scaling fields in front of
// the picture size, but which the library's SPS parser reads as if it did not: it reads those
// fields for profiles 100, 110, 122 and 144 only, so for these the size it gives is wrong.
bool SpsProfileMisread(int profileIdc);
// "High 4:4:4 Predictive" for 244; "profile 7" for a number without a name here.
std::string SpsProfileName(int profileIdc);

class TsProbe {
 public:
  // One probe per variant: the program table carries the PIDs from segment to segment.
  ProbeResult Probe(const std::vector<std::uint8_t>& segment);

 private:
  void ReadPat(const std::uint8_t* section, int size);
  void ReadPmt(const std::uint8_t* section, int size, ProbeResult& result);

  strmcommon::TsProcessData m_program;
  int m_pcrPid = -1;
  int m_audioPid = -1;
};

}  // namespace strmplay
