/// \file
/// Logging macros over the platform log call. Every line of the library goes through these two.
///
/// A line is one __dlog_print call on the system log with the tag "STREAMING_ENGINE" and the
/// prefix "file: function(line) > " in front of the message: the source file's base name, the
/// bare function name as the compiler gives it, and the line. So the function that writes a line
/// is part of the line: a helper never writes a line on its caller's behalf. The macros add
/// nothing else (no time, no thread, no lock). Debug carries the traces; error carries faults and
/// the events a field log must show even when debug lines are filtered out (every transfer's URL,
/// handles added, "[HLS_BW]" bandwidth lines, player callbacks being set).
#pragma once

#include "dlog.h"

/// The tag of every line of the library.
#define VAS_LOG_TAG "STREAMING_ENGINE"

/// The prefix every message carries: source file base name, bare function name, line.
#define VAS_LOG_PREFIX "%s: %s(%d) > "

namespace strmcommon {
namespace dlog_detail {

/// True for the name a lambda's body has: its lines would name "operator()" instead of the
/// function they belong to, so the macros refuse to compile there.
constexpr bool IsLambdaBody(const char* function) {
  const char* lambda = "operator()";
  for (; *function != '\0' && *lambda != '\0'; ++function, ++lambda) {
    if (*function != *lambda) return false;
  }
  return *function == '\0' && *lambda == '\0';
}

}  // namespace dlog_detail
}  // namespace strmcommon

/// Fails to compile inside a lambda's body, where a line would name "operator()".
#define VAS_LOG_NOT_IN_LAMBDA()                                   \
  static_assert(!strmcommon::dlog_detail::IsLambdaBody(__func__), \
                "a log line belongs to a named function, not to a lambda")

/// A line at debug priority (3); `fmt` is a string literal in printf form.
#define VAS_LOG_DEBUG(fmt, ...)                                                             \
  do {                                                                                      \
    VAS_LOG_NOT_IN_LAMBDA();                                                                \
    __dlog_print(LOG_ID_SYSTEM, DLOG_DEBUG, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
                 __func__, __LINE__, ##__VA_ARGS__);                                        \
  } while (0)

/// A line at error priority (6).
#define VAS_LOG_ERROR(fmt, ...)                                                             \
  do {                                                                                      \
    VAS_LOG_NOT_IN_LAMBDA();                                                                \
    __dlog_print(LOG_ID_SYSTEM, DLOG_ERROR, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
                 __func__, __LINE__, ##__VA_ARGS__);                                        \
  } while (0)

/// The one line written outside the convention: main log, error priority, no tag.
#define VAS_LOG_MAIN_UNTAGGED_ERROR(fmt, ...)                                                   \
  do {                                                                                          \
    VAS_LOG_NOT_IN_LAMBDA();                                                                    \
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, nullptr, VAS_LOG_PREFIX fmt, __FILE_NAME__, __func__, \
                 __LINE__, ##__VA_ARGS__);                                                      \
  } while (0)
