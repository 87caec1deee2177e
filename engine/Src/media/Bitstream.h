// Byte packets and big-endian bit field readers and writers over caller buffers.
#pragma once

namespace strmcommon {

// A byte buffer with two independent cursors: the GetByte cursor and the data cursor. It owns its
// memory after PtrAlloc or a growing PtrResize, and is a view after SetPtr or assignment.
class Packet {
 public:
  Packet();
  // A copy is a non-owning view of the source's buffer.
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

 protected:
  unsigned int m_size;

 public:
  // Opaque to this library; kept across PtrFree and copied by assignment.
  int m_tag;
  // Values for the engine library's own use; zero at construction, not copied by assignment.
  double m_userValues[4];

 protected:
  unsigned char* m_ptr;
  bool m_owned;
  unsigned int m_pos;
  int m_dataPos;
};

// Reads big-endian bit fields from a caller's buffer. A read that does not fit into what is left
// of the buffer does nothing at all, and the output keeps its old value.
class BitstreamReader {
 public:
  void Reset(void* buffer, int size);
  void GetBits(int count, int& out);
  void GetBits(int count, unsigned int& out);
  void GetBits(int count, unsigned long long& out);
  void SkipBits(int count);
  void SkipBytes(int count);

 protected:
  template <typename T>
  void ReadBits(int count, T& out);
  // True when the byte count from the current byte reaches the end of the buffer.
  bool ReachesEnd(long long bytesAhead) const;

  unsigned char* m_start;
  int m_size;
  unsigned char* m_cur;
  unsigned char m_curByte;
  int m_bitsLeft;
};

// Writes big-endian bit fields over a caller's buffer. Bits not yet written keep what the buffer
// held from the second byte on, so a buffer can be patched in place.
class BitstreamBuilder {
 public:
  BitstreamBuilder();
  void Reset(void* buffer, int size);
  void AddBits(unsigned int value, int count);

 protected:
  unsigned char* m_start;
  int m_size;
  unsigned char* m_cur;
  unsigned char m_accum;
  int m_bitsFree;
};

}  // namespace strmcommon
