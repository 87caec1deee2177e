/* Linux stand-in for the platform log service: one line per call on stderr, plus a test sink. */
#include "dlog.h"

#include <ctype.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "dlog_capture.h"

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static dlog_capture_sink g_sink;
static void* g_sink_ctx;
static int g_level = -1;

/* The letter of each priority, indexed by its value. */
static const char kPriorityLetters[] = "??VDIWEFS";

static int level_from_env(void) {
  const char* v = getenv("DLOG_STUB_LEVEL");
  if (v == NULL || *v == '\0') return DLOG_INFO;
  /* A letter names a priority (V, D, I, W, E, F or S, either case); anything else is a number. */
  const char* letter = strchr(kPriorityLetters + DLOG_VERBOSE, toupper((unsigned char)*v));
  return letter != NULL ? (int)(letter - kPriorityLetters) : atoi(v);
}

static char priority_letter(int prio) {
  return (prio >= 0 && prio < (int)sizeof(kPriorityLetters) - 1) ? kPriorityLetters[prio] : '?';
}

void dlog_stub_set_capture(dlog_capture_sink sink, void* ctx) {
  pthread_mutex_lock(&g_lock);
  g_sink = sink;
  g_sink_ctx = ctx;
  pthread_mutex_unlock(&g_lock);
}

void dlog_stub_set_level(int prio) {
  pthread_mutex_lock(&g_lock);
  g_level = prio;
  pthread_mutex_unlock(&g_lock);
}

int dlog_stub_level(void) {
  pthread_mutex_lock(&g_lock);
  if (g_level < 0) g_level = level_from_env();
  int level = g_level;
  pthread_mutex_unlock(&g_lock);
  return level;
}

int __dlog_print(log_id_t log_id, int prio, const char* tag, const char* fmt, ...) {
  char stack[1024];
  char* text = stack;
  va_list ap;
  va_start(ap, fmt);
  int n = vsnprintf(stack, sizeof stack, fmt, ap);
  va_end(ap);
  if (n < 0) return n;
  if ((size_t)n >= sizeof stack) {
    text = malloc((size_t)n + 1);
    if (text == NULL) return -1;
    va_start(ap, fmt);
    vsnprintf(text, (size_t)n + 1, fmt, ap);
    va_end(ap);
  }

  int level = dlog_stub_level();
  pthread_mutex_lock(&g_lock);
  if (g_sink != NULL) g_sink(g_sink_ctx, (int)log_id, prio, tag, text);
  if (prio >= level) {
    int newline = n > 0 && text[n - 1] == '\n';
    fprintf(stderr, "%c/%s: %s%s", priority_letter(prio), tag ? tag : "", text,
            newline ? "" : "\n");
  }
  pthread_mutex_unlock(&g_lock);

  if (text != stack) free(text);
  return n;
}
