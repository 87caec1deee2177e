#include "RouteServer.h"

#include <httplib.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <vector>

#include "GeneratedContent.h"

namespace testsupport {

namespace {

const char kBinary[] = "application/octet-stream";
constexpr size_t kPiece = 64 * 1024;
// Chunks written per provider call, so that one socket read holds many of them.
constexpr size_t kChunkBatch = 64 * 1024;

size_t Number(const httplib::Request& req, int index) {
  return static_cast<size_t>(std::stoull(req.matches[index].str()));
}

size_t Param(const httplib::Request& req, const char* name, size_t fallback) {
  return req.has_param(name) ? static_cast<size_t>(std::stoull(req.get_param_value(name)))
                             : fallback;
}

void Fill(std::vector<char>& piece, size_t offset, size_t length) {
  piece.resize(length);
  for (size_t i = 0; i < length; ++i) piece[i] = static_cast<char>(ContentByte(offset + i));
}

// Writes bytes [offset, offset + length) of the generated body to the sink.
bool WriteContent(httplib::DataSink& sink, size_t offset, size_t length) {
  std::vector<char> piece;
  Fill(piece, offset, length);
  return sink.write(piece.data(), piece.size());
}

// Writes chunks of `piece` bytes from `sent` on, about kChunkBatch bytes' worth; false when the
// sink failed. `sent` follows the bytes written.
bool WriteChunks(httplib::DataSink& sink, size_t& sent, size_t total, size_t piece) {
  std::vector<char> bytes;
  size_t batchEnd = std::min(total, sent + std::max(piece, kChunkBatch));
  while (sent < batchEnd) {
    size_t n = std::min(piece, batchEnd - sent);
    Fill(bytes, sent, n);
    if (!sink.write(bytes.data(), n)) return false;
    sent += n;
  }
  return true;
}

// A self-signed certificate (EC P-256, one day) made with the openssl command line tool in a
// temporary directory that is removed again once the server has loaded it. It names 127.0.0.1
// and localhost, so libcurl's host name check passes while the engine's CURLOPT_SSL_VERIFYPEER 0
// accepts the unknown issuer. Debian's cpp-httplib is built with OpenSSL.
std::unique_ptr<httplib::Server> MakeTlsServer() {
  char dirTemplate[] = "/tmp/strmcommon_tls_XXXXXX";
  const char* dir = mkdtemp(dirTemplate);
  if (dir == nullptr) throw std::runtime_error("https server: no temporary directory");
  const std::string cert = std::string(dir) + "/cert.pem";
  const std::string key = std::string(dir) + "/key.pem";
  const std::string make =
      "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 1"
      " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1,DNS:localhost"
      " -keyout '" +
      key + "' -out '" + cert + "' >/dev/null 2>&1";
  const int made = system(make.c_str());
  std::unique_ptr<httplib::Server> server;
  if (made == 0) server = std::make_unique<httplib::SSLServer>(cert.c_str(), key.c_str());
  const std::string remove = "rm -rf '" + std::string(dir) + "'";
  (void)!system(remove.c_str());
  if (!server || !server->is_valid()) throw std::runtime_error("https server: no certificate");
  return server;
}

}  // namespace

RouteServer::RouteServer(bool tls)
    : m_server(tls ? MakeTlsServer() : std::make_unique<httplib::Server>()) {
  // Enough workers for every unit of an engine to hold a keep-alive connection at once.
  m_server->new_task_queue = [] { return new httplib::ThreadPool(32); };
  // Headers and a small body leave at once instead of waiting out the peer's delayed ACK.
  m_server->set_tcp_nodelay(true);
  // One route for httplib, so that the table can grow while requests are being routed.
  m_server->Get(
      ".*", [this](const httplib::Request& req, httplib::Response& res) { Dispatch(req, res); });

  Get(R"(/bytes/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    res.set_content_provider(total, kBinary,
                             [](size_t offset, size_t length, httplib::DataSink& sink) {
                               return WriteContent(sink, offset, std::min(length, kPiece));
                             });
  });

  Get(R"(/slow/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t rate = Param(req, "rate", 1000);
    // Twenty pieces a second at the given rate.
    size_t piece = std::max<size_t>(1, rate / 20);
    res.set_content_provider(total, kBinary,
                             [piece](size_t offset, size_t length, httplib::DataSink& sink) {
                               std::this_thread::sleep_for(std::chrono::milliseconds(50));
                               return WriteContent(sink, offset, std::min(length, piece));
                             });
  });

  Get(R"(/drop/(\d+)/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t sendBytes = Number(req, 2);
    res.set_content_provider(
        total, kBinary, [sendBytes](size_t offset, size_t length, httplib::DataSink& sink) {
          if (offset >= sendBytes) return false;  // drops the connection
          return WriteContent(sink, offset, std::min({length, kPiece, sendBytes - offset}));
        });
  });

  Get(R"(/status/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    res.status = static_cast<int>(Number(req, 1));
    res.set_content("status " + req.matches[1].str(), "text/plain");
  });

  Get(R"(/redirect/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    res.status = static_cast<int>(Number(req, 1));
    res.set_header("Location", req.get_param_value("to"));
  });

  Get("/headers", [](const httplib::Request& req, httplib::Response& res) {
    for (const auto& param : req.params) res.set_header(param.first, param.second);
    res.set_content("headers", "text/plain");
  });

  m_port = m_server->bind_to_any_port("127.0.0.1");
  if (m_port <= 0) throw std::runtime_error("loopback server: no port");
  m_thread = std::thread([this] { m_server->listen_after_bind(); });
  auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!m_server->is_running()) {
    if (std::chrono::steady_clock::now() > end) {
      m_server->stop();
      m_thread.join();
      throw std::runtime_error("loopback server: start");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

RouteServer::~RouteServer() {
  m_server->stop();
  if (m_thread.joinable()) m_thread.join();
}

void RouteServer::Get(const std::string& pattern, Handler handler) {
  auto route = std::make_shared<Route>(Route{std::regex(pattern), std::move(handler)});
  std::lock_guard<std::mutex> guard(m_lock);
  m_routes.push_back(std::move(route));
}

void RouteServer::Dispatch(const httplib::Request& req, httplib::Response& res) {
  std::shared_ptr<const Route> route;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    for (const auto& candidate : m_routes) {
      if (std::regex_match(req.path, candidate->pattern)) {
        route = candidate;
        break;
      }
    }
  }
  if (!route) {
    res.status = 404;
    return;
  }
  // The handler sees the groups of its own pattern.
  httplib::Request routed = req;
  std::regex_match(routed.path, routed.matches, route->pattern);
  route->handler(routed, res);
}

void RouteServer::AddStreamRoutes() {
  Get(R"(/chunked/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t piece = std::max<size_t>(1, Param(req, "piece", 4096));
    auto sent = std::make_shared<size_t>(0);
    res.set_chunked_content_provider(kBinary, [=](size_t, httplib::DataSink& sink) {
      if (!WriteChunks(sink, *sent, total, piece)) return false;
      if (*sent >= total) sink.done();
      return true;
    });
  });

  Get(R"(/chunkdrop/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t piece = std::max<size_t>(1, Param(req, "piece", 4096));
    auto sent = std::make_shared<size_t>(0);
    res.set_chunked_content_provider(kBinary, [=](size_t, httplib::DataSink& sink) {
      // Returning false drops the connection before the last chunk.
      if (*sent >= total) return false;
      return WriteChunks(sink, *sent, total, piece);
    });
  });

  Get(R"(/paced/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t bps = std::max<size_t>(400, Param(req, "bps", 1000000));
    constexpr auto kInterval = std::chrono::milliseconds(20);
    size_t piece = std::max<size_t>(1, bps / 8 / 50);
    auto start = std::make_shared<std::chrono::steady_clock::time_point>();
    res.set_content_provider(total, kBinary,
                             [=](size_t offset, size_t length, httplib::DataSink& sink) {
                               if (offset == 0) *start = std::chrono::steady_clock::now();
                               // Piece k leaves at start + k intervals, whatever the earlier writes
                               // cost.
                               std::this_thread::sleep_until(*start + kInterval * (offset / piece));
                               std::vector<char> bytes;
                               Fill(bytes, offset, std::min(length, piece - offset % piece));
                               return sink.write(bytes.data(), bytes.size());
                             });
  });
}

}  // namespace testsupport
