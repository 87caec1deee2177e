// The download engine's way in: begin operations, unit choice and the options of a transfer.
#include <cstring>

#include "Clock.h"
#include "Curl.h"
#include "DLog.h"
#include "Portability.h"
#include "Width32.h"
#include "gurl.h"

namespace strmcommon {

namespace {

// Plain HTTP to the local accelerator; the target URL follows raw, unescaped.
const char kAcceleratorPrefix[] = "http://127.0.0.1:54321/proxy?url=";
constexpr size_t kAcceleratorPrefixLength = sizeof(kAcceleratorPrefix) - 1;
static_assert(kAcceleratorPrefixLength == 33, "the accelerator prefix is 33 bytes");

const char kDefaultAgent[] = "corvane-agent/1.1";

// CURLOPT_BUFFERSIZE: a tenth of a second of a fast stream, 32768 otherwise and when unknown.
long BufferSizeFor(int bitrate) {
  if (bitrate == kBitrateUnknown || bitrate < 2621440) return 32768;
  return bitrate / 80;
}

// Options 7 to 16 of a transfer: the callbacks with their unit, redirects followed by libcurl
// itself, the error text and the unit as the handle's private pointer.
void SetCallbackOptions(ICurlEasy* easy, UnitObject* unit) {
  easy->SetOpt(CURLOPT_WRITEFUNCTION, reinterpret_cast<void*>(&Curl::EasyDownloadCB));
  easy->SetOpt(CURLOPT_WRITEDATA, unit);
  easy->SetOpt(CURLOPT_HEADERFUNCTION, reinterpret_cast<void*>(&Curl::HeaderCB));
  easy->SetOpt(CURLOPT_HEADERDATA, unit);
  easy->SetOpt(CURLOPT_FOLLOWLOCATION, OptionValue(1));
  easy->SetOpt(CURLOPT_HEADER, OptionValue(0));
  easy->SetOpt(CURLOPT_NOBODY, OptionValue(0));
  easy->SetOpt(CURLOPT_ERRORBUFFER, unit->m_errorBuf);
  easy->SetOpt(CURLOPT_PRIVATE, unit);
  easy->SetOpt(CURLOPT_NOSIGNAL, OptionValue(1));
}

// Options 17 to 25: the time and speed limits, the progress callback (which watches for a
// cancel), every encoding libcurl supports, and the server's file time.
void SetLimitOptions(ICurlEasy* easy, UnitObject* unit, int connectTimeout, int lowSpeedTime) {
  easy->SetOpt(CURLOPT_TIMEOUT, OptionValue(Curl::kTransferTimeout));
  easy->SetOpt(CURLOPT_CONNECTTIMEOUT, OptionValue(connectTimeout));
  easy->SetOpt(CURLOPT_LOW_SPEED_LIMIT, OptionValue(Curl::kLowSpeedLimit));
  easy->SetOpt(CURLOPT_LOW_SPEED_TIME, OptionValue(lowSpeedTime));
  easy->SetOpt(CURLOPT_NOPROGRESS, OptionValue(0));
  // The progress callback with four doubles is the one this engine uses; libcurl still calls it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  easy->SetOpt(CURLOPT_PROGRESSFUNCTION, reinterpret_cast<void*>(&Curl::ProgressCB));
#pragma GCC diagnostic pop
  easy->SetOpt(CURLOPT_PROGRESSDATA, unit);
  easy->SetOpt(CURLOPT_ACCEPT_ENCODING, "");
  easy->SetOpt(CURLOPT_FILETIME, OptionValue(1));
}

// The host's slot in hosts: 1 to 9 fill up in order of first use; 0 for an empty host and for
// every host that came after slot 9 was taken.
int HostSlotFor(std::vector<std::string>& hosts, const std::string& url) {
  std::string host = GURL(url).host();
  if (host.empty()) return 0;
  for (int slot = 1; slot < Curl::kHostCount; ++slot) {
    if (hosts[slot].empty()) {
      hosts[slot] = host;
      return slot;
    }
    if (hosts[slot] == host) return slot;
  }
  return 0;
}

constexpr int kNoUnit = -1;

// The first unit that is free, no longer waits on the completed list, and is unbound or bound to
// hostSlot. A unit stays bound to the host of its first use for the life of the engine.
int FreeUnitFor(const std::vector<std::pair<bool, UnitObject>>& units, int hostSlot) {
  for (int i = 0; i < Curl::kUnitCount; ++i) {
    const UnitObject& unit = units[i].second;
    if (!units[i].first && !unit.m_done &&
        (unit.m_hostIndex == Curl::kUnboundHost || unit.m_hostIndex == hostSlot)) {
      return i;
    }
  }
  return kNoUnit;
}

// The URL table entry of a conditional request: its entry in 20..39 found by URL, else the one
// used longest ago. Only an entry used strictly earlier than the best so far wins, starting from
// now, so ties go to the lowest index and an unused table gives entry 20.
int ConditionalUrlEntryFor(const std::vector<Curl::urlInfo_t>& table, const std::string& url) {
  for (int i = Curl::kUnitCount; i < Curl::kUrlInfoCount; ++i) {
    if (table[i].url == url) return i;
  }
  int oldest = Curl::kUnitCount;
  long long oldestUse = static_cast<long long>(vas_getTime());
  for (int i = Curl::kUnitCount; i < Curl::kUrlInfoCount; ++i) {
    if (table[i].lastUse < oldestUse) {
      oldestUse = table[i].lastUse;
      oldest = i;
    }
  }
  return oldest;
}

// A URL table entry for a new request. File time and date go to 0 also for an entry found again
// by URL, so a conditional request never sends If-Modified-Since.
void FillUrlEntry(Curl::urlInfo_t& entry, const std::string& url, const std::string& range,
                  bool conditional) {
  entry.url = url;
  entry.range = range;
  entry.fileTime = 0;
  entry.date = 0;
  entry.conditional = conditional;
  entry.lastUse = static_cast<long long>(vas_getTime());
}

// The measurement of a transfer starts now: position 0, begin and last-data time now, no resume
// and no pause yet. Returns now.
long long RestartTiming(UnitObject* unit) {
  unit->m_pos = 0;
  long long now = static_cast<long long>(vas_getTime());
  unit->m_beginTime = now;
  unit->m_lastDataTime = now;
  unit->m_rxBaseTime = 0;
  unit->m_pauseStartTime = 0;
  unit->m_pausedTotal = 0;
  return now;
}

// What every begin operation resets on the unit it has chosen: the URL, position and result,
// the flags, the client's words, and the pause buffer (emptied, its capacity kept).
void PrepareUnit(UnitObject* unit, const std::string& url, const UserData& data, bool noMeasure) {
  unit->m_url = url;
  unit->m_pos = 0;
  unit->m_size = 0;
  unit->m_skipBytes = 0;
  unit->code = err_none;
  unit->m_beginTime = static_cast<long long>(vas_getTime());
  unit->m_endCalled = false;
  unit->m_done = false;
  unit->m_firstByteTime = 0;
  unit->m_cancel = false;
  unit->m_pause = false;
  unit->m_data = data;
  unit->m_noMeasure = noMeasure;
  unit->m_pauseBuffer.clear();
  std::memset(unit->m_errorBuf, 0, sizeof(unit->m_errorBuf));
  unit->m_pauseBlocked = false;
  std::memset(unit->m_reservedA, 0, sizeof(unit->m_reservedA));
  std::memset(unit->m_reservedB, 0, sizeof(unit->m_reservedB));
  unit->m_reservedC = 0;
  unit->m_httpStatus = 0;
}

}  // namespace

int Curl::BeginDownload(unsigned int key, const std::string& url, bool conditional,
                        UnitObject*& unit, bool noMeasure, UserData data) {
  VAS_LOG_DEBUG("Enter");
  int result;
  if (key < static_cast<unsigned int>(m_requestKey)) {
    // A request from before a Reset: a silent success that leaves unit as it was.
    result = err_none;
  } else if (url.empty()) {
    result = err_invalidarg;
  } else if (m_quit) {
    result = err_failed;
  } else {
    // A range is written straight in front of the scheme: "0-1023http://...".
    size_t p = url.find("http");
    if (p == std::string::npos) {
      result = err_failed;
    } else if (p == 0) {
      result = BeginDownloadImpl(url, std::string(), conditional, unit, noMeasure, data, false,
                                 std::string());
    } else {
      result = BeginDownloadImpl(url.substr(p), url.substr(0, p), conditional, unit, noMeasure,
                                 data, false, std::string());
    }
  }
  VAS_LOG_DEBUG("Leave");
  return result;
}

int Curl::BeginDownload2(unsigned int key, const std::string& url, const std::string& range,
                         bool conditional, UnitObject*& unit, bool noMeasure, UserData data,
                         bool isCurlDebug, const std::string& debugTag) {
  VAS_LOG_DEBUG(" starts. unit p[%p] isCurlDebug [%s]", unit, isCurlDebug ? "true" : "false");
  if (key < static_cast<unsigned int>(m_requestKey)) {
    VAS_LOG_DEBUG("<< Curl::BeginDownload");
    return err_none;
  }
  int result;
  if (url.empty()) {
    result = err_invalidarg;
  } else if (m_quit) {
    result = err_failed;
  } else {
    result =
        BeginDownloadImpl(url, range, conditional, unit, noMeasure, data, isCurlDebug, debugTag);
  }
  VAS_LOG_DEBUG("Leave");
  return result;
}

int Curl::BeginDownload3(int urlIndex, UnitObject*& unit, bool noMeasure, UserData data) {
  urlInfo_t& entry = m_urlInfo[urlIndex];
  if (m_event->Islowlatency()) {
    VAS_LOG_ERROR(">> inside low latency check");
    GURL parsed(entry.url);
    std::string query = parsed.query();
    if (parsed.parsed_for_possibly_invalid_spec().query.len >= 0) {
      // Kept as it is: the first occurrence of the query text decides, and a query found at 0 or
      // not at all (a bare "?", a query canonicalised into other text) puts the erase position
      // past the end, so std::out_of_range leaves this call.
      size_t found = entry.url.find(query, 0);
      entry.url.erase(found - 1, query.size() + 1);
    }
    VAS_LOG_DEBUG(">> Curl::BeginDownload3 Removal of query string ( %s ) to give url(%s) ",
                  query.c_str(), entry.url.c_str());
  }
  VAS_LOG_DEBUG(">> ( %s ) ", entry.url.c_str());
  if (entry.url.empty()) return err_invalidarg;
  if (m_quit) return err_failed;
  int result = BeginDownloadImpl(entry.url, entry.range, entry.conditional, unit, noMeasure, data,
                                 false, std::string());
  VAS_LOG_DEBUG("<< ");
  return result;
}

int Curl::BeginDownloadImpl(const std::string& url, const std::string& range, bool conditional,
                            UnitObject*& unit, bool noMeasure, UserData data, bool isCurlDebug,
                            const std::string& debugTag) {
  if (!range.empty()) {
    VAS_LOG_ERROR(
        "TYPE : %d, streamIdx : %d, SegmentIdx : %d, state = %d,  Curl::BeginDownloadImpl() with "
        "URL = %s, range=%s\n ",
        data.type, data.streamIdx, data.segmentIdx, width32::Add(data.state, 1), url.c_str(),
        range.c_str());
  } else {
    VAS_LOG_ERROR(
        "TYPE : %d, streamIdx : %d, SegmentIdx : %d,  Curl::BeginDownloadImpl() with URL = %s\n ",
        data.type, data.streamIdx, data.segmentIdx, url.c_str());
  }

  int hostSlot = HostSlotFor(m_hosts, url);
  int index = FreeUnitFor(m_units, hostSlot);
  if (index == kNoUnit) {
    VAS_LOG_ERROR("ERROR!! max concurrent download over");
    return err_failed;
  }

  m_units[index].first = true;
  UnitObject* chosen = &m_units[index].second;
  // Every transfer gets a fresh easy handle; only the multi handle keeps connections.
  m_factory->ReleaseCurlEasy(chosen->m_easy);
  chosen->m_easy = m_factory->CreateCurlEasy();
  VAS_LOG_DEBUG("unit = %p: !!!!!!", chosen);

  chosen->m_index = index;
  chosen->m_urlIndex = conditional ? ConditionalUrlEntryFor(m_urlInfo, url) : index;
  chosen->m_hostIndex = hostSlot;
  chosen->m_redirecting = false;

  FillUrlEntry(m_urlInfo[chosen->m_urlIndex], url, range, conditional);

  // A retry that lands on the same slot goes on counting.
  if (chosen->code != err_retry && !isCurlDebug) chosen->m_retry = 0;
  PrepareUnit(chosen, url, data, noMeasure);

  chosen->m_isCurlDebug = false;
  chosen->m_headerEnd = false;
  chosen->m_rawHeader.clear();
  chosen->m_debugRange.clear();
  if (isCurlDebug) {
    chosen->m_isCurlDebug = true;
    if (!debugTag.empty()) chosen->m_debugTag = debugTag;
    chosen->m_debugRange = range;
  }

  if (m_callback != nullptr) m_callback->OnDownloadStart(chosen);

  if (!ReqBody(chosen)) {
    m_units[index].first = false;
    return err_failed;
  }
  unit = chosen;
  return chosen->code;
}

bool Curl::ReqBody(UnitObject* unit) {
  VAS_LOG_DEBUG("starts.");
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  return SetBodyEasyDownloadOPT(unit);
}

bool Curl::SetBodyEasyDownloadOPT(UnitObject* unit) {
  long long now = RestartTiming(unit);
  VAS_LOG_DEBUG("ReqBody updatetime %p, %lld", unit, now / 1000);

  ICurlEasy* easy = unit->m_easy;
  easy->Reset();

  const urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  if (!m_proxy.empty()) {
    VAS_LOG_DEBUG("\n SET PROXY ");
    easy->SetOpt(CURLOPT_PROXY, m_proxy.c_str());
  }
  std::string requestUrl;
  if (m_useAccelerator) {
    VAS_LOG_ERROR("using http accelerator, inserting prefixed string pattern");
    requestUrl = kAcceleratorPrefix + entry.url;
  } else {
    VAS_LOG_DEBUG("working without accelerator");
    requestUrl = entry.url;
  }
  // libcurl copies string options, so the local URL may go after this.
  easy->SetOpt(CURLOPT_URL, requestUrl.c_str());
  if (!entry.range.empty()) easy->SetOpt(CURLOPT_RANGE, entry.range.c_str());
  // Asked with the plain URL: the accelerator prefix is for libcurl only.
  std::string cookie = m_cookie.getCookieFromPool(entry.url);
  VAS_LOG_DEBUG(" Cookie[%s]", cookie.c_str());
  if (!cookie.empty()) easy->SetOpt(CURLOPT_COOKIE, cookie.c_str());
  if (m_headers != nullptr) easy->SetOpt(CURLOPT_HTTPHEADER, m_headers);
  if (unit->m_isCurlDebug) {
    VAS_LOG_ERROR("turn off fail immediately when get error");
    easy->SetOpt(CURLOPT_FAILONERROR, OptionValue(0));
  } else {
    easy->SetOpt(CURLOPT_FAILONERROR, OptionValue(1));
  }
  SetCallbackOptions(easy, unit);
  SetLimitOptions(easy, unit, m_connectTimeout, m_lowSpeedTime);
  // Set-up has just zeroed fileTime, so these two are not reached on any path today.
  if (entry.conditional && entry.fileTime != 0) {
    easy->SetOpt(CURLOPT_TIMECONDITION, OptionValue(CURL_TIMECOND_IFMODSINCE));
    easy->SetOpt(CURLOPT_TIMEVALUE, OptionValue(entry.fileTime));
  }
  easy->SetOpt(CURLOPT_USERAGENT, m_agent.empty() ? kDefaultAgent : m_agent.c_str());
  easy->SetOpt(CURLOPT_SSL_VERIFYPEER, OptionValue(0));
  long bufferSize = BufferSizeFor(unit->m_data.bitrate);
  easy->SetOpt(CURLOPT_BUFFERSIZE, OptionValue(bufferSize));
  if (m_maxNwSpeed > 0) {
    easy->SetOptMaxNwLimit(CURLOPT_MAX_RECV_SPEED_LARGE, static_cast<long long>(m_maxNwSpeed));
  }

  m_requestLock.Lock();
  m_requests.push_back(unit);
  m_requestLock.Unlock();
  VAS_LOG_DEBUG("alignment with buffer queue size done and CURL_MAX_BUF_SIZE=%ld and bitrate=%d ",
                bufferSize, unit->m_data.bitrate);
  return true;
}

void Curl::StripAcceleratorPattern(std::string& url) {
  if (url.compare(0, kAcceleratorPrefixLength, kAcceleratorPrefix) != 0) return;
  url.erase(0, kAcceleratorPrefixLength);
  m_useAccelerator = false;
  VAS_LOG_ERROR("Not using HTTP accelerator");
}

int Curl::DummyDownload(unsigned int key, const std::string& url, bool unused, UnitObject*& unit,
                        bool noMeasure, UserData data, char* buffer, int size) {
  VAS_LOG_DEBUG("Curl::BeginDownload() starts.");
  if (key < static_cast<unsigned int>(m_requestKey)) {
    VAS_LOG_DEBUG("Curl::BeginDownload");
    return err_none;
  }
  if (url.empty()) {
    VAS_LOG_ERROR("Curl err_invalidarg");
    return err_invalidarg;
  }
  int index = FreeUnitFor(m_units, HostSlotFor(m_hosts, url));
  if (index == kNoUnit) {
    VAS_LOG_ERROR("Curl unit not alloted");
    return err_invalidarg;
  }
  m_units[index].first = true;
  UnitObject* chosen = &m_units[index].second;
  unit = chosen;

  PrepareUnit(chosen, url, data, noMeasure);
  // Required as it stands: whichever slot was taken, the unit counts as slot 0 from here on.
  chosen->m_index = 0;
  chosen->m_hostIndex = 0;
  chosen->m_urlIndex = 0;

  if (m_callback != nullptr) m_callback->OnDownloadStart(chosen);
  chosen->m_done = true;
  CallTransfer(chosen, chosen->code, reinterpret_cast<unsigned char*>(buffer),
               static_cast<unsigned int>(size), kNoCurlId);
  m_completed.push_back(chosen);
  return err_none;
}

}  // namespace strmcommon
