/// \file
/// A locked ring of 188-byte transport packets in one fixed block.
#pragma once

#include <string>

#include "IArrayBuffer.h"
#include "Mutex.h"

namespace strmcommon {

/// A ring of 188-byte transport packets in one block allocated once (GetVasMemory). Producer and
/// consumer may be on different threads: every operation but AdjustSize and PopFrontNoLock takes
/// the recursive lock. A full buffer refuses, an empty one yields false; nothing blocks.
///
/// Kept: the single-packet operations (PushBackPacket, PopFront(), GetFront) are the safe path
/// across the end of the block; a multi-packet PushBack or PopFront that crosses it moves the
/// position by its whole packet count, further than the bytes it carried.
class CTSPacketBuffer : public IArrayBuffer {
 public:
  static constexpr unsigned int kPacketSize = 188;  ///< one transport packet

  /// SetMaxSize(size): a block of `size` rounded down to whole packets; 0 makes no block.
  explicit CTSPacketBuffer(unsigned int size);
  /// Frees the block.
  ~CTSPacketBuffer() override;
  CTSPacketBuffer(const CTSPacketBuffer&) = delete;
  CTSPacketBuffer& operator=(const CTSPacketBuffer&) = delete;

  /// Writes `size` bytes, at least one packet's worth; false when `size` is below 188 or does not
  /// fit. Sizes that are not whole packets are counted exactly while the position moves by
  /// packets.
  bool PushBack(void* data, unsigned int size) override;
  /// True when nothing is held.
  bool Empty() override;
  /// Bytes held.
  unsigned int Size() override;
  /// Bytes that still fit.
  unsigned int FreeSize() override;
  /// The block's size, whole packets.
  unsigned int MaxSize() override;
  /// A new block of `size` rounded down to whole packets; the contents are dropped. 0 changes
  /// nothing; a size under 188 makes a block that refuses everything.
  void SetMaxSize(unsigned int size) override;
  /// `size` rounded down to whole packets. No lock, no change.
  unsigned int AdjustSize(unsigned int size) override;
  /// Drops the front packet, if one is held.
  void PopFront() override;
  /// Takes `size` bytes (at least 188) into `out`, or discards them for a null `out`; false when
  /// fewer are held.
  bool PopFront(unsigned int size, void* out) override;
  /// Copies the front packet to `out` (unless null) without taking it; false when empty.
  bool GetFront(void* out) override;
  /// Empties the ring, keeping the block; returns the bytes it held.
  unsigned int Clear() override;
  /// An empty string, always.
  std::string GetString() override;

  /// Writes one 188-byte packet; false when it does not fit.
  bool PushBackPacket(void* packet);
  /// PopFront() for a caller that holds the lock itself.
  void PopFrontNoLock();

 protected:
  /// Moves a ring position on by bytes, back to the start of the block when it reaches the end.
  unsigned char* Advance(unsigned char* pos, unsigned int bytes) const;

  RecursiveMutex m_lock;   ///< guards everything below
  unsigned char* m_begin;  ///< the block
  unsigned char* m_end;    ///< the block's end
  unsigned char* m_read;   ///< the next byte to take
  unsigned char* m_write;  ///< the next byte to write
  unsigned int m_used;     ///< bytes held
  unsigned int m_max;      ///< the block's size, whole packets
};

}  // namespace strmcommon
