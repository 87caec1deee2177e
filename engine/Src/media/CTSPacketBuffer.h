// A locked ring of 188-byte transport packets in one fixed block.
#pragma once

#include <string>

#include "IArrayBuffer.h"
#include "Mutex.h"

namespace strmcommon {

// Producer and consumer may be on different threads: every operation but AdjustSize and
// PopFrontNoLock takes the lock. The single-packet operations are the safe path across the end
// of the block; multi-packet transfers that cross it move the position by their whole count.
class CTSPacketBuffer : public IArrayBuffer {
 public:
  static constexpr unsigned int kPacketSize = 188;

  explicit CTSPacketBuffer(unsigned int size);
  ~CTSPacketBuffer() override;
  CTSPacketBuffer(const CTSPacketBuffer&) = delete;
  CTSPacketBuffer& operator=(const CTSPacketBuffer&) = delete;

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
  // For a caller that holds the lock itself.
  void PopFrontNoLock();

 protected:
  // Moves a ring position on by bytes, back to the start of the block when it reaches the end.
  unsigned char* Advance(unsigned char* pos, unsigned int bytes) const;

  RecursiveMutex m_lock;
  unsigned char* m_begin;
  unsigned char* m_end;
  unsigned char* m_read;
  unsigned char* m_write;
  unsigned int m_used;
  unsigned int m_max;
};

}  // namespace strmcommon
