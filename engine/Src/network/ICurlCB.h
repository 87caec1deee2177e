// The client's callbacks from the download engine.
#pragma once

#include "UnitObject.h"

namespace strmcommon {

// Results of OnDownloadData that the engine tells apart; any other value means "full".
constexpr int kDataTaken = 0;
constexpr int kDataAgainAtOnce = 3;

class ICurlCB {
 public:
  virtual ~ICurlCB() {}
  // The unit is initialised and about to be configured; on the thread of the begin operation.
  virtual int OnDownloadStart(UnitObject* unit) = 0;
  // Body bytes: 0 taken, 3 offer again at once, anything else offer again after 1 ms.
  virtual int OnDownloadData(UnitObject* unit, int code, unsigned char* data,
                             unsigned int size) = 0;
  // The first Location target of a redirected transfer, line end included.
  virtual int OnRedirect(UnitObject* unit, const char* url) = 0;
};

}  // namespace strmcommon
