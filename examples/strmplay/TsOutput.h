// --output: the clear transport stream of what was played, segment after segment, to a file or
// to standard output ("-"), so that another program can show the picture.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace strmplay {

class TsOutput {
 public:
  TsOutput() = default;
  ~TsOutput();
  TsOutput(const TsOutput&) = delete;
  TsOutput& operator=(const TsOutput&) = delete;

  // "-" is standard output. False with a reason when the file cannot be made.
  bool Open(const std::string& path, std::string& error);
  bool IsOpen() const { return m_file != nullptr; }
  bool ToStandardOutput() const { return m_stdout; }
  // Appends one segment. False with a reason when it cannot be written (a reader that went away
  // closes the pipe); nothing more is written after that.
  bool Write(const std::vector<std::uint8_t>& segment, std::string& error);
  // Flushes and closes; false with a reason when the last bytes could not be written.
  bool Close(std::string& error);
  std::uint64_t Bytes() const { return m_bytes; }
  int Segments() const { return m_segments; }

 private:
  std::FILE* m_file = nullptr;
  bool m_stdout = false;
  bool m_failed = false;
  std::string m_path;
  std::uint64_t m_bytes = 0;
  int m_segments = 0;
};

}  // namespace strmplay
