// Interposed usleep, curl_slist_free_all and handle set-up and clean-up for the engine tests: the
// definitions in this test program win over the libraries' for the engine's calls. Each forwards
// to the real function unless a test switch is set.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <vector>

namespace engineinterpose {

// While set, usleep records its argument and returns at once.
extern std::atomic<bool> captureUsleep;
// While non-zero, usleep calls of at least this many microseconds are recorded and return at
// once; shorter ones sleep as usual (the worker's own pacing keeps going).
extern std::atomic<unsigned int> skipUsleepFrom;
std::vector<unsigned int> UsleepCalls();

// While set, curl_slist_free_all records the list and frees nothing.
extern std::atomic<bool> captureSlistFree;
std::vector<curl_slist*> SlistFrees();

// While set, system_info_get_custom_bool writes true into its answer and fails.
extern std::atomic<bool> failSystemInfoWithTrue;

// Non-negative: curl_easy_init answers null once that many more calls have gone through.
extern std::atomic<int> easyInitFailAfter;
// While set, curl_multi_init answers null.
extern std::atomic<bool> failMultiInit;

// Calls of curl_easy_cleanup and curl_multi_cleanup since the last Reset().
extern std::atomic<int> easyCleanups;
extern std::atomic<int> multiCleanups;

void Reset();

}  // namespace engineinterpose
