#include "EngineInterpose.h"

#include <dlfcn.h>
#include <unistd.h>

#include <mutex>

#include "system_info.h"

namespace engineinterpose {

std::atomic<bool> captureUsleep{false};
std::atomic<unsigned int> skipUsleepFrom{0};
std::atomic<bool> captureSlistFree{false};
std::atomic<bool> failSystemInfoWithTrue{false};
std::atomic<int> easyInitFailAfter{-1};
std::atomic<bool> failMultiInit{false};
std::atomic<int> easyCleanups{0};
std::atomic<int> multiCleanups{0};

namespace {
std::mutex& Lock() {
  static std::mutex lock;
  return lock;
}
std::vector<unsigned int>& UsleepLog() {
  static std::vector<unsigned int> log;
  return log;
}
std::vector<curl_slist*>& SlistLog() {
  static std::vector<curl_slist*> log;
  return log;
}
}  // namespace

std::vector<unsigned int> UsleepCalls() {
  std::lock_guard<std::mutex> guard(Lock());
  return UsleepLog();
}

std::vector<curl_slist*> SlistFrees() {
  std::lock_guard<std::mutex> guard(Lock());
  return SlistLog();
}

void Reset() {
  captureUsleep = false;
  skipUsleepFrom = 0;
  captureSlistFree = false;
  failSystemInfoWithTrue = false;
  easyInitFailAfter = -1;
  failMultiInit = false;
  easyCleanups = 0;
  multiCleanups = 0;
  std::lock_guard<std::mutex> guard(Lock());
  UsleepLog().clear();
  SlistLog().clear();
}

}  // namespace engineinterpose

using namespace engineinterpose;

extern "C" {

int usleep(useconds_t usec) {
  using Fn = int (*)(useconds_t);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "usleep"));
  unsigned int skipFrom = skipUsleepFrom.load();
  if (captureUsleep.load() || (skipFrom != 0 && usec >= skipFrom)) {
    std::lock_guard<std::mutex> guard(Lock());
    UsleepLog().push_back(usec);
    return 0;
  }
  return real(usec);
}

void curl_slist_free_all(curl_slist* list) {
  using Fn = void (*)(curl_slist*);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "curl_slist_free_all"));
  if (captureSlistFree.load()) {
    std::lock_guard<std::mutex> guard(Lock());
    SlistLog().push_back(list);
    return;
  }
  real(list);
}

int system_info_get_custom_bool(const char* key, bool* value) {
  using Fn = int (*)(const char*, bool*);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "system_info_get_custom_bool"));
  if (failSystemInfoWithTrue.load()) {
    *value = true;
    return -5;
  }
  return real(key, value);
}

CURL* curl_easy_init(void) {
  using Fn = CURL* (*)(void);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "curl_easy_init"));
  int left = easyInitFailAfter.load();
  if (left == 0) return nullptr;
  if (left > 0) easyInitFailAfter = left - 1;
  return real();
}

CURLM* curl_multi_init(void) {
  using Fn = CURLM* (*)(void);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "curl_multi_init"));
  if (failMultiInit.load()) return nullptr;
  return real();
}

void curl_easy_cleanup(CURL* handle) {
  using Fn = void (*)(CURL*);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "curl_easy_cleanup"));
  ++easyCleanups;
  real(handle);
}

CURLMcode curl_multi_cleanup(CURLM* handle) {
  using Fn = CURLMcode (*)(CURLM*);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "curl_multi_cleanup"));
  ++multiCleanups;
  return real(handle);
}

}  // extern "C"
