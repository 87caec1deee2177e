#include "StopSignal.h"

#include <csignal>

namespace strmplay {

namespace {

volatile std::sig_atomic_t g_stop = 0;

void OnStopSignal(int) { g_stop = 1; }

}  // namespace

void InstallStopSignals() {
  struct sigaction action {};
  action.sa_handler = &OnStopSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() { return g_stop != 0; }

void RequestStop() { g_stop = 1; }

}  // namespace strmplay
