/// \file
/// A libcurl easy handle: each operation is one libcurl call whose code is remembered.
#pragma once

#include <curl/curl.h>

#include "ICurlEasy.h"

namespace strmcommon {

/// The libcurl implementation of ICurlEasy. It owns its handle for its whole life.
class CurlEasy : public ICurlEasy {
 public:
  /// Takes a handle from curl_easy_init; throws std::exception when it gives none.
  CurlEasy();
  /// Cleans the handle up.
  ~CurlEasy() override;
  CurlEasy(const CurlEasy&) = delete;
  CurlEasy& operator=(const CurlEasy&) = delete;

  bool Perform() override;
  void Reset() override;
  bool Pause() override;
  bool Resume() override;
  bool GetInfoWithLong(CURLINFO info, long* value) override;
  bool GetInfoWithDouble(CURLINFO info, double* value) override;
  bool SetOpt(CURLoption option, void const* value) override;
  bool SetOptMaxNwLimit(CURLoption option, long long value) override;
  bool GetInfo(CURLINFO info, void const* value) override;
  CURLcode GetLastError() const override;
  void* GetHandle() override;

 private:
  CURL* m_handle;
  CURLcode m_lastError;
};

}  // namespace strmcommon
