// The engine's declarations of the download engine: the handle interfaces and classes, the unit
// record, the client interfaces and Curl itself, with fields in their documented order.
#pragma once

#include <curl/curl.h>
#include <sys/select.h>
#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "EngineViewCookies.h"
#include "EngineViewFoundation.h"

namespace abi_probe {

// The unit's byte counters are 32-bit words on the device. The library declares them size_t, which
// is that word on a 32-bit target and wider on x86-64, so a 64-bit build of the engine says size_t.
#if __SIZEOF_SIZE_T__ == 4
using UnitWord = unsigned int;
#else
using UnitWord = size_t;
#endif

// The unit result codes the engine compares, by its own names for them.
constexpr int err_none = 0;
constexpr int err_failed = -1;
constexpr int err_interrupted = -12;
constexpr int err_invalidarg = -13;
constexpr int err_resolve_host = -17;

}  // namespace abi_probe

namespace strmcommon {

class Curl;

class ICurlEasy {
 public:
  virtual ~ICurlEasy() {}
  virtual bool Perform() = 0;
  virtual void Reset() = 0;
  virtual bool Pause() = 0;
  virtual bool Resume() = 0;
  virtual bool GetInfoWithLong(CURLINFO info, long* value) = 0;
  virtual bool GetInfoWithDouble(CURLINFO info, double* value) = 0;
  virtual bool SetOpt(CURLoption option, void const* value) = 0;
  virtual bool SetOptMaxNwLimit(CURLoption option, long long value) = 0;
  virtual bool GetInfo(CURLINFO info, void const* value) = 0;
  virtual CURLcode GetLastError() const = 0;
  virtual void* GetHandle() = 0;
};

struct CurlMsg {
  CURLMSG msg;
  void* unit;
  CURLcode result;
  CURL* easy;
  char* primaryIp;
  char* localIp;
};

class ICurlMulti {
 public:
  virtual ~ICurlMulti() {}
  virtual bool AddHandle(ICurlEasy& easy) = 0;
  virtual bool RemoveHandle(ICurlEasy& easy) = 0;
  virtual bool Perform(int& running) = 0;
  virtual bool FDSet(fd_set* readFds, fd_set* writeFds, fd_set* exceptFds, int* maxFd) = 0;
  virtual int Select(int nfds, fd_set* readFds, fd_set* writeFds, fd_set* exceptFds,
                     timeval* timeout) = 0;
  virtual bool InfoRead(int& msgsLeft, CurlMsg& msg) = 0;
  virtual CURLMcode GetLastError() const = 0;
  virtual bool SetMOpt(CURLMoption option, void const* value) = 0;
  virtual void* GetHandle() = 0;
};

class ICurlFactory {
 public:
  virtual ~ICurlFactory() {}
  virtual ICurlEasy* CreateCurlEasy() = 0;
  virtual ICurlMulti* CreateCurlMulti() = 0;
  virtual void ReleaseCurlEasy(ICurlEasy* easy) = 0;
  virtual void ReleaseCurlMulti(ICurlMulti* multi) = 0;
};

class CurlEasy : public ICurlEasy {
 public:
  CurlEasy();
  ~CurlEasy() override;
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

  CURL* m_handle;
  CURLcode m_lastError;
};

class CurlMulti : public ICurlMulti {
 public:
  CurlMulti();
  ~CurlMulti() override;
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

  CURLM* m_handle;
  CURLMcode m_lastError;
};

// Instantiated once, inside the library.
template <typename Easy, typename Multi>
class ConcreateCurlFactory : public ICurlFactory {
 public:
  ~ConcreateCurlFactory() override;
  ICurlEasy* CreateCurlEasy() override;
  ICurlMulti* CreateCurlMulti() override;
  void ReleaseCurlEasy(ICurlEasy* easy) override;
  void ReleaseCurlMulti(ICurlMulti* multi) override;
};
extern template class ConcreateCurlFactory<CurlEasy, CurlMulti>;

enum curl_thread_option {
  kProbeFixedLoop = 0,
  kProbePacedLoop = 1,
};

struct UserData {
  int32_t type;
  int32_t streamIdx;
  int32_t segmentIdx;
  int32_t bitrate;
  int32_t state;
  int32_t tag;
};

class UnitObject {
 public:
  int m_index;
  int m_urlIndex;
  int m_hostIndex;
  Curl* m_curl;
  ICurlEasy* m_easy;
  int32_t m_reservedA[2];
  bool m_pauseBlocked;
  int32_t m_reservedB[3];
  abi_probe::UnitWord m_pos;
  std::string m_url;
  abi_probe::UnitWord m_size;
  abi_probe::UnitWord m_skipBytes;
  abi_probe::UnitWord m_retry;
  int code;
  char m_errorBuf[256];
  long long m_beginTime;
  long long m_endTime;
  unsigned int m_firstByteTime;
  bool m_endCalled;
  bool m_done;
  UserData m_data;
  std::vector<unsigned char> m_pauseBuffer;
  bool m_noMeasure;
  bool m_cancel;
  bool m_pause;
  long long m_lastDataTime;
  long long m_rxBaseTime;
  long long m_pauseStartTime;
  long long m_pausedTotal;
  bool m_redirecting;
  int m_httpStatus;
  int32_t m_reservedC;
  void* m_chunk;
  char* m_destIp;
  char* m_localIp;
  bool m_isCurlDebug;
  std::string m_rawHeader;
  bool m_headerEnd;
  std::string m_debugTag;
  std::string m_debugRange;
};

class ICurlCB {
 public:
  virtual ~ICurlCB() {}
  virtual int OnDownloadStart(UnitObject* unit) = 0;
  virtual int OnDownloadData(UnitObject* unit, int code, unsigned char* data,
                             unsigned int size) = 0;
  virtual int OnRedirect(UnitObject* unit, const char* url) = 0;
};

class IDownloadEvent {
 public:
  virtual ~IDownloadEvent() {}
  virtual void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size,
                             int streamIdx, int segmentIdx, int tag) = 0;
  virtual void ResetRxBaseTime(long long now) = 0;
  virtual bool Islowlatency() = 0;
};

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
  virtual int DummyDownload(unsigned int key, const std::string& url, bool ignored,
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

class Curl : public ICurl {
 public:
  struct urlInfo_t {
    std::string url;
    std::string range;
    long fileTime;
    long date;
    long long lastUse;
    bool conditional;
  };

  Curl(curl_thread_option option, int sleepTime, std::string cookiePath);
  ~Curl() override;

  void Init(ICurlCB* callback, IDownloadEvent* event) override;
  bool StartLoop() override;
  void Quit() override;
  void Reset() override;
  bool Reset(UnitObject* unit, unsigned int type) override;
  int BeginDownload(unsigned int key, const std::string& url, bool conditional, UnitObject*& unit,
                    bool noMeasure, UserData data) override;
  int BeginDownload2(unsigned int key, const std::string& url, const std::string& range,
                     bool conditional, UnitObject*& unit, bool noMeasure, UserData data,
                     bool isCurlDebug, const std::string& debugTag) override;
  int BeginDownload3(int urlIndex, UnitObject*& unit, bool noMeasure, UserData data) override;
  int DummyDownload(unsigned int key, const std::string& url, bool ignored, UnitObject*& unit,
                    bool noMeasure, UserData data, char* buffer, int size) override;
  int EndDownload(UnitObject*& unit) override;
  bool Cancel(UnitObject* unit) override;
  bool Pause(UnitObject* unit) override;
  bool Resume(UnitObject* unit) override;
  bool IsDownloading(UnitObject* unit) override;
  bool IsPause(UnitObject* unit) override;
  bool RunOnce() override;
  UserData GetData(UnitObject* unit) override;
  UserData SetData(UnitObject* unit, UserData data) override;
  bool IsIdle() override;
  int GetRequestKey() override;
  size_t GetPos(UnitObject* unit) override;
  size_t GetSize(UnitObject* unit) override;
  UnitObject* GetCompleted(int& code, long& date) override;
  void SetCookie(const std::string& value) override;
  void SetCookieToPool(std::string& cookie, std::string& host, std::string& path) override;
  void SetProxy(const std::string& proxy) override;
  void SetAgent(const std::string& agent) override;
  void SetConnTimeout(int timeout) override;
  void SetLowSpeedTimeout(int timeout) override;
  void StripAcceleratorPattern(std::string& url) override;
  void LockMutItem() override;
  void UnlockMutItem() override;
  bool SetConnDetails(int timeout, int retry) override;
  void SetMaxNwSpeed(int speed) override;
  std::string get_dest_ip() override;
  std::string get_host_ip() override;
  std::string get_user_agent() override;
  std::string get_cookie() override;
  std::string get_proxy() override;

  static bool Loop(void* self);
  bool Process();
  int EndDownload_unlock(UnitObject*& unit);
  bool Resume_unlock(UnitObject* unit);
  bool Cancel_unlock(UnitObject* unit);
  void clearUsrDefCookie();
  int BeginDownloadImpl(const std::string& url, const std::string& range, bool conditional,
                        UnitObject*& unit, bool noMeasure, UserData data, bool isCurlDebug,
                        const std::string& debugTag);
  bool ReqBody(UnitObject* unit);
  bool SetBodyEasyDownloadOPT(UnitObject* unit);
  // libcurl's callbacks take and return size_t, the 32-bit word the device's engine declares as
  // unsigned int; on x86-64 the library keeps size_t so that libcurl can call them.
  static abi_probe::UnitWord EasyDownloadCB(void* data, abi_probe::UnitWord size,
                                            abi_probe::UnitWord nmemb, void* unit);
  static abi_probe::UnitWord HeaderCB(void* data, abi_probe::UnitWord size,
                                      abi_probe::UnitWord nmemb, void* unit);
  static int ProgressCB(void* unit, double dltotal, double dlnow, double ultotal, double ulnow);
  int OnBodyDownload(UnitObject* unit, void* data, int size, int easyCurlId, int curlId);
  int OnHeaderDownload(UnitObject* unit, void* data, int size);
  int CallTransfer(UnitObject* unit, int code, unsigned char* data, unsigned int size, int curlId);
  void ProcessGetInfo(UnitObject* unit, int curlId);
  int ResultIf(UnitObject* unit, CURLcode result, long status, int curlId);

  int m_connectTimeout;
  int m_lowSpeedTime;
  int m_retryCount;
  ICurlFactory* m_factory;
  curl_thread_option m_threadOption;
  int m_sleepTime;
  ICurlCB* m_callback;
  IDownloadEvent* m_event;
  ICurlMulti* m_multi;
  Thread* m_thread;
  RecursiveMutex m_mutItem;
  std::vector<std::pair<bool, UnitObject>> m_units;
  std::vector<std::pair<UnitObject*, std::string>> m_redirects;
  bool m_quit;
  int m_requestKey;
  bool m_resetting;
  long long m_lastPauseTime;
  long long m_lastResumeTime;
  bool m_useAccelerator;
  CHttpCookie m_cookie;
  std::vector<urlInfo_t> m_urlInfo;
  std::vector<std::string> m_hosts;
  std::deque<UnitObject*> m_completed;
  std::string m_cookieHeader;
  std::string m_proxy;
  std::string m_agent;
  int m_connTimeoutSet;
  int m_lowSpeedTimeSet;
  int m_maxNwSpeed;
  std::string m_cookiePath;
  std::string m_destIp;
  std::string m_hostIp;
  curl_slist* m_headers;
  RecursiveMutex m_requestLock;
  std::deque<UnitObject*> m_requests;
};

}  // namespace strmcommon
