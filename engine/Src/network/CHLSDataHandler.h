// The playback engine's stream data, as far as this library calls into it.
#pragma once

namespace strmengine {

// Defined by the playback engine that links this library; the library only calls it. The weak
// reference lets a program that never measures bandwidth link without a definition.
class CHLSDataHandler {
 public:
  // The engine's record of stream `index`, or null. This library reads one thing from it: the
  // third 32-bit word, unsigned, the stream's declared bit rate in bits per second.
  void* GetStreamInfo(int index) __attribute__((weak));
};

}  // namespace strmengine
