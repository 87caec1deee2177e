// Ctrl-C: the first SIGINT or SIGTERM asks the player to stop cleanly (the transfer under way is
// cancelled, the engine quits and saves the cookie jar, the summary is printed); the signal's
// default action comes back with it, so a second one ends the program at once.
#pragma once

namespace strmplay {

void InstallStopSignals();
// True once a stop was asked for.
bool StopRequested();
// Asks for a stop, as the signal does.
void RequestStop();

}  // namespace strmplay
