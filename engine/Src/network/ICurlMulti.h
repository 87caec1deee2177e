// The way to one libcurl multi handle.
#pragma once

#include <curl/curl.h>
#include <sys/select.h>
#include <sys/time.h>

#include "CurlMsg.h"
#include "ICurlEasy.h"

namespace strmcommon {

class ICurlMulti {
 public:
  virtual ~ICurlMulti() {}
  virtual bool AddHandle(ICurlEasy& easy) = 0;
  virtual bool RemoveHandle(ICurlEasy& easy) = 0;
  // True when libcurl asks to be called again at once; see CurlMulti.
  virtual bool Perform(int& running) = 0;
  virtual bool FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) = 0;
  virtual int Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                     timeval* timeout) = 0;
  // True when a finished transfer was delivered into msg.
  virtual bool InfoRead(int& msgsLeft, CurlMsg& msg) = 0;
  virtual CURLMcode GetLastError() const = 0;
  virtual bool SetMOpt(CURLMoption option, void const* value) = 0;
  virtual void* GetHandle() = 0;
};

}  // namespace strmcommon
