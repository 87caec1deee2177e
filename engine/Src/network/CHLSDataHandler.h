/// \file
/// The playback engine's stream data, as far as this library calls into it.
#pragma once

/// The playback engine's namespace. This library declares the one class it calls into.
namespace strmengine {

/// Defined by the playback engine that links this library; the library only calls it. The weak
/// reference lets a program that never measures bandwidth link without a definition.
class CHLSDataHandler {
 public:
  /// The engine's record of stream `index`, or null. This library reads one thing from it: the
  /// third 32-bit word, unsigned, the stream's declared bit rate in bits per second. Called by
  /// BandwidthChecker for every accepted chunk, on the download worker with its lock held.
  void* GetStreamInfo(int index) __attribute__((weak));
};

}  // namespace strmengine
