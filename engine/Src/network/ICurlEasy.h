// The way to one libcurl easy handle. Substitute implementations let the engine run without one.
#pragma once

#include <curl/curl.h>

namespace strmcommon {

// A numeric option value as SetOpt takes it: the number carried in the pointer.
inline void* OptionValue(long value) { return reinterpret_cast<void*>(value); }

class ICurlEasy {
 public:
  virtual ~ICurlEasy() {}
  virtual bool Perform() = 0;
  virtual void Reset() = 0;
  virtual bool Pause() = 0;
  virtual bool Resume() = 0;
  virtual bool GetInfoWithLong(CURLINFO info, long* value) = 0;
  virtual bool GetInfoWithDouble(CURLINFO info, double* value) = 0;
  // Numeric options pass their value in the pointer.
  virtual bool SetOpt(CURLoption option, void const* value) = 0;
  virtual bool SetOptMaxNwLimit(CURLoption option, long long value) = 0;
  virtual bool GetInfo(CURLINFO info, void const* value) = 0;
  virtual CURLcode GetLastError() const = 0;
  virtual void* GetHandle() = 0;
};

}  // namespace strmcommon
