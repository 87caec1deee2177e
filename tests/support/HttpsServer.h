// The loopback server over TLS, with a self-signed certificate made when it starts (see
// server/RouteServer.cpp).
#pragma once

#include "LoopbackServer.h"

namespace testsupport {

class HttpsServer : public LoopbackServer {
 public:
  // Serves the routes of LoopbackServer; Url() gives "https://127.0.0.1:<port>...".
  HttpsServer() : LoopbackServer(true) {}
};

}  // namespace testsupport
