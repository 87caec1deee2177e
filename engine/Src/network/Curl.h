// The download engine: a libcurl multi handle, a fixed pool of 20 units and a worker thread.
#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "CHttpCookie.h"
#include "CurlMsg.h"
#include "ICurl.h"
#include "ICurlCB.h"
#include "ICurlFactory.h"
#include "IDownloadEvent.h"
#include "Mutex.h"
#include "Thread.h"
#include "UnitObject.h"

namespace strmcommon {

// Selects the worker loop: 1 is the paced loop, every other value the fixed one.
enum curl_thread_option {
  CURL_THREAD_FIXED = 0,
  CURL_THREAD_PACED = 1,
};

class Curl : public ICurl {
 public:
  // One entry of the URL table.
  struct urlInfo_t {
    std::string url;
    std::string range;
    long fileTime = 0;
    // Seconds since the epoch from the response's Date header; 0 when unknown.
    long date = 0;
    long long lastUse = 0;
    bool conditional = false;
  };

  static constexpr int kUnitCount = 20;
  static constexpr int kUrlInfoCount = 40;
  static constexpr int kHostCount = 10;
  static constexpr int kNoCurlId = -1;
  static constexpr int kUnboundHost = -1;
  static constexpr long kTransferTimeout = 120;
  static constexpr long kLowSpeedLimit = 2048;
  static constexpr long kPausedTimeout = 99999;
  static constexpr size_t kPauseBufferCapacity = 16384;
  static constexpr size_t kRetryLimit = 20;
  static constexpr unsigned int kRetryPauseMs = 500;
  static constexpr long kSelectTimeoutUs = 300000;
  static constexpr long long kResumeSettleMs = 100;
  static constexpr int kAbortTransfer = -1;
  static constexpr long kHttpOk = 200;

  // sleepTime is in microseconds and paces the loop of option 1.
  Curl(curl_thread_option option, int sleepTime, std::string cookiePath);
  // The same over substitute handles: the engine owns factory from here on.
  Curl(curl_thread_option option, int sleepTime, std::string cookiePath, ICurlFactory* factory);
  ~Curl() override;
  Curl(const Curl&) = delete;
  Curl& operator=(const Curl&) = delete;

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
  int DummyDownload(unsigned int key, const std::string& url, bool unused, UnitObject*& unit,
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

  // The routine of the worker thread: one pass per call, false once m_quit is set.
  static bool Loop(void* self);
  // One pass: true when a finished transfer was taken off the multi handle.
  bool Process();
  // EndDownload for a caller that already holds m_mutItem.
  int EndDownload_unlock(UnitObject*& unit);
  bool Resume_unlock(UnitObject* unit);
  bool Cancel_unlock(UnitObject* unit);
  void clearUsrDefCookie();

  int BeginDownloadImpl(const std::string& url, const std::string& range, bool conditional,
                        UnitObject*& unit, bool noMeasure, UserData data, bool isCurlDebug,
                        const std::string& debugTag);
  bool ReqBody(UnitObject* unit);
  bool SetBodyEasyDownloadOPT(UnitObject* unit);

  static size_t EasyDownloadCB(void* data, size_t size, size_t nmemb, void* unit);
  static size_t HeaderCB(void* data, size_t size, size_t nmemb, void* unit);
  static int ProgressCB(void* unit, double dltotal, double dlnow, double ultotal, double ulnow);
  int OnBodyDownload(UnitObject* unit, void* data, int size, int easyCurlId, int curlId);
  int OnHeaderDownload(UnitObject* unit, void* data, int size);
  int CallTransfer(UnitObject* unit, int code, unsigned char* data, unsigned int size, int curlId);
  void ProcessGetInfo(UnitObject* unit, int curlId);
  int ResultIf(UnitObject* unit, CURLcode result, long status, int curlId);

 protected:
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
  // first is true while the slot is allocated to a transfer.
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

 private:
  // Takes the front of m_requests, testing and popping under separate holds of m_requestLock;
  // false when the queue is empty.
  bool PopRequest(UnitObject*& unit);
  // The unlocked wait of the two EndDownload forms: until the worker is done with the unit, or
  // it has a result, a cancel or an engine reset. Returns the unit's code at the end.
  int WaitForEnd(UnitObject* unit);
  // Steps of a worker pass: Perform until libcurl asks for no more; the socket wait with
  // m_mutItem released; the addresses of a finished transfer; and where the finished unit goes.
  void PerformAll(int& running);
  void WaitForSockets(int& running);
  void KeepAddresses(UnitObject* unit, const CurlMsg& msg);
  void RouteFinished(UnitObject* unit);
  // Steps of the body path: the chunk's timing to m_event, and delivery past m_skipBytes.
  void ReportTiming(UnitObject* unit, int size, long long previousTime, long long now,
                    bool insideResume);
  void DeliverPastSkip(UnitObject* unit, unsigned char* bytes, int size, int curlId);
  // A Set-Cookie value into the pool, under the host and path of the transfer's effective URL.
  void FileCookie(UnitObject* unit, urlInfo_t& entry, const char* cookie);
  // Takes the first pending redirect target of the unit and, when the transfer followed at least
  // one redirect and ended with status 200, hands it to OnRedirect.
  void ReportRedirect(UnitObject* unit, long status);

  // The unit that Resume_unlock is resuming on this thread, while libcurl's resume call runs.
  static thread_local UnitObject* s_resumingUnit;
};

}  // namespace strmcommon
