/* Linux stand-in for the platform log service: one line per call on stderr, plus a test sink. */
#include "dlog.h"

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

static int level_from_env(void) {
  const char* v = getenv("DLOG_STUB_LEVEL");
  if (v == NULL || *v == '\0') return DLOG_INFO;
  switch (*v) {
    case 'V': case 'v': return DLOG_VERBOSE;
    case 'D': case 'd': return DLOG_DEBUG;
    case 'I': case 'i': return DLOG_INFO;
    case 'W': case 'w': return DLOG_WARN;
    case 'E': case 'e': return DLOG_ERROR;
    case 'F': case 'f': return DLOG_FATAL;
    case 'S': case 's': return DLOG_SILENT;
    default: return atoi(v);
  }
}

static char priority_letter(int prio) {
  static const char letters[] = "??VDIWEFS";
  return (prio >= 0 && prio < (int)sizeof(letters) - 1) ? letters[prio] : '?';
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
