#include "Svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Format.h"
#include "Report.h"

namespace abrsim {

namespace {

// Colours and strokes of the rules, the same in both figures.
struct Style {
  const char* colour;
  const char* dash;
};
constexpr Style kRuleStyle[kRuleCount] = {
    {"#d62728", "none"},  // library
    {"#ff7f0e", "none"},  // library-best
    {"#1f77b4", "none"},  // throughput
    {"#2ca02c", "none"},  // buffer
    {"#111111", "5,3"},   // oracle
};

// A tick step of 1, 2 or 5 times a power of ten, giving about `ticks` ticks over `range`.
double TickStep(double range, int ticks) {
  const double raw = range / ticks;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0})
    if (m * power >= raw) return m * power;
  return 10 * power;
}

// A plot area: data ranges mapped to a rectangle, with axes, grid and labels.
struct Plot {
  double x, y, w, h;      // rectangle in the picture
  double x0, x1, y0, y1;  // data ranges
  double X(double v) const { return x + (v - x0) / (x1 - x0) * w; }
  double Y(double v) const { return y + h - (v - y0) / (y1 - y0) * h; }

  void Frame(std::string& svg, const char* title, const char* xLabel, const char* yLabel) const {
    Appendf(svg, "<text x='%.1f' y='%.1f' class='title'>%s</text>\n", x, y - 10, title);
    const double xs = TickStep(x1 - x0, 8);
    for (double v = std::ceil(x0 / xs) * xs; v <= x1 + 1e-9; v += xs) {
      Appendf(svg, "<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' class='grid'/>\n", X(v), y, X(v),
              y + h);
      Appendf(svg, "<text x='%.1f' y='%.1f' class='tick' text-anchor='middle'>%g</text>\n", X(v),
              y + h + 14, v);
    }
    const double ys = TickStep(y1 - y0, 6);
    for (double v = std::ceil(y0 / ys) * ys; v <= y1 + 1e-9; v += ys) {
      Appendf(svg, "<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' class='grid'/>\n", x, Y(v), x + w,
              Y(v));
      Appendf(svg, "<text x='%.1f' y='%.1f' class='tick' text-anchor='end'>%g</text>\n", x - 4,
              Y(v) + 4, v);
    }
    Appendf(svg, "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' class='frame'/>\n", x, y, w,
            h);
    Appendf(svg, "<text x='%.1f' y='%.1f' class='label' text-anchor='middle'>%s</text>\n",
            x + w / 2, y + h + 32, xLabel);
    Appendf(svg,
            "<text x='%.1f' y='%.1f' class='label' text-anchor='middle' "
            "transform='rotate(-90 %.1f %.1f)'>%s</text>\n",
            x - 42, y + h / 2, x - 42, y + h / 2, yLabel);
  }

  // A polyline through `points`; `steps` draws each value until the next point's time.
  void Line(std::string& svg, const std::vector<std::pair<double, double>>& points,
            const char* colour, const char* dash, double width, bool steps) const {
    if (points.empty()) return;
    std::string path;
    for (size_t i = 0; i < points.size(); ++i) {
      const double px = X(std::clamp(points[i].first, x0, x1));
      const double py = Y(std::clamp(points[i].second, y0, y1));
      if (steps && i > 0) {
        Appendf(path, "%.1f,%.1f ", px, Y(std::clamp(points[i - 1].second, y0, y1)));
      }
      Appendf(path, "%.1f,%.1f ", px, py);
    }
    Appendf(svg,
            "<polyline points='%s' fill='none' stroke='%s' stroke-width='%.1f' "
            "stroke-dasharray='%s'/>\n",
            path.c_str(), colour, width, dash);
  }
};

// A legend row of coloured strokes with names, from (x, y).
void Legend(std::string& svg, double x, double y,
            const std::vector<std::pair<std::string, Style>>& entries) {
  for (const auto& [name, style] : entries) {
    Appendf(svg,
            "<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' stroke='%s' stroke-width='3' "
            "stroke-dasharray='%s'/>\n",
            x, y - 4, x + 22, y - 4, style.colour, style.dash);
    Appendf(svg, "<text x='%.1f' y='%.1f' class='legend'>%s</text>\n", x + 27, y, name.c_str());
    x += 40 + 7.5 * name.size();
  }
}

// QoE of each trace for each rule, the traces sorted by the oracle's QoE (or the library's).
void QoePanel(std::string& svg, const Plot& frame, const std::string& set,
              const std::vector<TraceOutcome>& outcomes) {
  std::vector<size_t> order(outcomes.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  const int key = outcomes.empty() || outcomes[0].present[kOracle] ? kOracle : kLibrary;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return outcomes[a].figures[key].qoe < outcomes[b].figures[key].qoe;
  });
  // A few traces slower than the lowest variant score far below the rest; the axis stops at
  // kFloor and their points sit on it.
  constexpr double kFloor = -300;
  double lo = 0;
  double hi = 0;
  int clipped = 0;
  for (const TraceOutcome& o : outcomes) {
    bool below = false;
    for (int r = 0; r < kRuleCount; ++r) {
      if (!o.present[r]) continue;
      lo = std::min(lo, std::max(kFloor, o.figures[r].qoe));
      hi = std::max(hi, o.figures[r].qoe);
      below = below || o.figures[r].qoe < kFloor;
    }
    if (below) ++clipped;
  }
  Plot plot = frame;
  plot.x0 = 0;
  plot.x1 = std::max<double>(1, static_cast<double>(outcomes.size()) + 1);
  const double step = TickStep(hi - lo + 1, 6);
  plot.y0 = std::floor(lo / step) * step;
  plot.y1 = std::ceil(hi / step) * step;
  const std::string title = set + " (" + std::to_string(outcomes.size()) + " traces)";
  plot.Frame(svg, title.c_str(), "trace, ranked by the oracle's QoE", "QoE per trace");
  if (clipped > 0) {
    Appendf(svg,
            "<text x='%.1f' y='%.1f' class='tick'>%d trace%s below %.0f drawn on the bottom "
            "edge</text>\n",
            plot.x + 6, plot.y + 14, clipped, clipped == 1 ? "" : "s", kFloor);
  }
  if (plot.y0 < 0 && plot.y1 > 0) {
    Appendf(svg, "<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' class='zero'/>\n", plot.x,
            plot.Y(0), plot.x + plot.w, plot.Y(0));
  }
  for (int r = kRuleCount - 1; r >= 0; --r) {
    std::vector<std::pair<double, double>> points;
    for (size_t i = 0; i < order.size(); ++i)
      if (outcomes[order[i]].present[r])
        points.push_back({static_cast<double>(i + 1), outcomes[order[i]].figures[r].qoe});
    if (points.empty()) continue;
    plot.Line(svg, points, kRuleStyle[r].colour, kRuleStyle[r].dash, r == kOracle ? 1.6 : 1.2,
              false);
    for (const auto& [px, py] : points)
      Appendf(svg, "<circle cx='%.1f' cy='%.1f' r='2' fill='%s'/>\n", plot.X(px),
              plot.Y(std::max(py, plot.y0)), kRuleStyle[r].colour);
  }
}

// Bitrate per segment as steps from its request to the next request.
std::vector<std::pair<double, double>> BitrateSteps(const std::vector<SegmentRecord>& segments) {
  std::vector<std::pair<double, double>> points;
  for (const SegmentRecord& s : segments) points.push_back({s.requestSeconds, s.kbps});
  if (!segments.empty()) points.push_back({segments.back().endSeconds, segments.back().kbps});
  return points;
}

// The buffer: drains while a segment downloads (and while the player waits for room), gains a
// segment when one is in.
std::vector<std::pair<double, double>> BufferLine(const std::vector<SegmentRecord>& segments,
                                                  double segmentSeconds) {
  std::vector<std::pair<double, double>> points;
  double afterPrevious = 0;
  double previousEnd = 0;
  for (size_t i = 0; i < segments.size(); ++i) {
    const SegmentRecord& s = segments[i];
    if (i > 0) {
      points.push_back({previousEnd, afterPrevious});
      points.push_back({s.requestSeconds, s.bufferBefore});
    } else {
      points.push_back({0, 0});
    }
    const double left =
        i == 0 ? 0 : std::max(0.0, s.bufferBefore - (s.endSeconds - s.requestSeconds));
    points.push_back({s.endSeconds, left});
    afterPrevious = left + segmentSeconds;
    previousEnd = s.endSeconds;
  }
  if (!segments.empty()) points.push_back({previousEnd, afterPrevious});
  return points;
}

void TimelinePanels(std::string& svg, double top, double width, const Timeline& t) {
  const double end = t.library.empty() ? 1 : t.library.back().endSeconds;
  double hi = 0;
  for (const auto& [s, kbps] : t.linkKbps) hi = std::max(hi, kbps);
  for (const SegmentRecord& s : t.library) hi = std::max(hi, s.kbps);
  for (const auto& [s, bps] : t.estimates) hi = std::max(hi, bps / 1000.0);
  hi = std::min(hi, 8000.0);
  Plot rate{70, top, width - 100, 230, 0, end, 0, std::ceil(hi / 1000) * 1000};
  const std::string title = "Timeline of " + t.title + " under the library's rule";
  rate.Frame(svg, title.c_str(), "time (s)", "kbit/s");
  std::vector<std::pair<double, double>> link;
  for (const auto& [s, kbps] : t.linkKbps)
    if (s <= end) link.push_back({s, kbps});
  if (!link.empty()) link.push_back({end, link.back().second});
  rate.Line(svg, link, "#9a9a9a", "none", 1.0, true);
  std::vector<std::pair<double, double>> estimate;
  for (const auto& [s, bps] : t.estimates)
    if (s <= end) estimate.push_back({s, bps / 1000.0});
  if (!estimate.empty()) estimate.push_back({end, estimate.back().second});
  rate.Line(svg, estimate, "#9467bd", "none", 1.6, true);
  rate.Line(svg, BitrateSteps(t.oracle), kRuleStyle[kOracle].colour, kRuleStyle[kOracle].dash, 1.4,
            true);
  rate.Line(svg, BitrateSteps(t.library), kRuleStyle[kLibrary].colour, "none", 2.2, true);
  Legend(svg, rate.x, top + 284,
         {{"link payload rate", Style{"#9a9a9a", "none"}},
          {"library's estimate", Style{"#9467bd", "none"}},
          {"library's bitrate", kRuleStyle[kLibrary]},
          {"oracle's bitrate", kRuleStyle[kOracle]}});

  Plot buffer{70, top + 330, width - 100, 130, 0, end, 0, 60};
  buffer.Frame(svg, "Buffer under the library's rule", "time (s)", "buffer (s)");
  buffer.Line(svg, BufferLine(t.library, t.segmentSeconds), kRuleStyle[kLibrary].colour, "none",
              1.4, false);
}

}  // namespace

std::string Picture(const std::vector<TraceSet>& sets, const std::vector<TraceOutcome>& outcomes,
                    const Timeline* timeline) {
  const double width = 1200;
  const double panelHeight = 300;
  const int columns = std::min<int>(2, static_cast<int>(sets.size()));
  const int rows = (static_cast<int>(sets.size()) + columns - 1) / std::max(columns, 1);
  const double qoeHeight = 70 + rows * (panelHeight + 80);
  const double height = qoeHeight + (timeline != nullptr ? 560 : 0);
  std::string svg;
  Appendf(svg,
          "<svg xmlns='http://www.w3.org/2000/svg' width='%.0f' height='%.0f' "
          "viewBox='0 0 %.0f %.0f' font-family='DejaVu Sans, Arial, sans-serif'>\n",
          width, height, width, height);
  svg +=
      "<style>.title{font-size:14px;font-weight:bold}.tick{font-size:11px;fill:#444}"
      ".label{font-size:12px;fill:#222}.legend{font-size:12px}.grid{stroke:#e4e4e4}"
      ".frame{fill:none;stroke:#888}.zero{stroke:#888;stroke-dasharray:2,2}</style>\n"
      "<rect width='100%' height='100%' fill='white'/>\n";
  std::vector<std::pair<std::string, Style>> legend;
  for (int r = 0; r < kRuleCount; ++r) {
    bool any = false;
    for (const TraceOutcome& o : outcomes) any = any || o.present[r];
    if (any) legend.push_back({RuleName(r), kRuleStyle[r]});
  }
  Legend(svg, 70, 24, legend);
  const double panelWidth = (width - 40) / std::max(columns, 1);
  for (size_t s = 0; s < sets.size(); ++s) {
    const int column = static_cast<int>(s) % columns;
    const int row = static_cast<int>(s) / columns;
    Plot frame{70 + column * panelWidth,
               70 + row * (panelHeight + 80),
               panelWidth - 100,
               panelHeight,
               0,
               1,
               0,
               1};
    QoePanel(svg, frame, sets[s].name, SetOutcomes(sets, outcomes, s));
  }
  if (timeline != nullptr) TimelinePanels(svg, qoeHeight + 30, width, *timeline);
  svg += "</svg>\n";
  return svg;
}

}  // namespace abrsim
