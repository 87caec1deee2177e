/** \file
 * Test hook of the log stand-in: every __dlog_print call, already formatted, goes to the sink.
 * The sink runs under the stand-in's own lock, so calls from several threads arrive one by one. */
#ifndef STRMCOMMON_PLATFORM_DLOG_CAPTURE_H
#define STRMCOMMON_PLATFORM_DLOG_CAPTURE_H

#ifdef __cplusplus
extern "C" {
#endif

/** Receives each line: log, priority, tag (null when the caller passed a null tag) and the
 * formatted text. */
typedef void (*dlog_capture_sink)(void* ctx, int log_id, int prio, const char* tag,
                                  const char* text);

/** Installs a sink (null removes it). Lines still go to stderr by the level rule. */
void dlog_stub_set_capture(dlog_capture_sink sink, void* ctx);

/** Lowest priority written to stderr; the default comes from DLOG_STUB_LEVEL (a letter
 * V/D/I/W/E/F/S or a number), else DLOG_INFO, so debug lines are off unless asked for. */
void dlog_stub_set_level(int prio);
/** The lowest priority written to stderr now. */
int dlog_stub_level(void);

#ifdef __cplusplus
}
#endif

#endif
