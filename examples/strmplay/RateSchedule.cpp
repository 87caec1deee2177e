#include "RateSchedule.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace strmplay {

bool RateSchedule::Parse(const std::string& text, std::string& error) {
  m_steps.clear();
  std::istringstream in(text);
  std::string step;
  while (std::getline(in, step, ',')) {
    if (step.empty()) continue;
    const auto at = step.find('@');
    char* end = nullptr;
    const long kbps = std::strtol(step.c_str(), &end, 10);
    const bool rateOk = end == step.c_str() + (at == std::string::npos ? step.size() : at);
    double from = 0.0;
    bool fromOk = true;
    if (at != std::string::npos) {
      const std::string t = step.substr(at + 1);
      from = std::strtod(t.c_str(), &end);
      fromOk = !t.empty() && *end == '\0' && from >= 0.0;
    }
    if (!rateOk || !fromOk || kbps <= 0) {
      error = "bad rate step '" + step + "' (want KBPS@SECOND, e.g. 1500@10)";
      m_steps.clear();
      return false;
    }
    m_steps.emplace_back(from, static_cast<int>(kbps));
  }
  std::stable_sort(m_steps.begin(), m_steps.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  return true;
}

int RateSchedule::RateAt(double seconds) const {
  int rate = 0;
  if (!m_steps.empty()) {
    rate = m_steps.front().second;
    for (const auto& s : m_steps) {
      if (s.first <= seconds) rate = s.second;
    }
  }
  if (m_capKbps > 0 && (rate == 0 || rate > m_capKbps)) rate = m_capKbps;
  return rate;
}

std::string RateSchedule::ToString() const {
  std::ostringstream out;
  for (std::size_t i = 0; i < m_steps.size(); ++i) {
    if (i) out << ", ";
    out << m_steps[i].second << " kbit/s from " << m_steps[i].first << " s";
  }
  if (m_capKbps > 0) out << (m_steps.empty() ? "" : ", ") << "capped at " << m_capKbps << " kbit/s";
  if (m_steps.empty() && m_capKbps <= 0) out << "unlimited";
  return out.str();
}

}  // namespace strmplay
