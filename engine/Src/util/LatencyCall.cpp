#include "LatencyCall.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Clock.h"

namespace strmcommon {

LatencyCall::LatencyCall()
    : m_startTime(static_cast<long long>(vas_getTime())),
      m_delay(0),
      m_level(0),
      m_stopped(true),
      m_blocked(false),
      m_unblocked(false) {}

void LatencyCall::Start(long long delay, int level) {
  m_startTime = static_cast<long long>(vas_getTime());
  m_delay = delay;
  m_level = level;
  m_stopped = false;
}

void LatencyCall::Stop() { m_stopped = true; }

bool LatencyCall::IsStop() const { return m_stopped; }

bool LatencyCall::IsCheck() {
  // The order of the tests is the behaviour: a block hides both the timer and a pending
  // unblock, and an unblock forces one check even on a stopped timer.
  if (m_blocked) return false;
  if (m_unblocked) {
    m_unblocked = false;
    return true;
  }
  if (m_stopped) return false;
  const long long now = static_cast<long long>(vas_getTime());
  if (now - m_startTime <= m_delay) return false;
  m_stopped = true;
  return true;
}

int LatencyCall::GetLevel() const { return m_level; }

long long LatencyCall::GetStartTime() const { return m_startTime; }

long long LatencyCall::GetDelay() const { return m_delay; }

void LatencyCall::Block() { m_blocked = true; }

void LatencyCall::UnBlock() {
  // m_blocked and m_unblocked change together in one 16-bit store, so no reader sees them apart.
  static_assert(offsetof(LatencyCall, m_unblocked) == offsetof(LatencyCall, m_blocked) + 1,
                "the two flags must be adjacent bytes");
  typedef uint16_t __attribute__((may_alias, aligned(1))) UnalignedPair;
  static const unsigned char kUnblocked[2] = {0, 1};  // m_blocked false, m_unblocked true
  uint16_t pair;
  std::memcpy(&pair, kUnblocked, sizeof(pair));
  *reinterpret_cast<volatile UnalignedPair*>(&m_blocked) = pair;
}

bool LatencyCall::IsBlocked() const { return m_blocked; }

}  // namespace strmcommon
