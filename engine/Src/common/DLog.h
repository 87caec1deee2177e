// Logging macros over the platform log call. Every line of the library goes through these two.
#pragma once

#include "dlog.h"

#define VAS_LOG_TAG "STREAMING_ENGINE"

// The prefix every message carries: source file base name, bare function name, line.
#define VAS_LOG_PREFIX "%s: %s(%d) > "

#define VAS_LOG_DEBUG(fmt, ...)                                                          \
  __dlog_print(LOG_ID_SYSTEM, DLOG_DEBUG, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
               __func__, __LINE__, ##__VA_ARGS__)

#define VAS_LOG_ERROR(fmt, ...)                                                          \
  __dlog_print(LOG_ID_SYSTEM, DLOG_ERROR, VAS_LOG_TAG, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
               __func__, __LINE__, ##__VA_ARGS__)

// The one line written outside the convention: main log, error priority, no tag.
#define VAS_LOG_MAIN_UNTAGGED_ERROR(fmt, ...)                                    \
  __dlog_print(LOG_ID_MAIN, DLOG_ERROR, nullptr, VAS_LOG_PREFIX fmt, __FILE_NAME__, \
               __func__, __LINE__, ##__VA_ARGS__)
