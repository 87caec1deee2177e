/// \file
/// What a low-latency media playlist announced: server control values, the partial segment target
/// and the rendition report.
#pragma once

#include <string>

namespace strmcommon {

/// A plain record with setters that log what they store (debug level); the engine reads the
/// fields directly. No lock; nothing in this library creates one.
class LowLatency {
 public:
  /// Not low latency, nothing announced.
  LowLatency();

  /// The server control values: block reload, and skip until, hold back and part hold back in
  /// seconds, stored as whole milliseconds (truncated).
  void Setparams(bool blockReload, double skipUntil, double holdBack, double partHoldBack);
  /// Marks the playlist as low latency, whatever the value, and stores the value as it comes.
  void SetPartTagInfo(unsigned int targetDuration);
  /// The rendition report: media sequence number and part number.
  void SetRenditionReportParam(int msqn, int part);
  /// CAN-SKIP-UNTIL in ms.
  int GetSkipInfo();
  /// True once SetPartTagInfo has been called.
  bool IsLowLatency();
  /// CAN-BLOCK-RELOAD.
  bool CanBlock();

  bool m_blockreload;             ///< CAN-BLOCK-RELOAD of the server control
  int m_skipuntil;                ///< CAN-SKIP-UNTIL, ms
  int m_holdback;                 ///< HOLD-BACK, ms
  int m_partholdback;             ///< PART-HOLD-BACK, ms
  bool m_parttag;                 ///< the playlist carries partial segment information
  unsigned int m_targetDuration;  ///< the value given with the partial segment tag, as it came
  int renditionmsqn;              ///< media sequence number of the rendition report
  int renditionpart;              ///< part number of the rendition report
  // The rest of the layout the engine shares; this library only constructs and destroys it.
  int m_reservedInt1;             ///< -1; for the engine's layout
  int m_reservedInt2;             ///< -1; for the engine's layout
  std::string m_reservedString1;  ///< empty; for the engine's layout
  int m_reservedInt3;             ///< -1; for the engine's layout
  std::string m_reservedString2;  ///< empty; for the engine's layout
  std::string m_reservedString3;  ///< empty; for the engine's layout
};

}  // namespace strmcommon
