// The download engine: construction, settings and queries.
#include "Curl.h"

#include "ConcreateCurlFactory.h"
#include "CurlEasy.h"
#include "CurlMulti.h"
#include "DLog.h"
#include "system_info.h"

namespace strmcommon {

namespace {
const char kPoorNetworkKey[] = "com.corvane/featureconf/multimedia.hls.poor_network_config_support";
}  // namespace

Curl::Curl(curl_thread_option option, int sleepTime, std::string cookiePath)
    : Curl(option, sleepTime, std::move(cookiePath), nullptr) {}

Curl::Curl(curl_thread_option option, int sleepTime, std::string cookiePath, ICurlFactory* factory)
    : m_connectTimeout(0),
      m_lowSpeedTime(0),
      m_retryCount(0),
      m_factory(nullptr),
      m_threadOption(CURL_THREAD_FIXED),
      m_sleepTime(0),
      m_callback(nullptr),
      m_event(nullptr),
      m_multi(nullptr),
      m_thread(nullptr),
      m_quit(false),
      m_requestKey(0),
      m_resetting(false),
      m_lastPauseTime(0),
      m_lastResumeTime(0),
      m_useAccelerator(false),
      m_connTimeoutSet(0),
      m_lowSpeedTimeSet(0),
      m_maxNwSpeed(0),
      m_headers(nullptr) {
  VAS_LOG_DEBUG("Constructor starts.\n");
  m_factory = factory != nullptr ? factory : new ConcreateCurlFactory<CurlEasy, CurlMulti>();
  m_threadOption = option;
  m_sleepTime = sleepTime;
  m_cookiePath = cookiePath;
  VAS_LOG_DEBUG("curl sleep time  %d\n", m_sleepTime);

  m_connectTimeout = 25;
  m_lowSpeedTime = 28;
  m_retryCount = 0;

  bool poorNetwork = false;
  if (system_info_get_custom_bool(kPoorNetworkKey, &poorNetwork) != 0) {
    // The one line of the library written to the main log without a tag.
    VAS_LOG_MAIN_UNTAGGED_ERROR("system_info_get_custom_bool() fail");
  } else if (poorNetwork) {
    m_connectTimeout = 10;
    m_lowSpeedTime = 90;
    m_retryCount = 6;
  }
  VAS_LOG_DEBUG(
      "m_connectTimeout : %d, m_lowSpeedTime : %d m_retryCount : %d poor_network_support : %d\n",
      m_connectTimeout, m_lowSpeedTime, m_retryCount, poorNetwork);

  m_hosts.assign(kHostCount, std::string());
  m_urlInfo.assign(kUrlInfoCount, urlInfo_t());

  // Units are never allocated or freed after this: clients hold pointers into the pool.
  m_units.reserve(kUnitCount);
  try {
    for (int i = 0; i < kUnitCount; ++i) {
      m_units.emplace_back(false, UnitObject());
      UnitObject& unit = m_units.back().second;
      unit.m_urlIndex = 0;
      unit.m_hostIndex = kUnboundHost;
      unit.m_pauseBuffer.reserve(kPauseBufferCapacity);
      unit.m_curl = this;
      unit.m_easy = m_factory->CreateCurlEasy();
      unit.m_done = false;
      unit.m_chunk = nullptr;
    }
    m_multi = m_factory->CreateCurlMulti();
  } catch (...) {
    // No libcurl handle: give back what was made and let the exception leave the constructor.
    for (auto& slot : m_units) m_factory->ReleaseCurlEasy(slot.second.m_easy);
    delete m_factory;
    throw;
  }
  m_headers = nullptr;
  m_thread = new Thread();
}

Curl::~Curl() {
  VAS_LOG_DEBUG("Destructor starts.\n");
  m_factory->ReleaseCurlMulti(m_multi);
  delete m_factory;
  m_multi = nullptr;
  m_factory = nullptr;
  VAS_LOG_DEBUG("End of destructor");
  // The thread object goes last; its destructor only detaches. Quit must have joined it.
  delete m_thread;
}

void Curl::Init(ICurlCB* callback, IDownloadEvent* event) {
  m_callback = callback;
  m_event = event;
  m_cookie.init(m_cookiePath);
}

bool Curl::SetConnDetails(int timeout, int retry) {
  if (timeout >= 1) m_connectTimeout = timeout;
  if (retry >= 1) m_retryCount = retry;
  VAS_LOG_ERROR("configure connection timeout: %d and retry count: %d", m_connectTimeout,
                m_retryCount);
  return true;
}

// Kept: these two only store their value. No transfer reads them; the connection timeout
// changes only through SetConnDetails and the constructor.
void Curl::SetConnTimeout(int timeout) { m_connTimeoutSet = timeout; }
void Curl::SetLowSpeedTimeout(int timeout) { m_lowSpeedTimeSet = timeout; }

void Curl::SetMaxNwSpeed(int speed) { m_maxNwSpeed = speed; }
void Curl::SetProxy(const std::string& proxy) { m_proxy = proxy; }
void Curl::SetAgent(const std::string& agent) { m_agent = agent; }

int Curl::GetRequestKey() { return m_requestKey; }

bool Curl::IsIdle() {
  ScopedLock lock(m_mutItem);
  for (const auto& slot : m_units) {
    if (slot.first) return false;
  }
  return true;
}

bool Curl::IsDownloading(UnitObject* unit) {
  if (unit == nullptr) return false;
  ScopedLock lock(m_mutItem);
  if (!m_units[unit->m_index].first) return false;
  return !unit->m_pause;
}

bool Curl::IsPause(UnitObject* unit) {
  VAS_LOG_DEBUG(">>");
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  m_mutItem.Lock();
  bool paused = m_units[unit->m_index].first && unit->m_pause;
  VAS_LOG_DEBUG("<<");
  m_mutItem.Unlock();
  return paused;
}

size_t Curl::GetPos(UnitObject* unit) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return 0;
  }
  return unit->m_pos;
}

size_t Curl::GetSize(UnitObject* unit) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return 0;
  }
  return unit->m_size;
}

UserData Curl::GetData(UnitObject* unit) { return unit->m_data; }

UserData Curl::SetData(UnitObject* unit, UserData data) {
  UserData old = unit->m_data;
  unit->m_data = data;
  return old;
}

std::string Curl::get_dest_ip() { return m_destIp; }
std::string Curl::get_host_ip() { return m_hostIp; }
std::string Curl::get_user_agent() { return m_agent; }
std::string Curl::get_cookie() { return m_cookieHeader; }
std::string Curl::get_proxy() { return m_proxy; }

void Curl::LockMutItem() { m_mutItem.Lock(); }
void Curl::UnlockMutItem() { m_mutItem.Unlock(); }

}  // namespace strmcommon
