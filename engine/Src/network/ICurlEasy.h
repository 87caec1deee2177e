/// \file
/// The way to one libcurl easy handle. Substitute implementations let the engine run without one.
#pragma once

#include <curl/curl.h>

namespace strmcommon {

/// A numeric option value as ICurlEasy::SetOpt takes it: the number carried in the pointer.
inline void* OptionValue(long value) { return reinterpret_cast<void*>(value); }

/// One easy handle. Each operation is one libcurl call: a `bool` result is true when that call
/// returned 0, and the call's code is kept for GetLastError (Reset keeps nothing). The object takes
/// no lock: the engine serialises every use under its m_mutItem. Objects come from and go back to
/// an ICurlFactory.
class ICurlEasy {
 public:
  /// Releases the handle.
  virtual ~ICurlEasy() {}
  /// curl_easy_perform: runs a transfer to its end on the calling thread.
  virtual bool Perform() = 0;
  /// curl_easy_reset: all options back to libcurl's defaults. Leaves GetLastError alone.
  virtual void Reset() = 0;
  /// curl_easy_pause of receiving and sending.
  virtual bool Pause() = 0;
  /// curl_easy_pause with CURLPAUSE_CONT. libcurl may deliver held-back data from inside it.
  virtual bool Resume() = 0;
  /// curl_easy_getinfo of a `long` item.
  virtual bool GetInfoWithLong(CURLINFO info, long* value) = 0;
  /// curl_easy_getinfo of a `double` item.
  virtual bool GetInfoWithDouble(CURLINFO info, double* value) = 0;
  /// curl_easy_setopt; numeric options pass their value in the pointer (OptionValue).
  virtual bool SetOpt(CURLoption option, void const* value) = 0;
  /// curl_easy_setopt with a 64-bit value, for CURLOPT_MAX_RECV_SPEED_LARGE.
  virtual bool SetOptMaxNwLimit(CURLoption option, long long value) = 0;
  /// curl_easy_getinfo into whatever `value` points to (a pointer, for strings).
  virtual bool GetInfo(CURLINFO info, void const* value) = 0;
  /// The code of the latest call that keeps one; CURLE_OK on a fresh object.
  virtual CURLcode GetLastError() const = 0;
  /// The raw CURL* handle.
  virtual void* GetHandle() = 0;
};

}  // namespace strmcommon
