// The loopback server over TLS, with a self-signed certificate made when it starts.
//
// The certificate (EC P-256, one day) is made with the openssl command line tool in a temporary
// directory that is removed again once the server has loaded it. It names 127.0.0.1 and
// localhost as subject alternative names, so libcurl's default host name check passes while
// the engine's CURLOPT_SSL_VERIFYPEER 0 accepts the unknown issuer. Debian's cpp-httplib is
// built with OpenSSL and its pkg-config flags define CPPHTTPLIB_OPENSSL_SUPPORT, which makes
// httplib::SSLServer available to the test support without anything further.
#pragma once

#include "LoopbackServer.h"

namespace testsupport {

class HttpsServer : public LoopbackServer {
 public:
  // Serves the routes of LoopbackServer; Url() gives "https://127.0.0.1:<port>...".
  HttpsServer();
};

}  // namespace testsupport
