// An HTTP server on 127.0.0.1 inside the test process, with routes for the engine's tests.
//
// Routes (N, M, C are decimal numbers):
//   /bytes/N                 N bytes of ContentByte(0..N-1), with Content-Length
//   /slow/N?rate=R           the same, paced at about R bytes a second
//   /drop/N/M                announces N bytes, sends the first M, then drops the connection
//   /status/C                answers status C with a short text body
//   /redirect/C?to=URL       answers status C with Location: URL
//   /headers?Name=Value&...  sends every query pair as a response header (repeats allowed)
// Further routes can be added with Get() before or after Start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace testsupport {

// The deterministic body byte at offset i of every generated route.
inline unsigned char ContentByte(size_t i) {
  return static_cast<unsigned char>((static_cast<uint32_t>(i) * 2654435761u) >> 24);
}

// FNV-1a over a byte stream, fed in pieces.
class Checksum {
 public:
  void Update(const unsigned char* data, size_t size) {
    for (size_t i = 0; i < size; ++i) {
      m_value ^= data[i];
      m_value *= 1099511628211ull;
    }
  }
  uint64_t Value() const { return m_value; }
  // The checksum of the first size bytes of a generated body.
  static uint64_t OfContent(size_t size);

 private:
  uint64_t m_value = 1469598103934665603ull;
};

class LoopbackServer {
 public:
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  // Binds a free port on 127.0.0.1 and serves from a thread of its own until destroyed.
  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int Port() const { return m_port; }
  // "http://127.0.0.1:<port>" followed by path.
  std::string Url(const std::string& path) const;
  void Get(const std::string& pattern, Handler handler);

 protected:
  // The server object; a TLS server can take its place through this seam.
  explicit LoopbackServer(std::unique_ptr<httplib::Server> server, const std::string& scheme);

 private:
  void AddRoutes();
  void Start();

  std::unique_ptr<httplib::Server> m_server;
  std::string m_scheme;
  int m_port = 0;
  std::thread m_thread;
};

}  // namespace testsupport
