// One status line, redrawn in place on a terminal; on anything else, plain lines.
#pragma once

#include <cstdio>
#include <string>

namespace strmplay {

class StatusLine {
 public:
  explicit StatusLine(std::FILE* out);
  bool IsTerminal() const { return m_tty; }
  // Redraws the status line (terminal only).
  void Update(const std::string& text);
  // A line of its own: on a terminal the status line is cleared first and drawn again after it.
  void Print(const std::string& line);
  // Finishes the status line so that later output starts on a fresh line.
  void Finish();

 private:
  std::FILE* m_out;
  bool m_tty;
  std::string m_last;
};

}  // namespace strmplay
