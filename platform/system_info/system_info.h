/* Platform system information: the feature lookup the library asks once per download engine. */
#ifndef STRMCOMMON_PLATFORM_SYSTEM_INFO_H
#define STRMCOMMON_PLATFORM_SYSTEM_INFO_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  SYSTEM_INFO_ERROR_NONE = 0,
  SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,
  SYSTEM_INFO_ERROR_OUT_OF_MEMORY = -12,
  SYSTEM_INFO_ERROR_IO_ERROR = -5,
  SYSTEM_INFO_ERROR_PERMISSION_DENIED = -13,
} system_info_error_e;

int system_info_get_custom_bool(const char* key, bool* value);

/* Test hooks of the Linux stand-in. */
typedef enum {
  SYSTEM_INFO_STUB_LOOKUP = 0, /* answer from SYSTEM_INFO_STUB_KEYS / SYSTEM_INFO_STUB_FILE */
  SYSTEM_INFO_STUB_FAIL,       /* every call fails with SYSTEM_INFO_ERROR_IO_ERROR */
  SYSTEM_INFO_STUB_TRUE,       /* every call answers true */
  SYSTEM_INFO_STUB_FALSE,      /* every call answers false */
} system_info_stub_mode;

void system_info_stub_set_mode(system_info_stub_mode mode);
/* Number of system_info_get_custom_bool calls so far. */
int system_info_stub_calls(void);

#ifdef __cplusplus
}
#endif

#endif
