// Transport stream program data: the per-PID table of a program being rewritten, and helpers that
// edit one 188-byte transport packet in place.
#pragma once

#include <cstdint>
#include <vector>

#include "Bitstream.h"

namespace strmcommon {

// N elements of T held inline, element 0 first.
template <typename T, int N>
class CArray {
 public:
  T& operator[](int index) { return m_data[index]; }
  const T& operator[](int index) const { return m_data[index]; }
  T* Data() { return m_data; }
  const T* Data() const { return m_data; }
  static constexpr int Size() { return N; }

 private:
  T m_data[N];
};

// What a PID carries.
enum StreamType : int32_t {
  kStreamNone = 0,  // no elementary stream, e.g. an entry holding a PMT PID only
  kStreamMain = 1,  // the main program, as the first type of the four-argument UpdateEsInfo
  kStreamVideo = 2,
  kStreamAudio = 3,
};

// The record kept for one PID.
struct EsInfo {
  uint16_t pid;     // the PID the stream has now
  int16_t pidOrg;   // the PID it came with; -1 until set
  int16_t counter;  // the stored continuity counter; -1 until set
  StreamType type;
  bool hasPcr;
};

// PIDs of the current program and what each of them carries, in an open-addressed table of 100
// entries. It only fills up; a new stream gets a new object.
class TsProcessData {
 public:
  TsProcessData();

  EsInfo* GetEsInfo(int pid);
  // Claims a free entry for pid; only the key is written, the caller fills the record.
  EsInfo* PutEsInfo(int pid);
  void UpdateEsInfo(int pid, StreamType type, bool hasPcr);
  void UpdateEsInfo(int pid, StreamType kind, StreamType type, bool hasPcr);
  void SetPmtInfo(int pid);
  void SetAudioPmtInfo(int pid);
  int GetEsCounter(int pid);
  void SetEsCount(int pid, int count);
  int GetPidOrg(int pid);
  bool IsElementary(int pid);
  bool IsVideo(int pid);
  bool IsAudio(int pid);
  bool HasPcr(int pid);

 private:
  struct EsEntry {
    uint16_t key;  // 0xFFFF marks a free entry
    EsInfo info;
  };
  static constexpr int kTableSize = 100;

  // Stores the record of an update, claiming an entry for an unknown pid.
  void StoreEsInfo(int pid, StreamType type, bool hasPcr);
  // Claims an entry for a PMT PID that is not yet known, and keeps the PID in pmtPid.
  void StorePmtPid(int pid, uint16_t& pmtPid);

  std::vector<EsEntry> m_esTable;

 public:
  // Program state of the engine library, which keeps PAT and PMT packets here. A first byte of 0
  // means the packet is empty.
  CArray<unsigned char, 188> m_audioPatPacket;
  CArray<unsigned char, 188> m_audioPmtPacket;
  uint16_t m_audioPmtPid;
  uint16_t m_audioPid;
  CArray<unsigned char, 188> m_patPacket;
  CArray<unsigned char, 188> m_pmtPacket;
  uint16_t m_pmtPid;
  uint16_t m_videoPid;
};

// In-place edits of one transport packet, and the PCR field reader.
class IPacketProcessor {
 public:
  static void ChangePid(CArray<unsigned char, 188>& packet, int pid);
  static void IncreaseCounter(CArray<unsigned char, 188>& packet);
  // Replaces the packet's continuity counter with the successor of counter, and stores it there.
  static void UpdateCounter(CArray<unsigned char, 188>& packet, int& counter);
  // 27 MHz ticks of the program_clock_reference at the reader, or 0 when its reserved bits are
  // not all ones.
  static unsigned long long ReadPcrField(BitstreamReader& reader);
};

}  // namespace strmcommon
