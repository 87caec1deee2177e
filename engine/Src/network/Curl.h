/// \file
/// The download engine: a libcurl multi handle, a fixed pool of 20 units and a worker thread.
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

/// Selects the worker loop of a Curl: 1 is the paced loop, every other value the fixed one.
enum curl_thread_option {
  CURL_THREAD_FIXED = 0,  ///< one pass, then a 1 ms sleep
  CURL_THREAD_PACED = 1,  ///< one pass, then the constructor's sleep time (see Curl::Loop)
};

/// The download engine (see ICurl for what a client does with it). It owns, for its whole life,
/// a libcurl multi handle, 20 units with an easy handle each, a worker thread and the cookie store
/// of one client; all libcurl handles come from an ICurlFactory, so that tests can run the engine
/// over substitutes.
///
/// Locks: m_mutItem guards the pool flags, the completed list, pause and cancel changes and all
/// use of the multi handle; the worker holds it for a whole pass except around the socket wait
/// and the 1 ms back-pressure waits. m_requestLock guards only the request queue, for a single
/// test, push or pop, and always comes second. The `_unlock` operations are for a caller that
/// holds m_mutItem already.
///
/// The operations below ICurl's are the engine's own steps. They are public so that tests (and
/// the worker's static routines) reach them; a client has no need of them.
class Curl : public ICurl {
 public:
  /// One entry of the URL table: 0 to 19 belong to the pool slots, 20 to 39 to conditional
  /// requests, found by URL or else replacing the entry used longest ago.
  struct urlInfo_t {
    std::string url;           ///< the request URL, without range
    std::string range;         ///< the text for CURLOPT_RANGE, empty for none
    long fileTime = 0;         ///< the server's file time of a conditional request, 0 unknown
    long date = 0;             ///< seconds since 1970 from the response's Date, 0 unknown
    long long lastUse = 0;     ///< ms of vas_getTime at the latest set-up
    bool conditional = false;  ///< the request's conditional flag
  };

  static constexpr int kUnitCount = 20;     ///< units in the pool
  static constexpr int kUrlInfoCount = 40;  ///< entries of the URL table
  static constexpr int kHostCount = 10;     ///< host slots; slot 0 is shared by every later host
  /// The transfer identifier every caller of the body path passes; delivery requires it.
  static constexpr int kNoCurlId = -1;
  /// UnitObject::m_hostIndex of a unit that has not run a transfer yet.
  static constexpr int kUnboundHost = -1;
  static constexpr long kTransferTimeout = 120;  ///< CURLOPT_TIMEOUT, seconds for a transfer
  static constexpr long kLowSpeedLimit = 2048;   ///< CURLOPT_LOW_SPEED_LIMIT, bytes per second
  /// CURLOPT_TIMEOUT and CURLOPT_CONNECTTIMEOUT while a transfer is paused, seconds.
  static constexpr long kPausedTimeout = 99999;
  static constexpr size_t kPauseBufferCapacity = 16384;  ///< pause buffer capacity from the start
  /// Retries on one slot for a broken-off transfer or a retried HTTP status.
  static constexpr size_t kRetryLimit = 20;
  static constexpr unsigned int kRetryPauseMs = 500;  ///< the wait of each retry, m_mutItem held
  static constexpr long kSelectTimeoutUs = 300000;    ///< the socket wait of a worker pass
  /// Chunks this many ms or less after a resume restart the measurement instead of entering it.
  static constexpr long long kResumeSettleMs = 100;
  /// What a libcurl callback returns to end the transfer (the body callback's -1 is ignored).
  static constexpr int kAbortTransfer = -1;
  static constexpr long kHttpOk = 200;  ///< the only final status that reports a redirect

  /// Makes the engine over libcurl: 20 units with their easy handles, the multi handle, the
  /// thread object (not started). `option` and `sleepTime` (microseconds, for the paced loop)
  /// choose the worker loop; `cookiePath` is the client name under which the cookie files live.
  /// Connection defaults are 25 s to connect and 28 s below the low-speed limit, with no timeout
  /// retries; the platform feature key for poor networks makes them 10 s, 90 s and 6 retries.
  /// Throws std::exception when libcurl gives no handle.
  Curl(curl_thread_option option, int sleepTime, std::string cookiePath);
  /// The same over substitute handles: the engine owns `factory` from here on (null: libcurl).
  Curl(curl_thread_option option, int sleepTime, std::string cookiePath, ICurlFactory* factory);
  /// Releases the multi handle and the factory, then the thread object (which only detaches). It
  /// does not stop the worker, release the units' easy handles or save cookies: Quit must come
  /// first.
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

  /// The routine of the worker thread: one pass (RunOnce), then the loop's sleep; false once
  /// m_quit is set. Kept: the paced loop subtracts the later clock from the earlier one, so a
  /// pass within one millisecond sleeps the full sleep time and a longer pass not at all.
  static bool Loop(void* self);
  /// One worker pass, under m_mutItem: moves queued units into the multi handle (a cancelled one
  /// is freed instead, a failed add completes with err_add_handle), lets libcurl run, waits up to
  /// 300 ms on the sockets with the lock released, and finishes at most one transfer: ResultIf
  /// sets its code and the unit goes to the completed list (during a Reset, a unit with state 0
  /// is freed instead). True when a finished transfer was taken off the multi handle. Worker
  /// thread.
  bool Process();
  /// EndDownload for a caller that holds m_mutItem: the same contract, but its wait keeps the
  /// lock and it does not stamp m_endTime.
  int EndDownload_unlock(UnitObject*& unit);
  /// Resume for a caller that holds m_mutItem.
  bool Resume_unlock(UnitObject* unit);
  /// Cancel for a caller that holds m_mutItem.
  bool Cancel_unlock(UnitObject* unit);
  /// Empties the line SetCookie made (get_cookie) and nothing else: the request headers keep it.
  void clearUsrDefCookie();

  /// The common step of the begin operations: chooses the host slot and the first free unit
  /// bound to it, gives the unit a fresh easy handle, fills its URL table entry, resets the unit,
  /// calls OnDownloadStart and configures and queues the transfer (ReqBody). err_failed when no
  /// unit qualifies. The caller holds LockMutItem.
  int BeginDownloadImpl(const std::string& url, const std::string& range, bool conditional,
                        UnitObject*& unit, bool noMeasure, UserData data, bool isCurlDebug,
                        const std::string& debugTag);
  /// SetBodyEasyDownloadOPT after a null test; false for a null unit.
  bool ReqBody(UnitObject* unit);
  /// Restarts the unit's timing, resets its easy handle, sets the options of a transfer in their
  /// fixed order (URL with the accelerator prefix if on, range, cookies of the pool, extra
  /// headers, callbacks, limits, user agent, receive buffer sized by the bitrate) and appends
  /// the unit to the request queue under m_requestLock. Always true.
  bool SetBodyEasyDownloadOPT(UnitObject* unit);

  /// libcurl's write callback: hands each body chunk to OnBodyDownload. Always reports the whole
  /// chunk as consumed (a quitting engine or a freed slot drops it): it never aborts.
  static size_t EasyDownloadCB(void* data, size_t size, size_t nmemb, void* unit);
  /// libcurl's header callback: each header line to OnHeaderDownload. Aborts the transfer with
  /// kAbortTransfer when the engine is quitting or the slot was freed.
  static size_t HeaderCB(void* data, size_t size, size_t nmemb, void* unit);
  /// libcurl's progress callback: kAbortTransfer when quitting, the slot was freed or the unit
  /// was cancelled, else 0. The one way a cancel reaches a running transfer.
  static int ProgressCB(void* unit, double dltotal, double dlnow, double ultotal, double ulnow);
  /// One body chunk on the worker thread: counts it, reports its timing to IDownloadEvent, and
  /// delivers it through CallTransfer (a saved chunk first). A paused unit keeps the chunk in its
  /// pause buffer instead (a second one overwrites it, with an error line). Both identifiers must
  /// be kNoCurlId. Returns `size`, or kAbortTransfer for a null unit, a bad identifier or a
  /// cancel.
  int OnBodyDownload(UnitObject* unit, void* data, int size, int easyCurlId, int curlId);
  /// One response header line: the first Date of the transfer, redirect targets (any line holding
  /// 301, 302, 307 or 308 raises the flag; a later Location line gives the target), and
  /// Set-Cookie lines, filed under the host and path of the effective URL. In headers-kept mode
  /// the line is only appended to m_rawHeader. Returns `size`; kAbortTransfer for a null unit.
  int OnHeaderDownload(UnitObject* unit, void* data, int size);
  /// Offers a chunk to ICurlCB::OnDownloadData until it is taken, with the 1 ms back-pressure wait
  /// (m_mutItem released) while the client is full. Returns at once for a cancelled unit, a unit
  /// with a code, or a quitting engine; saves the chunk in the pause buffer when the unit is
  /// paused meanwhile. The result (0) is not used.
  int CallTransfer(UnitObject* unit, int code, unsigned char* data, unsigned int size, int curlId);
  /// Before each chunk: the content length while unknown and, for a conditional request, the
  /// server's file time.
  void ProcessGetInfo(UnitObject* unit, int curlId);
  /// Classifies a finished transfer into the unit's code and applies the retry rules: an
  /// operation timeout with no body byte is retried up to the configured count; a broken-off
  /// transfer whose length is unknown or not reached, and the statuses 400, 403, 404, 500, 503
  /// and 504, up to twenty times on one slot; a transfer whose whole content had arrived counts as
  /// a success; everything else ends as err_recv_error (a TLS failure and an unresolved host keep
  /// their codes). A cancel beats every rule. Each retry sleeps 500 ms with m_mutItem held. Then
  /// reports the first redirect of a transfer that ended with status 200 to OnRedirect, and
  /// clears m_cancel. Returns the final code (err_failed for a null unit). Worker thread.
  int ResultIf(UnitObject* unit, CURLcode result, long status, int curlId);

 protected:
  int m_connectTimeout;               ///< CURLOPT_CONNECTTIMEOUT, seconds
  int m_lowSpeedTime;                 ///< CURLOPT_LOW_SPEED_TIME, seconds
  int m_retryCount;                   ///< retries allowed on an operation timeout
  ICurlFactory* m_factory;            ///< owned; the only maker of handle objects
  curl_thread_option m_threadOption;  ///< the worker loop
  int m_sleepTime;                    ///< microseconds, for the paced loop
  ICurlCB* m_callback;                ///< the client, not owned; null until Init
  IDownloadEvent* m_event;            ///< the measurement sink, not owned; null until Init
  ICurlMulti* m_multi;                ///< owned through the factory
  Thread* m_thread;                   ///< the worker, owned
  RecursiveMutex m_mutItem;           ///< the engine lock (see the class comment)
  /// The pool; `first` is true while the slot is allocated to a transfer.
  std::vector<std::pair<bool, UnitObject>> m_units;
  /// Pending redirect targets in order of arrival, taken by ResultIf.
  std::vector<std::pair<UnitObject*, std::string>> m_redirects;
  bool m_quit;                       ///< set by Quit; the worker stops at the end of its pass
  int m_requestKey;                  ///< the generation, compared as unsigned; Reset increments it
  bool m_resetting;                  ///< an engine-wide Reset is in progress
  long long m_lastPauseTime;         ///< ms, written by pause and resume
  long long m_lastResumeTime;        ///< ms, written by resume
  bool m_useAccelerator;             ///< requests go through the local accelerator; starts false
  CHttpCookie m_cookie;              ///< the client's cookie store
  std::vector<urlInfo_t> m_urlInfo;  ///< the URL table, 40 entries
  std::vector<std::string> m_hosts;  ///< host slots 1 to 9 in order of first use; 0 stays empty
  std::deque<UnitObject*> m_completed;  ///< finished units in order of finishing
  std::string m_cookieHeader;           ///< the line made by the latest SetCookie
  std::string m_proxy;                  ///< SetProxy
  std::string m_agent;                  ///< SetAgent
  int m_connTimeoutSet;                 ///< SetConnTimeout; not read by any transfer
  int m_lowSpeedTimeSet;                ///< SetLowSpeedTimeout; not read by any transfer
  int m_maxNwSpeed;                     ///< SetMaxNwSpeed, bytes per second
  std::string m_cookiePath;             ///< the client name of the cookie files
  std::string m_destIp;                 ///< remote address of the latest finished transfer
  std::string m_hostIp;                 ///< local address of the latest finished transfer
  curl_slist* m_headers;                ///< extra request headers from SetCookie; freed by Quit
  RecursiveMutex m_requestLock;         ///< guards m_requests only; always taken second
  std::deque<UnitObject*> m_requests;   ///< units waiting to enter the multi handle

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
