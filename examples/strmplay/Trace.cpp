#include "Trace.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace strmplay {

bool Trace::WriteCsv(const std::string& path, std::string& error) const {
  std::ofstream out(path);
  if (!out) {
    error = "cannot write " + path;
    return false;
  }
  out << "time_s,measured_kbps,link_kbps,selected_kbps,variant,buffer_s,playing\n";
  char line[160];
  for (const auto& s : m_samples) {
    std::snprintf(line, sizeof line, "%.3f,%d,%d,%d,%d,%.3f,%d\n", s.time, s.measuredKbps,
                  s.linkKbps, s.selectedKbps, s.variant, s.bufferSeconds, s.playing ? 1 : 0);
    out << line;
  }
  return static_cast<bool>(out);
}

namespace {

// A "nice" step for about `count` ticks over `range`.
double TickStep(double range, int count) {
  const double raw = range / count;
  const double mag = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0, 10.0}) {
    if (raw <= m * mag) return m * mag;
  }
  return 10.0 * mag;
}

std::string Escape(const std::string& s) {
  std::string r;
  for (char c : s) {
    if (c == '&')
      r += "&amp;";
    else if (c == '<')
      r += "&lt;";
    else if (c == '>')
      r += "&gt;";
    else
      r += c;
  }
  return r;
}

// A tick label: no decimals for whole numbers.
std::string Number(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%g", std::round(v * 1000.0) / 1000.0);
  return buf;
}

}  // namespace

bool Trace::WriteSvg(const std::string& path, const std::string& title, std::string& error) const {
  const double W = 900, H = 520;
  const double left = 70, right = 20, top = 50;
  const double rateH = 260, gap = 50, bufH = 110;
  const double plotW = W - left - right;
  const double rateTop = top, rateBottom = top + rateH;
  const double bufTop = rateBottom + gap, bufBottom = bufTop + bufH;

  double tMax = 1.0, kMax = 100.0, bMax = 1.0;
  for (const auto& s : m_samples) {
    tMax = std::max(tMax, s.time);
    kMax = std::max({kMax, double(s.measuredKbps), double(s.linkKbps), double(s.selectedKbps)});
    bMax = std::max(bMax, s.bufferSeconds);
  }
  kMax *= 1.08;  // headroom above the highest line
  const double kStep = TickStep(kMax, 5);
  kMax = std::ceil(kMax / kStep) * kStep;
  const double bStep = TickStep(bMax, 3);
  bMax = std::ceil(bMax / bStep) * bStep;
  const double tStep = TickStep(tMax, 10);
  tMax = std::ceil(tMax / tStep) * tStep;

  auto X = [&](double t) { return left + t / tMax * plotW; };
  auto YK = [&](double k) { return rateBottom - k / kMax * rateH; };
  auto YB = [&](double b) { return bufBottom - b / bMax * bufH; };

  std::ostringstream o;
  o.setf(std::ios::fixed);
  o.precision(1);
  o << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << W << "\" height=\"" << H
    << "\" viewBox=\"0 0 " << W << ' ' << H << "\" font-family=\"sans-serif\" font-size=\"12\">\n";
  o << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  o << "<text x=\"" << W / 2 << "\" y=\"22\" text-anchor=\"middle\" font-size=\"15\">"
    << Escape(title) << "</text>\n";

  // Grids and axes.
  for (double k = 0; k <= kMax + 1e-9; k += kStep) {
    o << "<line x1=\"" << left << "\" y1=\"" << YK(k) << "\" x2=\"" << W - right << "\" y2=\""
      << YK(k) << "\" stroke=\"#e4e4e4\"/>\n";
    o << "<text x=\"" << left - 6 << "\" y=\"" << YK(k) + 4 << "\" text-anchor=\"end\">" << int(k)
      << "</text>\n";
  }
  for (double b = 0; b <= bMax + 1e-9; b += bStep) {
    o << "<line x1=\"" << left << "\" y1=\"" << YB(b) << "\" x2=\"" << W - right << "\" y2=\""
      << YB(b) << "\" stroke=\"#e4e4e4\"/>\n";
    o << "<text x=\"" << left - 6 << "\" y=\"" << YB(b) + 4 << "\" text-anchor=\"end\">"
      << Number(b) << "</text>\n";
  }
  for (double t = 0; t <= tMax + 1e-9; t += tStep) {
    o << "<line x1=\"" << X(t) << "\" y1=\"" << rateTop << "\" x2=\"" << X(t) << "\" y2=\""
      << rateBottom << "\" stroke=\"#f0f0f0\"/>\n";
    o << "<line x1=\"" << X(t) << "\" y1=\"" << bufTop << "\" x2=\"" << X(t) << "\" y2=\""
      << bufBottom << "\" stroke=\"#f0f0f0\"/>\n";
    o << "<text x=\"" << X(t) << "\" y=\"" << bufBottom + 16 << "\" text-anchor=\"middle\">"
      << Number(t) << "</text>\n";
  }
  o << "<text x=\"" << left + plotW / 2 << "\" y=\"" << H - 6
    << "\" text-anchor=\"middle\">time (s)</text>\n";
  o << "<text transform=\"translate(16," << (rateTop + rateBottom) / 2
    << ") rotate(-90)\" text-anchor=\"middle\">kbit/s</text>\n";
  o << "<text transform=\"translate(16," << (bufTop + bufBottom) / 2
    << ") rotate(-90)\" text-anchor=\"middle\">buffer (s)</text>\n";
  o << "<rect x=\"" << left << "\" y=\"" << rateTop << "\" width=\"" << plotW << "\" height=\""
    << rateH << "\" fill=\"none\" stroke=\"#888\"/>\n";
  o << "<rect x=\"" << left << "\" y=\"" << bufTop << "\" width=\"" << plotW << "\" height=\""
    << bufH << "\" fill=\"none\" stroke=\"#888\"/>\n";

  // Switch markers.
  for (const auto& e : m_events) {
    o << "<line x1=\"" << X(e.time) << "\" y1=\"" << rateTop << "\" x2=\"" << X(e.time)
      << "\" y2=\"" << bufBottom << "\" stroke=\"#999\" stroke-dasharray=\"3,3\"/>\n";
    o << "<text x=\"" << X(e.time) + 3 << "\" y=\"" << rateTop + 12 << "\" font-size=\"10\" "
      << "fill=\"#555\">" << Escape(e.text) << "</text>\n";
  }

  auto polyline = [&](auto value, auto y, const char* color, double width, bool step,
                      const char* dash) {
    if (m_samples.empty()) return;
    o << "<polyline fill=\"none\" stroke=\"" << color << "\" stroke-width=\"" << width << "\"";
    if (dash) o << " stroke-dasharray=\"" << dash << "\"";
    o << " points=\"";
    double prevY = y(value(m_samples.front()));
    for (const auto& s : m_samples) {
      const double yy = y(value(s));
      if (step) o << X(s.time) << ',' << prevY << ' ';
      o << X(s.time) << ',' << yy << ' ';
      prevY = yy;
    }
    o << "\"/>\n";
  };
  // Buffer as a filled area.
  if (!m_samples.empty()) {
    o << "<polygon fill=\"#cfe8cf\" stroke=\"#3a8a3a\" points=\"" << X(m_samples.front().time)
      << ',' << YB(0) << ' ';
    for (const auto& s : m_samples) o << X(s.time) << ',' << YB(s.bufferSeconds) << ' ';
    o << X(m_samples.back().time) << ',' << YB(0) << "\"/>\n";
  }
  polyline([](const TraceSample& s) { return double(s.linkKbps); }, YK, "#888888", 2.0, true,
           "6,4");
  polyline([](const TraceSample& s) { return double(s.measuredKbps); }, YK, "#1f77b4", 1.8, false,
           nullptr);
  polyline([](const TraceSample& s) { return double(s.selectedKbps); }, YK, "#ff7f0e", 2.4, true,
           nullptr);

  // Legend.
  const struct {
    const char* color;
    const char* dash;
    const char* label;
  } legend[] = {{"#888888", "6,4", "link rate"},
                {"#1f77b4", nullptr, "measured bandwidth"},
                {"#ff7f0e", nullptr, "selected variant (declared bitrate)"},
                {"#3a8a3a", nullptr, "buffer"}};
  double lx = left;
  for (const auto& l : legend) {
    o << "<line x1=\"" << lx << "\" y1=\"38\" x2=\"" << lx + 22 << "\" y2=\"38\" stroke=\""
      << l.color << "\" stroke-width=\"2.4\"" << (l.dash ? " stroke-dasharray=\"6,4\"" : "")
      << "/>\n";
    o << "<text x=\"" << lx + 27 << "\" y=\"42\">" << l.label << "</text>\n";
    lx += 60 + 6.5 * std::string(l.label).size();
  }
  o << "</svg>\n";

  std::ofstream out(path);
  if (!out) {
    error = "cannot write " + path;
    return false;
  }
  out << o.str();
  return static_cast<bool>(out);
}

}  // namespace strmplay
