#include "ExternalServers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace e2e {

namespace {

std::string Program(const std::string& name) {
  for (const char* dir : {"/usr/sbin/", "/usr/bin/"}) {
    if (access((dir + name).c_str(), X_OK) == 0) return dir + name;
  }
  return name;
}

bool Connects(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<std::uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool ok = connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  close(fd);
  return ok;
}

}  // namespace

int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof addr;
  int port = 0;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &size) == 0) {
    port = ntohs(addr.sin_port);
  }
  close(fd);
  return port;
}

bool WaitForPort(int port, std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (std::chrono::steady_clock::now() < end) {
    if (Connects(port)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

Nginx::~Nginx() {
  m_process.Signal(SIGTERM);
  m_process.Wait(std::chrono::seconds(5));
}

bool Nginx::Start(const std::string& dir, const std::string& root, const std::string& serverExtra,
                  std::string& error) {
  if (!HaveProgram("nginx")) {
    error = "nginx is not installed (scripts/deps installs it)";
    return false;
  }
  // A port picked beforehand can be taken meanwhile: try a few.
  for (int attempt = 0; attempt < 3; ++attempt) {
    m_port = FreePort();
    const std::string conf =
        "daemon off;\n"
        "master_process off;\n"
        "worker_processes 1;\n"
        "error_log " +
        dir +
        "/nginx-error.log;\n"
        "pid " +
        dir +
        "/nginx.pid;\n"
        "events { worker_connections 64; }\n"
        "http {\n"
        "  access_log off;\n"
        "  client_body_temp_path " +
        dir +
        "/nginx-tmp;\n"
        "  proxy_temp_path " +
        dir +
        "/nginx-tmp;\n"
        "  fastcgi_temp_path " +
        dir +
        "/nginx-tmp;\n"
        "  uwsgi_temp_path " +
        dir +
        "/nginx-tmp;\n"
        "  scgi_temp_path " +
        dir +
        "/nginx-tmp;\n"
        "  types { application/vnd.apple.mpegurl m3u8; video/mp2t ts; video/mp4 mp4 m4s; }\n"
        "  default_type application/octet-stream;\n"
        "  server {\n"
        "    listen 127.0.0.1:" +
        std::to_string(m_port) +
        ";\n"
        "    root " +
        root + ";\n" + serverExtra +
        "  }\n"
        "}\n";
    WriteFile(dir + "/nginx.conf", conf);
    if (!m_process.Start({Program("nginx"), "-p", dir, "-c", dir + "/nginx.conf", "-e",
                          dir + "/nginx-error.log"},
                         dir + "/nginx.out", dir + "/nginx.err", {}, error)) {
      return false;
    }
    if (WaitForPort(m_port, std::chrono::seconds(10))) return true;
    m_process.Signal(SIGKILL);
    m_process.Wait(std::chrono::seconds(5));
  }
  error =
      "nginx did not come up: " + ReadFile(dir + "/nginx.err") + ReadFile(dir + "/nginx-error.log");
  return false;
}

std::string Nginx::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

bool PythonHttpServer::Start(const std::string& dir, const std::string& root, std::string& error) {
  if (!HaveProgram("python3")) {
    error = "python3 is not installed (scripts/deps installs it)";
    return false;
  }
  const std::string out = dir + "/python-http.out";
  if (!m_process.Start(
          {"python3", "-u", "-m", "http.server", "0", "--bind", "127.0.0.1", "--directory", root},
          out, dir + "/python-http.err", {}, error)) {
    return false;
  }
  // "Serving HTTP on 127.0.0.1 port 40123 (http://127.0.0.1:40123/) ..."
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < end) {
    const std::string text = ReadFile(out);
    const auto at = text.find(" port ");
    if (at != std::string::npos) {
      m_port = std::atoi(text.c_str() + at + 6);
      if (m_port > 0 && WaitForPort(m_port, std::chrono::seconds(5))) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  error = "python3 -m http.server did not come up: " + ReadFile(dir + "/python-http.err");
  return false;
}

std::string PythonHttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

bool Ffmpeg(const std::string& dir, const std::vector<std::string>& args, std::string& error) {
  if (!HaveProgram("ffmpeg")) {
    error = "ffmpeg is not installed (scripts/deps installs it)";
    return false;
  }
  std::vector<std::string> argv = {"ffmpeg", "-nostdin", "-loglevel", "error", "-y"};
  argv.insert(argv.end(), args.begin(), args.end());
  const RunResult r = RunProgram(argv, {}, dir, std::chrono::seconds(60));
  if (r.status != 0) {
    error = "ffmpeg failed (" + std::to_string(r.status) + "): " + r.err;
    return false;
  }
  return true;
}

bool MakeHls(const std::string& dir, int seconds, const std::vector<std::string>& hls,
             std::string& error) {
  std::vector<std::string> args = {"-f",
                                   "lavfi",
                                   "-i",
                                   "testsrc2=size=160x90:rate=25",
                                   "-f",
                                   "lavfi",
                                   "-i",
                                   "sine=frequency=440:sample_rate=48000",
                                   "-t",
                                   std::to_string(seconds),
                                   "-c:v",
                                   "libx264",
                                   "-preset",
                                   "ultrafast",
                                   "-g",
                                   "25",
                                   "-keyint_min",
                                   "25",
                                   "-sc_threshold",
                                   "0",
                                   "-c:a",
                                   "aac",
                                   "-b:a",
                                   "32k",
                                   "-ac",
                                   "1",
                                   "-f",
                                   "hls",
                                   "-hls_time",
                                   "1"};
  args.insert(args.end(), hls.begin(), hls.end());
  return Ffmpeg(dir, args, error);
}

}  // namespace e2e
