// Captures every log call of the library while an instance lives.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

struct LogLine {
  int logId;
  int priority;
  bool hasTag;
  std::string tag;
  std::string text;
};

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> Lines() const;
  void Clear();
  // Lines whose text, after the "file: function(line) > " prefix, equals message exactly.
  std::vector<LogLine> WithMessage(const std::string& message) const;
  // Lines whose text contains part anywhere.
  std::vector<LogLine> Containing(const std::string& part) const;
  size_t Count(const std::string& message) const { return WithMessage(message).size(); }

  // The text after the "file: function(line) > " prefix, or the whole text if there is none.
  static std::string Message(const std::string& text);

 private:
  static void Sink(void* ctx, int logId, int priority, const char* tag, const char* text);
  mutable std::mutex m_lock;
  std::vector<LogLine> m_lines;
};

}  // namespace testsupport
