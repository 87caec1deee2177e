// The download engine against a plain single-threaded curl-multi downloader, in the same run and
// against the same loopback server (in a child process, so that process CPU time is the
// client's alone): one 100 MB body, 1000 sequential 1 KB requests, 20 parallel 10 MB bodies.
//
// Counters: MB/s; cpu_s_per_GB (process user+system CPU per GB received); for the small
// requests median_ms and p99_ms from the begin operation (or curl_multi_add_handle) to the
// finished transfer in the client's hands (GetCompleted / curl_multi_info_read).
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "CurlProbe.h"
#include "LoopbackServer.h"
#include "system_info.h"

using strmcommon::UnitObject;

namespace {

int g_port = 0;

std::string Url(const std::string& path) {
  return "http://127.0.0.1:" + std::to_string(g_port) + path;
}

double CpuSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// Counts bytes and takes every chunk: the cheapest client, so that the engine's own cost shows.
class CountingClient : public strmcommon::ICurlCB {
 public:
  int OnDownloadStart(UnitObject*) override { return 0; }
  int OnDownloadData(UnitObject*, int, unsigned char*, unsigned int size) override {
    bytes += size;
    return 0;
  }
  int OnRedirect(UnitObject*, const char*) override { return 0; }
  std::atomic<size_t> bytes{0};
};

struct Engine {
  explicit Engine(strmcommon::curl_thread_option option = strmcommon::CURL_THREAD_FIXED,
                  int sleepUs = 0)
      : curl(option, sleepUs, "/tmp/strmcommon-bench") {
    curl.Init(&client, nullptr);
    curl.StartLoop();
  }
  ~Engine() { curl.Quit(); }
  UnitObject* Begin(const std::string& url) {
    UnitObject* unit = nullptr;
    strmcommon::UserData data{1, -1, -1, 99999999, 0, 0};
    curl.LockMutItem();
    curl.BeginDownload(0, url, false, unit, true, data);
    curl.UnlockMutItem();
    return unit;
  }
  // Takes n finished units, polling as a client would.
  void Collect(int n, bool spin) {
    while (n > 0) {
      int code = 0;
      long date = 0;
      UnitObject* unit = curl.GetCompleted(code, date);
      if (unit != nullptr) {
        curl.EndDownload(unit);
        --n;
      } else if (spin) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
      } else {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
    }
  }
  CountingClient client;
  testsupport::CurlProbe curl;
};

size_t PlainWrite(char*, size_t size, size_t nmemb, void* counter) {
  *static_cast<size_t*>(counter) += size * nmemb;
  return size * nmemb;
}

// The plain downloader: one multi handle driven from this thread, fresh easy handles with the
// engine's receive buffer size, a counting write callback.
struct Plain {
  Plain() { multi = curl_multi_init(); }
  ~Plain() { curl_multi_cleanup(multi); }
  CURL* Add(const std::string& url) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, PlainWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &bytes);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 32768L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_multi_add_handle(multi, easy);
    return easy;
  }
  void Run(int n) {
    int running = 0;
    while (n > 0) {
      curl_multi_perform(multi, &running);
      int left = 0;
      while (CURLMsg* msg = curl_multi_info_read(multi, &left)) {
        if (msg->msg != CURLMSG_DONE) continue;
        CURL* easy = msg->easy_handle;
        curl_multi_remove_handle(multi, easy);
        curl_easy_cleanup(easy);
        --n;
      }
      if (n > 0) curl_multi_poll(multi, nullptr, 0, 100, nullptr);
    }
  }
  CURLM* multi;
  size_t bytes = 0;
};

void ReportThroughput(benchmark::State& state, double bytes, double wall, double cpu) {
  state.counters["MB/s"] = bytes / 1e6 / wall;
  state.counters["cpu_s_per_GB"] = cpu / (bytes / 1e9);
}

constexpr size_t kBig = 100u * 1024 * 1024;
constexpr size_t kParallelSize = 10u * 1024 * 1024;

void BM_Engine_Body100MB(benchmark::State& state) {
  Engine engine(state.range(0) == 0 ? strmcommon::CURL_THREAD_FIXED : strmcommon::CURL_THREAD_PACED,
                static_cast<int>(state.range(0)));
  double bytes = 0, wall = 0, cpu = 0;
  for (auto _ : state) {
    double c0 = CpuSeconds();
    auto t0 = Clock::now();
    engine.Begin(Url("/bytes/" + std::to_string(kBig)));
    engine.Collect(1, false);
    double w = Seconds(Clock::now() - t0);
    state.SetIterationTime(w);
    wall += w;
    cpu += CpuSeconds() - c0;
    bytes += kBig;
  }
  ReportThroughput(state, bytes, wall, cpu);
}

void BM_Plain_Body100MB(benchmark::State& state) {
  Plain plain;
  double bytes = 0, wall = 0, cpu = 0;
  for (auto _ : state) {
    double c0 = CpuSeconds();
    auto t0 = Clock::now();
    plain.Add(Url("/bytes/" + std::to_string(kBig)));
    plain.Run(1);
    double w = Seconds(Clock::now() - t0);
    state.SetIterationTime(w);
    wall += w;
    cpu += CpuSeconds() - c0;
    bytes += kBig;
  }
  ReportThroughput(state, bytes, wall, cpu);
}

void ReportLatencies(benchmark::State& state, std::vector<double>& ms) {
  std::sort(ms.begin(), ms.end());
  state.counters["median_ms"] = ms[ms.size() / 2];
  state.counters["p99_ms"] = ms[ms.size() * 99 / 100];
  state.counters["max_ms"] = ms.back();
}

// range(0): 0 the fixed loop (a pass, then 1 ms of sleep); otherwise the paced loop with that
// many microseconds of m_sleepTime, to show what the pacing costs a small request.
void BM_Engine_Sequential1KB(benchmark::State& state) {
  Engine engine(state.range(0) == 0 ? strmcommon::CURL_THREAD_FIXED : strmcommon::CURL_THREAD_PACED,
                static_cast<int>(state.range(0)));
  std::vector<double> ms;
  for (auto _ : state) {
    auto t0 = Clock::now();
    for (int i = 0; i < 1000; ++i) {
      auto s = Clock::now();
      engine.Begin(Url("/bytes/1024"));
      engine.Collect(1, true);
      ms.push_back(Seconds(Clock::now() - s) * 1000);
    }
    state.SetIterationTime(Seconds(Clock::now() - t0));
  }
  ReportLatencies(state, ms);
}

void BM_Plain_Sequential1KB(benchmark::State& state) {
  Plain plain;
  std::vector<double> ms;
  for (auto _ : state) {
    auto t0 = Clock::now();
    for (int i = 0; i < 1000; ++i) {
      auto s = Clock::now();
      plain.Add(Url("/bytes/1024"));
      plain.Run(1);
      ms.push_back(Seconds(Clock::now() - s) * 1000);
    }
    state.SetIterationTime(Seconds(Clock::now() - t0));
  }
  ReportLatencies(state, ms);
}

// range(0) as for the small requests: the fixed loop, or the paced one with that sleep.
void BM_Engine_Parallel20x10MB(benchmark::State& state) {
  Engine engine(state.range(0) == 0 ? strmcommon::CURL_THREAD_FIXED : strmcommon::CURL_THREAD_PACED,
                static_cast<int>(state.range(0)));
  double bytes = 0, wall = 0, cpu = 0;
  for (auto _ : state) {
    double c0 = CpuSeconds();
    auto t0 = Clock::now();
    for (int i = 0; i < 20; ++i) engine.Begin(Url("/bytes/" + std::to_string(kParallelSize)));
    engine.Collect(20, false);
    double w = Seconds(Clock::now() - t0);
    state.SetIterationTime(w);
    wall += w;
    cpu += CpuSeconds() - c0;
    bytes += 20.0 * kParallelSize;
  }
  ReportThroughput(state, bytes, wall, cpu);
}

void BM_Plain_Parallel20x10MB(benchmark::State& state) {
  Plain plain;
  double bytes = 0, wall = 0, cpu = 0;
  for (auto _ : state) {
    double c0 = CpuSeconds();
    auto t0 = Clock::now();
    for (int i = 0; i < 20; ++i) plain.Add(Url("/bytes/" + std::to_string(kParallelSize)));
    plain.Run(20);
    double w = Seconds(Clock::now() - t0);
    state.SetIterationTime(w);
    wall += w;
    cpu += CpuSeconds() - c0;
    bytes += 20.0 * kParallelSize;
  }
  ReportThroughput(state, bytes, wall, cpu);
}

BENCHMARK(BM_Plain_Body100MB)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine_Body100MB)
    ->Arg(0)
    ->Arg(100)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plain_Sequential1KB)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine_Sequential1KB)
    ->Arg(0)
    ->Arg(100)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plain_Parallel20x10MB)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Engine_Parallel20x10MB)
    ->Arg(0)
    ->Arg(100)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // The server lives in a child process: the parent's CPU time is then the client's alone.
  int toParent[2];
  int toChild[2];
  if (pipe(toParent) != 0 || pipe(toChild) != 0) return 1;
  pid_t child = fork();
  if (child == 0) {
    close(toParent[0]);
    close(toChild[1]);
    testsupport::LoopbackServer server;
    int port = server.Port();
    if (write(toParent[1], &port, sizeof(port)) != sizeof(port)) _exit(1);
    char byte;
    // Serves until the parent closes its end.
    while (read(toChild[0], &byte, 1) > 0) {
    }
    _exit(0);
  }
  close(toParent[1]);
  close(toChild[0]);
  if (read(toParent[0], &g_port, sizeof(g_port)) != sizeof(g_port)) return 1;
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  curl_global_init(CURL_GLOBAL_ALL);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  close(toChild[1]);
  waitpid(child, nullptr, 0);
  return 0;
}
