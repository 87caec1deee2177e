/// \file
/// The client's callbacks from the download engine.
#pragma once

#include "UnitObject.h"

namespace strmcommon {

/// OnDownloadData result: the chunk is taken.
constexpr int kDataTaken = 0;
/// OnDownloadData result: offer the same chunk again at once. Any value other than this and
/// kDataTaken means "full": the engine offers the chunk again after 1 ms.
constexpr int kDataAgainAtOnce = 3;

/// Implemented by the engine's client and handed to ICurl::Init. Not owned by the engine.
class ICurlCB {
 public:
  /// Virtual, for the client's own class.
  virtual ~ICurlCB() {}
  /// A begin operation has initialised `unit` and is about to configure its handle. Runs on the
  /// thread that called the begin operation (under the client's LockMutItem). The result is not
  /// used.
  virtual int OnDownloadStart(UnitObject* unit) = 0;
  /// Body bytes of `unit`: `size` bytes at `data`, valid only for this call (libcurl's own
  /// buffer), and `code` the unit's code of the moment (err_none while data flows). Returns
  /// kDataTaken when the chunk is taken, kDataAgainAtOnce to be offered it again at once, anything
  /// else when full: the engine then releases m_mutItem, sleeps 1 ms and offers the same chunk
  /// again, and the whole worker (every other transfer with it) waits meanwhile. A chunk is
  /// taken whole or not at all.
  ///
  /// Runs on the worker thread with m_mutItem held (for DummyDownload, on the caller's thread).
  /// It may call Pause, Resume and Cancel: a Pause while the client refuses keeps the chunk in the
  /// pause buffer for after the resume; a Cancel drops it.
  virtual int OnDownloadData(UnitObject* unit, int code, unsigned char* data,
                             unsigned int size) = 0;
  /// At the end of a transfer that followed at least one redirect and ended with status 200: the
  /// first Location target, with its line end ("\r\n") still on it. A relative target is glued
  /// to the scheme and host of the request. Worker thread, m_mutItem held. The result is not
  /// used.
  virtual int OnRedirect(UnitObject* unit, const char* url) = 0;
};

}  // namespace strmcommon
