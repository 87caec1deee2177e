/** \file
 * Platform log service: the C interface the library logs through. On Linux the stand-in writes
 * one line per call to stderr (see dlog_capture.h for its level and its test hook). */
#ifndef STRMCOMMON_PLATFORM_DLOG_H
#define STRMCOMMON_PLATFORM_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/** The log a line goes to; the library writes to LOG_ID_SYSTEM (one line to LOG_ID_MAIN). */
typedef enum {
  LOG_ID_INVALID = -1,
  LOG_ID_MAIN = 0,
  LOG_ID_RADIO,
  LOG_ID_SYSTEM,
  LOG_ID_APPS,
  LOG_ID_KMSG,
  LOG_ID_SYSLOG,
  LOG_ID_MAX
} log_id_t;

/** Line priorities; the library uses DLOG_DEBUG (3) and DLOG_ERROR (6) only. */
typedef enum {
  DLOG_UNKNOWN = 0,
  DLOG_DEFAULT,
  DLOG_VERBOSE,
  DLOG_DEBUG,
  DLOG_INFO,
  DLOG_WARN,
  DLOG_ERROR,
  DLOG_FATAL,
  DLOG_SILENT,
  DLOG_PRIO_MAX
} log_priority;

/** Writes one line: `fmt` and its arguments under `tag` (may be null) at priority `prio`. Safe on
 * any thread. */
int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
