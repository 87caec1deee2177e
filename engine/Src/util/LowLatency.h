// What a low-latency media playlist announced: server control values, the partial segment target
// and the rendition report.
#pragma once

#include <string>

namespace strmcommon {

// A plain record with setters; the engine reads the fields directly. No lock.
class LowLatency {
 public:
  LowLatency();

  // Arguments in seconds: block reload, skip until, hold back, part hold back.
  void Setparams(bool blockReload, double skipUntil, double holdBack, double partHoldBack);
  // Marks the playlist as low latency, whatever the value.
  void SetPartTagInfo(unsigned int targetDuration);
  void SetRenditionReportParam(int msqn, int part);
  int GetSkipInfo();
  bool IsLowLatency();
  bool CanBlock();

  bool m_blockreload;             // CAN-BLOCK-RELOAD of the server control
  int m_skipuntil;                // CAN-SKIP-UNTIL, ms
  int m_holdback;                 // HOLD-BACK, ms
  int m_partholdback;             // PART-HOLD-BACK, ms
  bool m_parttag;                 // the playlist carries partial segment information
  unsigned int m_targetDuration;  // the value given with the partial segment tag, as it came
  int renditionmsqn;              // media sequence number of the rendition report
  int renditionpart;              // part number of the rendition report
  // The rest of the layout the engine shares; this library only constructs and destroys it.
  int m_reservedInt1;
  int m_reservedInt2;
  std::string m_reservedString1;
  int m_reservedInt3;
  std::string m_reservedString2;
  std::string m_reservedString3;
};

}  // namespace strmcommon
