// The library's one clock (monotonic milliseconds) and the sleep helpers.
#pragma once

void vas_sleep_ms(unsigned int ms);
void vas_sleep_us(unsigned int us);

namespace strmcommon {

// Milliseconds of CLOCK_MONOTONIC: time since an unspecified start, not the wall clock.
unsigned long long vas_getTime();
// The same monotonic value under a second name; it does not read the realtime clock.
unsigned long long vas_getUTC();

}  // namespace strmcommon
