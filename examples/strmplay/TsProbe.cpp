#include "TsProbe.h"

#include "Bitstream.h"
#include "H264_SyntaxReader.h"

namespace strmplay {

using strmcommon::BitstreamReader;

namespace {

constexpr int kPacketSize = 188;

// Start of a PSI section inside a payload that begins a section (pointer field first).
bool SectionStart(const std::uint8_t* payload, int size, const std::uint8_t*& section,
                  int& sectionSize) {
  if (size < 1 || 1 + payload[0] >= size) return false;
  section = payload + 1 + payload[0];
  sectionSize = size - 1 - payload[0];
  return sectionSize >= 8;
}

struct Profile {
  int idc;
  const char* name;
  bool misread;  // carries the chroma fields, and the library's parser skips them
};

constexpr Profile kProfiles[] = {
    {66, "Baseline", false},
    {77, "Main", false},
    {88, "Extended", false},
    {100, "High", false},
    {110, "High 10", false},
    {122, "High 4:2:2", false},
    {144, "High 4:4:4", false},
    {244, "High 4:4:4 Predictive", true},
    {44, "CAVLC 4:4:4 Intra", true},
    {83, "Scalable Baseline", true},
    {86, "Scalable High", true},
    {118, "Multiview High", true},
    {128, "Stereo High", true},
    {138, "Multiview Depth High", true},
    {139, "Enhanced Multiview Depth High", true},
    {134, "MFC High", true},
    {135, "MFC Depth High", true},
};

}  // namespace

bool SpsProfileMisread(int profileIdc) {
  for (const auto& p : kProfiles) {
    if (p.idc == profileIdc) return p.misread;
  }
  return false;
}

std::string SpsProfileName(int profileIdc) {
  for (const auto& p : kProfiles) {
    if (p.idc == profileIdc) return p.name;
  }
  return "profile " + std::to_string(profileIdc);
}

void TsProbe::ReadPat(const std::uint8_t* section, int size) {
  BitstreamReader r;
  r.Reset(const_cast<std::uint8_t*>(section), size);
  unsigned int tableId = 0xFF, length = 0;
  r.GetBits(8, tableId);
  r.SkipBits(4);
  r.GetBits(12, length);
  if (tableId != 0) return;
  r.SkipBytes(5);  // transport_stream_id, version, section numbers
  // Entries up to the CRC: 4 bytes each.
  const int entries = (static_cast<int>(length) - 5 - 4) / 4;
  for (int i = 0; i < entries; ++i) {
    unsigned int program = 0, pid = 0x1FFF;
    r.GetBits(16, program);
    r.SkipBits(3);
    r.GetBits(13, pid);
    if (program != 0) m_program.SetPmtInfo(static_cast<int>(pid));
  }
}

void TsProbe::ReadPmt(const std::uint8_t* section, int size, ProbeResult& result) {
  BitstreamReader r;
  r.Reset(const_cast<std::uint8_t*>(section), size);
  unsigned int tableId = 0xFF, length = 0, pcrPid = 0x1FFF, infoLength = 0;
  r.GetBits(8, tableId);
  r.SkipBits(4);
  r.GetBits(12, length);
  if (tableId != 2) return;
  r.SkipBytes(5);  // program_number, version, section numbers
  r.SkipBits(3);
  r.GetBits(13, pcrPid);
  r.SkipBits(4);
  r.GetBits(12, infoLength);
  if (infoLength > 0) r.SkipBytes(static_cast<int>(infoLength));
  m_pcrPid = static_cast<int>(pcrPid);
  int left = static_cast<int>(length) - 9 - static_cast<int>(infoLength) - 4;
  while (left >= 5) {
    unsigned int streamType = 0, pid = 0x1FFF, esInfoLength = 0;
    r.GetBits(8, streamType);
    r.SkipBits(3);
    r.GetBits(13, pid);
    r.SkipBits(4);
    r.GetBits(12, esInfoLength);
    if (esInfoLength > 0) r.SkipBytes(static_cast<int>(esInfoLength));
    left -= 5 + static_cast<int>(esInfoLength);
    const bool hasPcr = static_cast<int>(pid) == m_pcrPid;
    if (streamType == 0x1B) {  // H.264 video
      m_program.UpdateEsInfo(static_cast<int>(pid), strmcommon::kStreamVideo, hasPcr);
    } else if (streamType == 0x0F || streamType == 0x03 || streamType == 0x04) {  // AAC, MPEG audio
      m_program.UpdateEsInfo(static_cast<int>(pid), strmcommon::kStreamAudio,
                             strmcommon::kStreamAudio, hasPcr);
      m_audioPid = static_cast<int>(pid);
    }
  }
  result.pcrPid = m_pcrPid;
}

ProbeResult TsProbe::Probe(const std::vector<std::uint8_t>& segment) {
  ProbeResult result;
  if (segment.size() < kPacketSize || segment[0] != 0x47) {
    result.error = "not a transport stream";
    return result;
  }
  strmcommon::H264HeaderParser parser;
  parser.Reset();
  std::vector<std::uint8_t> es;  // video elementary stream bytes, until the SPS is parsed
  long long spsStart = -1;
  bool spsUnparsed = false;  // an SPS was seen that gave no picture size

  for (std::size_t off = 0; off + kPacketSize <= segment.size(); off += kPacketSize) {
    const std::uint8_t* p = segment.data() + off;
    if (p[0] != 0x47) {
      result.error = "lost packet sync at byte " + std::to_string(off);
      return result;
    }
    ++result.packets;
    BitstreamReader r;
    r.Reset(const_cast<std::uint8_t*>(p), kPacketSize);
    unsigned int sync = 0, tei = 0, pusi = 0, priority = 0, pid = 0x1FFF, scrambling = 0, afc = 0,
                 cc = 0;
    r.GetBits(8, sync);
    r.GetBits(1, tei);
    r.GetBits(1, pusi);
    r.GetBits(1, priority);
    r.GetBits(13, pid);
    r.GetBits(2, scrambling);
    r.GetBits(2, afc);
    r.GetBits(4, cc);
    int payload = 4;
    if (afc & 2) {
      unsigned int afLength = 0;
      r.GetBits(8, afLength);
      payload = 5 + static_cast<int>(afLength);
      if (afLength > 0) {
        unsigned int flags = 0;
        r.GetBits(8, flags);
        if ((flags & 0x10) && afLength >= 7) {
          const unsigned long long pcr = strmcommon::IPacketProcessor::ReadPcrField(r);
          if (static_cast<int>(pid) == m_pcrPid || m_program.HasPcr(static_cast<int>(pid))) {
            if (result.pcrCount == 0) result.firstPcr = pcr;
            result.lastPcr = pcr;
            ++result.pcrCount;
          }
        }
      }
    }
    if (!(afc & 1) || payload >= kPacketSize) continue;
    const std::uint8_t* data = p + payload;
    const int size = kPacketSize - payload;

    if (pid == 0 && pusi) {
      const std::uint8_t* section;
      int sectionSize;
      if (SectionStart(data, size, section, sectionSize)) ReadPat(section, sectionSize);
      continue;
    }
    if (pusi && m_program.GetEsInfo(static_cast<int>(pid)) != nullptr &&
        !m_program.IsElementary(static_cast<int>(pid))) {
      const std::uint8_t* section;
      int sectionSize;
      if (SectionStart(data, size, section, sectionSize)) ReadPmt(section, sectionSize, result);
      continue;
    }
    if (!m_program.IsVideo(static_cast<int>(pid))) continue;

    const int last = m_program.GetEsCounter(static_cast<int>(pid));
    if (last >= 0 && ((last + 1) & 0x0F) != static_cast<int>(cc)) ++result.continuityErrors;
    m_program.SetEsCount(static_cast<int>(pid), static_cast<int>(cc));

    if (result.spsFound || result.spsUnreadable) continue;
    int esOffset = 0;
    if (pusi) {
      // PES header: start code, stream id, length, two flag bytes, header data length.
      if (size < 9 || data[0] != 0 || data[1] != 0 || data[2] != 1) continue;
      esOffset = 9 + data[8];
      if (esOffset >= size) continue;
    } else if (es.empty()) {
      continue;  // wait for the start of a PES packet
    }
    const std::size_t chunkStart = es.size();
    es.insert(es.end(), data + esOffset, data + size);
    if (spsStart < 0) {
      const int found =
          parser.ParseHeader(es.data() + chunkStart, static_cast<int>(es.size() - chunkStart));
      if (found == 1) {
        spsStart = static_cast<long long>(chunkStart) + parser.GetSpsOffet() + 1;
        if (static_cast<std::size_t>(spsStart) < es.size()) {
          result.spsProfile = es[static_cast<std::size_t>(spsStart)];
          if (SpsProfileMisread(result.spsProfile)) {
            result.spsUnreadable = true;
            es.clear();
            continue;
          }
        }
      } else if (found == 2) {
        es.clear();  // a slice came before any SPS: try again at the next PES packet
        parser.Reset();
      }
    }
    // An SPS is a few dozen bytes; parse once enough has arrived.
    if (spsStart >= 0 && es.size() - static_cast<std::size_t>(spsStart) >= 64) {
      strmcommon::H264SequenceSetParse sps{};
      if (parser.ParseSPS(es.data() + spsStart, static_cast<int>(es.size() - spsStart), sps) &&
          parser.CalcResolution(sps, result.width, result.height)) {
        result.spsFound = true;
      }
      if (!result.spsFound) {
        spsUnparsed = true;
        spsStart = -1;  // unreadable: look for the next SPS
        parser.Reset();
      }
      es.clear();
    }
  }
  if (!result.spsFound && !result.spsUnreadable && spsStart >= 0 &&
      es.size() > static_cast<std::size_t>(spsStart)) {
    strmcommon::H264SequenceSetParse sps{};
    if (parser.ParseSPS(es.data() + spsStart, static_cast<int>(es.size() - spsStart), sps) &&
        parser.CalcResolution(sps, result.width, result.height)) {
      result.spsFound = true;
    } else {
      result.spsUnreadable = true;
    }
  }
  if (spsUnparsed && !result.spsFound) result.spsUnreadable = true;
  if (!result.spsFound) result.width = result.height = 0;
  result.transportStream = true;
  result.pmtPid = m_program.m_pmtPid == 0xFFFF ? -1 : m_program.m_pmtPid;
  result.videoPid = m_program.m_videoPid == 0xFFFF ? -1 : m_program.m_videoPid;
  result.audioPid = m_audioPid;
  result.ok = result.videoPid >= 0;
  if (!result.ok && result.error.empty()) result.error = "no H.264 video PID in the PMT";
  return result;
}

}  // namespace strmplay
