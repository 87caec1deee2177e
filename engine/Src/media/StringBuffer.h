/// \file
/// An unlocked, growing byte queue on a std::string.
#pragma once

#include <string>

#include "IArrayBuffer.h"

namespace strmcommon {

/// A byte queue on a std::string with no limit: PushBack always succeeds. Not locked: it belongs
/// to one thread at a time. Kept: FreeSize counts against 2 MiB while MaxSize and AdjustSize say
/// 0x7FFFFFF; the two figures differ on purpose.
class StringBuffer : public IArrayBuffer {
 public:
  /// Reserves `reserve` bytes.
  explicit StringBuffer(unsigned int reserve);
  ~StringBuffer() override;

  /// Appends; always true.
  bool PushBack(void* data, unsigned int size) override;
  /// True when nothing is held.
  bool Empty() override;
  /// Bytes held.
  unsigned int Size() override;
  /// 0x200000 minus Size(), unsigned: it wraps once more than 2 MiB is held.
  unsigned int FreeSize() override;
  /// 0x7FFFFFF always.
  unsigned int MaxSize() override;
  /// Does nothing.
  void SetMaxSize(unsigned int size) override;
  /// 0x7FFFFFF whatever the argument.
  unsigned int AdjustSize(unsigned int size) override;
  /// Does nothing.
  void PopFront() override;
  /// Moves the first `size` bytes to `out` (which must not be null); false, with nothing taken,
  /// when fewer are held.
  bool PopFront(unsigned int size, void* out) override;
  /// False always; `out` is untouched.
  bool GetFront(void* out) override;
  /// Empties the queue; returns its former size.
  unsigned int Clear() override;
  /// A copy of the queued bytes.
  std::string GetString() override;

 private:
  std::string m_buffer;
};

}  // namespace strmcommon
