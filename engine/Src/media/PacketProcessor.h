/// \file
/// Transport stream program data: the per-PID table of a program being rewritten, and helpers that
/// edit one 188-byte transport packet in place. Neither parses a PAT or a PMT: the engine library
/// feeds the table. No locks; an object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "Bitstream.h"

namespace strmcommon {

/// N elements of T held inline, element 0 first. CArray<unsigned char, 188> is one transport
/// packet.
template <typename T, int N>
class CArray {
 public:
  /// Element `index`, unchecked.
  T& operator[](int index) { return m_data[index]; }
  /// Element `index`, unchecked.
  const T& operator[](int index) const { return m_data[index]; }
  /// The first element.
  T* Data() { return m_data; }
  /// The first element.
  const T* Data() const { return m_data; }
  /// N.
  static constexpr int Size() { return N; }

 private:
  T m_data[N];
};

/// What a PID carries.
enum StreamType : int32_t {
  kStreamNone = 0,   ///< no elementary stream, e.g. an entry holding a PMT PID only
  kStreamMain = 1,   ///< the main program, as the first type of the four-argument UpdateEsInfo
  kStreamVideo = 2,  ///< video
  kStreamAudio = 3,  ///< audio
};

/// The record kept for one PID.
struct EsInfo {
  uint16_t pid;     ///< the PID the stream has now
  int16_t pidOrg;   ///< the PID it came with; -1 until set
  int16_t counter;  ///< the stored continuity counter; -1 until set
  StreamType type;  ///< what it carries
  bool hasPcr;      ///< it carries the program clock
};

/// PIDs of the current program and what each of them carries, in an open-addressed table of 100
/// entries: a PID hashes into the first 64 and probes toward the end without wrapping round. It
/// only fills up; a new stream gets a new object. A full table and an unknown PID are the only
/// failures, both silent.
class TsProcessData {
 public:
  /// An empty table; the PIDs of the program unknown.
  TsProcessData();

  /// The record of `pid`, or null.
  EsInfo* GetEsInfo(int pid);
  /// Claims a free entry for `pid` from its hash slot on; only the key is written, the caller
  /// fills the record. Null when no entry is free before the end of the table. No duplicate check.
  EsInfo* PutEsInfo(int pid);
  /// Sets type and PCR flag of `pid` (and its original PID when not yet set), claiming an entry
  /// for a new one; a video type also becomes m_videoPid. A full table loses the update.
  void UpdateEsInfo(int pid, StreamType type, bool hasPcr);
  /// The same; then `kind` kStreamMain with a video `type` sets m_videoPid, `kind` kStreamAudio
  /// with an audio `type` sets m_audioPid. `kind` is not stored.
  void UpdateEsInfo(int pid, StreamType kind, StreamType type, bool hasPcr);
  /// Records a PMT PID (type none) and makes it m_pmtPid; a PID already known changes nothing.
  void SetPmtInfo(int pid);
  /// The same for m_audioPmtPid.
  void SetAudioPmtInfo(int pid);
  /// The stored continuity counter of `pid`; -1 when unknown or never set.
  int GetEsCounter(int pid);
  /// Stores the low 16 bits of `count` as the counter; an unknown PID is ignored.
  void SetEsCount(int pid, int count);
  /// The PID `pid` came with; `pid` itself when unknown.
  int GetPidOrg(int pid);
  /// Known and carrying an elementary stream.
  bool IsElementary(int pid);
  /// Known and carrying video.
  bool IsVideo(int pid);
  /// Known and carrying audio.
  bool IsAudio(int pid);
  /// Known and carrying the program clock.
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
  CArray<unsigned char, 188> m_audioPatPacket;  ///< the audio program's PAT packet
  CArray<unsigned char, 188> m_audioPmtPacket;  ///< the audio program's PMT packet
  uint16_t m_audioPmtPid;                       ///< the audio program's PMT PID; 0xFFFF unknown
  uint16_t m_audioPid;                          ///< the audio PID; 0xFFFF unknown
  CArray<unsigned char, 188> m_patPacket;       ///< the main program's PAT packet
  CArray<unsigned char, 188> m_pmtPacket;       ///< the main program's PMT packet
  uint16_t m_pmtPid;                            ///< the main program's PMT PID; 0xFFFF unknown
  uint16_t m_videoPid;                          ///< the video PID; 0xFFFF unknown
};

/// In-place edits of one transport packet, and the PCR field reader. All static.
class IPacketProcessor {
 public:
  /// Writes the 13-bit `pid` into the packet header, keeping the three flag bits; higher bits of
  /// `pid` are lost.
  static void ChangePid(CArray<unsigned char, 188>& packet, int pid);
  /// The continuity counter plus one, modulo 16.
  static void IncreaseCounter(CArray<unsigned char, 188>& packet);
  /// Replaces the packet's continuity counter with the successor of `counter`, and stores it
  /// there (an initial -1 gives 0).
  static void UpdateCounter(CArray<unsigned char, 188>& packet, int& counter);
  /// 27 MHz ticks of the program_clock_reference at the reader, or 0 when its reserved bits are
  /// not all ones. Kept: six bits of the nine-bit extension are read, so the reader stops three
  /// bits short of the field's end.
  static unsigned long long ReadPcrField(BitstreamReader& reader);
};

}  // namespace strmcommon
