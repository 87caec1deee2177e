// The real servers and tools the end-to-end tests start: nginx (Debian's), Python's http.server,
// and ffmpeg to make streams. Each lives in a directory of the test's own and listens on
// 127.0.0.1 only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"

namespace e2e {

// A port on 127.0.0.1 that nobody listens on at the moment.
int FreePort();
// True once something accepts connections on the port, false at the deadline.
bool WaitForPort(int port, std::chrono::milliseconds deadline);

// nginx serving `root`, with extra directives inside its server block (locations, redirects).
class Nginx {
 public:
  ~Nginx();
  // False with a reason (and nginx's error log) when it does not come up.
  bool Start(const std::string& dir, const std::string& root, const std::string& serverExtra,
             std::string& error);
  int Port() const { return m_port; }
  std::string Url(const std::string& path) const;

 private:
  ChildProcess m_process;
  int m_port = 0;
};

// python3 -m http.server over `root`: a plain server that ignores Range.
class PythonHttpServer {
 public:
  bool Start(const std::string& dir, const std::string& root, std::string& error);
  int Port() const { return m_port; }
  std::string Url(const std::string& path) const;

 private:
  ChildProcess m_process;
  int m_port = 0;
};

// Runs ffmpeg with -nostdin -loglevel error -y in front of the arguments, in `dir`. False with
// its error output.
bool Ffmpeg(const std::string& dir, const std::vector<std::string>& args, std::string& error);

// A short HLS stream in `dir` (160x90 test picture with a tone, 1-second segments), the HLS
// muxer's options given in `hls` (output name last).
bool MakeHls(const std::string& dir, int seconds, const std::vector<std::string>& hls,
             std::string& error);

}  // namespace e2e
