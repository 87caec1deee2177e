#include "LowLatency.h"

#include <cmath>

#include "DLog.h"
#include "Width32.h"

namespace strmcommon {

namespace {

// Seconds to whole milliseconds: the product in extended precision, truncated toward zero. That
// product is exact (53 by 7 significant bits), so it is taken here as the rounded double product
// and its rounding error, which gives the same on a build without extended precision: 0.3 s is
// 299 ms on both, where a plain double product would round up to 300.
int ToMilliseconds(double seconds) {
  const double product = seconds * 1000.0;
  const double error = std::fma(seconds, 1000.0, -product);
  double whole = std::trunc(product);
  // A product rounded onto a whole number from just inside it truncates one step nearer zero.
  if (whole == product && error < 0.0 && product > 0.0) whole -= 1.0;
  if (whole == product && error > 0.0 && product < 0.0) whole += 1.0;
  return width32::TruncToInt32(whole);
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
