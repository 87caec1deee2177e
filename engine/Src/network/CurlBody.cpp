// Body delivery: libcurl's write and progress callbacks, measurement, back-pressure and the pause
// buffer.
#include "Clock.h"
#include "Curl.h"
#include "DLog.h"
#include "Portability.h"
#include "Width32.h"

namespace strmcommon {

size_t Curl::EasyDownloadCB(void* data, size_t size, size_t nmemb, void* unitPtr) {
  UnitObject* unit = static_cast<UnitObject*>(unitPtr);
  Curl* curl = unit->m_curl;
  size_t count = size * nmemb;
  // Quitting or freed: the bytes count as consumed and vanish; ProgressCB ends the transfer.
  if (curl->m_quit || !curl->m_units[unit->m_index].first) return count;
  // The write callback never aborts a transfer, so the result is not looked at.
  curl->OnBodyDownload(unit, data, static_cast<int>(count), kNoCurlId, kNoCurlId);
  return count;
}

int Curl::ProgressCB(void* unitPtr, double, double, double, double) {
  UnitObject* unit = static_cast<UnitObject*>(unitPtr);
  Curl* curl = unit->m_curl;
  if (curl->m_quit || !curl->m_units[unit->m_index].first) return kAbortTransfer;
  // The one way a cancel reaches a running transfer.
  return -static_cast<int>(unit->m_cancel);
}

int Curl::OnBodyDownload(UnitObject* unit, void* data, int size, int easyCurlId, int curlId) {
  VAS_LOG_DEBUG("starts.");
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return kAbortTransfer;
  }
  ProcessGetInfo(unit, easyCurlId);
  if ((easyCurlId & curlId) != kNoCurlId) {
    VAS_LOG_DEBUG("[Warning] Error easycurlid");
    return kAbortTransfer;
  }
  unsigned char* bytes = static_cast<unsigned char*>(data);
  // Data that libcurl hands over from inside Resume_unlock for this unit is data of the resume:
  // it takes the running path although m_pause is still up (see Resume_unlock).
  bool insideResume = s_resumingUnit == unit;

  if (unit->m_pause && unit->m_easy != nullptr && !insideResume) {
    if (!unit->m_easy->Pause()) {
      VAS_LOG_ERROR("ERROR!! curl_easy_pause failed, %d", unit->m_easy->GetLastError());
    }
    unit->m_pos = width32::Low32(unit->m_pos + size);
    if (curlId != kNoCurlId) {
      CallTransfer(unit, unit->code, bytes, static_cast<unsigned int>(size), curlId);
      return size;
    }
    if (!unit->m_pauseBuffer.empty()) {
      // The older chunk is lost.
      VAS_LOG_ERROR("Error! pause buffer overwrite (%zu)", unit->m_pauseBuffer.size());
    }
    unit->m_pauseBuffer.resize(static_cast<size_t>(size));
    vas_memcpy_s(unit->m_pauseBuffer.data(), static_cast<unsigned int>(size), bytes,
                 static_cast<unsigned int>(size));
    VAS_LOG_DEBUG("Pause Buffer Saved size(%d)", size);
    VAS_LOG_DEBUG("Pause, %d", unit->m_easy->GetLastError());
    return size;
  }

  long long now = static_cast<long long>(vas_getTime());
  if (unit->m_firstByteTime == 0) {
    unit->m_firstByteTime = width32::Low32(now - unit->m_beginTime);
  }
  long long previousTime = unit->m_lastDataTime;
  unit->m_lastDataTime = now;
  unit->m_pos = width32::Low32(unit->m_pos + size);

  if (!unit->m_noMeasure && m_event != nullptr) {
    ReportTiming(unit, size, previousTime, now, insideResume);
  }
  if (unit->m_cancel) return kAbortTransfer;

  if (curlId == kNoCurlId && !unit->m_pauseBuffer.empty()) {
    VAS_LOG_DEBUG("Pause Buffer Load %zu", unit->m_pauseBuffer.size());
    CallTransfer(unit, unit->code, unit->m_pauseBuffer.data(),
                 static_cast<unsigned int>(unit->m_pauseBuffer.size()), kNoCurlId);
    unit->m_pauseBuffer.clear();
    if (unit->m_cancel) return kAbortTransfer;
  }

  DeliverPastSkip(unit, bytes, size, curlId);
  return size;
}

void Curl::ReportTiming(UnitObject* unit, int size, long long previousTime, long long now,
                        bool insideResume) {
  // Within 100 ms of a resume the measurement restarts instead; data delivered inside a resume
  // arrives at the resume itself, 0 ms after it.
  if (insideResume || now - unit->m_rxBaseTime <= kResumeSettleMs) {
    m_event->ResetRxBaseTime(now);
  } else {
    m_event->AddRxTimeInfo(width32::Low32(previousTime), width32::Low32(now),
                           static_cast<unsigned int>(size), unit->m_data.streamIdx,
                           unit->m_data.segmentIdx, unit->m_data.tag);
  }
}

void Curl::DeliverPastSkip(UnitObject* unit, unsigned char* bytes, int size, int curlId) {
  if (unit->m_skipBytes == 0) {
    CallTransfer(unit, unit->code, bytes, static_cast<unsigned int>(size), curlId);
    return;
  }
  // Body below m_skipBytes is dropped; only the last n bytes of a chunk that crosses it go out.
  if (unit->m_skipBytes > unit->m_pos) return;
  long long n = static_cast<long long>(unit->m_pos - unit->m_skipBytes);
  if (n > size) n = size;
  if (n < 1) return;
  CallTransfer(unit, unit->code, bytes + (size - n), static_cast<unsigned int>(n), curlId);
}

int Curl::CallTransfer(UnitObject* unit, int code, unsigned char* data, unsigned int size,
                       int curlId) {
  if (m_callback == nullptr || m_quit) return 0;
  // Inside a resume of this unit (see Resume_unlock) the raised m_pause is the resume's own.
  bool insideResume = s_resumingUnit == unit;
  for (;;) {
    if (unit->m_cancel) return 0;
    // A unit that already has a result takes no more data.
    if (unit->code != err_none) return 0;
    if (curlId == kNoCurlId) {
      if (unit->m_pause && !insideResume) break;
      int taken = m_callback->OnDownloadData(unit, code, data, size);
      if (taken == kDataTaken) return 0;
      if (taken == kDataAgainAtOnce) {
        if (m_quit) return 0;
        continue;
      }
    }
    if (insideResume) {
      // The resuming thread is inside libcurl's resume call for this transfer: the worker must
      // not drive the multi handle now, so this wait keeps m_mutItem.
      vas_sleep_ms(1);
    } else {
      // Back-pressure: released so that Pause, Cancel and Quit can get in from the client's side.
      m_mutItem.Unlock();
      vas_sleep_ms(1);
      m_mutItem.Lock();
    }
    if (m_quit) return 0;
  }

  if (!unit->m_pauseBuffer.empty()) VAS_LOG_ERROR("Error!! curl pause buffer overwrite");
  unit->m_pauseBuffer.resize(size);
  // A flushed chunk that meets a new pause is the buffer itself: copying it onto itself changes
  // nothing, so that copy (and the one of an empty chunk) is left out.
  if (size != 0 && data != unit->m_pauseBuffer.data()) {
    vas_memcpy_s(unit->m_pauseBuffer.data(), size, data, size);
  }
  return 0;
}

void Curl::ProcessGetInfo(UnitObject* unit, int curlId) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return;
  }
  if (curlId != kNoCurlId) return;
  if (unit->m_size == 0) {
    double length = 0;
    // The double form is the one this engine reads; libcurl still answers it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    bool known = unit->m_easy->GetInfoWithDouble(CURLINFO_CONTENT_LENGTH_DOWNLOAD, &length);
#pragma GCC diagnostic pop
    if (known && length > 0) {
      unit->m_size = width32::SaturateToUInt32(length);
      VAS_LOG_DEBUG("Unit %p, Content Length = %ld", unit,
                    static_cast<long>(width32::Signed32(unit->m_size)));
    }
  }
  urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  if (entry.conditional && entry.fileTime == 0) {
    long fileTime = 0;
    if (unit->m_easy->GetInfoWithLong(CURLINFO_FILETIME, &fileTime) && fileTime > 0) {
      entry.fileTime = fileTime;
      VAS_LOG_DEBUG("Unit %p, File Time = %ld", unit, fileTime);
    }
  }
}

}  // namespace strmcommon
