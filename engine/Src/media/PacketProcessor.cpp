#include "PacketProcessor.h"

namespace strmcommon {

namespace {

constexpr uint16_t kFreeKey = 0xFFFF;

int SlotOf(int pid) {
  int pid16 = static_cast<int16_t>(pid);
  return ((pid16 >> 6) ^ pid) & 0x3F;
}

}  // namespace

TsProcessData::TsProcessData()
    : m_esTable(kTableSize, EsEntry{kFreeKey, EsInfo{0xFFFF, -1, -1, kStreamNone, false}}),
      m_audioPmtPid(0xFFFF),
      m_audioPid(0xFFFF),
      m_pmtPid(0xFFFF),
      m_videoPid(0xFFFF) {
  m_audioPatPacket[0] = 0;
  m_audioPmtPacket[0] = 0;
  m_patPacket[0] = 0;
  m_pmtPacket[0] = 0;
}

EsInfo* TsProcessData::GetEsInfo(int pid) {
  if (m_esTable.empty()) return nullptr;
  // The walk goes on past free entries to the end of the table and does not wrap; a free key
  // reads as -1.
  for (int i = SlotOf(pid); i < kTableSize; ++i) {
    if (static_cast<int16_t>(m_esTable[i].key) == pid) return &m_esTable[i].info;
  }
  return nullptr;
}

EsInfo* TsProcessData::PutEsInfo(int pid) {
  // Intended: probing runs toward the end only, so free entries before the slot stay unused.
  for (int i = SlotOf(pid); i < kTableSize; ++i) {
    if (m_esTable[i].key == kFreeKey) {
      m_esTable[i].key = static_cast<uint16_t>(pid);
      return &m_esTable[i].info;
    }
  }
  return nullptr;
}

void TsProcessData::StoreEsInfo(int pid, StreamType type, bool hasPcr) {
  EsInfo* info = GetEsInfo(pid);
  if (info != nullptr) {
    if (info->pidOrg < 0) info->pidOrg = static_cast<int16_t>(pid);
    info->pid = static_cast<uint16_t>(pid);
    info->hasPcr = hasPcr;
    info->type = type;
    return;
  }
  info = PutEsInfo(pid);
  if (info != nullptr) {
    info->pidOrg = static_cast<int16_t>(pid);
    info->pid = static_cast<uint16_t>(pid);
    info->type = type;
    info->hasPcr = hasPcr;
  }
}

void TsProcessData::UpdateEsInfo(int pid, StreamType type, bool hasPcr) {
  StoreEsInfo(pid, type, hasPcr);
  // Also when a full table lost the record.
  if (type == kStreamVideo) m_videoPid = static_cast<uint16_t>(pid);
}

void TsProcessData::UpdateEsInfo(int pid, StreamType kind, StreamType type, bool hasPcr) {
  StoreEsInfo(pid, type, hasPcr);
  if (kind == kStreamMain && type == kStreamVideo) {
    m_videoPid = static_cast<uint16_t>(pid);
  } else if (kind == kStreamAudio && type == kStreamAudio) {
    m_audioPid = static_cast<uint16_t>(pid);
  }
}

void TsProcessData::StorePmtPid(int pid, uint16_t& pmtPid) {
  if (GetEsInfo(pid) != nullptr) return;
  pmtPid = static_cast<uint16_t>(pid);
  EsInfo* info = PutEsInfo(pid);
  if (info != nullptr) {
    info->pid = pmtPid;
    info->pidOrg = static_cast<int16_t>(pmtPid);
  }
}

void TsProcessData::SetPmtInfo(int pid) { StorePmtPid(pid, m_pmtPid); }

void TsProcessData::SetAudioPmtInfo(int pid) { StorePmtPid(pid, m_audioPmtPid); }

int TsProcessData::GetEsCounter(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr ? info->counter : -1;
}

void TsProcessData::SetEsCount(int pid, int count) {
  EsInfo* info = GetEsInfo(pid);
  if (info != nullptr) info->counter = static_cast<int16_t>(count);
}

int TsProcessData::GetPidOrg(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr ? info->pidOrg : pid;
}

bool TsProcessData::IsElementary(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr && info->type != kStreamNone;
}

bool TsProcessData::IsVideo(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr && info->type == kStreamVideo;
}

bool TsProcessData::IsAudio(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr && info->type == kStreamAudio;
}

bool TsProcessData::HasPcr(int pid) {
  EsInfo* info = GetEsInfo(pid);
  return info != nullptr && info->hasPcr;
}

void IPacketProcessor::ChangePid(CArray<unsigned char, 188>& packet, int pid) {
  packet[2] = static_cast<unsigned char>(pid & 0xFF);
  packet[1] = static_cast<unsigned char>((packet[1] & 0xE0) | ((pid >> 8) & 0x1F));
}

void IPacketProcessor::IncreaseCounter(CArray<unsigned char, 188>& packet) {
  packet[3] = static_cast<unsigned char>((packet[3] & 0xF0) | ((packet[3] + 1) & 0x0F));
}

void IPacketProcessor::UpdateCounter(CArray<unsigned char, 188>& packet, int& counter) {
  int next = ((counter & 0xFF) + 1) & 0x0F;
  packet[3] = static_cast<unsigned char>((packet[3] & 0xF0) | next);
  counter = next;
}

unsigned long long IPacketProcessor::ReadPcrField(BitstreamReader& reader) {
  unsigned int high = 0;
  unsigned int low = 0;
  unsigned int reserved = 0;
  unsigned int extension = 0;
  reader.GetBits(1, high);
  reader.GetBits(32, low);
  reader.GetBits(6, reserved);
  // Intended: six bits of the nine-bit extension, added with their weight unchanged; the reader
  // stops three bits short of the end of the field.
  reader.GetBits(6, extension);
  if (reserved != 0x3F) return 0;
  return ((static_cast<unsigned long long>(high) << 32) | low) * 300 + extension;
}

}  // namespace strmcommon
