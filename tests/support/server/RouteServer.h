// The HTTP server behind testsupport::LoopbackServer: cpp-httplib on 127.0.0.1 with an ordered
// table of routes, which may grow while the server runs. It serves either inside the test
// program or inside the server program of Wire.h; the routes are the same in both.
//
// Built-in routes (N, M, C are decimal numbers):
//   /bytes/N                 N bytes of ContentByte(0..N-1), with Content-Length
//   /slow/N?rate=R           the same, paced at about R bytes a second
//   /drop/N/M                announces N bytes, sends the first M, then drops the connection
//   /status/C                answers status C with a short text body
//   /redirect/C?to=URL       answers status C with Location: URL
//   /headers?Name=Value&...  sends every query pair as a response header (repeats allowed)
// After AddStreamRoutes():
//   /chunked/N?piece=P       N bytes of ContentByte in chunked encoding, chunks of P bytes (4096)
//   /chunkdrop/N?piece=P     the same, broken off after N bytes: no last chunk, connection dropped
//   /paced/N?bps=B           N bytes with Content-Length, sent in 20 ms pieces on a fixed
//                            schedule so that the body flows at B bits a second
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace testsupport {

class RouteServer {
 public:
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  // Binds a free port on 127.0.0.1 and serves from threads of its own until destroyed. With tls,
  // the server speaks HTTPS with a self-signed certificate for 127.0.0.1 and localhost. Throws
  // std::runtime_error when it cannot start.
  explicit RouteServer(bool tls);
  ~RouteServer();
  RouteServer(const RouteServer&) = delete;
  RouteServer& operator=(const RouteServer&) = delete;

  int Port() const { return m_port; }
  // Adds a route after those already there; the first route whose pattern matches the whole
  // path answers. The handler sees req.matches of its own pattern.
  void Get(const std::string& pattern, Handler handler);
  void AddStreamRoutes();

 private:
  struct Route {
    std::regex pattern;
    Handler handler;
  };

  void Dispatch(const httplib::Request& req, httplib::Response& res);

  std::unique_ptr<httplib::Server> m_server;
  int m_port = 0;
  std::thread m_thread;
  std::mutex m_lock;
  std::vector<std::shared_ptr<const Route>> m_routes;
};

}  // namespace testsupport
