// One transfer of the download engine, and the six client words it carries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ICurlEasy.h"
#include "UnitCode.h"

namespace strmcommon {

class Curl;

// Chosen by the client and carried with the unit; the engine reads bitrate and state.
struct UserData {
  int32_t type;
  int32_t streamIdx;
  int32_t segmentIdx;
  // Sizes the receive buffer; kBitrateUnknown means unknown.
  int32_t bitrate;
  // 0 for a normal transfer; any other value keeps the unit out of the engine-wide Reset().
  int32_t state;
  // Only passed on to IDownloadEvent::AddRxTimeInfo.
  int32_t tag;
};

class UnitObject {
 public:
  int m_index = 0;
  int m_urlIndex = 0;
  int m_hostIndex = -1;
  Curl* m_curl = nullptr;
  ICurlEasy* m_easy = nullptr;
  int32_t m_reservedA[2] = {0, 0};
  bool m_pauseBlocked = false;
  int32_t m_reservedB[3] = {0, 0, 0};
  size_t m_pos = 0;
  std::string m_url;
  size_t m_size = 0;
  size_t m_skipBytes = 0;
  size_t m_retry = 0;
  // err_none while running and on success, err_retry to ask for a retry, negative on failure
  // (the err_ names of UnitCode.h).
  int code = 0;
  char m_errorBuf[256] = {};
  long long m_beginTime = 0;
  long long m_endTime = 0;
  unsigned int m_firstByteTime = 0;
  bool m_endCalled = false;
  bool m_done = false;
  UserData m_data = {-1, -1, -1, -1, 0, -1};
  std::vector<unsigned char> m_pauseBuffer;
  bool m_noMeasure = false;
  // Printed as "interrupt" in the logs.
  bool m_cancel = false;
  bool m_pause = false;
  long long m_lastDataTime = 0;
  long long m_rxBaseTime = 0;
  long long m_pauseStartTime = 0;
  long long m_pausedTotal = 0;
  bool m_redirecting = false;
  int m_httpStatus = 0;
  int32_t m_reservedC = 0;
  // A malloc'ed record whose first word is g_free'able memory; stored by clients only.
  void* m_chunk = nullptr;
  char* m_destIp = nullptr;
  char* m_localIp = nullptr;
  bool m_isCurlDebug = false;
  std::string m_rawHeader;
  bool m_headerEnd = false;
  std::string m_debugTag;
  std::string m_debugRange;
};

}  // namespace strmcommon
