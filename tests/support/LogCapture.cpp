#include "LogCapture.h"

#include "dlog_capture.h"

namespace testsupport {

LogCapture::LogCapture() { dlog_stub_set_capture(&LogCapture::Sink, this); }

LogCapture::~LogCapture() { dlog_stub_set_capture(nullptr, nullptr); }

void LogCapture::Sink(void* ctx, int logId, int priority, const char* tag, const char* text) {
  auto* self = static_cast<LogCapture*>(ctx);
  std::lock_guard<std::mutex> guard(self->m_lock);
  self->m_lines.push_back({logId, priority, tag != nullptr, tag ? tag : "", text});
}

std::vector<LogLine> LogCapture::Lines() const {
  std::lock_guard<std::mutex> guard(m_lock);
  return m_lines;
}

void LogCapture::Clear() {
  std::lock_guard<std::mutex> guard(m_lock);
  m_lines.clear();
}

std::string LogCapture::Message(const std::string& text) {
  size_t pos = text.find(") > ");
  return pos == std::string::npos ? text : text.substr(pos + 4);
}

std::vector<LogLine> LogCapture::WithMessage(const std::string& message) const {
  std::vector<LogLine> out;
  for (const auto& line : Lines())
    if (Message(line.text) == message) out.push_back(line);
  return out;
}

std::vector<LogLine> LogCapture::Containing(const std::string& part) const {
  std::vector<LogLine> out;
  for (const auto& line : Lines())
    if (line.text.find(part) != std::string::npos) out.push_back(line);
  return out;
}

}  // namespace testsupport
