// Whole log lines: "file: function(line) > message", with only the line number left open, so a
// test can say which function a line belongs to.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "LogCapture.h"

namespace testsupport {

// True when `text` reads "<file>: <function>(<digits>) > <message>" exactly.
inline bool IsWholeLine(const std::string& text, const std::string& file,
                        const std::string& function, const std::string& message) {
  const std::string head = file + ": " + function + "(";
  if (text.compare(0, head.size(), head) != 0) return false;
  size_t pos = head.size();
  const size_t digits = pos;
  while (pos < text.size() && std::isdigit(static_cast<unsigned char>(text[pos]))) ++pos;
  if (pos == digits) return false;
  return text.compare(pos, std::string::npos, ") > " + message) == 0;
}

// Passes when some captured line is that whole line; otherwise lists the lines that carry the
// message under another prefix, which is what a misplaced log line looks like.
inline ::testing::AssertionResult HasWholeLine(const LogCapture& capture, const std::string& file,
                                               const std::string& function,
                                               const std::string& message) {
  std::string others;
  for (const LogLine& line : capture.Lines()) {
    if (IsWholeLine(line.text, file, function, message)) return ::testing::AssertionSuccess();
    if (LogCapture::Message(line.text) == message) others += "\n  " + line.text;
  }
  return ::testing::AssertionFailure()
         << "no line \"" << file << ": " << function << "(N) > " << message << "\""
         << (others.empty() ? std::string(" and no line with that message") : others);
}

}  // namespace testsupport
