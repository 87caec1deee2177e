/* Linux stand-in for the platform path service. */
#include "tzplatform_config.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

/* Every root handed out stays allocated and reachable from here: a caller may still hold an
 * earlier answer after the variable has changed. */
struct root_entry {
  struct root_entry* next;
  char text[];
};

static pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
static struct root_entry* g_roots;

const char* tzplatform_getenv(enum tzplatform_variable id) {
  if (id != TZ_USER_DATA_ROOT) return NULL;
  const char* root = getenv("TZPLATFORM_STUB_ROOT");
  if (root == NULL || *root == '\0') root = getenv("HOME");
  if (root == NULL) root = "/tmp";
  pthread_mutex_lock(&g_lock);
  struct root_entry* e = g_roots;
  while (e != NULL && strcmp(e->text, root) != 0) e = e->next;
  if (e == NULL) {
    size_t len = strlen(root);
    e = malloc(sizeof *e + len + 1);
    if (e != NULL) {
      memcpy(e->text, root, len + 1);
      e->next = g_roots;
      g_roots = e;
    }
  }
  const char* result = e ? e->text : NULL;
  pthread_mutex_unlock(&g_lock);
  return result;
}
