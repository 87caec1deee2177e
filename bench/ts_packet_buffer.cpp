// CTSPacketBuffer push/pop throughput beside plain memcpy of the same bytes.
//
// Each iteration pushes one chunk of transport packets into the ring and pops it out again, so
// every byte is copied in and copied out once. The memcpy baseline does exactly those two copies
// through a block of the same size, without the ring's lock and bookkeeping. The ring holds a
// whole number of chunks, so no transfer crosses the end of the block.
// Two ring sizes: a small one of eight chunks, which stays in the first cache levels and shows
// the fixed cost of a call (two lock round trips) at its worst, and one of about 2 MiB, the size
// class of a playback buffer, where the copies run at the speed of the outer caches.
//   bench_ts_packet_buffer [benchmark flags]
// By default every case runs 7 times in random interleaving, so that the buffer and memcpy meet
// the same load on a shared machine. After the runs a summary prints, per chunk and ring size,
// the best repetition of each in GB/s (10^9 bytes per second, bytes moved through the buffer,
// over CPU time) and their ratio.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "CTSPacketBuffer.h"
#include "Mutex.h"

using strmcommon::CTSPacketBuffer;

namespace {

constexpr unsigned int kPacket = 188;
constexpr unsigned int kSmallRingChunks = 8;
constexpr unsigned int kLargeRingBytes = 2 * 1024 * 1024;

// Ring size in bytes for range(1): 0 the small ring, else about 2 MiB in whole chunks.
unsigned int RingBytes(unsigned int chunkBytes, int64_t large) {
  return large ? kLargeRingBytes / chunkBytes * chunkBytes : kSmallRingChunks * chunkBytes;
}

std::vector<unsigned char> PacketBytes(unsigned int packets) {
  std::vector<unsigned char> bytes(packets * kPacket);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7 + 1);
  for (unsigned int p = 0; p < packets; ++p) bytes[p * kPacket] = 0x47;
  return bytes;
}

void SetRate(benchmark::State& state, unsigned int chunkBytes) {
  double bytes = static_cast<double>(state.iterations()) * chunkBytes;
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["GB/s"] = benchmark::Counter(bytes / 1e9, benchmark::Counter::kIsRate);
}

void BM_RingPushPop(benchmark::State& state) {
  const unsigned int packets = static_cast<unsigned int>(state.range(0));
  const unsigned int chunkBytes = packets * kPacket;
  CTSPacketBuffer ring(RingBytes(chunkBytes, state.range(1)));
  std::vector<unsigned char> in = PacketBytes(packets);
  std::vector<unsigned char> out(chunkBytes);
  if (packets == 1) {
    for (auto _ : state) {
      ring.PushBackPacket(in.data());
      ring.PopFront(kPacket, out.data());
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
    }
  } else {
    for (auto _ : state) {
      ring.PushBack(in.data(), chunkBytes);
      ring.PopFront(chunkBytes, out.data());
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
    }
  }
  if (memcmp(in.data(), out.data(), chunkBytes) != 0) state.SkipWithError("bytes damaged");
  SetRate(state, chunkBytes);
}

void BM_Memcpy(benchmark::State& state) {
  const unsigned int packets = static_cast<unsigned int>(state.range(0));
  const unsigned int chunkBytes = packets * kPacket;
  std::vector<unsigned char> block(RingBytes(chunkBytes, state.range(1)));
  std::vector<unsigned char> in = PacketBytes(packets);
  std::vector<unsigned char> out(chunkBytes);
  unsigned int pos = 0;
  for (auto _ : state) {
    memcpy(&block[pos], in.data(), chunkBytes);
    benchmark::ClobberMemory();
    memcpy(out.data(), &block[pos], chunkBytes);
    pos += chunkBytes;
    if (pos == block.size()) pos = 0;
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  SetRate(state, chunkBytes);
}

// The fixed cost inside every buffer operation: one uncontended round trip of its lock.
void BM_LockRoundTrip(benchmark::State& state) {
  strmcommon::RecursiveMutex lock;
  for (auto _ : state) {
    strmcommon::ScopedLock hold(lock);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_LockRoundTrip);
BENCHMARK(BM_RingPushPop)->ArgsProduct({{1, 7, 64}, {0, 1}})->ArgNames({"packets", "large"});
BENCHMARK(BM_Memcpy)->ArgsProduct({{1, 7, 64}, {0, 1}})->ArgNames({"packets", "large"});

// Keeps the rates of the runs for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      auto it = run.counters.find("GB/s");
      if (it == run.counters.end()) continue;
      double& best = rates[run.run_name.str()];
      if (it->second.value > best) best = it->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> rates;
};

}  // namespace

int main(int argc, char** argv) {
  // Defaults first, so that flags given on the command line override them.
  std::vector<char*> args = {argv[0]};
  char repetitions[] = "--benchmark_repetitions=7";
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  char minTime[] = "--benchmark_min_time=0.1";
  char noAggregates[] = "--benchmark_report_aggregates_only=false";
  args.insert(args.end(), {repetitions, interleave, minTime, noAggregates});
  args.insert(args.end(), argv + 1, argv + argc);
  int count = static_cast<int>(args.size());
  args.push_back(nullptr);
  argv = args.data();
  argc = count;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%-8s %-10s %14s %14s %8s\n", "packets", "ring", "buffer GB/s", "memcpy GB/s",
              "ratio");
  for (int large : {0, 1}) {
    for (int packets : {1, 7, 64}) {
      std::string arg = "/packets:" + std::to_string(packets) + "/large:" + std::to_string(large);
      auto ring = reporter.rates.find("BM_RingPushPop" + arg);
      auto copy = reporter.rates.find("BM_Memcpy" + arg);
      if (ring == reporter.rates.end() || copy == reporter.rates.end()) continue;
      std::printf("%-8d %-10s %14.2f %14.2f %7.1f%%\n", packets, large ? "~2 MiB" : "8 chunks",
                  ring->second, copy->second, 100.0 * ring->second / copy->second);
    }
  }
  benchmark::Shutdown();
  return 0;
}
