// Unit control: pause, resume, cancel, and the two resets.
#include <glib.h>

#include <cstdlib>

#include "Clock.h"
#include "Curl.h"
#include "DLog.h"
#include "Width32.h"

namespace strmcommon {

thread_local UnitObject* Curl::s_resumingUnit = nullptr;

namespace {
// Read afresh on every turn: another thread's SetData, which takes no lock, may change it.
int32_t StateOf(const UnitObject* unit) {
  return *static_cast<const volatile int32_t*>(&unit->m_data.state);
}

bool AnySlotTaken(const std::vector<std::pair<bool, UnitObject>>& units) {
  for (const auto& slot : units) {
    if (slot.first) return true;
  }
  return false;
}

// Releases the record a client stored in m_chunk: its first word through g_free, the record
// itself through free.
void FreeChunk(UnitObject& unit) {
  if (unit.m_chunk == nullptr) return;
  void** record = static_cast<void**>(unit.m_chunk);
  if (record[0] != nullptr) {
    g_free(record[0]);
    record[0] = nullptr;
  }
  free(unit.m_chunk);
  unit.m_chunk = nullptr;
}
}  // namespace

bool Curl::Pause(UnitObject* unit) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  if (unit->m_pauseBlocked) return false;
  m_mutItem.Lock();
  bool result = true;
  if (!unit->m_pause) {
    unit->m_pause = true;
    VAS_LOG_DEBUG("curl pause: %d, %d", unit->m_index, unit->m_data.type);
    if (!unit->m_easy->Pause()) {
      unit->m_pause = false;
      result = false;
    } else {
      long long now = static_cast<long long>(vas_getTime());
      unit->m_lastDataTime = now;
      m_lastPauseTime = now;
      // Keeps libcurl's time limits from ending a paused transfer.
      unit->m_easy->SetOpt(CURLOPT_LOW_SPEED_LIMIT, OptionValue(0));
      unit->m_easy->SetOpt(CURLOPT_LOW_SPEED_TIME, OptionValue(0));
      if (unit->m_pauseStartTime == 0) unit->m_pauseStartTime = now;
      unit->m_easy->SetOpt(CURLOPT_TIMEOUT, OptionValue(kPausedTimeout));
      unit->m_easy->SetOpt(CURLOPT_CONNECTTIMEOUT, OptionValue(kPausedTimeout));
    }
  }
  VAS_LOG_DEBUG("<< Curl::Pause");
  m_mutItem.Unlock();
  return result;
}

bool Curl::Resume_unlock(UnitObject* unit) {
  VAS_LOG_DEBUG(">>");
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  if (!unit->m_pause) {
    VAS_LOG_DEBUG("<<");
    return true;
  }
  VAS_LOG_DEBUG("curl Resume_unlock: %d, %d", unit->m_index, unit->m_data.type);
  // libcurl hands the body it held back at the pause to the write callback from inside its
  // resume call, on this thread, while m_pause is still up. Taken literally, the paused path
  // would pause the handle again from inside the resume (libcurl keeps that pause, so the
  // transfer never runs again once m_pause is cleared below) and each further piece would
  // overwrite the pause buffer. While the call runs, this unit is marked as being resumed here,
  // and the body path lets such data take the running path: the saved chunk first, then the
  // held-back data, in order.
  UnitObject* outerResume = s_resumingUnit;
  s_resumingUnit = unit;
  bool resumed = unit->m_easy->Resume();
  s_resumingUnit = outerResume;
  if (!resumed) {
    VAS_LOG_DEBUG("<<");
    return false;
  }
  long long now = static_cast<long long>(vas_getTime());
  unit->m_lastDataTime = now;
  unit->m_rxBaseTime = now;
  m_lastPauseTime = now;
  m_lastResumeTime = now;
  VAS_LOG_DEBUG("Resume_unlock, %p, %lld", unit, now / 1000);
  if (unit->m_pauseStartTime < now) {
    unit->m_pausedTotal += now - unit->m_pauseStartTime;
    VAS_LOG_DEBUG("process paused for %lld seconds", unit->m_pausedTotal / 1000);
    unit->m_pauseStartTime = 0;
  }
  // The time budget grows by exactly the time spent paused.
  // Whole seconds in a long, which is 32 bits on the device.
  const int32_t pausedSeconds = width32::Signed32(unit->m_pausedTotal / 1000);
  unit->m_easy->SetOpt(CURLOPT_LOW_SPEED_LIMIT, OptionValue(kLowSpeedLimit));
  unit->m_easy->SetOpt(CURLOPT_LOW_SPEED_TIME, OptionValue(m_lowSpeedTime));
  unit->m_easy->SetOpt(CURLOPT_TIMEOUT, OptionValue(width32::Add(pausedSeconds, kTransferTimeout)));
  unit->m_easy->SetOpt(CURLOPT_CONNECTTIMEOUT,
                       OptionValue(width32::Add(pausedSeconds, m_connectTimeout)));
  unit->m_pause = false;
  VAS_LOG_DEBUG("<<");
  return true;
}

bool Curl::Resume(UnitObject* unit) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  ScopedLock lock(m_mutItem);
  return Resume_unlock(unit);
}

bool Curl::Cancel_unlock(UnitObject* unit) {
  VAS_LOG_DEBUG(">> unit %p", unit);
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  Resume_unlock(unit);
  bool result = false;
  if (!unit->m_cancel) {
    unit->m_cancel = true;
    if (unit->m_done) unit->code = err_interrupted;
    result = true;
  }
  VAS_LOG_DEBUG("<<");
  return result;
}

bool Curl::Cancel(UnitObject* unit) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return false;
  }
  ScopedLock lock(m_mutItem);
  return Cancel_unlock(unit);
}

bool Curl::Reset(UnitObject* unit, unsigned int type) {
  VAS_LOG_DEBUG(">> Reset the specific unit [%p] index:%d", unit, unit->m_index);
  m_mutItem.Lock();
  bool result = false;
  for (auto& slot : m_units) {
    VAS_LOG_DEBUG(">> Iterate unit [%p], it->first: %d, unit TypeID: %d, cancel unit TypeId: %d",
                  &slot.second, slot.first, slot.second.m_data.type, type);
    if (&slot.second == unit && static_cast<unsigned int>(slot.second.m_data.type) == type) {
      if (slot.first) {
        Cancel_unlock(unit);
        result = true;
      }
      break;
    }
    VAS_LOG_DEBUG(">> one parameter not macthed");
  }
  m_mutItem.Unlock();
  VAS_LOG_DEBUG("<< Reset Complete for specific unit");
  return result;
}

void Curl::Reset() {
  VAS_LOG_DEBUG("Enter");
  m_requestKey++;
  if (m_resetting) {
    VAS_LOG_DEBUG("Leave");
    return;
  }
  VAS_LOG_DEBUG(">> Reset");

  m_mutItem.Lock();
  m_resetting = true;
  bool cancelled = false;
  for (auto& slot : m_units) {
    if (slot.first && slot.second.m_data.state == 0) {
      Cancel_unlock(&slot.second);
      cancelled = true;
    }
  }
  m_mutItem.Unlock();

  // One short wait, with no second look at the slots.
  if (cancelled && AnySlotTaken(m_units)) vas_sleep_ms(20);

  m_mutItem.Lock();
  UnitObject* unit = nullptr;
  while (PopRequest(unit)) {
    // A unit with another state is dropped from the queue and keeps its slot.
    if (unit != nullptr && unit->m_data.state == 0) EndDownload(unit);
  }
  // Intended: a front unit with a non-zero state is never stepped past. The walk turns on it,
  // with m_mutItem held, until a SetData from another thread, which takes no lock, clears it.
  while (!m_completed.empty()) {
    UnitObject* unit = m_completed.front();
    if (StateOf(unit) != 0) continue;
    EndDownload(unit);
    m_completed.pop_front();
  }

  m_mutItem.Unlock();
  m_mutItem.Lock();
  VAS_LOG_DEBUG("Curl::Reset Cleaning chunk segments");
  for (auto& slot : m_units) {
    if (slot.second.m_data.state == 0) FreeChunk(slot.second);
  }
  m_resetting = false;
  m_mutItem.Unlock();
  VAS_LOG_DEBUG("<< Reset");
  VAS_LOG_DEBUG("Leave");
}

}  // namespace strmcommon
