// The download engine's running half: the worker pass, completion and shutdown.
#include <cstring>

#include "Clock.h"
#include "Curl.h"
#include "DLog.h"
#include "Width32.h"

namespace strmcommon {

bool Curl::StartLoop() {
  m_quit = false;
  return m_thread->Create(Loop, this);
}

bool Curl::Loop(void* self) {
  Curl* curl = static_cast<Curl*>(self);
  if (curl->m_threadOption == CURL_THREAD_PACED) {
    unsigned int t0 = width32::Low32(vas_getTime());
    curl->RunOnce();
    unsigned int t1 = width32::Low32(vas_getTime());
    // Kept: earlier minus later. A pass within one millisecond sleeps the full m_sleepTime; a
    // longer pass wraps to a huge value and does not sleep at all.
    unsigned int d = (t0 - t1) * 1000u;
    if (static_cast<unsigned int>(curl->m_sleepTime) > d) {
      vas_sleep_us(static_cast<unsigned int>(curl->m_sleepTime) - d);
    }
  } else {
    curl->RunOnce();
    vas_sleep_us(1000);
  }
  return !curl->m_quit;
}

bool Curl::RunOnce() { return Process(); }

bool Curl::Process() {
  m_mutItem.Lock();

  UnitObject* queued = nullptr;
  while (PopRequest(queued)) {
    if (queued == nullptr) {
      VAS_LOG_ERROR("Strange null unit is requested, ignoring..");
    } else if (queued->m_cancel) {
      VAS_LOG_ERROR("Cancel request unit(%p)", queued);
      EndDownload_unlock(queued);
    } else if (m_multi->AddHandle(*queued->m_easy)) {
      VAS_LOG_ERROR("Add handle for unit(%p)", queued);
    } else {
      // m_done stays false here.
      queued->code = err_add_handle;
      m_completed.push_back(queued);
      VAS_LOG_ERROR("Add handle failure for unit(%p)", queued);
    }
  }

  int running = 0;
  PerformAll(running);
  if (running != 0) WaitForSockets(running);

  int msgsLeft = 0;
  CurlMsg msg;
  std::memset(&msg, 0, sizeof(msg));
  if (!m_multi->InfoRead(msgsLeft, msg)) {
    m_mutItem.Unlock();
    return false;
  }

  CURLcode result = msg.result;
  UnitObject* unit = static_cast<UnitObject*>(msg.unit);
  if (result == CURLE_ABORTED_BY_CALLBACK) VAS_LOG_DEBUG("111");
  if (unit != nullptr) {
    if (unit->m_cancel) result = CURLE_ABORTED_BY_CALLBACK;
    KeepAddresses(unit, msg);
    if (m_resetting) result = CURLE_ABORTED_BY_CALLBACK;
    if (result != CURLE_OK) VAS_LOG_DEBUG("errorbuf : %s", unit->m_errorBuf);

    long status = 0;
    long httpVersion = 0;
    unit->m_easy->GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status);
    unit->m_easy->GetInfoWithLong(CURLINFO_HTTP_VERSION, &httpVersion);
    VAS_LOG_DEBUG("CURLMSG_DONE unit : %p result : %d  http_status : %ld http_version : %ld", unit,
                  result, status, httpVersion);
    // The easy handle stays with the unit.
    m_multi->RemoveHandle(*unit->m_easy);
    ResultIf(unit, result, status, kNoCurlId);
    RouteFinished(unit);
  }
  m_mutItem.Unlock();
  return true;
}

void Curl::PerformAll(int& running) {
  while (m_multi->Perform(running)) {
  }
}

void Curl::WaitForSockets(int& running) {
  fd_set readFds;
  fd_set writeFds;
  fd_set exceptFds;
  FD_ZERO(&readFds);
  FD_ZERO(&writeFds);
  FD_ZERO(&exceptFds);
  int maxFd = 0;
  timeval timeout = {0, kSelectTimeoutUs};
  m_multi->FDSet(&readFds, &writeFds, &exceptFds, &maxFd);
  // Released for the socket wait: the one point of a pass where client threads get at the units.
  m_mutItem.Unlock();
  int selected = m_multi->Select(maxFd + 1, &readFds, &writeFds, &exceptFds, &timeout);
  m_mutItem.Lock();
  if (selected >= 0) PerformAll(running);
}

void Curl::KeepAddresses(UnitObject* unit, const CurlMsg& msg) {
  unit->m_destIp = msg.primaryIp;
  unit->m_localIp = msg.localIp;
  // A text of one character or none leaves the engine's last address as it was.
  if (msg.primaryIp != nullptr && std::strlen(msg.primaryIp) > 1) m_destIp = msg.primaryIp;
  if (msg.localIp != nullptr && std::strlen(msg.localIp) > 1) m_hostIp = msg.localIp;
}

void Curl::RouteFinished(UnitObject* unit) {
  if (m_resetting && unit->m_data.state == 0) {
    // Freed at once; the client hears nothing of it.
    unit->m_done = true;
    EndDownload_unlock(unit);
  } else if (unit->m_cancel) {
    // ResultIf has just cleared m_cancel, so this route stands but does not run.
    EndDownload_unlock(unit);
  } else {
    unit->m_done = true;
    if (!unit->m_pauseBuffer.empty()) {
      CallTransfer(unit, unit->code, unit->m_pauseBuffer.data(),
                   static_cast<unsigned int>(unit->m_pauseBuffer.size()), kNoCurlId);
    }
    m_completed.push_back(unit);
  }
}

UnitObject* Curl::GetCompleted(int& code, long& date) {
  ScopedLock lock(m_mutItem);
  if (m_completed.empty()) return nullptr;
  UnitObject* unit = m_completed.front();
  bool inPool = false;
  for (auto& slot : m_units) {
    if (&slot.second == unit) {
      inPool = true;
      break;
    }
  }
  if (!inPool) {
    // Intended as a stop, not a repair: the entry stays at the front and every call repeats this.
    VAS_LOG_ERROR("Complete List unit[%p] didn't match with unitpool", unit);
    return nullptr;
  }
  code = unit->code;
  date = m_urlInfo[unit->m_urlIndex].date;
  m_completed.pop_front();
  return unit;
}

bool Curl::PopRequest(UnitObject*& unit) {
  m_requestLock.Lock();
  bool empty = m_requests.empty();
  m_requestLock.Unlock();
  if (empty) return false;
  m_requestLock.Lock();
  unit = m_requests.front();
  m_requests.pop_front();
  m_requestLock.Unlock();
  return true;
}

int Curl::WaitForEnd(UnitObject* unit) {
  // Polled without a lock, and without a time limit: a running transfer holds the caller here.
  while (!unit->m_done) {
    if (unit->code != err_none || unit->m_cancel || m_resetting) break;
    vas_sleep_ms(3);
  }
  return unit->code;
}

int Curl::EndDownload(UnitObject*& unit) {
  VAS_LOG_DEBUG("starts. unit p[%p]", unit);
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return err_failed;
  }
  if (unit->m_endCalled) {
    VAS_LOG_DEBUG("<<Success End Download Unit: %p", unit);
    unit->m_done = false;
    VAS_LOG_DEBUG("Leave");
    return err_none;
  }
  unit->m_endTime = static_cast<long long>(vas_getTime());
  unit->m_endCalled = true;

  int code = WaitForEnd(unit);

  m_mutItem.Lock();
  m_units[unit->m_index].first = false;
  m_mutItem.Unlock();

  unit->m_done = false;
  VAS_LOG_DEBUG("Leave");
  return code;
}

int Curl::EndDownload_unlock(UnitObject*& unit) {
  VAS_LOG_DEBUG(">>");
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return err_failed;
  }
  if (unit->m_endCalled) {
    unit->m_done = false;
    VAS_LOG_DEBUG("<<");
    return err_none;
  }
  unit->m_endCalled = true;

  // The caller holds m_mutItem, so this wait keeps it held.
  int code = WaitForEnd(unit);

  m_units[unit->m_index].first = false;
  unit->m_done = false;
  VAS_LOG_DEBUG("<<");
  return code;
}

void Curl::Quit() {
  VAS_LOG_DEBUG("Quit() starts.");
  // First, while the worker may still be running.
  m_cookie.saveCookieFile();
  // The pointer is left as it is: a second Quit frees the list again, so a client calls it once.
  if (m_headers != nullptr) curl_slist_free_all(m_headers);
  m_quit = true;
  if (m_thread->IsThread()) m_thread->Join(nullptr);

  m_mutItem.Lock();
  for (auto& slot : m_units) {
    UnitObject& unit = slot.second;
    if (slot.first) {
      if (unit.m_pause) Resume(&unit);
      if (unit.m_easy == nullptr) {
        slot.first = false;
        continue;
      }
      m_multi->RemoveHandle(*unit.m_easy);
      unit.m_easy->Reset();
      m_factory->ReleaseCurlEasy(unit.m_easy);
      unit.m_easy = nullptr;
      slot.first = false;
    } else if (unit.m_easy != nullptr) {
      unit.m_easy->Reset();
      m_factory->ReleaseCurlEasy(unit.m_easy);
      unit.m_easy = nullptr;
    }
  }
  VAS_LOG_DEBUG("The end of Curl::Quit().");
  m_mutItem.Unlock();
}

}  // namespace strmcommon
