#include "Clock.h"

#include <time.h>
#include <unistd.h>

void vas_sleep_ms(unsigned int ms) {
  // Kept: the product is taken in 32 unsigned bits and wraps for 4294968 ms and more.
  usleep(ms * 1000u);
}

void vas_sleep_us(unsigned int us) { usleep(us); }

namespace strmcommon {

unsigned long long vas_getTime() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<unsigned long long>(ts.tv_sec) * 1000ull +
         static_cast<unsigned long long>(ts.tv_nsec) / 1000000ull;
}

unsigned long long vas_getUTC() { return vas_getTime(); }

}  // namespace strmcommon
