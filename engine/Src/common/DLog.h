// Logging macros over the platform log call. Every line of the library goes through these two.
#pragma once

#include "dlog.h"

#define VAS_LOG_TAG "STREAMING_ENGINE"

// The prefix every message carries: source file base name, bare function name, line.
#define VAS_LOG_PREFIX "%s: %s(%d) > "

namespace strmcommon {
namespace dlog_detail {

// True for the name a lambda's body has: its lines would name "operator()" instead of the
// function they belong to, so the macros refuse to compile there.
constexpr bool IsLambdaBody(const char* function) {
  const char* lambda = "operator()";
  for (; *function != '\0' && *lambda != '\0'; ++function, ++lambda) {
    if (*function != *lambda) return false;
  }
  return *function == '\0' && *lambda == '\0';
}

}  // namespace dlog_detail
}  // namespace strmcommon

#define VAS_LOG_NOT_IN_LAMBDA()                                   \
  static_assert(!strmcommon::dlog_detail::IsLambdaBody(__func__), \
                "a log line belongs to a named function, not to a lambda")

#define VAS_LOG_DEBUG(fmt, ...)                                                             \
  do {                                                                                      \
    VAS_LOG_NOT_IN_LAMBDA();                                                                \
    __dlog_print(LOG_ID_SYSTEM, DLOG_DEBUG, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
                 __func__, __LINE__, ##__VA_ARGS__);                                        \
  } while (0)

#define VAS_LOG_ERROR(fmt, ...)                                                             \
  do {                                                                                      \
    VAS_LOG_NOT_IN_LAMBDA();                                                                \
    __dlog_print(LOG_ID_SYSTEM, DLOG_ERROR, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
                 __func__, __LINE__, ##__VA_ARGS__);                                        \
  } while (0)

// The one line written outside the convention: main log, error priority, no tag.
#define VAS_LOG_MAIN_UNTAGGED_ERROR(fmt, ...)                                                   \
  do {                                                                                          \
    VAS_LOG_NOT_IN_LAMBDA();                                                                    \
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, nullptr, VAS_LOG_PREFIX fmt, __FILE_NAME__, __func__, \
                 __LINE__, ##__VA_ARGS__);                                                      \
  } while (0)
