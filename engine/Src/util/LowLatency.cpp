#include "LowLatency.h"

#include "DLog.h"

namespace strmcommon {

namespace {

// Seconds to whole milliseconds: the product in extended precision, truncated toward zero.
int ToMilliseconds(double seconds) {
  return static_cast<int>(static_cast<long double>(seconds) * 1000.0L);
}

}  // namespace

LowLatency::LowLatency()
    : m_blockreload(false),
      m_skipuntil(0),
      m_holdback(0),
      m_partholdback(0),
      m_parttag(false),
      m_targetDuration(0),
      renditionmsqn(0),
      renditionpart(0),
      m_reservedInt1(-1),
      m_reservedInt2(-1),
      m_reservedInt3(-1) {}

void LowLatency::Setparams(bool blockReload, double skipUntil, double holdBack,
                           double partHoldBack) {
  m_blockreload = blockReload;
  m_skipuntil = ToMilliseconds(skipUntil);
  m_holdback = ToMilliseconds(holdBack);
  m_partholdback = ToMilliseconds(partHoldBack);
  VAS_LOG_DEBUG("m_blockreload =[%d] m_skipuntil =[%d] m_holdback = [%d] m_partholdback = [%d]",
                m_blockreload, m_skipuntil, m_holdback, m_partholdback);
}

void LowLatency::SetPartTagInfo(unsigned int targetDuration) {
  m_parttag = true;
  m_targetDuration = targetDuration;
  VAS_LOG_DEBUG("m_parttag =[%d] m_targetDuration =[%d]", m_parttag, m_targetDuration);
}

void LowLatency::SetRenditionReportParam(int msqn, int part) {
  renditionmsqn = msqn;
  renditionpart = part;
  VAS_LOG_DEBUG("renditionmsqn =[%d] renditionpart =[%d]", renditionmsqn, renditionpart);
}

int LowLatency::GetSkipInfo() {
  VAS_LOG_DEBUG("m_skipuntil =[%d]", m_skipuntil);
  return m_skipuntil;
}

bool LowLatency::IsLowLatency() { return m_parttag; }

bool LowLatency::CanBlock() { return m_blockreload; }

}  // namespace strmcommon
