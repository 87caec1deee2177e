/// \file
/// The result type of every player callback. The player's interface defines the values; this
/// library only passes the type through and never tests it.
#pragma once

namespace strmcommon {

/// What a player callback returns; CPlayerSupport ignores it.
enum tag_VAS_Status {
  VAS_STATUS_OK = 0,      ///< success
  VAS_STATUS_ERROR = -1,  ///< failure
};

/// The short name of tag_VAS_Status.
typedef tag_VAS_Status VAS_Status;

}  // namespace strmcommon
