/* Linux stand-in for the platform path service. */
#include "tzplatform_config.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static char* g_root;

const char* tzplatform_getenv(enum tzplatform_variable id) {
  if (id != TZ_USER_DATA_ROOT) return NULL;
  const char* root = getenv("TZPLATFORM_STUB_ROOT");
  if (root == NULL || *root == '\0') root = getenv("HOME");
  if (root == NULL) root = "/tmp";
  /* The result stays valid until the root changes: the previous string is kept while it matches. */
  pthread_mutex_lock(&g_lock);
  if (g_root == NULL || strcmp(g_root, root) != 0) {
    char* copy = strdup(root);
    if (copy) g_root = copy; /* an older string is deliberately leaked: callers may still hold it */
  }
  const char* result = g_root;
  pthread_mutex_unlock(&g_lock);
  return result;
}
