// The result type of every player callback. The player's interface defines the values; this
// library only passes the type through and never tests it.
#pragma once

namespace strmcommon {

enum tag_VAS_Status {
  VAS_STATUS_OK = 0,
  VAS_STATUS_ERROR = -1,
};

typedef tag_VAS_Status VAS_Status;

}  // namespace strmcommon
