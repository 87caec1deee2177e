/** \file
 * Platform paths: per-user directories the library keeps its files under. */
#ifndef STRMCOMMON_PLATFORM_TZPLATFORM_CONFIG_H
#define STRMCOMMON_PLATFORM_TZPLATFORM_CONFIG_H

#ifdef __cplusplus
extern "C" {
#endif

/** Only the value the cookie jar asks for is named; the stand-in answers null for the rest. */
enum tzplatform_variable {
  TZ_USER_DATA_ROOT = 27,
};

/** Per-user writable root: TZPLATFORM_STUB_ROOT if set, else $HOME. */
const char* tzplatform_getenv(enum tzplatform_variable id);

#ifdef __cplusplus
}
#endif

#endif
