#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <httplib.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <map>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "WaitFor.h"
#include "server/RouteServer.h"
#include "server/Wire.h"

extern char** environ;

namespace testsupport {

class LoopbackServer::Backend {
 public:
  virtual ~Backend() = default;
  virtual int Port() const = 0;
  virtual void Get(const std::string& pattern, Handler handler) = 0;
  virtual void AddStreamRoutes() = 0;
};

namespace {

// The server inside the test program.
class InProcess : public LoopbackServer::Backend {
 public:
  explicit InProcess(bool tls) : m_server(tls) {}
  int Port() const override { return m_server.Port(); }
  void Get(const std::string& pattern, LoopbackServer::Handler handler) override {
    m_server.Get(pattern, std::move(handler));
  }
  void AddStreamRoutes() override { m_server.AddStreamRoutes(); }

 private:
  RouteServer m_server;
};

// The server program in a process of its own; the routes a test adds are answered here.
class OwnProcess : public LoopbackServer::Backend {
 public:
  OwnProcess(const char* program, bool tls);
  ~OwnProcess() override;

  int Port() const override { return m_port; }
  void Get(const std::string& pattern, LoopbackServer::Handler handler) override;
  void AddStreamRoutes() override;

 private:
  struct Route {
    std::regex pattern;
    LoopbackServer::Handler handler;
  };
  struct Worker {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> finished;
  };

  void Start(const char* program, bool tls);
  void Stop();
  // Sends one line to the server program and returns the line it answers.
  std::string Command(const std::string& line);
  std::string ReadLine();
  void Accept();
  void Answer(int fd);
  bool StreamBody(int fd, httplib::Response& res, wire::BodyKind kind);

  int m_port = 0;
  int m_rpcListener = -1;
  int m_rpcPort = 0;
  pid_t m_child = -1;
  int m_toChild = -1;
  int m_fromChild = -1;
  std::string m_received;
  std::mutex m_commandLock;

  std::mutex m_routesLock;
  std::map<uint32_t, std::shared_ptr<const Route>> m_routes;
  uint32_t m_nextRoute = 1;

  std::atomic<bool> m_stopping{false};
  std::thread m_acceptor;
  std::mutex m_workersLock;
  std::vector<Worker> m_workers;
};

constexpr auto kServerDeadline = std::chrono::seconds(30);

OwnProcess::OwnProcess(const char* program, bool tls) {
  try {
    Start(program, tls);
  } catch (...) {
    Stop();
    throw;
  }
}

OwnProcess::~OwnProcess() { Stop(); }

void OwnProcess::Start(const char* program, bool tls) {
  m_rpcListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(addr);
  if (m_rpcListener < 0 || bind(m_rpcListener, reinterpret_cast<sockaddr*>(&addr), size) != 0 ||
      listen(m_rpcListener, 64) != 0 ||
      getsockname(m_rpcListener, reinterpret_cast<sockaddr*>(&addr), &size) != 0) {
    throw std::runtime_error("loopback server: no socket for the test's routes");
  }
  m_rpcPort = ntohs(addr.sin_port);
  m_acceptor = std::thread([this] { Accept(); });

  int toChild[2];
  int fromChild[2];
  if (pipe2(toChild, O_CLOEXEC) != 0) throw std::runtime_error("loopback server: pipe");
  if (pipe2(fromChild, O_CLOEXEC) != 0) {
    close(toChild[0]);
    close(toChild[1]);
    throw std::runtime_error("loopback server: pipe");
  }
  m_toChild = toChild[1];
  m_fromChild = fromChild[0];
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
  posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
  std::string rpcPort = std::to_string(m_rpcPort);
  std::vector<char*> argv = {const_cast<char*>(program), const_cast<char*>("--rpc-port"),
                             &rpcPort[0]};
  if (tls) argv.push_back(const_cast<char*>("--tls"));
  argv.push_back(nullptr);
  int spawned = posix_spawn(&m_child, program, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(toChild[0]);
  close(fromChild[1]);
  if (spawned != 0) {
    m_child = -1;
    throw std::runtime_error(std::string("loopback server: cannot start ") + program);
  }

  std::string line = ReadLine();
  if (line.rfind("port ", 0) != 0) throw std::runtime_error("loopback server: " + line);
  m_port = std::stoi(line.substr(5));
}

void OwnProcess::Stop() {
  // End of input stops the server program; its open requests end with it.
  if (m_toChild >= 0) close(m_toChild);
  m_toChild = -1;
  if (m_child > 0) {
    auto end = UnfakedClock::now() + kServerDeadline;
    while (waitpid(m_child, nullptr, WNOHANG) == 0) {
      if (UnfakedClock::now() > end) {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    m_child = -1;
  }
  if (m_fromChild >= 0) close(m_fromChild);
  m_fromChild = -1;

  m_stopping = true;
  if (m_rpcListener >= 0) shutdown(m_rpcListener, SHUT_RDWR);
  if (m_acceptor.joinable()) m_acceptor.join();
  if (m_rpcListener >= 0) close(m_rpcListener);
  m_rpcListener = -1;
  std::lock_guard<std::mutex> guard(m_workersLock);
  for (auto& worker : m_workers) worker.thread.join();
  m_workers.clear();
}

std::string OwnProcess::ReadLine() {
  auto end = UnfakedClock::now() + kServerDeadline;
  for (;;) {
    size_t newline = m_received.find('\n');
    if (newline != std::string::npos) {
      std::string line = m_received.substr(0, newline);
      m_received.erase(0, newline + 1);
      return line;
    }
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - UnfakedClock::now());
    pollfd readable{m_fromChild, POLLIN, 0};
    if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) {
      return "no answer from the server program";
    }
    char buffer[256];
    ssize_t n = read(m_fromChild, buffer, sizeof(buffer));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return "the server program ended";
    m_received.append(buffer, static_cast<size_t>(n));
  }
}

std::string OwnProcess::Command(const std::string& line) {
  std::lock_guard<std::mutex> guard(m_commandLock);
  std::string out = line + "\n";
  if (write(m_toChild, out.data(), out.size()) != static_cast<ssize_t>(out.size())) {
    return "the server program does not listen";
  }
  return ReadLine();
}

void OwnProcess::Get(const std::string& pattern, LoopbackServer::Handler handler) {
  uint32_t id = 0;
  {
    std::lock_guard<std::mutex> guard(m_routesLock);
    id = m_nextRoute++;
    m_routes[id] = std::make_shared<const Route>(Route{std::regex(pattern), std::move(handler)});
  }
  std::string answer = Command("route " + std::to_string(id) + " " + pattern);
  if (answer != "ok") throw std::runtime_error("loopback server: route " + pattern + ": " + answer);
}

void OwnProcess::AddStreamRoutes() {
  std::string answer = Command("streams");
  if (answer != "ok") throw std::runtime_error("loopback server: stream routes: " + answer);
}

void OwnProcess::Accept() {
  for (;;) {
    int fd = accept4(m_rpcListener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      return;
    }
    if (m_stopping) {
      close(fd);
      return;
    }
    auto finished = std::make_shared<std::atomic<bool>>(false);
    std::lock_guard<std::mutex> guard(m_workersLock);
    // Threads of answered requests are joined as new ones come, so a long run keeps few.
    for (auto it = m_workers.begin(); it != m_workers.end();) {
      if (*it->finished) {
        it->thread.join();
        it = m_workers.erase(it);
      } else {
        ++it;
      }
    }
    m_workers.push_back(Worker{std::thread([this, fd, finished] {
                                 Answer(fd);
                                 close(fd);
                                 *finished = true;
                               }),
                               finished});
  }
}

void OwnProcess::Answer(int fd) {
  wire::FrameType type;
  std::string payload;
  httplib::Request req;
  uint32_t id = 0;
  if (!wire::ReceiveFrame(fd, type, payload) || type != wire::kRequest ||
      !wire::DecodeRequest(payload, id, req)) {
    return;
  }
  std::shared_ptr<const Route> route;
  {
    std::lock_guard<std::mutex> guard(m_routesLock);
    auto it = m_routes.find(id);
    if (it != m_routes.end()) route = it->second;
  }
  httplib::Response res;
  if (route) {
    std::regex_match(req.path, req.matches, route->pattern);
    route->handler(req, res);
  } else {
    res.status = 500;
  }
  wire::BodyKind kind = !res.content_provider_             ? wire::kPlainBody
                        : res.is_chunked_content_provider_ ? wire::kChunkedBody
                        : res.content_length_ > 0          ? wire::kLengthBody
                                                           : wire::kUntilCloseBody;
  if (!wire::SendFrame(fd, wire::kHead, wire::EncodeHead(res, kind))) return;
  if (kind != wire::kPlainBody) res.content_provider_success_ = StreamBody(fd, res, kind);
}

// Runs the handler's content provider and sends what it writes on, as the HTTP library would.
bool OwnProcess::StreamBody(int fd, httplib::Response& res, wire::BodyKind kind) {
  bool ok = true;
  bool done = false;
  size_t offset = 0;
  httplib::DataSink sink;
  sink.write = [&](const char* data, size_t size) {
    ok = ok && wire::SendFrame(fd, wire::kData, data, size);
    offset += size;
    return ok;
  };
  sink.is_writable = [&] { return ok; };
  sink.done = [&] { done = true; };
  const bool sized = kind == wire::kLengthBody;
  while (ok && !done && (!sized || offset < res.content_length_)) {
    if (!res.content_provider_(offset, sized ? res.content_length_ - offset : 0, sink)) {
      wire::SendFrame(fd, wire::kFail, nullptr, 0);
      return false;
    }
  }
  if (!ok) return false;
  return sized || wire::SendFrame(fd, wire::kDone, nullptr, 0);
}

std::unique_ptr<LoopbackServer::Backend> MakeBackend(bool tls) {
#ifdef STRMCOMMON_TEST_SERVER_PROGRAM
  const char* choice = std::getenv("STRMCOMMON_TEST_SERVER");
  if (choice == nullptr || std::string(choice) != "in-process") {
    return std::make_unique<OwnProcess>(STRMCOMMON_TEST_SERVER_PROGRAM, tls);
  }
#endif
  return std::make_unique<InProcess>(tls);
}

}  // namespace

LoopbackServer::LoopbackServer() : LoopbackServer(false) {}

LoopbackServer::LoopbackServer(bool tls)
    : m_backend(MakeBackend(tls)), m_scheme(tls ? "https" : "http") {}

LoopbackServer::~LoopbackServer() = default;

int LoopbackServer::Port() const { return m_backend->Port(); }

std::string LoopbackServer::Url(const std::string& path) const {
  return m_scheme + "://127.0.0.1:" + std::to_string(Port()) + path;
}

void LoopbackServer::Get(const std::string& pattern, Handler handler) {
  m_backend->Get(pattern, std::move(handler));
}

void LoopbackServer::AddStreamRoutes() { m_backend->AddStreamRoutes(); }

}  // namespace testsupport
