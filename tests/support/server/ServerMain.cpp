// The loopback server program: RouteServer in a process of its own, driven by the test program
// over standard input and output (the protocol is in Wire.h). Routes that a test adds are
// answered by the test program itself.
#include <httplib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "RouteServer.h"
#include "Wire.h"

namespace {

using namespace testsupport;

// A socket closed with its last owner.
struct Connection {
  explicit Connection(int fd) : fd(fd) {}
  ~Connection() { close(fd); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  int fd;
};

// Copies the next frame of the test program's body to the sink.
bool Relay(Connection& connection, httplib::DataSink& sink) {
  wire::FrameType type;
  std::string payload;
  if (!wire::ReceiveFrame(connection.fd, type, payload)) return false;
  if (type == wire::kData) return sink.write(payload.data(), payload.size());
  if (type == wire::kDone) {
    sink.done();
    return true;
  }
  return false;
}

// Hands the request to the test program and answers with what it says.
RouteServer::Handler Forward(int rpcPort, uint32_t routeId) {
  return [rpcPort, routeId](const httplib::Request& req, httplib::Response& res) {
    int fd = wire::ConnectLoopback(rpcPort);
    if (fd < 0) {
      res.status = 500;
      return;
    }
    auto connection = std::make_shared<Connection>(fd);
    wire::FrameType type;
    std::string payload;
    wire::BodyKind kind;
    httplib::Response answer;
    if (!wire::SendFrame(fd, wire::kRequest, wire::EncodeRequest(routeId, req)) ||
        !wire::ReceiveFrame(fd, type, payload) || type != wire::kHead ||
        !wire::DecodeHead(payload, answer, kind)) {
      res.status = 500;
      return;
    }
    res.status = answer.status;
    res.headers = std::move(answer.headers);
    res.body = std::move(answer.body);
    if (kind == wire::kPlainBody) return;
    res.content_length_ = kind == wire::kLengthBody ? answer.content_length_ : 0;
    res.is_chunked_content_provider_ = kind == wire::kChunkedBody;
    res.content_provider_ = [connection](size_t, size_t, httplib::DataSink& sink) {
      return Relay(*connection, sink);
    };
  };
}

}  // namespace

int main(int argc, char** argv) {
  int rpcPort = 0;
  bool tls = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rpc-port") == 0 && i + 1 < argc) {
      rpcPort = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--tls") == 0) {
      tls = true;
    }
  }
  // Ends with the test program, should its end of the pipe outlive it.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  signal(SIGPIPE, SIG_IGN);

  std::unique_ptr<RouteServer> server;
  try {
    server = std::make_unique<RouteServer>(tls);
  } catch (const std::exception& e) {
    std::cout << "error " << e.what() << std::endl;
    return 1;
  }
  std::cout << "port " << server->Port() << std::endl;

  std::string line;
  while (std::getline(std::cin, line)) {
    if (line.rfind("route ", 0) == 0) {
      size_t space = line.find(' ', 6);
      if (space == std::string::npos) {
        std::cout << "error route" << std::endl;
        continue;
      }
      uint32_t id = static_cast<uint32_t>(std::stoul(line.substr(6, space - 6)));
      server->Get(line.substr(space + 1), Forward(rpcPort, id));
      std::cout << "ok" << std::endl;
    } else if (line == "streams") {
      server->AddStreamRoutes();
      std::cout << "ok" << std::endl;
    } else {
      std::cout << "error " << line << std::endl;
    }
  }
  server.reset();
  return 0;
}
