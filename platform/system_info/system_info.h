/** \file
 * Platform system information: the feature lookup the library asks once per download engine. */
#ifndef STRMCOMMON_PLATFORM_SYSTEM_INFO_H
#define STRMCOMMON_PLATFORM_SYSTEM_INFO_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Results of system_info_get_custom_bool. */
typedef enum {
  SYSTEM_INFO_ERROR_NONE = 0,
  SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,
  SYSTEM_INFO_ERROR_OUT_OF_MEMORY = -12,
  SYSTEM_INFO_ERROR_IO_ERROR = -5,
  SYSTEM_INFO_ERROR_PERMISSION_DENIED = -13,
} system_info_error_e;

/** The boolean feature `key` into `*value`; SYSTEM_INFO_ERROR_NONE, or an error with `*value`
 * unwritten. The stand-in answers from SYSTEM_INFO_STUB_KEYS ("key=true;other=false") or the file
 * named by SYSTEM_INFO_STUB_FILE, unless a test set another mode. */
int system_info_get_custom_bool(const char* key, bool* value);

/** Modes of the Linux stand-in, for tests. */
typedef enum {
  SYSTEM_INFO_STUB_LOOKUP = 0, /* answer from SYSTEM_INFO_STUB_KEYS / SYSTEM_INFO_STUB_FILE */
  SYSTEM_INFO_STUB_FAIL,       /* every call fails with SYSTEM_INFO_ERROR_IO_ERROR */
  SYSTEM_INFO_STUB_TRUE,       /* every call answers true */
  SYSTEM_INFO_STUB_FALSE,      /* every call answers false */
} system_info_stub_mode;

/** Sets how the stand-in answers. */
void system_info_stub_set_mode(system_info_stub_mode mode);
/** Number of system_info_get_custom_bool calls so far. */
int system_info_stub_calls(void);

#ifdef __cplusplus
}
#endif

#endif
