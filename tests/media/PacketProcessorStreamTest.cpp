// Program data and packet edits on transport streams muxed by ffmpeg.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "MediaSamples.h"
#include "PacketProcessor.h"

using strmcommon::BitstreamReader;
using strmcommon::CArray;
using strmcommon::EsInfo;
using strmcommon::IPacketProcessor;
using strmcommon::kStreamAudio;
using strmcommon::kStreamMain;
using strmcommon::kStreamVideo;
using strmcommon::TsProcessData;
using TsPacket = CArray<unsigned char, 188>;

namespace {

std::vector<TsPacket> ReadPackets(const std::string& name) {
  std::vector<unsigned char> bytes = mediatest::ReadSample(name + ".ts");
  std::vector<TsPacket> packets(bytes.size() / 188);
  for (size_t i = 0; i < packets.size(); ++i) memcpy(packets[i].Data(), &bytes[i * 188], 188);
  return packets;
}

int PidOf(const TsPacket& p) { return ((p[1] & 0x1F) << 8) | p[2]; }
bool HasAdaptation(const TsPacket& p) { return (p[3] & 0x20) != 0; }
bool HasPayload(const TsPacket& p) { return (p[3] & 0x10) != 0; }
bool HasPcrFlag(const TsPacket& p) { return HasAdaptation(p) && p[4] >= 7 && (p[5] & 0x10); }

int ProbeHexPid(std::map<std::string, std::string>& probe, int stream) {
  return std::stoi(probe["streams.stream." + std::to_string(stream) + ".id"], nullptr, 16);
}

// The PID of the first program's PMT, from the first PAT packet.
int PmtPidFromPat(const std::vector<TsPacket>& packets) {
  for (const TsPacket& p : packets) {
    if (PidOf(p) != 0 || !(p[1] & 0x40)) continue;
    const unsigned char* section = &p[5] + p[4];  // after the pointer field
    const unsigned char* program = section + 8;   // first entry of the program loop
    return ((program[2] & 0x1F) << 8) | program[3];
  }
  return -1;
}

class TsStream : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    packets = ReadPackets(GetParam());
    probe = mediatest::ReadProbe(GetParam());
    ASSERT_GT(packets.size(), 100u);
    ASSERT_EQ(probe["streams.stream.0.codec_type"], "video");
    ASSERT_EQ(probe["streams.stream.1.codec_type"], "audio");
    videoPid = ProbeHexPid(probe, 0);
    audioPid = ProbeHexPid(probe, 1);
  }
  std::vector<TsPacket> packets;
  std::map<std::string, std::string> probe;
  int videoPid = 0;
  int audioPid = 0;
};

TEST_P(TsStream, PacketsCarryTheElementaryPidsFfprobeReports) {
  std::map<int, int> counts;
  for (const TsPacket& p : packets) {
    ASSERT_EQ(p[0], 0x47);
    if (HasPayload(p) && (p[1] & 0x40)) ++counts[PidOf(p)];  // payload unit starts
  }
  // One PES packet per frame for video; ffprobe counted the same.
  EXPECT_EQ(std::to_string(counts[videoPid]), probe["streams.stream.0.nb_read_packets"]);
  EXPECT_GT(counts[audioPid], 0);
}

TEST_P(TsStream, ReadPcrFieldMatchesTheFieldWithSixExtensionBits) {
  int pcrs = 0;
  unsigned long long previous = 0;
  for (const TsPacket& p : packets) {
    if (!HasPcrFlag(p)) continue;
    EXPECT_EQ(PidOf(p), videoPid);
    const unsigned char* f = &p[6];
    unsigned long long base = (static_cast<unsigned long long>(f[0]) << 25) |
                              (static_cast<unsigned long long>(f[1]) << 17) | (f[2] << 9) |
                              (f[3] << 1) | (f[4] >> 7);
    unsigned int reserved = (f[4] >> 1) & 0x3F;
    unsigned int extension = ((f[4] & 1) << 8) | f[5];
    ASSERT_EQ(reserved, 0x3Fu);
    unsigned long long full = base * 300 + extension;  // what the standard means
    // Intended: only the top six of the nine extension bits, added with their weight unchanged.
    unsigned long long expected = base * 300 + (extension >> 3);

    BitstreamReader reader;
    reader.Reset(const_cast<unsigned char*>(f), 188 - 6);
    unsigned long long pcr = IPacketProcessor::ReadPcrField(reader);
    EXPECT_EQ(pcr, expected);
    unsigned int low3 = 0xFF;
    reader.GetBits(3, low3);
    EXPECT_EQ(low3, extension & 7);
    EXPECT_GE(full, previous);
    previous = full;
    ++pcrs;
  }
  EXPECT_GT(pcrs, 5);
}

TEST_P(TsStream, ContinuityCountersOfTheSourceFollowIncreaseCounter) {
  std::map<int, TsPacket> last;
  int checked = 0;
  for (const TsPacket& p : packets) {
    int pid = PidOf(p);
    if (pid == 0x1FFF || !HasPayload(p)) continue;
    auto it = last.find(pid);
    if (it != last.end()) {
      TsPacket next = it->second;
      IPacketProcessor::IncreaseCounter(next);
      EXPECT_EQ(next[3] & 0x0F, p[3] & 0x0F) << "pid " << pid;
      EXPECT_EQ(next[3] & 0xF0, it->second[3] & 0xF0);
      ++checked;
    }
    last[pid] = p;
  }
  EXPECT_GT(checked, 100);
}

TEST_P(TsStream, RewritingPidsAndCountersChangesOnlyThoseBits) {
  const int pmtPid = PmtPidFromPat(packets);
  ASSERT_GT(pmtPid, 0);
  TsProcessData data;
  data.SetPmtInfo(pmtPid);
  data.UpdateEsInfo(videoPid, kStreamMain, kStreamVideo, true);
  data.UpdateEsInfo(audioPid, kStreamAudio, kStreamAudio, false);
  EXPECT_EQ(data.m_pmtPid, pmtPid);
  EXPECT_EQ(data.m_videoPid, videoPid);
  EXPECT_EQ(data.m_audioPid, audioPid);
  EXPECT_TRUE(data.IsVideo(videoPid));
  EXPECT_TRUE(data.HasPcr(videoPid));
  EXPECT_TRUE(data.IsAudio(audioPid));
  EXPECT_FALSE(data.IsElementary(pmtPid));

  // The engine's remapping: new PIDs in the records, original PIDs kept in pidOrg.
  const std::map<int, int> remap = {{videoPid, 0x0A00}, {audioPid, 0x0A01}, {pmtPid, 0x0B00}};
  for (const auto& [from, to] : remap) data.GetEsInfo(from)->pid = static_cast<uint16_t>(to);

  std::vector<TsPacket> out = packets;
  for (TsPacket& p : out) {
    EsInfo* info = data.GetEsInfo(PidOf(p));
    if (info == nullptr) continue;
    IPacketProcessor::ChangePid(p, info->pid);
    int counter = data.GetEsCounter(PidOf(packets[&p - out.data()]));
    IPacketProcessor::UpdateCounter(p, counter);
    data.SetEsCount(PidOf(packets[&p - out.data()]), counter);
  }

  // Independent check, packet by packet.
  std::map<int, int> nextCounter;
  int rewritten = 0;
  for (size_t i = 0; i < packets.size(); ++i) {
    const TsPacket& in = packets[i];
    const TsPacket& got = out[i];
    int pid = PidOf(in);
    auto it = remap.find(pid);
    if (it == remap.end()) {
      EXPECT_EQ(0, memcmp(in.Data(), got.Data(), 188)) << "packet " << i << " pid " << pid;
      continue;
    }
    ++rewritten;
    EXPECT_EQ(got[0], 0x47);
    EXPECT_EQ(got[1] & 0xE0, in[1] & 0xE0) << "packet " << i;
    EXPECT_EQ(PidOf(got), it->second) << "packet " << i;
    EXPECT_EQ(got[3] & 0xF0, in[3] & 0xF0) << "packet " << i;
    int& cc = nextCounter[pid];
    EXPECT_EQ(got[3] & 0x0F, cc) << "packet " << i;
    cc = (cc + 1) & 0x0F;
    EXPECT_EQ(0, memcmp(in.Data() + 4, got.Data() + 4, 184)) << "packet " << i;
    EXPECT_EQ(data.GetPidOrg(pid), pid);
  }
  EXPECT_GT(rewritten, 100);
  for (const auto& [pid, cc] : nextCounter) {
    EXPECT_EQ(data.GetEsCounter(pid), (cc + 15) & 0x0F) << "pid " << pid;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, TsStream, ::testing::Values("av_320x240", "av_320x240_cbr"));

TEST(TsStreamSamples, ConstantRateSampleHasNullPacketsAndAdaptationOnlyPcrPackets) {
  // Guards the sample set: the second file must keep the cases it is there for.
  // Its PCRs come from the mux clock, so their extensions have low bits that the six-bit read
  // leaves out (ffmpeg's variable-rate PCRs have extension 0).
  std::vector<TsPacket> packets = ReadPackets("av_320x240_cbr");
  int nulls = 0, pcrOnly = 0, lowExtensionBits = 0;
  for (const TsPacket& p : packets) {
    if (PidOf(p) == 0x1FFF) ++nulls;
    if (HasPcrFlag(p) && !HasPayload(p)) ++pcrOnly;
    if (HasPcrFlag(p) && (p[11] & 0x07) != 0) ++lowExtensionBits;
  }
  EXPECT_GT(nulls, 0);
  EXPECT_GT(pcrOnly, 0);
  EXPECT_GT(lowExtensionBits, 0);
}

}  // namespace
