/// \file
/// The download engine's interface towards its client.
#pragma once

#include <cstddef>
#include <string>

#include "ICurlCB.h"
#include "IDownloadEvent.h"
#include "UnitObject.h"

namespace strmcommon {

/// The download engine as its client sees it: begin a transfer, collect it when it has finished,
/// give its unit back; pause, resume, cancel and reset; settings and queries.
///
/// Two kinds of thread meet here. The client's threads call these operations; the engine's worker
/// thread (started by StartLoop) runs the transfers and every callback into ICurlCB and
/// IDownloadEvent. The worker holds the engine lock, m_mutItem, for almost all of a pass: it lets
/// go only while it waits on the sockets (at most 300 ms) and for 1 ms at a time while a client
/// refuses body data. Operations that say "takes m_mutItem" block until then. The begin
/// operations take no lock while they choose a unit: a client calls them between LockMutItem and
/// UnlockMutItem. The lock is recursive, so callbacks may call back into Pause, Resume, Cancel and
/// the queries on the worker thread.
///
/// Results are the unit codes of UnitCode.h: err_none (0) for success, err_retry (10) when the
/// client should request the same thing again, a negative err_ value for a failure. The engine
/// never restarts a transfer by itself.
///
/// The implementation is Curl; see docs/engine.md for the whole life of a transfer.
class ICurl {
 public:
  /// Virtual, so that an engine can be destroyed through its interface; Quit must come first
  /// (see Curl::~Curl).
  virtual ~ICurl() {}

  /// Hands in the client's callbacks and the measurement sink (usually a BandwidthChecker; may be
  /// null), then reads the client's two cookie files. Call once, before StartLoop; neither
  /// pointer is owned.
  virtual void Init(ICurlCB* callback, IDownloadEvent* event) = 0;
  /// Starts the worker thread (clearing a quit from an earlier Quit). True when the thread was
  /// created.
  virtual bool StartLoop() = 0;
  /// Shuts the engine down: saves both cookie files first, frees the extra request headers, stops
  /// and joins the worker, then releases every unit's easy handle under m_mutItem. Queued and
  /// completed units are left where they are. Kept: the header list is freed but its pointer is
  /// not cleared, so a second Quit frees it again; call it once, before destruction. A later
  /// StartLoop makes the engine usable again.
  virtual void Quit() = 0;
  /// Brings the engine back to no transfers, for a new playback position. Increments the request
  /// key at once (so begin operations with an older key do nothing), cancels every allocated unit
  /// whose UserData::state is 0 (waiting 20 ms once if it cancelled any and a slot is still
  /// taken), then ends the queued and completed units with state 0 and frees their m_chunk
  /// records. Units with another state keep
  /// running. A second call during a reset only increments the key. Client thread; takes
  /// m_mutItem, and m_requestLock inside it.
  ///
  /// Kept: if the front of the completed list is a unit with a non-zero state, the walk of that
  /// list turns on it with m_mutItem held until another thread's SetData clears the state.
  virtual void Reset() = 0;
  /// Cancels `unit` if it is the transfer the caller has in mind: the unit must be allocated and
  /// its UserData::type must equal `type`. True when it was cancelled. A null unit is not caught
  /// (it is read for the first log line). Takes m_mutItem.
  virtual bool Reset(UnitObject* unit, unsigned int type) = 0;
  /// Begins a GET of `url`. A byte range may be written straight in front of the scheme:
  /// "0-1023http://host/seg.ts" (everything before the first "http" is the range, passed to
  /// libcurl unchecked). `key` is GetRequestKey() as the client last saw it: a key older than the
  /// engine's is a request from before a Reset and returns err_none at once with `unit`
  /// untouched. With `conditional` the URL keeps a URL table entry of its own across downloads.
  /// `noMeasure` keeps the transfer out of IDownloadEvent. `data` travels with the unit; its
  /// bitrate sizes the receive buffer (kBitrateUnknown for "not known").
  ///
  /// On success `unit` is the chosen unit and the result err_none; the transfer starts on the
  /// next worker pass. err_invalidarg: empty URL. err_failed: the engine is quitting, the text
  /// has no "http", or no unit is free for this host ("ERROR!! max concurrent download over").
  /// A unit stays bound to the host of its first transfer for the engine's life: the first nine
  /// hosts have a slot of their own, later ones share slot 0.
  ///
  /// Client thread, between LockMutItem and UnlockMutItem; ICurlCB::OnDownloadStart runs on this
  /// thread before the handle is configured. Only the queue step takes a lock (m_requestLock).
  virtual int BeginDownload(unsigned int key, const std::string& url, bool conditional,
                            UnitObject*& unit, bool noMeasure, UserData data) = 0;
  /// BeginDownload with the range apart, and the headers-kept mode: with `isCurlDebug` the unit
  /// collects every response header line in m_rawHeader (and m_headerEnd), libcurl does not fail
  /// on an HTTP error status, and a success cannot end as err_none (see ResultIf). `debugTag`,
  /// when not empty, is stored on the unit for the client. The URL is not examined for "http".
  /// Results and threads as BeginDownload.
  virtual int BeginDownload2(unsigned int key, const std::string& url, const std::string& range,
                             bool conditional, UnitObject*& unit, bool noMeasure, UserData data,
                             bool isCurlDebug, const std::string& debugTag) = 0;
  /// Requests URL table entry `urlIndex` again, as it stands now (with its range and conditional
  /// flag): the way to ask again after err_retry, with the unit's m_urlIndex. There is no key.
  /// If the measurement sink reports a low-latency stream, the query of the entry's URL is
  /// stripped first, for good. err_invalidarg for an empty entry, err_failed when quitting, else
  /// as BeginDownload. The sink handed to Init must be set.
  ///
  /// Kept: the query is erased where its text is first found in the URL; a bare "?" or a query
  /// that canonicalises into other text makes this throw std::out_of_range.
  virtual int BeginDownload3(int urlIndex, UnitObject*& unit, bool noMeasure, UserData data) = 0;
  /// Serves `size` bytes of `buffer` as the body of a finished transfer of `url`, without the
  /// network: the client's OnDownloadStart and OnDownloadData run on this thread, and the unit
  /// goes straight to the completed list with err_none. An older `key` returns err_none and does
  /// nothing; an empty URL or no free unit gives err_invalidarg. The third argument is ignored.
  ///
  /// Kept: the unit taken counts as slot 0 from then on (index, host and URL entry), so its
  /// EndDownload frees slot 0 and the unit is open to every host without a slot of its own.
  /// Call it between LockMutItem and UnlockMutItem.
  virtual int DummyDownload(unsigned int key, const std::string& url, bool unused,
                            UnitObject*& unit, bool noMeasure, UserData data, char* buffer,
                            int size) = 0;
  /// Gives `unit`'s slot back after GetCompleted. Waits, polling every 3 ms without a lock and
  /// without a time limit, while the worker is still busy with the unit and it has no code, no
  /// cancel and no engine reset; then frees the slot under m_mutItem. Returns the unit's code as
  /// it stood at the end of the wait, err_failed for a null unit. A second call for the same
  /// transfer returns err_none and only clears m_done (this is how a cancelled unit that comes
  /// back through GetCompleted after an early EndDownload is freed). Client thread.
  virtual int EndDownload(UnitObject*& unit) = 0;
  /// Cancels a transfer: a paused unit is resumed first, then m_cancel is raised; a unit already
  /// finished gets err_interrupted at once. The worker aborts the transfer at libcurl's next
  /// progress call, and the unit comes back through GetCompleted with err_interrupted (a unit
  /// still queued is dropped and freed instead). True when this call raised the flag, false for
  /// a second cancel and for a null unit. Takes m_mutItem; may be called from inside
  /// OnDownloadData.
  virtual bool Cancel(UnitObject* unit) = 0;
  /// Pauses a running transfer. libcurl keeps the chunk it has already handed over in the unit's
  /// pause buffer, and the time limits are lifted while paused (a resume stretches the 120 s
  /// budget by the time spent paused). True when the unit is paused now (also when it already
  /// was); false when libcurl refused, for a null unit, and for a unit with m_pauseBlocked. Does
  /// not look at whether the slot is allocated. Takes m_mutItem; may be called from inside
  /// OnDownloadData.
  virtual bool Pause(UnitObject* unit) = 0;
  /// Resumes a paused transfer and restores its limits, stretched by the time paused. True when
  /// the unit is not paused now (also when it was not paused); false when libcurl refused (the
  /// unit stays paused) and for a null unit. The saved chunk is delivered ahead of the next one.
  /// Takes m_mutItem.
  virtual bool Resume(UnitObject* unit) = 0;
  /// True when `unit`'s slot is allocated and the unit is not paused; false for a null unit.
  /// Takes m_mutItem.
  virtual bool IsDownloading(UnitObject* unit) = 0;
  /// True when `unit`'s slot is allocated and the unit is paused. Takes m_mutItem.
  virtual bool IsPause(UnitObject* unit) = 0;
  /// One worker pass (Curl::Process): true when a finished transfer was taken off the multi
  /// handle. The worker thread calls this; tests and a client without StartLoop may too.
  virtual bool RunOnce() = 0;
  /// A copy of the client words of `unit`. No null test, no lock.
  virtual UserData GetData(UnitObject* unit) = 0;
  /// Stores new client words on `unit` and returns the old ones. No null test, no lock: this is
  /// also how another thread ends the Reset walk that waits on a non-zero state.
  virtual UserData SetData(UnitObject* unit, UserData data) = 0;
  /// True when no slot is allocated; false from the moment a begin operation took one. Takes
  /// m_mutItem.
  virtual bool IsIdle() = 0;
  /// The engine's generation: Reset increments it. Pass it as the key of the begin operations.
  virtual int GetRequestKey() = 0;
  /// Body bytes received so far by `unit` (a chunk kept in the pause buffer counts already); 0 and
  /// an error line for a null unit. No lock.
  virtual size_t GetPos(UnitObject* unit) = 0;
  /// The content length libcurl reported for `unit`, 0 until known; 0 for a null unit. No lock.
  virtual size_t GetSize(UnitObject* unit) = 0;
  /// Takes the oldest finished unit off the completed list: `code` receives its unit code and
  /// `date` the server's Date (seconds since 1970, 0 when none came). Null when nothing has
  /// finished; then neither output is written. The slot stays allocated until EndDownload.
  /// Takes m_mutItem; poll it from the client's thread.
  ///
  /// Kept: an entry that is not a unit of the pool stops the list: it is logged and stays at the
  /// front, and every later call returns null.
  virtual UnitObject* GetCompleted(int& code, long& date) = 0;
  /// Adds the request header "Cookie:<value>" to every later transfer to every host. Each call
  /// adds one more line; nothing removes them before Quit. No lock: call it before transfers
  /// start or under LockMutItem.
  virtual void SetCookie(const std::string& value) = 0;
  /// Files a Set-Cookie value in the cookie pool under a host and request path of the client's
  /// choosing, as a response from that host would. No lock (see SetCookie).
  virtual void SetCookieToPool(std::string& cookie, std::string& host, std::string& path) = 0;
  /// The proxy for later transfers (CURLOPT_PROXY); empty for none. No lock.
  virtual void SetProxy(const std::string& proxy) = 0;
  /// The user agent for later transfers; empty for the default "corvane-agent/1.1". No lock.
  virtual void SetAgent(const std::string& agent) = 0;
  /// Stores a connection timeout. Kept: no transfer reads it; the connection timeout changes only
  /// through SetConnDetails.
  virtual void SetConnTimeout(int timeout) = 0;
  /// Stores a low-speed timeout. Kept: no transfer reads it; the low-speed time is fixed at
  /// construction.
  virtual void SetLowSpeedTimeout(int timeout) = 0;
  /// Removes the local accelerator prefix from the front of `url`, if it stands exactly there,
  /// and turns the accelerator off. Anything else leaves both alone.
  virtual void StripAcceleratorPattern(std::string& url) = 0;
  /// Takes m_mutItem, the lock the worker holds while it runs a pass, so that several calls
  /// (above all the begin operations) are one step for the worker. Recursive.
  virtual void LockMutItem() = 0;
  /// Releases m_mutItem taken by LockMutItem.
  virtual void UnlockMutItem() = 0;
  /// Sets the connection timeout in seconds and the number of retries of an operation timeout,
  /// for later transfers; a value below 1 leaves its setting alone. Always true. No lock.
  virtual bool SetConnDetails(int timeout, int retry) = 0;
  /// Caps the receive rate of later transfers, bytes per second; 0 or less for no cap.
  virtual void SetMaxNwSpeed(int speed) = 0;
  /// The remote address of the latest finished transfer that had one.
  virtual std::string get_dest_ip() = 0;
  /// The local address of the latest finished transfer that had one.
  virtual std::string get_host_ip() = 0;
  /// The user agent as set (empty when the default is used).
  virtual std::string get_user_agent() = 0;
  /// The latest "Cookie:..." line made by SetCookie.
  virtual std::string get_cookie() = 0;
  /// The proxy as set.
  virtual std::string get_proxy() = 0;
};

}  // namespace strmcommon
