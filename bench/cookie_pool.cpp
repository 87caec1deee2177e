// Time of one Cookie header lookup as the pool grows: the pool is a plain list, walked in full.
#include <benchmark/benchmark.h>

#include <string>

#include "CHttpCookie.h"

namespace {

constexpr int kHosts = 50;

// Cookie i lives on host h<i % 50>.site.test; every fifth one is a domain cookie for site.test and
// every third one is bound to the path /seg.
void FillPool(strmcommon::CHttpCookie& jar, int count) {
  for (int i = 0; i < count; ++i) {
    std::string host = "h" + std::to_string(i % kHosts) + ".site.test";
    std::string header = "c" + std::to_string(i) + "=value" + std::to_string(i);
    header += (i % 3 == 0) ? "; path=/seg" : "; path=/";
    if (i % 5 == 0) header += "; domain=.site.test";
    jar.addCookieToPool(header, host, "/");
  }
}

void BM_GetCookieFromPool(benchmark::State& state) {
  strmcommon::CHttpCookie jar;
  FillPool(jar, static_cast<int>(state.range(0)));
  const std::string url = "http://h7.site.test/seg/segment_0042.ts?token=abc";
  size_t length = 0;
  for (auto _ : state) {
    std::string header = jar.getCookieFromPool(url);
    length = header.size();
    benchmark::DoNotOptimize(header);
  }
  state.counters["cookies"] = static_cast<double>(state.range(0));
  state.counters["header_bytes"] = static_cast<double>(length);
}

BENCHMARK(BM_GetCookieFromPool)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
