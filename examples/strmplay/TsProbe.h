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
  bool ok = false;  // a transport stream with a video PID
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
  bool spsFound = false;
  int width = 0;
  int height = 0;

  double PcrSpanSeconds() const {
    return pcrCount > 1 ? static_cast<double>(lastPcr - firstPcr) / 27000000.0 : 0.0;
  }
};

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
