#include "LoopbackServer.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <vector>

namespace testsupport {

namespace {

const char kBinary[] = "application/octet-stream";
constexpr size_t kPiece = 64 * 1024;

// Writes bytes [offset, offset + length) of the generated body to the sink.
bool WriteContent(httplib::DataSink& sink, size_t offset, size_t length) {
  std::vector<char> piece(length);
  for (size_t i = 0; i < length; ++i) piece[i] = static_cast<char>(ContentByte(offset + i));
  return sink.write(piece.data(), piece.size());
}

size_t Number(const httplib::Request& req, int index) {
  return static_cast<size_t>(std::stoull(req.matches[index].str()));
}

}  // namespace

uint64_t Checksum::OfContent(size_t size) {
  Checksum sum;
  unsigned char piece[4096];
  for (size_t offset = 0; offset < size; offset += sizeof(piece)) {
    size_t n = std::min(sizeof(piece), size - offset);
    for (size_t i = 0; i < n; ++i) piece[i] = ContentByte(offset + i);
    sum.Update(piece, n);
  }
  return sum.Value();
}

LoopbackServer::LoopbackServer() : LoopbackServer(std::make_unique<httplib::Server>(), "http") {}

LoopbackServer::LoopbackServer(std::unique_ptr<httplib::Server> server, const std::string& scheme)
    : m_server(std::move(server)), m_scheme(scheme) {
  // Enough workers for every unit of an engine to hold a keep-alive connection at once.
  m_server->new_task_queue = [] { return new httplib::ThreadPool(32); };
  // Headers and a small body leave at once instead of waiting out the peer's delayed ACK.
  m_server->set_tcp_nodelay(true);
  AddRoutes();
  Start();
}

LoopbackServer::~LoopbackServer() {
  m_server->stop();
  if (m_thread.joinable()) m_thread.join();
}

std::string LoopbackServer::Url(const std::string& path) const {
  return m_scheme + "://127.0.0.1:" + std::to_string(m_port) + path;
}

void LoopbackServer::Get(const std::string& pattern, Handler handler) {
  m_server->Get(pattern, std::move(handler));
}

void LoopbackServer::Start() {
  m_port = m_server->bind_to_any_port("127.0.0.1");
  if (m_port <= 0) throw std::runtime_error("loopback server: no port");
  m_thread = std::thread([this] { m_server->listen_after_bind(); });
  auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!m_server->is_running()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("loopback server: start");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void LoopbackServer::AddRoutes() {
  m_server->Get(R"(/bytes/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    res.set_content_provider(total, kBinary,
                             [](size_t offset, size_t length, httplib::DataSink& sink) {
                               return WriteContent(sink, offset, std::min(length, kPiece));
                             });
  });

  m_server->Get(R"(/slow/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t rate = req.has_param("rate") ? std::stoull(req.get_param_value("rate")) : 1000;
    // Twenty pieces a second at the given rate.
    size_t piece = std::max<size_t>(1, rate / 20);
    res.set_content_provider(total, kBinary,
                             [piece](size_t offset, size_t length, httplib::DataSink& sink) {
                               std::this_thread::sleep_for(std::chrono::milliseconds(50));
                               return WriteContent(sink, offset, std::min(length, piece));
                             });
  });

  m_server->Get(R"(/drop/(\d+)/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    size_t total = Number(req, 1);
    size_t sendBytes = Number(req, 2);
    res.set_content_provider(
        total, kBinary, [sendBytes](size_t offset, size_t length, httplib::DataSink& sink) {
          if (offset >= sendBytes) return false;  // drops the connection
          return WriteContent(sink, offset, std::min({length, kPiece, sendBytes - offset}));
        });
  });

  m_server->Get(R"(/status/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    res.status = static_cast<int>(Number(req, 1));
    res.set_content("status " + req.matches[1].str(), "text/plain");
  });

  m_server->Get(R"(/redirect/(\d+))", [](const httplib::Request& req, httplib::Response& res) {
    res.status = static_cast<int>(Number(req, 1));
    res.set_header("Location", req.get_param_value("to"));
  });

  m_server->Get("/headers", [](const httplib::Request& req, httplib::Response& res) {
    for (const auto& param : req.params) res.set_header(param.first, param.second);
    res.set_content("headers", "text/plain");
  });
}

}  // namespace testsupport
