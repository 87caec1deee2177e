// Interposed usleep and curl_slist_free_all for the engine tests: the definitions in this test
// program win over the libraries' for the engine's calls. Both forward to the real function
// unless a test switch is set.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <vector>

namespace engineinterpose {

// While set, usleep records its argument and returns at once.
extern std::atomic<bool> captureUsleep;
std::vector<unsigned int> UsleepCalls();

// While set, curl_slist_free_all records the list and frees nothing.
extern std::atomic<bool> captureSlistFree;
std::vector<curl_slist*> SlistFrees();

void Reset();

}  // namespace engineinterpose
