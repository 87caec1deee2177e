/// \file
/// The sink side of an output buffer: bytes go in, and the room is asked for and set.
#pragma once

namespace strmcommon {

/// The root of the output buffers through which the engine hands bytes on (StringBuffer,
/// CTSPacketBuffer). Whether an implementation locks is its own affair.
class IOutputBuffer {
 public:
  /// Virtual, for the implementing classes.
  virtual ~IOutputBuffer() {}
  /// Appends `size` bytes from `data`; false when they don't fit (nothing is written then).
  virtual bool PushBack(void* data, unsigned int size) = 0;
  /// True when nothing is held.
  virtual bool Empty() = 0;
  /// Bytes held.
  virtual unsigned int Size() = 0;
  /// Bytes that still fit.
  virtual unsigned int FreeSize() = 0;
  /// The capacity.
  virtual unsigned int MaxSize() = 0;
  /// Sets the capacity; what that does to the contents is the implementation's.
  virtual void SetMaxSize(unsigned int size) = 0;
  /// `size` rounded as the implementation stores it; changes nothing.
  virtual unsigned int AdjustSize(unsigned int size) = 0;
};

}  // namespace strmcommon
