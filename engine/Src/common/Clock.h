/// \file
/// The library's one clock (monotonic milliseconds) and the sleep helpers. All safe on any thread.
#pragma once

/// usleep(ms * 1000), the product taken in 32 unsigned bits: 4,294,968 ms or more wraps round
/// and sleeps far shorter.
void vas_sleep_ms(unsigned int ms);
/// usleep(us).
void vas_sleep_us(unsigned int us);

namespace strmcommon {

/// Milliseconds of CLOCK_MONOTONIC: time since an unspecified start, not the wall clock. Every
/// interval in the library is a difference of two such values.
unsigned long long vas_getTime();
/// The same monotonic value under a second name; it does not read the realtime clock.
unsigned long long vas_getUTC();

}  // namespace strmcommon
