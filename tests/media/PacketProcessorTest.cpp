#include <gtest/gtest.h>

#include <vector>

#include "PacketProcessor.h"

using strmcommon::BitstreamReader;
using strmcommon::CArray;
using strmcommon::EsInfo;
using strmcommon::IPacketProcessor;
using strmcommon::kStreamAudio;
using strmcommon::kStreamMain;
using strmcommon::kStreamNone;
using strmcommon::kStreamVideo;
using strmcommon::TsProcessData;
using TsPacket = CArray<unsigned char, 188>;

namespace {

int Slot(int pid) { return ((static_cast<short>(pid) >> 6) ^ pid) & 0x3F; }

// PIDs that hash to the given slot, in increasing order.
std::vector<int> PidsInSlot(int slot, size_t count) {
  std::vector<int> pids;
  for (int pid = 0; pid < 0x2000 && pids.size() < count; ++pid) {
    if (Slot(pid) == slot) pids.push_back(pid);
  }
  return pids;
}

// Bytes between two neighbouring table entries.
long EntryStride() {
  TsProcessData d;
  EsInfo* first = d.PutEsInfo(PidsInSlot(10, 1)[0]);
  EsInfo* second = d.PutEsInfo(PidsInSlot(11, 1)[0]);
  return reinterpret_cast<char*>(second) - reinterpret_cast<char*>(first);
}

}  // namespace

// ---- CArray and records ----

TEST(CArray, HoldsItsElementsInlineElementZeroFirst) {
  TsPacket p;
  static_assert(sizeof(TsPacket) == 188, "one transport packet, nothing else");
  static_assert(TsPacket::Size() == 188, "");
  p[0] = 0x47;
  p[187] = 0x11;
  EXPECT_EQ(p.Data()[0], 0x47);
  EXPECT_EQ(p.Data()[187], 0x11);
}

TEST(StreamType, ValuesAreFixed) {
  EXPECT_EQ(kStreamNone, 0);
  EXPECT_EQ(kStreamMain, 1);
  EXPECT_EQ(kStreamVideo, 2);
  EXPECT_EQ(kStreamAudio, 3);
  static_assert(sizeof(strmcommon::StreamType) == 4, "");
}

// ---- TsProcessData ----

TEST(TsProcessData, StartsWithEmptyProgramState) {
  TsProcessData d;
  EXPECT_EQ(d.m_pmtPid, 0xFFFF);
  EXPECT_EQ(d.m_videoPid, 0xFFFF);
  EXPECT_EQ(d.m_audioPmtPid, 0xFFFF);
  EXPECT_EQ(d.m_audioPid, 0xFFFF);
  EXPECT_EQ(d.m_patPacket[0], 0);
  EXPECT_EQ(d.m_pmtPacket[0], 0);
  EXPECT_EQ(d.m_audioPatPacket[0], 0);
  EXPECT_EQ(d.m_audioPmtPacket[0], 0);
  EXPECT_EQ(d.GetEsInfo(0x100), nullptr);
}

TEST(TsProcessData, PidsSharingASlotGoToNeighbouringEntriesAndAreBothFound) {
  ASSERT_EQ(Slot(0x0100), 4);
  ASSERT_EQ(Slot(0x0141), 4);
  TsProcessData d;
  EsInfo* a = d.PutEsInfo(0x0100);
  EsInfo* b = d.PutEsInfo(0x0141);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(reinterpret_cast<char*>(b) - reinterpret_cast<char*>(a), EntryStride());
  EXPECT_EQ(d.GetEsInfo(0x0100), a);
  EXPECT_EQ(d.GetEsInfo(0x0141), b);
}

TEST(TsProcessData, PutEsInfoWritesOnlyTheKey) {
  TsProcessData d;
  EsInfo* e = d.PutEsInfo(0x123);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->pid, 0xFFFF);
  EXPECT_EQ(e->pidOrg, -1);
  EXPECT_EQ(e->counter, -1);
  EXPECT_EQ(e->type, kStreamNone);
  EXPECT_FALSE(e->hasPcr);
}

TEST(TsProcessData, PutEsInfoMakesNoDuplicateCheck) {
  TsProcessData d;
  EsInfo* a = d.PutEsInfo(0x200);
  EsInfo* b = d.PutEsInfo(0x200);
  EXPECT_NE(a, b);
  EXPECT_EQ(d.GetEsInfo(0x200), a);
}

TEST(TsProcessData, FreeEntryIsFoundAsPidMinusOne) {
  TsProcessData d;
  d.PutEsInfo(PidsInSlot(0, 1)[0]);  // entry 0 taken
  EsInfo* e = d.GetEsInfo(-1);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(reinterpret_cast<char*>(e) - reinterpret_cast<char*>(d.GetEsInfo(PidsInSlot(0, 1)[0])),
            EntryStride());
}

TEST(TsProcessData, KeysAreComparedSignExtended) {
  TsProcessData d;
  ASSERT_NE(d.PutEsInfo(0x8001), nullptr);
  EXPECT_EQ(d.GetEsInfo(0x8001), nullptr);
  EXPECT_NE(d.GetEsInfo(static_cast<short>(0x8001)), nullptr);
}

TEST(TsProcessData, ProbingDoesNotWrapSoSlot63HasThirtySevenEntries) {
  TsProcessData d;
  std::vector<int> pids = PidsInSlot(63, 38);
  ASSERT_EQ(pids.size(), 38u);
  for (int i = 0; i < 37; ++i) {
    ASSERT_NE(d.PutEsInfo(pids[i]), nullptr) << i;
  }
  EXPECT_EQ(d.PutEsInfo(pids[37]), nullptr);
  EXPECT_NE(d.PutEsInfo(PidsInSlot(0, 1)[0]), nullptr);  // entries below 63 are still free
  d.UpdateEsInfo(pids[37], kStreamVideo, true);          // lost, but the video PID is still set
  EXPECT_EQ(d.GetEsInfo(pids[37]), nullptr);
  EXPECT_EQ(d.m_videoPid, pids[37]);
  for (int i = 0; i < 37; ++i) EXPECT_NE(d.GetEsInfo(pids[i]), nullptr);
}

TEST(TsProcessData, EntriesAbove63AreReachedOnlyByProbing) {
  TsProcessData d;
  for (int pid = 0; pid < 0x2000; ++pid) EXPECT_LT(Slot(pid), 64);
  std::vector<int> pids = PidsInSlot(62, 3);
  for (int pid : pids) ASSERT_NE(d.PutEsInfo(pid), nullptr);
  EsInfo* last = d.GetEsInfo(pids[2]);
  EsInfo* first = d.GetEsInfo(pids[0]);
  EXPECT_EQ(reinterpret_cast<char*>(last) - reinterpret_cast<char*>(first), 2 * EntryStride());
}

TEST(TsProcessData, UnknownPidsGiveDefaults) {
  TsProcessData d;
  EXPECT_EQ(d.GetEsCounter(0x44), -1);
  EXPECT_EQ(d.GetPidOrg(0x123), 0x123);
  EXPECT_FALSE(d.IsElementary(0x44));
  EXPECT_FALSE(d.IsVideo(0x44));
  EXPECT_FALSE(d.IsAudio(0x44));
  EXPECT_FALSE(d.HasPcr(0x44));
  d.SetEsCount(0x44, 3);
  EXPECT_EQ(d.GetEsInfo(0x44), nullptr);
}

TEST(TsProcessData, CounterOfAKnownPidIsMinusOneUntilSet) {
  TsProcessData d;
  d.UpdateEsInfo(0x101, kStreamAudio, false);
  EXPECT_EQ(d.GetEsCounter(0x101), -1);
  d.SetEsCount(0x101, 9);
  EXPECT_EQ(d.GetEsCounter(0x101), 9);
  d.SetEsCount(0x101, 0x12345);  // low 16 bits kept
  EXPECT_EQ(d.GetEsCounter(0x101), 0x2345);
  d.SetEsCount(0x101, 0xFFFF);
  EXPECT_EQ(d.GetEsCounter(0x101), -1);
}

TEST(TsProcessData, UpdateEsInfoFillsANewRecord) {
  TsProcessData d;
  d.UpdateEsInfo(0x100, kStreamVideo, true);
  EsInfo* e = d.GetEsInfo(0x100);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->pid, 0x100);
  EXPECT_EQ(e->pidOrg, 0x100);
  EXPECT_EQ(e->type, kStreamVideo);
  EXPECT_TRUE(e->hasPcr);
  EXPECT_TRUE(d.IsElementary(0x100));
  EXPECT_TRUE(d.IsVideo(0x100));
  EXPECT_FALSE(d.IsAudio(0x100));
  EXPECT_TRUE(d.HasPcr(0x100));
}

TEST(TsProcessData, UpdateEsInfoOverwritesTypeAndPcrOfAKnownPid) {
  TsProcessData d;
  d.UpdateEsInfo(0x100, kStreamVideo, true);
  d.UpdateEsInfo(0x100, kStreamAudio, false);
  EXPECT_TRUE(d.IsAudio(0x100));
  EXPECT_FALSE(d.HasPcr(0x100));
  EXPECT_EQ(d.m_videoPid, 0x100);  // set by the first call, left by the second
}

TEST(TsProcessData, ThreeArgumentUpdateSetsVideoPidButNeverAudioPid) {
  TsProcessData d;
  d.UpdateEsInfo(0x100, kStreamVideo, true);
  EXPECT_EQ(d.m_videoPid, 0x100);
  d.UpdateEsInfo(0x101, kStreamAudio, true);
  EXPECT_EQ(d.m_audioPid, 0xFFFF);
  EXPECT_TRUE(d.IsAudio(0x101));
}

TEST(TsProcessData, FourArgumentUpdateSetsAudioPidOnlyForAudioAudio) {
  TsProcessData d;
  d.UpdateEsInfo(0x101, kStreamMain, kStreamAudio, false);
  EXPECT_EQ(d.m_audioPid, 0xFFFF);
  d.UpdateEsInfo(0x102, kStreamAudio, kStreamVideo, false);
  EXPECT_EQ(d.m_videoPid, 0xFFFF);
  EXPECT_EQ(d.m_audioPid, 0xFFFF);
  d.UpdateEsInfo(0x103, kStreamAudio, kStreamAudio, false);
  EXPECT_EQ(d.m_audioPid, 0x103);
  d.UpdateEsInfo(0x104, kStreamMain, kStreamVideo, true);
  EXPECT_EQ(d.m_videoPid, 0x104);
  EXPECT_TRUE(d.IsVideo(0x104));
  EXPECT_TRUE(d.IsVideo(0x102));  // the type is stored whatever the kind
}

TEST(TsProcessData, SetPmtInfoStoresAPmtEntryThatIsNotElementary) {
  TsProcessData d;
  d.SetPmtInfo(0x1000);
  EXPECT_EQ(d.m_pmtPid, 0x1000);
  EsInfo* e = d.GetEsInfo(0x1000);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->pid, 0x1000);
  EXPECT_EQ(e->pidOrg, 0x1000);
  EXPECT_EQ(e->type, kStreamNone);
  EXPECT_FALSE(d.IsElementary(0x1000));
}

TEST(TsProcessData, SetPmtInfoTwiceWithTwoPidsKeepsBothAndTheSecondPid) {
  TsProcessData d;
  d.SetPmtInfo(0x1000);
  d.SetPmtInfo(0x1001);
  EXPECT_NE(d.GetEsInfo(0x1000), nullptr);
  EXPECT_NE(d.GetEsInfo(0x1001), nullptr);
  EXPECT_EQ(d.m_pmtPid, 0x1001);
}

TEST(TsProcessData, SetPmtInfoOfAKnownPidChangesNothing) {
  TsProcessData d;
  d.SetPmtInfo(0x1000);
  d.SetPmtInfo(0x1001);
  d.SetPmtInfo(0x1000);
  EXPECT_EQ(d.m_pmtPid, 0x1001);
  d.UpdateEsInfo(0x100, kStreamVideo, true);
  d.SetPmtInfo(0x100);
  EXPECT_EQ(d.m_pmtPid, 0x1001);
  EXPECT_TRUE(d.IsVideo(0x100));
}

TEST(TsProcessData, SetAudioPmtInfoUsesTheAudioPmtPid) {
  TsProcessData d;
  d.SetAudioPmtInfo(0x1100);
  EXPECT_EQ(d.m_audioPmtPid, 0x1100);
  EXPECT_EQ(d.m_pmtPid, 0xFFFF);
  EXPECT_EQ(d.GetPidOrg(0x1100), 0x1100);
  d.SetAudioPmtInfo(0x1100);
  d.SetAudioPmtInfo(0x1101);
  EXPECT_EQ(d.m_audioPmtPid, 0x1101);
}

TEST(TsProcessData, UpdateOnAPmtEntryKeepsItsOriginalPid) {
  TsProcessData d;
  d.SetPmtInfo(0x1000);
  EsInfo* e = d.GetEsInfo(0x1000);
  e->pidOrg = 0x0ABC;  // as the engine records a remapped PID
  d.UpdateEsInfo(0x1000, kStreamAudio, false);
  EXPECT_EQ(d.GetPidOrg(0x1000), 0x0ABC);
  EXPECT_TRUE(d.IsAudio(0x1000));
}

TEST(TsProcessData, UpdateSetsTheOriginalPidWhenItIsStillUnset) {
  TsProcessData d;
  ASSERT_NE(d.PutEsInfo(0x300), nullptr);
  d.UpdateEsInfo(0x300, kStreamVideo, false);
  EXPECT_EQ(d.GetPidOrg(0x300), 0x300);
  EXPECT_EQ(d.GetEsInfo(0x300)->pid, 0x300);
}

TEST(TsProcessData, FullTableLosesPmtEntryButKeepsThePmtPid) {
  TsProcessData d;
  std::vector<int> pids = PidsInSlot(63, 38);
  for (int i = 0; i < 37; ++i) d.PutEsInfo(pids[i]);
  d.SetPmtInfo(pids[37]);
  EXPECT_EQ(d.m_pmtPid, pids[37]);
  EXPECT_EQ(d.GetEsInfo(pids[37]), nullptr);
}

// ---- IPacketProcessor ----

TEST(IPacketProcessor, ChangePidWritesThirteenBitsAndKeepsTheFlags) {
  TsPacket p{};
  p[1] = 0xE0 | 0x01;
  p[2] = 0x00;
  IPacketProcessor::ChangePid(p, 0x1ABC);
  EXPECT_EQ(p[1], 0xE0 | 0x1A);
  EXPECT_EQ(p[2], 0xBC);
  p[1] = 0x40;
  IPacketProcessor::ChangePid(p, 0x0101);
  EXPECT_EQ(p[1], 0x41);
  EXPECT_EQ(p[2], 0x01);
}

TEST(IPacketProcessor, ChangePidAbove1FFFLosesTheExcessBits) {
  TsPacket p{};
  p[1] = 0xA0;
  IPacketProcessor::ChangePid(p, 0xE123);
  EXPECT_EQ(p[1], 0xA0 | 0x01);
  EXPECT_EQ(p[2], 0x23);
}

TEST(IPacketProcessor, IncreaseCounterWrapsInTheLowNibble) {
  TsPacket p{};
  p[3] = 0x1F;
  IPacketProcessor::IncreaseCounter(p);
  EXPECT_EQ(p[3], 0x10);
  p[3] = 0x35;
  IPacketProcessor::IncreaseCounter(p);
  EXPECT_EQ(p[3], 0x36);
}

TEST(IPacketProcessor, UpdateCounterReplacesTheCounterWithTheRunningSuccessor) {
  TsPacket p{};
  p[3] = 0x3A;
  int counter = -1;
  IPacketProcessor::UpdateCounter(p, counter);
  EXPECT_EQ(counter, 0);
  EXPECT_EQ(p[3], 0x30);
  counter = 15;
  IPacketProcessor::UpdateCounter(p, counter);
  EXPECT_EQ(counter, 0);
  counter = 0x1F4;  // only the low byte counts: 0xF4 + 1 -> 5
  IPacketProcessor::UpdateCounter(p, counter);
  EXPECT_EQ(counter, 5);
  EXPECT_EQ(p[3], 0x35);
}

namespace {

// A PCR field: 33-bit base, 6 reserved bits, 9-bit extension, then a marker byte.
std::vector<unsigned char> PcrBytes(unsigned long long base, unsigned int reserved,
                                    unsigned int extension) {
  unsigned long long v =
      (base << 15) | (static_cast<unsigned long long>(reserved) << 9) | extension;
  std::vector<unsigned char> bytes;
  for (int i = 5; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(v >> (8 * i)));
  bytes.push_back(0xA5);
  return bytes;
}

}  // namespace

TEST(IPacketProcessor, PcrOfBaseOneAndSixExtensionBitsFive) {
  auto bytes = PcrBytes(1, 0x3F, 5 << 3);
  BitstreamReader r;
  r.Reset(bytes.data(), static_cast<int>(bytes.size()));
  EXPECT_EQ(IPacketProcessor::ReadPcrField(r), 305u);
}

TEST(IPacketProcessor, PcrTakesTheTopSixExtensionBitsUnweightedAndStopsThreeBitsShort) {
  auto bytes = PcrBytes(0x1FFFFFFFFULL, 0x3F, 0x1FF);
  BitstreamReader r;
  r.Reset(bytes.data(), static_cast<int>(bytes.size()));
  EXPECT_EQ(IPacketProcessor::ReadPcrField(r), 0x1FFFFFFFFULL * 300 + 0x3F);
  unsigned int rest = 0;
  r.GetBits(3, rest);
  EXPECT_EQ(rest, 0x7u);  // the low three extension bits are still ahead
  r.GetBits(8, rest);
  EXPECT_EQ(rest, 0xA5u);
}

TEST(IPacketProcessor, PcrWithoutAllReservedBitsCountsAsAbsent) {
  auto bytes = PcrBytes(12345, 0x3E, 0);
  BitstreamReader r;
  r.Reset(bytes.data(), static_cast<int>(bytes.size()));
  EXPECT_EQ(IPacketProcessor::ReadPcrField(r), 0u);
}

TEST(IPacketProcessor, PcrFromTooShortDataIsZero) {
  auto bytes = PcrBytes(99, 0x3F, 0);
  BitstreamReader r;
  r.Reset(bytes.data(), 4);  // the reserved bits can't be read: they stay 0
  EXPECT_EQ(IPacketProcessor::ReadPcrField(r), 0u);
}
