// The exit statuses of strmplay.
#pragma once

namespace strmplay {

enum ExitStatus : int {
  kExitPlayed = 0,         // every segment fetched, decrypted and playable
  kExitSegmentErrors = 1,  // played to the end, but segments failed or could not be played
  kExitUsage = 2,          // the command line is wrong
  kExitCannotPlay = 3,     // nothing to play: a playlist failed, or the stream is refused
  kExitLiveStalled = 4,    // the live playlist stopped changing
  kExitOutputFailed = 5,   // --output could not be written
  kExitInterrupted = 130,  // stopped by Ctrl-C, after the summary
};

}  // namespace strmplay
