// abrsim: the library's bandwidth checker and segment switcher replayed over throughput traces on
// simulated time, beside two reference rules and an oracle, with the linear QoE score.
//
//   abrsim run [options] PATH...     figures per trace and totals per trace set
//   abrsim sweep [options] PATH...   the library's knobs over a grid, ranked per trace set
//   abrsim trace [options] TRACE     the library's decision before every segment, and why
//   abrsim report [options] [DIR]    sweep, then run with the defaults and the best settings;
//                                    writes the table, the CSV and the picture
//
// A PATH is a trace file, a directory of traces (a set) or a directory of such directories.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "Evaluate.h"
#include "Experiments.h"
#include "LibraryRule.h"
#include "Oracle.h"
#include "Parallel.h"
#include "Report.h"
#include "Svg.h"
#include "Sweep.h"
#include "dlog.h"
#include "dlog_capture.h"

namespace {

const char kUsage[] =
    "usage: abrsim run|sweep|trace|report [options] PATH...\n"
    "player (the same for every rule):\n"
    "  --ladder LIST        variant bitrates in kbit/s, ascending (default "
    "300,750,1200,1850,2850,4300)\n"
    "  --segment S          segment duration in seconds (default 4)\n"
    "  --segments N         segments in the video (default 150: ten minutes)\n"
    "  --max-buffer S       buffer cap in seconds (default 60)\n"
    "  --rtt MS             round trip per request (default 80)\n"
    "  --efficiency F       payload share of the link rate (default 0.95)\n"
    "library's knobs, as key=value lists (up=S, margin=KBPS with 0 relative, monitor=MS,\n"
    "groups=0|2|3, start=VARIANT, poll=MS); unset keys keep the library's defaults:\n"
    "  --library SETTINGS   the library's rule (default: the defaults)\n"
    "  --best SETTINGS      run: a second library rule beside the first\n"
    "output:\n"
    "  --totals             run: totals only, no row per trace\n"
    "  --csv FILE           run: every trace and rule as CSV ('-' for stdout)\n"
    "  --svg FILE           run, report: the picture\n"
    "  --timeline NAME      run, report: the trace whose timeline the picture shows\n"
    "  --no-oracle          run: leave the oracle out\n"
    "  --top N              sweep: settings listed per set (default 10)\n"
    "  --out DIR            report: where abr.svg, abr.csv and the abr-*.md tables go (default .)\n"
    "  --jobs N             worker processes (default: processors online)\n"
    "  --log                trace: let the library's log lines through to stderr\n";

struct Options {
  std::string command;
  std::vector<std::string> paths;
  abrsim::Setup setup;
  abrsim::LibrarySettings library;
  abrsim::LibrarySettings best;
  bool hasBest = false;
  bool totalsOnly = false;
  bool oracle = true;
  bool log = false;
  std::string csv;
  std::string svg;
  std::string timeline;
  std::string out = ".";
  int top = 10;
  int jobs = abrsim::DefaultWorkers();
};

bool ParseLadder(const std::string& text, std::vector<int>& ladder) {
  ladder.clear();
  std::stringstream list(text);
  std::string item;
  while (std::getline(list, item, ',')) {
    char* end = nullptr;
    const long kbps = std::strtol(item.c_str(), &end, 10);
    if (end == item.c_str() || *end != '\0' || kbps <= 0 || kbps > 1000000) return false;
    if (!ladder.empty() && kbps <= ladder.back()) return false;
    ladder.push_back(static_cast<int>(kbps));
  }
  return !ladder.empty();
}

bool ParseDouble(const char* text, double low, double high, double& out) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (end == text || *end != '\0' || !(value >= low && value <= high)) return false;
  out = value;
  return true;
}

// Returns 0 when the options are good, else the exit status.
int Parse(int argc, char** argv, Options& o) {
  if (argc < 2) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  o.command = argv[1];
  if (o.command == "--help" || o.command == "-h") {
    std::fputs(kUsage, stdout);
    return 1;
  }
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    double number = 0;
    bool good = true;
    if (arg == "--totals") {
      o.totalsOnly = true;
      continue;
    } else if (arg == "--no-oracle") {
      o.oracle = false;
      continue;
    } else if (arg == "--log") {
      o.log = true;
      continue;
    } else if (arg.rfind("--", 0) != 0) {
      o.paths.push_back(arg);
      continue;
    } else if (value == nullptr) {
      good = false;
    } else if (arg == "--ladder") {
      good = ParseLadder(value, o.setup.ladderKbps);
    } else if (arg == "--segment") {
      good = ParseDouble(value, 0.1, 600, o.setup.segmentSeconds);
    } else if (arg == "--segments") {
      good = ParseDouble(value, 1, 100000, number);
      o.setup.segments = static_cast<int>(number);
    } else if (arg == "--max-buffer") {
      good = ParseDouble(value, 0.1, 3600, o.setup.maxBufferSeconds);
    } else if (arg == "--rtt") {
      good = ParseDouble(value, 0, 10000, number);
      o.setup.roundTripSeconds = number / 1000;
    } else if (arg == "--efficiency") {
      good = ParseDouble(value, 0.01, 1, o.setup.efficiency);
    } else if (arg == "--library") {
      good = abrsim::ParseSettings(value, o.library);
    } else if (arg == "--best") {
      good = abrsim::ParseSettings(value, o.best);
      o.hasBest = true;
    } else if (arg == "--csv") {
      o.csv = value;
    } else if (arg == "--svg") {
      o.svg = value;
    } else if (arg == "--timeline") {
      o.timeline = value;
    } else if (arg == "--out") {
      o.out = value;
    } else if (arg == "--top") {
      good = ParseDouble(value, 1, 1000, number);
      o.top = static_cast<int>(number);
    } else if (arg == "--jobs") {
      good = ParseDouble(value, 1, 256, number);
      o.jobs = static_cast<int>(number);
    } else {
      good = false;
    }
    if (!good) {
      std::fprintf(stderr, "abrsim: bad option %s %s\n%s", arg.c_str(), value ? value : "", kUsage);
      return 2;
    }
    ++i;
  }
  if (o.setup.maxBufferSeconds < o.setup.segmentSeconds) {
    std::fprintf(stderr, "abrsim: the buffer cap must hold a segment\n");
    return 2;
  }
  const int top = static_cast<int>(o.setup.ladderKbps.size()) - 1;
  if (o.library.startVariant > top || o.best.startVariant > top) {
    std::fprintf(stderr, "abrsim: start variant beyond the ladder\n");
    return 2;
  }
  return 0;
}

bool WriteFile(const std::string& path, const std::string& text) {
  FILE* f = path == "-" ? stdout : std::fopen(path.c_str(), "w");
  if (f == nullptr) {
    std::fprintf(stderr, "abrsim: cannot write %s\n", path.c_str());
    return false;
  }
  std::fputs(text.c_str(), f);
  if (f != stdout) std::fclose(f);
  return true;
}

const abrsim::Trace* FindTrace(const std::vector<abrsim::TraceSet>& sets, const std::string& name) {
  for (const abrsim::TraceSet& set : sets)
    for (const abrsim::Trace& trace : set.traces)
      if (trace.Name() == name || trace.Name() == name + ".txt") return &trace;
  return nullptr;
}

// The timeline of one trace under the library's rule, with the oracle's choices beside it.
abrsim::Timeline MakeTimeline(const Options& o, const abrsim::Trace& trace,
                              const abrsim::LibrarySettings& settings) {
  abrsim::Timeline t;
  t.title = trace.Name() + " (" + abrsim::Describe(settings) + ")";
  t.segmentSeconds = o.setup.segmentSeconds;
  const abrsim::Link link(trace, o.setup.roundTripSeconds, o.setup.efficiency);
  abrsim::LibraryRule rule(o.setup, settings);
  rule.RecordEstimates(&t.estimates);
  t.library = abrsim::Play(o.setup, link, rule).segments;
  const double end = t.library.empty() ? 0 : t.library.back().endSeconds;
  for (double period = 0; period <= end; period += trace.PeriodSeconds()) {
    for (const abrsim::TracePoint& p : trace.Points())
      t.linkKbps.push_back({period + p.seconds, link.BpsAt(period + p.seconds) / 1000});
  }
  t.oracle = abrsim::Oracle(o.setup, link).session.segments;
  return t;
}

// Runs every rule over every trace of `sets`; `best` gives the second library setting per set.
bool RunAll(const Options& o, const std::vector<abrsim::TraceSet>& sets,
            const std::vector<abrsim::LibrarySettings>* best,
            std::vector<abrsim::TraceOutcome>& outcomes) {
  std::vector<std::pair<const abrsim::Trace*, int>> traces;
  for (size_t s = 0; s < sets.size(); ++s)
    for (const abrsim::Trace& trace : sets[s].traces)
      traces.push_back({&trace, static_cast<int>(s)});
  const bool ok = abrsim::RunParallel<abrsim::TraceOutcome>(
      static_cast<int>(traces.size()), o.jobs,
      [&](int job) {
        const abrsim::LibrarySettings* second =
            best != nullptr ? &(*best)[traces[job].second] : nullptr;
        return abrsim::RunTrace(o.setup, *traces[job].first, o.library, second, o.oracle);
      },
      outcomes);
  if (!ok) std::fprintf(stderr, "abrsim: a worker failed\n");
  return ok;
}

int Run(const Options& o, const std::vector<abrsim::TraceSet>& sets) {
  std::vector<abrsim::LibrarySettings> best(sets.size(), o.best);
  std::vector<abrsim::TraceOutcome> outcomes;
  if (!RunAll(o, sets, o.hasBest ? &best : nullptr, outcomes)) return 1;
  std::printf("# library: %s", abrsim::Describe(o.library).c_str());
  if (o.hasBest) std::printf("; library-best: %s", abrsim::Describe(o.best).c_str());
  std::printf("\n");
  abrsim::PrintTable(stdout, sets, outcomes, !o.totalsOnly);
  if (!o.csv.empty()) {
    FILE* f = o.csv == "-" ? stdout : std::fopen(o.csv.c_str(), "w");
    if (f == nullptr) return 1;
    abrsim::WriteCsv(f, sets, outcomes);
    if (f != stdout) std::fclose(f);
  }
  if (!o.svg.empty()) {
    const abrsim::Trace* trace =
        FindTrace(sets, o.timeline.empty() ? sets[0].traces[0].Name() : o.timeline);
    if (trace == nullptr) {
      std::fprintf(stderr, "abrsim: no trace named %s\n", o.timeline.c_str());
      return 2;
    }
    const abrsim::Timeline timeline = MakeTimeline(o, *trace, o.library);
    if (!WriteFile(o.svg, abrsim::Picture(sets, outcomes, &timeline))) return 1;
  }
  return 0;
}

int Sweep(const Options& o, const std::vector<abrsim::TraceSet>& sets,
          std::vector<std::vector<abrsim::SweepPoint>>* ranking, FILE* out) {
  bool ok = false;
  *ranking =
      abrsim::RunSweep(o.setup, sets, abrsim::Expand(abrsim::SweepGrid(), o.library), o.jobs, ok);
  if (!ok) {
    std::fprintf(stderr, "abrsim: a worker failed\n");
    return 1;
  }
  abrsim::PrintSweep(out, sets, *ranking, o.library, o.top);
  return 0;
}

int Report(Options o, const std::vector<abrsim::TraceSet>& sets) {
  std::vector<std::vector<abrsim::SweepPoint>> ranking;
  const std::string sweepPath = o.out + "/abr-sweep.txt";
  FILE* sweepFile = std::fopen(sweepPath.c_str(), "w");
  if (sweepFile == nullptr) {
    std::fprintf(stderr, "abrsim: cannot write %s\n", sweepPath.c_str());
    return 1;
  }
  const int status = Sweep(o, sets, &ranking, sweepFile);
  std::fclose(sweepFile);
  if (status != 0) return status;

  if (!WriteFile(o.out + "/abr-sweep.md", abrsim::MarkdownSweep(sets, ranking, o.library, 5))) {
    return 1;
  }
  std::vector<abrsim::LibrarySettings> best;
  std::vector<std::string> defaultLabels;
  std::vector<std::string> bestLabels;
  for (const std::vector<abrsim::SweepPoint>& points : ranking) {
    best.push_back(points.front().settings);
    defaultLabels.push_back("defaults");
    bestLabels.push_back(abrsim::Describe(points.front().settings));
  }
  std::vector<abrsim::TraceOutcome> outcomes;
  if (!RunAll(o, sets, &best, outcomes)) return 1;
  abrsim::PrintTable(stdout, sets, outcomes, false);
  FILE* csv = std::fopen((o.out + "/abr.csv").c_str(), "w");
  if (csv == nullptr) return 1;
  abrsim::WriteCsv(csv, sets, outcomes);
  std::fclose(csv);
  if (!WriteFile(o.out + "/abr-totals.md",
                 abrsim::MarkdownTotals(sets, outcomes, defaultLabels, bestLabels))) {
    return 1;
  }
  const abrsim::Trace* trace =
      FindTrace(sets, o.timeline.empty() ? sets[0].traces[0].Name() : o.timeline);
  if (trace == nullptr) {
    std::fprintf(stderr, "abrsim: no trace named %s\n", o.timeline.c_str());
    return 2;
  }
  if (!WriteFile(o.out + "/abr-weak.md",
                 abrsim::MarkdownWeakSpots(sets, outcomes, bestLabels) + "\n" +
                     abrsim::SquareWaveTable(o.setup, abrsim::LibrarySettings{10, 0, 250, 3}) +
                     "\n" + abrsim::MarginTable(o.setup))) {
    return 1;
  }
  const abrsim::Timeline timeline = MakeTimeline(o, *trace, o.library);
  const std::string svg = o.svg.empty() ? o.out + "/abr.svg" : o.svg;
  return WriteFile(svg, abrsim::Picture(sets, outcomes, &timeline)) ? 0 : 1;
}

// The old single-trace view: every decision of the library's rule and the reason it gave.
int TraceView(const Options& o, const std::vector<abrsim::TraceSet>& sets) {
  const abrsim::Trace& trace = sets[0].traces[0];
  const abrsim::Link link(trace, o.setup.roundTripSeconds, o.setup.efficiency);
  abrsim::LibraryRule rule(o.setup, o.library);
  const abrsim::SessionResult session = abrsim::Play(o.setup, link, rule);
  std::printf("# %s, %s\n", trace.Name().c_str(), abrsim::Describe(o.library).c_str());
  std::printf(
      "#  seg   time_s  buffer_s estimate_bps cur want  new   kbps  dl_s stall_s  "
      "decision\n");
  for (const abrsim::DecisionRecord& d : rule.Decisions()) {
    const abrsim::SegmentRecord& s = session.segments[d.index];
    std::printf("%6d %8.2f %9.2f %12d %3d %4d %4s %6.0f %5.2f %7.2f  %s%s\n", d.index, d.seconds,
                d.bufferSeconds, d.estimate, d.current, d.wanted,
                d.result >= 0 ? std::to_string(d.result).c_str() : "-", s.kbps,
                s.endSeconds - s.requestSeconds, s.stallSeconds, abrsim::ReasonText(d.reason),
                d.timerGivenUp ? " (up timer given up)" : "");
  }
  const abrsim::Figures& f = session.figures;
  const abrsim::LibraryStats stats = rule.Stats();
  std::printf(
      "average bitrate %.0f kbit/s, stalls %.2f s, start-up %.2f s, %d switches, "
      "%d oscillations, QoE %.1f\n",
      f.averageKbps, f.rebufferSeconds, f.startupSeconds, f.switches, f.oscillations, f.qoe);
  std::printf("first estimate at %.2f s, up timer at the end %d s (%d raises)\n",
              stats.firstEstimateSeconds, stats.finalUpTimer, stats.upTimerRaises);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  const int status = Parse(argc, argv, o);
  if (status != 0) return status == 1 ? 0 : status;
  // The library logs every decision; stderr stays quiet unless asked. The decisions read the
  // lines through the capture hook whatever this level is.
  dlog_stub_set_level(o.log ? DLOG_DEBUG : DLOG_SILENT);
  if (o.command == "report" && o.paths.empty()) o.paths.push_back("../shared/traces");

  std::vector<abrsim::TraceSet> sets;
  std::string error;
  if (o.paths.empty() || !abrsim::LoadSets(o.paths, sets, error)) {
    std::fprintf(stderr, "abrsim: %s\n%s", o.paths.empty() ? "no traces given" : error.c_str(),
                 o.paths.empty() ? kUsage : "");
    return 2;
  }
  if (o.command == "run") return Run(o, sets);
  if (o.command == "sweep") {
    std::vector<std::vector<abrsim::SweepPoint>> ranking;
    return Sweep(o, sets, &ranking, stdout);
  }
  if (o.command == "trace") return TraceView(o, sets);
  if (o.command == "report") return Report(o, sets);
  std::fputs(kUsage, stderr);
  return 2;
}
