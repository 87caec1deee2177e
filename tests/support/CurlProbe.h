// A Curl whose inner state tests may read and set, and a client that collects what it receives.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "Curl.h"
#include "ICurlCB.h"
#include "LoopbackServer.h"

namespace testsupport {

class CurlProbe : public strmcommon::Curl {
 public:
  using Curl::Curl;
  using Curl::m_agent;
  using Curl::m_callback;
  using Curl::m_completed;
  using Curl::m_connectTimeout;
  using Curl::m_connTimeoutSet;
  using Curl::m_cookie;
  using Curl::m_cookieHeader;
  using Curl::m_cookiePath;
  using Curl::m_destIp;
  using Curl::m_event;
  using Curl::m_factory;
  using Curl::m_headers;
  using Curl::m_hostIp;
  using Curl::m_hosts;
  using Curl::m_lowSpeedTime;
  using Curl::m_lowSpeedTimeSet;
  using Curl::m_maxNwSpeed;
  using Curl::m_multi;
  using Curl::m_mutItem;
  using Curl::m_proxy;
  using Curl::m_quit;
  using Curl::m_redirects;
  using Curl::m_requestKey;
  using Curl::m_requestLock;
  using Curl::m_requests;
  using Curl::m_resetting;
  using Curl::m_retryCount;
  using Curl::m_sleepTime;
  using Curl::m_thread;
  using Curl::m_threadOption;
  using Curl::m_units;
  using Curl::m_urlInfo;
  using Curl::m_useAccelerator;

  // Counts passes so a test can wait for the worker to have gone round.
  bool RunOnce() override {
    bool result = Curl::RunOnce();
    std::lock_guard<std::mutex> guard(m_passLock);
    ++m_passes;
    return result;
  }
  long Passes() {
    std::lock_guard<std::mutex> guard(m_passLock);
    return m_passes;
  }

 private:
  std::mutex m_passLock;
  long m_passes = 0;
};

// Collects body bytes per unit (checksum and, up to a limit, the bytes themselves).
class CollectingClient : public strmcommon::ICurlCB {
 public:
  // Keeps up to keepLimit bytes of each body besides its checksum.
  explicit CollectingClient(size_t keepLimit = 1 << 20) : m_keepLimit(keepLimit) {}

  struct Received {
    size_t bytes = 0;
    Checksum sum;
    std::string data;
    int calls = 0;
  };

  int OnDownloadStart(strmcommon::UnitObject* unit) override {
    std::lock_guard<std::mutex> guard(m_lock);
    ++m_starts;
    m_received[unit] = Received();
    return 0;
  }
  int OnDownloadData(strmcommon::UnitObject* unit, int code, unsigned char* data,
                     unsigned int size) override {
    std::lock_guard<std::mutex> guard(m_lock);
    Received& r = m_received[unit];
    ++r.calls;
    r.bytes += size;
    r.sum.Update(data, size);
    if (r.data.size() < m_keepLimit) {
      r.data.append(reinterpret_cast<char*>(data), std::min<size_t>(size, m_keepLimit));
    }
    return 0;
  }
  int OnRedirect(strmcommon::UnitObject* unit, const char* url) override {
    std::lock_guard<std::mutex> guard(m_lock);
    m_redirects.emplace_back(unit, url);
    return 0;
  }

  Received Get(strmcommon::UnitObject* unit) {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_received[unit];
  }
  int Starts() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_starts;
  }
  std::vector<std::pair<strmcommon::UnitObject*, std::string>> Redirects() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_redirects;
  }

 private:
  std::mutex m_lock;
  std::map<strmcommon::UnitObject*, Received> m_received;
  std::vector<std::pair<strmcommon::UnitObject*, std::string>> m_redirects;
  int m_starts = 0;
  size_t m_keepLimit;
};

}  // namespace testsupport
