/// \file
/// One transfer of the download engine, and the six client words it carries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ICurlEasy.h"
#include "UnitCode.h"

namespace strmcommon {

class Curl;

/// Six words the client chooses for a transfer, copied by value into its unit. The engine reads
/// bitrate and state, prints type, and passes streamIdx, segmentIdx and tag to IDownloadEvent.
struct UserData {
  /// The kind of transfer; ICurl::Reset(unit, type) compares it.
  int32_t type;
  /// The stream index, passed on with every measured chunk; negative for no media stream.
  int32_t streamIdx;
  /// The segment index, passed on with every measured chunk.
  int32_t segmentIdx;
  /// The stream's bitrate in bits per second; sizes the receive buffer. kBitrateUnknown means
  /// unknown.
  int32_t bitrate;
  /// 0 for a normal transfer; any other value keeps the unit out of the engine-wide Reset().
  int32_t state;
  /// Only passed on to IDownloadEvent::AddRxTimeInfo.
  int32_t tag;
};

/// One transfer record of the engine's pool of 20. A unit is never allocated or freed after the
/// engine's construction: a client's UnitObject* always points into the pool, and a begin
/// operation reuses the record. The engine writes the fields; a client reads them between
/// GetCompleted and EndDownload (code, the positions, the headers-kept fields). Field order is
/// part of the interface the engine library compiles against.
class UnitObject {
 public:
  int m_index = 0;                     ///< position in the pool, set at each begin
  int m_urlIndex = 0;                  ///< index into the URL table (ICurl::BeginDownload3)
  int m_hostIndex = -1;                ///< host slot, Curl::kUnboundHost until first use
  Curl* m_curl = nullptr;              ///< the engine that owns the unit
  ICurlEasy* m_easy = nullptr;         ///< the transfer's easy handle, new at every begin
  int32_t m_reservedA[2] = {0, 0};     ///< zeroed at each begin; not used by this library
  bool m_pauseBlocked = false;         ///< Pause refuses the unit; nothing here sets it
  int32_t m_reservedB[3] = {0, 0, 0};  ///< zeroed at each begin; not used by this library
  size_t m_pos = 0;                    ///< body bytes received in this transfer
  std::string m_url;                   ///< the request URL
  size_t m_size = 0;                   ///< content length, 0 until libcurl knows it
  size_t m_skipBytes = 0;              ///< body below this position is not delivered
  size_t m_retry = 0;                  ///< retries counted on this slot (ResultIf)
  /// The transfer's result: err_none while running and on success, err_retry when the client
  /// should request again, a negative err_ code on failure (UnitCode.h).
  int code = 0;
  char m_errorBuf[256] = {};                  ///< libcurl's error text (CURLOPT_ERRORBUFFER)
  long long m_beginTime = 0;                  ///< set-up time, ms of vas_getTime
  long long m_endTime = 0;                    ///< stamped by EndDownload
  unsigned int m_firstByteTime = 0;           ///< ms from set-up to the first body byte
  bool m_endCalled = false;                   ///< EndDownload has run for this transfer
  bool m_done = false;                        ///< the worker has finished with the unit
  UserData m_data = {-1, -1, -1, -1, 0, -1};  ///< the client's words
  std::vector<unsigned char> m_pauseBuffer;   ///< at most one chunk saved while paused
  bool m_noMeasure = false;                   ///< kept out of IDownloadEvent
  bool m_cancel = false;                      ///< cancelled; printed as "interrupt" in the logs
  bool m_pause = false;                       ///< paused
  long long m_lastDataTime = 0;               ///< last body chunk, pause or resume, ms
  long long m_rxBaseTime = 0;                 ///< the last resume, ms; 0 when never resumed
  long long m_pauseStartTime = 0;             ///< start of the open pause, 0 when not paused
  long long m_pausedTotal = 0;                ///< ms spent paused in this transfer
  bool m_redirecting = false;  ///< a redirect status was seen; its Location is awaited
  int m_httpStatus = 0;        ///< the status that decided the last retry by status
  int32_t m_reservedC = 0;     ///< zeroed at each begin; not used by this library
  /// A malloc'ed record whose first word is g_free'able memory, stored by the client only; Reset()
  /// releases both for units with state 0.
  void* m_chunk = nullptr;
  char* m_destIp = nullptr;    ///< libcurl's remote address text of the finished transfer
  char* m_localIp = nullptr;   ///< libcurl's local address text of the finished transfer
  bool m_isCurlDebug = false;  ///< headers-kept mode (BeginDownload2)
  std::string m_rawHeader;     ///< headers-kept mode: every header line received
  bool m_headerEnd = false;    ///< headers-kept mode: the empty line was seen
  std::string m_debugTag;      ///< headers-kept mode: the client's tag
  std::string m_debugRange;    ///< headers-kept mode: the range requested
};

}  // namespace strmcommon
