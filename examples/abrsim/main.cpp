// abrsim: replays a throughput trace through the library's bandwidth checker and segment switcher
// and prints the decision made before every segment, then summary figures.
//
//   abrsim [options] TRACE
//
// TRACE holds "<seconds> <kbit/s>" lines: from that time on the link carries that rate; the
// last line marks the end of the run. See traces/ for examples.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "Simulator.h"
#include "Trace.h"

namespace {

const char kUsage[] =
    "usage: abrsim [options] TRACE\n"
    "  --ladder LIST      variants as kbit/s[:group:upgradeGroup], comma separated, ascending\n"
    "                     (default 400:1:1,800:1:1,1600:2:1,2400:2:1,3000:3:1,6000:4:2)\n"
    "  --up-timer S       up timer in seconds (default 10)\n"
    "  --margin KBPS      fixed estimate margin in kbit/s, 0 for the relative one (default 0)\n"
    "  --segment MS       segment duration (default 2000)\n"
    "  --max-buffer MS    buffer the player keeps at most (default 20000)\n"
    "  --start N          variant of the first segment (default 0)\n"
    "  --quiet            summary only\n"
    "  --log              let the library's log lines through to stderr\n";

bool ParseLadder(const std::string& text, std::vector<abrsim::Rung>& ladder) {
  ladder.clear();
  std::stringstream list(text);
  std::string item;
  while (std::getline(list, item, ',')) {
    abrsim::Rung rung{0, 0, 0, false};
    int kbps = 0;
    int consumed = 0;
    if (std::sscanf(item.c_str(), "%d:%d:%d%n", &kbps, &rung.group, &rung.upgradeGroup,
                    &consumed) == 3 &&
        consumed == static_cast<int>(item.size())) {
      rung.hasGroup = true;
    } else if (std::sscanf(item.c_str(), "%d%n", &kbps, &consumed) != 1 ||
               consumed != static_cast<int>(item.size())) {
      return false;
    }
    if (kbps <= 0) return false;
    rung.bps = kbps * 1000;
    if (!ladder.empty() && rung.bps < ladder.back().bps) return false;
    ladder.push_back(rung);
  }
  return !ladder.empty();
}

bool ParseNumber(const char* text, long long low, long long& out) {
  char* end = nullptr;
  const long long value = std::strtoll(text, &end, 10);
  if (end == text || *end != '\0' || value < low || value > 100000000) return false;
  out = value;
  return true;
}

void PrintRow(const abrsim::SegmentRow& row, const abrsim::Options& options) {
  std::printf("%5d %8.2f %8u %5d %11d %3d %6d %4s %7.2f  %s\n", row.segment, row.startSeconds,
              row.bufferMs, row.level, row.estimate, row.current,
              options.ladder[row.result >= 0 ? row.result : row.current].bps / 1000,
              row.result >= 0 ? std::to_string(row.result).c_str() : "-", row.downloadSeconds,
              row.why.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  abrsim::Options options;
  ParseLadder("400:1:1,800:1:1,1600:2:1,2400:2:1,3000:3:1,6000:4:2", options.ladder);
  bool quiet = false;
  bool log = false;
  const char* tracePath = nullptr;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    long long value = 0;
    if (arg == "--ladder" && hasValue) {
      if (!ParseLadder(argv[++i], options.ladder)) {
        std::fprintf(stderr, "abrsim: bad ladder: %s\n", argv[i]);
        return 2;
      }
    } else if ((arg == "--up-timer" || arg == "--margin" || arg == "--segment" ||
                arg == "--max-buffer" || arg == "--start") &&
               hasValue) {
      if (!ParseNumber(argv[++i], arg == "--segment" ? 1 : 0, value)) {
        std::fprintf(stderr, "abrsim: bad value for %s: %s\n", arg.c_str(), argv[i]);
        return 2;
      }
      if (arg == "--up-timer") options.upTimerSeconds = static_cast<int>(value);
      if (arg == "--margin") options.marginKbps = static_cast<int>(value);
      if (arg == "--segment") options.segmentMs = static_cast<unsigned int>(value);
      if (arg == "--max-buffer") options.maxBufferMs = static_cast<unsigned int>(value);
      if (arg == "--start") options.startVariant = static_cast<int>(value);
    } else if (arg == "--quiet") {
      quiet = true;
    } else if (arg == "--log") {
      log = true;
    } else if (arg == "--help" || arg == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (arg[0] != '-' && tracePath == nullptr) {
      tracePath = argv[i];
    } else {
      std::fputs(kUsage, stderr);
      return 2;
    }
  }
  if (tracePath == nullptr) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  // The library logs every decision; keep stderr quiet unless asked.
  if (!log) setenv("DLOG_STUB_LEVEL", "S", 1);

  abrsim::Trace trace;
  std::string error;
  if (!trace.Load(tracePath, error)) {
    std::fprintf(stderr, "abrsim: %s\n", error.c_str());
    return 1;
  }

  if (!quiet) {
    std::printf("# trace %s, %zu variants, up timer %d s, segments of %u ms, buffer up to %u ms\n",
                tracePath, options.ladder.size(), options.upTimerSeconds, options.segmentMs,
                options.maxBufferMs);
    std::printf("#  seg   time_s buffer_ms level estimate_bps cur  kbps  new  dl_s  decision\n");
  }
  abrsim::Simulator simulator(options, trace);
  const abrsim::Summary summary = simulator.Run(quiet ? nullptr : &PrintRow);

  std::printf("segments: %d\n", summary.segments);
  std::printf("average selected bitrate: %.0f kbit/s\n", summary.averageKbps);
  std::printf("switches: %d (%d up, %d down)\n", summary.switches, summary.upSwitches,
              summary.downSwitches);
  std::printf("startup: %.2f s\n", summary.startupSeconds);
  std::printf("rebuffering: %.2f s in %d event%s\n", summary.rebufferSeconds,
              summary.rebufferEvents, summary.rebufferEvents == 1 ? "" : "s");
  std::printf("up timer at the end: %d s\n", summary.finalUpTimer);
  return 0;
}
