// The download engine's interface towards its client.
#pragma once

#include <cstddef>
#include <string>

#include "ICurlCB.h"
#include "IDownloadEvent.h"
#include "UnitObject.h"

namespace strmcommon {

class ICurl {
 public:
  virtual ~ICurl() {}
  virtual void Init(ICurlCB* callback, IDownloadEvent* event) = 0;
  virtual bool StartLoop() = 0;
  virtual void Quit() = 0;
  virtual void Reset() = 0;
  virtual bool Reset(UnitObject* unit, unsigned int type) = 0;
  virtual int BeginDownload(unsigned int key, const std::string& url, bool conditional,
                            UnitObject*& unit, bool noMeasure, UserData data) = 0;
  virtual int BeginDownload2(unsigned int key, const std::string& url, const std::string& range,
                             bool conditional, UnitObject*& unit, bool noMeasure, UserData data,
                             bool isCurlDebug, const std::string& debugTag) = 0;
  virtual int BeginDownload3(int urlIndex, UnitObject*& unit, bool noMeasure, UserData data) = 0;
  virtual int DummyDownload(unsigned int key, const std::string& url, bool unused,
                            UnitObject*& unit, bool noMeasure, UserData data, char* buffer,
                            int size) = 0;
  virtual int EndDownload(UnitObject*& unit) = 0;
  virtual bool Cancel(UnitObject* unit) = 0;
  virtual bool Pause(UnitObject* unit) = 0;
  virtual bool Resume(UnitObject* unit) = 0;
  virtual bool IsDownloading(UnitObject* unit) = 0;
  virtual bool IsPause(UnitObject* unit) = 0;
  virtual bool RunOnce() = 0;
  virtual UserData GetData(UnitObject* unit) = 0;
  virtual UserData SetData(UnitObject* unit, UserData data) = 0;
  virtual bool IsIdle() = 0;
  virtual int GetRequestKey() = 0;
  virtual size_t GetPos(UnitObject* unit) = 0;
  virtual size_t GetSize(UnitObject* unit) = 0;
  virtual UnitObject* GetCompleted(int& code, long& date) = 0;
  virtual void SetCookie(const std::string& value) = 0;
  virtual void SetCookieToPool(std::string& cookie, std::string& host, std::string& path) = 0;
  virtual void SetProxy(const std::string& proxy) = 0;
  virtual void SetAgent(const std::string& agent) = 0;
  virtual void SetConnTimeout(int timeout) = 0;
  virtual void SetLowSpeedTimeout(int timeout) = 0;
  virtual void StripAcceleratorPattern(std::string& url) = 0;
  virtual void LockMutItem() = 0;
  virtual void UnlockMutItem() = 0;
  virtual bool SetConnDetails(int timeout, int retry) = 0;
  virtual void SetMaxNwSpeed(int speed) = 0;
  virtual std::string get_dest_ip() = 0;
  virtual std::string get_host_ip() = 0;
  virtual std::string get_user_agent() = 0;
  virtual std::string get_cookie() = 0;
  virtual std::string get_proxy() = 0;
};

}  // namespace strmcommon
