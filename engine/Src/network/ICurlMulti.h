/// \file
/// The way to one libcurl multi handle.
#pragma once

#include <curl/curl.h>
#include <sys/select.h>
#include <sys/time.h>

#include "CurlMsg.h"
#include "ICurlEasy.h"

namespace strmcommon {

/// One multi handle: the set of running transfers that the engine's worker drives. Each operation
/// is one libcurl call; a `bool` result is true when it returned 0 (Perform, Select and InfoRead
/// differ, see there), and the call's code is kept for GetLastError. No lock of its own: the
/// worker uses it under m_mutItem.
class ICurlMulti {
 public:
  /// Releases the handle.
  virtual ~ICurlMulti() {}
  /// curl_multi_add_handle of the easy object's handle.
  virtual bool AddHandle(ICurlEasy& easy) = 0;
  /// curl_multi_remove_handle of the easy object's handle.
  virtual bool RemoveHandle(ICurlEasy& easy) = 0;
  /// curl_multi_perform; `running` receives the number of transfers still running. Kept sense:
  /// true only when libcurl asks to be called again at once (CURLM_CALL_MULTI_PERFORM), false
  /// for success and failure alike; GetLastError tells those apart.
  virtual bool Perform(int& running) = 0;
  /// curl_multi_fdset.
  virtual bool FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) = 0;
  /// A plain select(); returns its result and keeps nothing.
  virtual int Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                     timeval* timeout) = 0;
  /// curl_multi_info_read: true when a finished transfer (CURLMSG_DONE) was delivered into
  /// `msg`. Any other message is consumed and dropped, and `msg` is then left as it was.
  virtual bool InfoRead(int& msgsLeft, CurlMsg& msg) = 0;
  /// The code of the latest call that keeps one; CURLM_OK on a fresh object.
  virtual CURLMcode GetLastError() const = 0;
  /// curl_multi_setopt; numeric options pass their value in the pointer.
  virtual bool SetMOpt(CURLMoption option, void const* value) = 0;
  /// The raw CURLM* handle.
  virtual void* GetHandle() = 0;
};

}  // namespace strmcommon
