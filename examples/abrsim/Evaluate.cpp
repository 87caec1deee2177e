#include "Evaluate.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "Oracle.h"
#include "ReferenceRules.h"

namespace abrsim {

namespace {

bool IsDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Entries of a directory, sorted: the ".txt" files and the subdirectories.
void List(const std::string& dir, std::vector<std::string>& files, std::vector<std::string>& dirs) {
  DIR* d = opendir(dir.c_str());
  if (d == nullptr) return;
  while (dirent* e = readdir(d)) {
    const std::string name = e->d_name;
    if (name.empty() || name[0] == '.') continue;
    const std::string path = dir + "/" + name;
    if (IsDirectory(path)) {
      dirs.push_back(path);
    } else if (name.size() > 4 && name.compare(name.size() - 4, 4, ".txt") == 0) {
      files.push_back(path);
    }
  }
  closedir(d);
  std::sort(files.begin(), files.end());
  std::sort(dirs.begin(), dirs.end());
}

std::string BaseName(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool LoadSet(const std::string& name, const std::vector<std::string>& files,
             std::vector<TraceSet>& sets, std::string& error) {
  TraceSet set{name, {}};
  for (const std::string& file : files) {
    Trace trace;
    if (!trace.Load(file, error)) return false;
    set.traces.push_back(std::move(trace));
  }
  sets.push_back(std::move(set));
  return true;
}

}  // namespace

bool LoadSets(const std::vector<std::string>& paths, std::vector<TraceSet>& sets,
              std::string& error) {
  std::vector<std::string> loose;
  for (const std::string& path : paths) {
    if (!IsDirectory(path)) {
      loose.push_back(path);
      continue;
    }
    std::vector<std::string> files;
    std::vector<std::string> dirs;
    List(path, files, dirs);
    if (!files.empty()) {
      if (!LoadSet(BaseName(path), files, sets, error)) return false;
      continue;
    }
    for (const std::string& dir : dirs) {
      std::vector<std::string> inner;
      std::vector<std::string> ignored;
      List(dir, inner, ignored);
      if (!inner.empty() && !LoadSet(BaseName(dir), inner, sets, error)) return false;
    }
    if (dirs.empty()) {
      error = path + ": no trace files";
      return false;
    }
  }
  if (!loose.empty() && !LoadSet("traces", loose, sets, error)) return false;
  if (sets.empty()) {
    error = "no traces";
    return false;
  }
  return true;
}

const char* RuleName(int rule) {
  switch (rule) {
    case kLibrary:
      return "library";
    case kLibraryBest:
      return "library-best";
    case kThroughput:
      return "throughput";
    case kBuffer:
      return "buffer";
    case kOracle:
      return "oracle";
  }
  return "?";
}

SessionResult RunLibrary(const Setup& setup, const Link& link, const LibrarySettings& settings,
                         LibraryStats* stats) {
  LibraryRule rule(setup, settings);
  SessionResult result = Play(setup, link, rule);
  if (stats != nullptr) {
    *stats = rule.Stats();
    for (const DecisionRecord& d : rule.Decisions()) {
      const double stall = result.segments[d.index].stallSeconds;
      if (d.reason == Reason::kDownRefused) stats->stallAfterDownRefused += stall;
      if (d.firstFragment) stats->stallAfterFirstFragment += stall;
    }
  }
  return result;
}

TraceOutcome RunTrace(const Setup& setup, const Trace& trace, const LibrarySettings& settings,
                      const LibrarySettings* best, bool oracle) {
  TraceOutcome out;
  const Link link(trace, setup.roundTripSeconds, setup.efficiency);
  out.traceSeconds = trace.PeriodSeconds();
  out.meanMbps = 0;
  const std::vector<TracePoint>& points = trace.Points();
  for (size_t i = 0; i < points.size(); ++i) {
    const double end = i + 1 < points.size() ? points[i + 1].seconds : trace.PeriodSeconds();
    out.meanMbps += points[i].mbps * (end - (i == 0 ? 0.0 : points[i].seconds));
  }
  out.meanMbps /= trace.PeriodSeconds();

  out.figures[kLibrary] = RunLibrary(setup, link, settings, &out.library[0]).figures;
  out.present[kLibrary] = true;
  if (best != nullptr) {
    out.figures[kLibraryBest] = RunLibrary(setup, link, *best, &out.library[1]).figures;
    out.present[kLibraryBest] = true;
  }
  ThroughputRule throughput(setup);
  out.figures[kThroughput] = Play(setup, link, throughput).figures;
  out.present[kThroughput] = true;
  BufferRule buffer(setup);
  out.figures[kBuffer] = Play(setup, link, buffer).figures;
  out.present[kBuffer] = true;
  if (oracle) {
    out.figures[kOracle] = Oracle(setup, link).session.figures;
    out.present[kOracle] = true;
  }
  return out;
}

bool ParseSettings(const std::string& text, LibrarySettings& s) {
  std::stringstream list(text);
  std::string item;
  while (std::getline(list, item, ',')) {
    if (item.empty()) continue;
    const size_t eq = item.find('=');
    if (eq == std::string::npos) return false;
    const std::string key = item.substr(0, eq);
    int value = 0;
    int used = 0;
    if (std::sscanf(item.c_str() + eq + 1, "%d%n", &value, &used) != 1 ||
        eq + 1 + static_cast<size_t>(used) != item.size() || value < 0) {
      return false;
    }
    if (key == "up") {
      s.upTimerSeconds = value;
    } else if (key == "margin") {
      s.marginKbps = value;
    } else if (key == "monitor" && value > 0) {
      s.monitorMs = static_cast<unsigned int>(value);
    } else if (key == "groups") {
      s.groups = value;
    } else if (key == "start") {
      s.startVariant = value;
    } else if (key == "poll" && value > 0) {
      s.pollMs = static_cast<unsigned int>(value);
    } else {
      return false;
    }
  }
  return true;
}

std::string SettingsKey(const LibrarySettings& s) {
  std::ostringstream text;
  text << "up=" << s.upTimerSeconds << ",margin=" << s.marginKbps << ",monitor=" << s.monitorMs
       << ",groups=" << s.groups;
  if (s.startVariant != 0) text << ",start=" << s.startVariant;
  if (s.pollMs != LibrarySettings().pollMs) text << ",poll=" << s.pollMs;
  return text.str();
}

}  // namespace abrsim
