// GURL construction and resolution against libcurl's URL API, on one corpus of streaming URLs.
//
// Prints ns per URL for each and the ratios, then checks that constructing a GURL from a URL
// under 1 KiB allocates nothing beyond the GURL's own string: global operator new is replaced by
// a counting one, and every construction must make at most one allocation (the reserve of the
// GURL's text); a resolution at most two (the reserve, and one growth when the result is longer
// than the base by more than the reserve's slack).
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "gurl.h"

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  if (g_counting.load(std::memory_order_relaxed)) g_allocations++;
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  return p;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace {

std::vector<std::string> AbsoluteCorpus() {
  const char* hosts[] = {
      "https://cdn.example.com",
      "https://video-edge-03.cdn.provider.net:8443",
      "http://192.168.1.20:8080",
      "http://[2001:db8::1]",
      "http://[::ffff:10.0.0.5]:8000",
      "HTTPS://LIVE.Example.TV",
      "http://10.0.0.1",
      "http://media.example.org:80",
  };
  const char* paths[] = {
      "/live/master.m3u8",
      "/live/720p/index.m3u8",
      "/vod/movie%20title/1080p/seg_00042.ts",
      "/hls/chunklist_b2500000.m3u8",
      "/a/b/../c/seg-12.aac",
      "/ll/part_123.4.mp4",
  };
  const char* queries[] = {
      "",
      // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one query, split for the line length.
      "?token=eyJhbGciOiJIUzI1NiIsInR5cCI6IkpXVCJ9.eyJzdWIiOiIxMjM0NTY3ODkwIiwiZXhwIjoxNzAwMDAw"
      "MDAwfQ.SflKxwRJSMeKKF2QT4fwpMeJf36POk6yJV_adQssw5c&expires=1700000000",
      "?hdnts=exp%3D1700000000~acl%3D%2F*~hmac%3D0a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f6071",
      "?_HLS_msn=1234&_HLS_part=2",
      "?sid=8f14e45f-ceea-467f-a0e6-7f3a1b2c3d4e&bitrate=2500000&cdn=akm#t=30",
  };
  std::vector<std::string> urls;
  for (const char* h : hosts) {
    for (const char* p : paths) {
      for (const char* q : queries) urls.push_back(std::string(h) + p + q);
    }
  }
  return urls;
}

std::vector<std::string> RelativeCorpus() {
  return {
      "seg_00043.ts",
      "../720p/index.m3u8",
      "/abs/path.m3u8?x=1",
      "//other.cdn.net/p/seg.ts",
      "chunk_1.ts?token=9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08",
      "https://abs.example.com/x.m3u8",
      "part%201.ts",
      "./sub/../seg.ts",
  };
}

const std::vector<std::string>& Absolute() {
  static const std::vector<std::string> urls = AbsoluteCorpus();
  return urls;
}

// Bases for resolution: one media playlist per host and path.
const std::vector<std::string>& Bases() {
  static const std::vector<std::string> bases = [] {
    std::vector<std::string> b;
    for (size_t i = 0; i < Absolute().size(); i += 8) b.push_back(Absolute()[i]);
    return b;
  }();
  return bases;
}

size_t ResolvePairs() { return Bases().size() * RelativeCorpus().size(); }

void BM_GurlConstruct(benchmark::State& state) {
  const std::vector<std::string>& urls = Absolute();
  for (auto _ : state) {
    for (const std::string& u : urls) {
      GURL g(u);
      benchmark::DoNotOptimize(g.possibly_invalid_spec().data());
    }
  }
  state.SetItemsProcessed(state.iterations() * urls.size());
}

void BM_CurlUrlSetGet(benchmark::State& state) {
  const std::vector<std::string>& urls = Absolute();
  CURLU* h = curl_url();
  for (auto _ : state) {
    for (const std::string& u : urls) {
      char* out = nullptr;
      curl_url_set(h, CURLUPART_URL, u.c_str(), 0);
      curl_url_get(h, CURLUPART_URL, &out, 0);
      benchmark::DoNotOptimize(out);
      curl_free(out);
    }
  }
  curl_url_cleanup(h);
  state.SetItemsProcessed(state.iterations() * urls.size());
}

void BM_GurlResolve(benchmark::State& state) {
  std::vector<GURL> bases;
  for (const std::string& b : Bases()) bases.emplace_back(b);
  const std::vector<std::string> rel = RelativeCorpus();
  for (auto _ : state) {
    for (const GURL& b : bases) {
      for (const std::string& r : rel) {
        GURL g = b.Resolve(r);
        benchmark::DoNotOptimize(g.possibly_invalid_spec().data());
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * ResolvePairs());
}

void BM_CurlResolve(benchmark::State& state) {
  std::vector<CURLU*> bases;
  for (const std::string& b : Bases()) {
    CURLU* h = curl_url();
    curl_url_set(h, CURLUPART_URL, b.c_str(), 0);
    bases.push_back(h);
  }
  const std::vector<std::string> rel = RelativeCorpus();
  for (auto _ : state) {
    for (CURLU* b : bases) {
      for (const std::string& r : rel) {
        // A handle holding the base takes the relative reference.
        CURLU* h = curl_url_dup(b);
        char* out = nullptr;
        curl_url_set(h, CURLUPART_URL, r.c_str(), 0);
        curl_url_get(h, CURLUPART_URL, &out, 0);
        benchmark::DoNotOptimize(out);
        curl_free(out);
        curl_url_cleanup(h);
      }
    }
  }
  for (CURLU* h : bases) curl_url_cleanup(h);
  state.SetItemsProcessed(state.iterations() * ResolvePairs());
}

BENCHMARK(BM_GurlConstruct);
BENCHMARK(BM_CurlUrlSetGet);
BENCHMARK(BM_GurlResolve);
BENCHMARK(BM_CurlResolve);

// Keeps ns per item of every run for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  SummaryReporter() : ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto it = run.counters.find("items_per_second");
      if (it != run.counters.end() && it->second.value > 0)
        nsPerItem[run.benchmark_name()] = 1e9 / it->second.value;
    }
  }
  std::map<std::string, double> nsPerItem;
};

// Allocations made while constructing (and resolving) every corpus URL under 1 KiB.
bool CheckAllocations() {
  long worstConstruct = 0;
  long worstResolve = 0;
  size_t checked = 0;
  for (const std::string& u : Absolute()) {
    if (u.size() >= 1024) continue;
    g_allocations = 0;
    g_counting = true;
    {
      GURL g(u);
      benchmark::DoNotOptimize(g.possibly_invalid_spec().data());
      g_counting = false;
    }
    worstConstruct = std::max(worstConstruct, g_allocations.load());
    checked++;
  }
  for (const std::string& b : Bases()) {
    GURL base(b);
    for (const std::string& r : RelativeCorpus()) {
      g_allocations = 0;
      g_counting = true;
      {
        GURL g = base.Resolve(r);
        benchmark::DoNotOptimize(g.possibly_invalid_spec().data());
        g_counting = false;
      }
      worstResolve = std::max(worstResolve, g_allocations.load());
    }
  }
  std::printf(
      "allocation check: %zu URLs under 1 KiB; most operator new calls per GURL "
      "construction: %ld (limit 1), per Resolve: %ld (limit 2)\n",
      checked, worstConstruct, worstResolve);
  return worstConstruct <= 1 && worstResolve <= 2;
}

}  // namespace

int main(int argc, char** argv) {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  benchmark::Initialize(&argc, argv);
  std::printf("corpus: %zu absolute URLs, %zu resolutions (%zu bases x %zu references)\n",
              Absolute().size(), ResolvePairs(), Bases().size(), RelativeCorpus().size());
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);

  auto& ns = reporter.nsPerItem;
  auto print = [&ns](const char* name) {
    if (ns.count(name)) std::printf("%-20s %8.1f ns/URL\n", name, ns[name]);
  };
  print("BM_GurlConstruct");
  print("BM_CurlUrlSetGet");
  print("BM_GurlResolve");
  print("BM_CurlResolve");
  if (ns.count("BM_GurlConstruct") && ns.count("BM_CurlUrlSetGet")) {
    double ratio = ns["BM_GurlConstruct"] / ns["BM_CurlUrlSetGet"];
    std::printf("construction: GURL/libcurl = %.3f (target <= 0.333): %s\n", ratio,
                ratio <= 1.0 / 3.0 ? "met" : "MISSED");
  }
  if (ns.count("BM_GurlResolve") && ns.count("BM_CurlResolve")) {
    std::printf("resolution:   GURL/libcurl = %.3f\n", ns["BM_GurlResolve"] / ns["BM_CurlResolve"]);
  }
  bool allocOk = CheckAllocations();
  std::printf("allocation check: %s\n", allocOk ? "met" : "MISSED");
  curl_global_cleanup();
  benchmark::Shutdown();
  return allocOk ? 0 : 1;
}
