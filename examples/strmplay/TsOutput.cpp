#include "TsOutput.h"

#include <cerrno>
#include <cstring>

namespace strmplay {

TsOutput::~TsOutput() {
  std::string ignored;
  Close(ignored);
}

bool TsOutput::Open(const std::string& path, std::string& error) {
  m_path = path;
  m_stdout = path == "-";
  m_file = m_stdout ? stdout : std::fopen(path.c_str(), "wb");
  if (m_file == nullptr) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

bool TsOutput::Write(const std::vector<std::uint8_t>& segment, std::string& error) {
  if (m_file == nullptr || m_failed) return false;
  if (std::fwrite(segment.data(), 1, segment.size(), m_file) != segment.size() ||
      std::fflush(m_file) != 0) {
    error = "cannot write the output " + (m_stdout ? std::string("to standard output") : m_path) +
            ": " + std::strerror(errno);
    m_failed = true;
    return false;
  }
  m_bytes += segment.size();
  ++m_segments;
  return true;
}

bool TsOutput::Close(std::string& error) {
  if (m_file == nullptr) return true;
  bool ok = std::fflush(m_file) == 0 && !m_failed;
  if (!m_stdout) ok = std::fclose(m_file) == 0 && ok;
  if (!ok && error.empty()) error = "cannot write the output " + m_path;
  m_file = nullptr;
  return ok;
}

}  // namespace strmplay
