/// \file
/// A libcurl multi handle: each operation is one libcurl call whose code is remembered.
#pragma once

#include <curl/curl.h>

#include "ICurlMulti.h"

namespace strmcommon {

/// The libcurl implementation of ICurlMulti. It owns its handle for its whole life.
class CurlMulti : public ICurlMulti {
 public:
  /// Takes a handle from curl_multi_init; throws std::exception when it gives none.
  CurlMulti();
  /// Cleans the handle up.
  ~CurlMulti() override;
  CurlMulti(const CurlMulti&) = delete;
  CurlMulti& operator=(const CurlMulti&) = delete;

  bool AddHandle(ICurlEasy& easy) override;
  bool RemoveHandle(ICurlEasy& easy) override;
  bool Perform(int& running) override;
  bool FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) override;
  int Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
             timeval* timeout) override;
  bool InfoRead(int& msgsLeft, CurlMsg& msg) override;
  CURLMcode GetLastError() const override;
  bool SetMOpt(CURLMoption option, void const* value) override;
  void* GetHandle() override;

 private:
  CURLM* m_handle;
  CURLMcode m_lastError;
};

}  // namespace strmcommon
