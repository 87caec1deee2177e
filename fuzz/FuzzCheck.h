// How a target reports a broken property: the condition and its line on stderr, then abort, which
// libFuzzer records as a crash and saves the input for.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                      \
  do {                                                                                             \
    if (!(condition)) {                                                                            \
      std::fprintf(stderr, "%s:%d: property does not hold: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                                \
    }                                                                                              \
  } while (0)
