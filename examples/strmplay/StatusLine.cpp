#include "StatusLine.h"

#include <unistd.h>

namespace strmplay {

StatusLine::StatusLine(std::FILE* out) : m_out(out), m_tty(isatty(fileno(out)) != 0) {}

void StatusLine::Update(const std::string& text) {
  m_last = text;
  if (!m_tty) return;
  std::fprintf(m_out, "\r\033[K%s", text.c_str());
  std::fflush(m_out);
}

void StatusLine::Print(const std::string& line) {
  if (m_tty) {
    std::fprintf(m_out, "\r\033[K%s\n%s", line.c_str(), m_last.c_str());
  } else {
    std::fprintf(m_out, "%s\n", line.c_str());
  }
  std::fflush(m_out);
}

void StatusLine::Finish() {
  if (m_tty && !m_last.empty()) std::fprintf(m_out, "\r\033[K%s\n", m_last.c_str());
  m_last.clear();
  std::fflush(m_out);
}

}  // namespace strmplay
