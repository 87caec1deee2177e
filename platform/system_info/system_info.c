/* Linux stand-in for the platform's system information service.
 *
 * A key is looked up in SYSTEM_INFO_STUB_KEYS ("key=true;other=false"), then in the file named by
 * SYSTEM_INFO_STUB_FILE (one "key=value" a line, '#' starts a comment). Values are true/false or
 * 1/0. A key found nowhere answers false: every feature the stand-in doesn't know is present and
 * switched off. Tests can force an answer or a failure with system_info_stub_set_mode. */
#include "system_info.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static volatile int g_mode = SYSTEM_INFO_STUB_LOOKUP;
static volatile int g_calls;

void system_info_stub_set_mode(system_info_stub_mode mode) { g_mode = mode; }
int system_info_stub_calls(void) { return __atomic_load_n(&g_calls, __ATOMIC_SEQ_CST); }

static int parse_value(const char* v, size_t len, bool* out) {
  if ((len == 4 && strncmp(v, "true", 4) == 0) || (len == 1 && v[0] == '1')) {
    *out = true;
    return 1;
  }
  if ((len == 5 && strncmp(v, "false", 5) == 0) || (len == 1 && v[0] == '0')) {
    *out = false;
    return 1;
  }
  return 0;
}

/* Looks for "key=value" in one entry [begin, end). */
static int match_entry(const char* begin, const char* end, const char* key, bool* out) {
  while (begin < end && (*begin == ' ' || *begin == '\t')) ++begin;
  while (end > begin && (end[-1] == ' ' || end[-1] == '\t' || end[-1] == '\r' || end[-1] == '\n'))
    --end;
  const char* eq = memchr(begin, '=', (size_t)(end - begin));
  if (eq == NULL || *begin == '#') return 0;
  size_t klen = strlen(key);
  if ((size_t)(eq - begin) != klen || strncmp(begin, key, klen) != 0) return 0;
  return parse_value(eq + 1, (size_t)(end - eq - 1), out);
}

static int lookup_list(const char* list, const char* key, bool* out) {
  while (list && *list) {
    const char* end = strchr(list, ';');
    if (end == NULL) end = list + strlen(list);
    if (match_entry(list, end, key, out)) return 1;
    list = *end ? end + 1 : end;
  }
  return 0;
}

static int lookup_file(const char* path, const char* key, bool* out) {
  FILE* f = fopen(path, "r");
  if (f == NULL) return 0;
  char line[1024];
  int found = 0;
  while (!found && fgets(line, sizeof line, f))
    found = match_entry(line, line + strlen(line), key, out);
  fclose(f);
  return found;
}

int system_info_get_custom_bool(const char* key, bool* value) {
  __atomic_add_fetch(&g_calls, 1, __ATOMIC_SEQ_CST);
  if (key == NULL || value == NULL) return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
  switch (g_mode) {
    case SYSTEM_INFO_STUB_FAIL:
      return SYSTEM_INFO_ERROR_IO_ERROR;
    case SYSTEM_INFO_STUB_TRUE:
      *value = true;
      return SYSTEM_INFO_ERROR_NONE;
    case SYSTEM_INFO_STUB_FALSE:
      *value = false;
      return SYSTEM_INFO_ERROR_NONE;
    default:
      break;
  }
  bool answer = false;
  if (!lookup_list(getenv("SYSTEM_INFO_STUB_KEYS"), key, &answer)) {
    const char* file = getenv("SYSTEM_INFO_STUB_FILE");
    if (file) lookup_file(file, key, &answer);
  }
  *value = answer;
  return SYSTEM_INFO_ERROR_NONE;
}
