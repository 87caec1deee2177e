// The engine's declarations of the media tools: packets and bit streams, the H.264 header parser,
// transport stream program data, the output buffers and the key and IV helpers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "EngineViewFoundation.h"

namespace strmcommon {

class Packet {
 public:
  Packet();
  Packet(const Packet& other);
  Packet& operator=(const Packet& other);
  virtual ~Packet();

  void PtrFree();
  int PtrAlloc(unsigned int size);
  int PtrResize(unsigned int size);
  void SetPtr(unsigned char* ptr, unsigned int size);
  unsigned int GetSize();
  unsigned char* GetPtr();
  int GetByte(unsigned char* out, unsigned int count);
  void UngetByte(unsigned int count);
  void ResetPos();
  unsigned char* GetDataPtr();
  int GetDataSize();
  void SetDataPos(int pos);
  void MoveDataPos(int delta);

  uint32_t m_size;
  int32_t m_tag;
  double m_engineValues[4];
  unsigned char* m_ptr;
  bool m_owned;
  uint32_t m_pos;
  int32_t m_dataPos;
};

class BitstreamReader {
 public:
  void Reset(void* buffer, int size);
  void GetBits(int count, int& out);
  void GetBits(int count, unsigned int& out);
  void GetBits(int count, unsigned long long& out);
  void SkipBits(int count);
  void SkipBytes(int count);

  unsigned char* m_start;
  int32_t m_size;
  unsigned char* m_cur;
  unsigned char m_curByte;
  int32_t m_bitsLeft;
};

class BitstreamBuilder {
 public:
  BitstreamBuilder();
  void Reset(void* buffer, int size);
  void AddBits(unsigned int value, int count);

  unsigned char* m_start;
  int32_t m_size;
  unsigned char* m_cur;
  unsigned char m_accum;
  int32_t m_bitsFree;
};

struct H264SequenceSetParse {
  uint32_t seq_parameter_set_id;
  uint32_t pic_order_cnt_type;
  uint32_t frame_mbs_only_flag;
  uint32_t delta_pic_order_always_zero_flag;
  uint32_t log2_max_frame_num_minus4;
  uint32_t log2_max_pic_order_cnt_lsb_minus4;
  uint32_t pic_width_in_mbs_minus1;
  uint32_t pic_height_in_map_units_minus1;
  uint32_t frame_cropping_flag;
  uint32_t frame_crop_left_offset;
  uint32_t frame_crop_right_offset;
  uint32_t frame_crop_top_offset;
  uint32_t frame_crop_bottom_offset;
};

class H264_SyntaxReader {
 public:
  explicit H264_SyntaxReader(Packet* packet);
  virtual ~H264_SyntaxReader();
  int Increment(unsigned char& out);
  int LoadByte();
  int GetBitIncrement();
  int CountGolombLength(int& zeros);
  int ReadU(unsigned int bits, unsigned int& value);
  int ReadUE(unsigned int& value);
  int ReadSE(int& value);

  Packet* m_packet;
  int32_t m_zeroRun;
  int32_t m_unused;
  uint32_t m_bitPos;
  unsigned char m_curByte;
};

class H264HeaderParser {
 public:
  H264HeaderParser();
  void Reset();
  int ParseHeader(unsigned char* data, int size);
  int GetSpsOffet();
  bool ParseSPS(unsigned char* data, int size, H264SequenceSetParse& sps);
  bool CalcResolution(const H264SequenceSetParse& sps, int& width, int& height);

  int32_t m_zeroCount;
  bool m_startCode;
  int32_t m_spsOffset;
  Packet m_packet;
};

template <typename T, int N>
class CArray {
 public:
  T& operator[](int index) { return m_data[index]; }
  T m_data[N];
};

enum StreamType : int32_t {
  kStreamNone = 0,
  kStreamMain = 1,
  kStreamVideo = 2,
  kStreamAudio = 3,
};

struct EsInfo {
  uint16_t pid;
  int16_t pidOrg;
  int16_t counter;
  StreamType type;
  bool hasPcr;
};

class TsProcessData {
 public:
  struct Entry {
    uint16_t key;
    EsInfo info;
  };

  TsProcessData();
  EsInfo* GetEsInfo(int pid);
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

  std::vector<Entry> m_esTable;
  CArray<unsigned char, 188> m_audioPacket1;
  CArray<unsigned char, 188> m_audioPacket2;
  uint16_t m_audioPmtPid;
  uint16_t m_audioPid;
  CArray<unsigned char, 188> m_mainPacket1;
  CArray<unsigned char, 188> m_mainPacket2;
  uint16_t m_pmtPid;
  uint16_t m_videoPid;
};

class IPacketProcessor {
 public:
  static void ChangePid(CArray<unsigned char, 188>& packet, int pid);
  static void IncreaseCounter(CArray<unsigned char, 188>& packet);
  static void UpdateCounter(CArray<unsigned char, 188>& packet, int& counter);
  static unsigned long long ReadPcrField(BitstreamReader& reader);
};

class IOutputBuffer {
 public:
  virtual ~IOutputBuffer() {}
  virtual bool PushBack(void* data, unsigned int size) = 0;
  virtual bool Empty() = 0;
  virtual unsigned int Size() = 0;
  virtual unsigned int FreeSize() = 0;
  virtual unsigned int MaxSize() = 0;
  virtual void SetMaxSize(unsigned int size) = 0;
  virtual unsigned int AdjustSize(unsigned int size) = 0;
};

class IArrayBuffer : public IOutputBuffer {
 public:
  virtual void PopFront() = 0;
  virtual bool PopFront(unsigned int size, void* out) = 0;
  virtual bool GetFront(void* out) = 0;
  virtual unsigned int Clear() = 0;
  virtual std::string GetString() = 0;
};

class StringBuffer : public IArrayBuffer {
 public:
  explicit StringBuffer(unsigned int reserve);
  ~StringBuffer() override;
  bool PushBack(void* data, unsigned int size) override;
  bool Empty() override;
  unsigned int Size() override;
  unsigned int FreeSize() override;
  unsigned int MaxSize() override;
  void SetMaxSize(unsigned int size) override;
  unsigned int AdjustSize(unsigned int size) override;
  void PopFront() override;
  bool PopFront(unsigned int size, void* out) override;
  bool GetFront(void* out) override;
  unsigned int Clear() override;
  std::string GetString() override;

  std::string m_buffer;
};

class CTSPacketBuffer : public IArrayBuffer {
 public:
  explicit CTSPacketBuffer(unsigned int size);
  ~CTSPacketBuffer() override;
  bool PushBack(void* data, unsigned int size) override;
  bool Empty() override;
  unsigned int Size() override;
  unsigned int FreeSize() override;
  unsigned int MaxSize() override;
  void SetMaxSize(unsigned int size) override;
  unsigned int AdjustSize(unsigned int size) override;
  void PopFront() override;
  bool PopFront(unsigned int size, void* out) override;
  bool GetFront(void* out) override;
  unsigned int Clear() override;
  std::string GetString() override;
  bool PushBackPacket(void* packet);
  void PopFrontNoLock();

  RecursiveMutex m_lock;
  unsigned char* m_begin;
  unsigned char* m_end;
  unsigned char* m_read;
  unsigned char* m_write;
  uint32_t m_used;
  uint32_t m_max;
};

}  // namespace strmcommon

bool read_scaling_list(strmcommon::H264_SyntaxReader& reader, unsigned int size);

void GetVasMemory(unsigned char** out, unsigned int* size);
void FreeVasMemory(unsigned char* ptr);
extern unsigned int g_nMemUsedSize;
unsigned int GetUsedBufSize();

void byteToHexString(char* bytes, char* hex, unsigned int length);
int hexStringToByte(const std::string& hex, void* out, unsigned int size);
bool IsLittleEndian();
unsigned int swapByteOrder(unsigned int value);
void sequenceToiv(unsigned int sequence, unsigned char* iv, unsigned int size);
int stringToiv(const std::string& hex, unsigned char* iv, unsigned int size);
