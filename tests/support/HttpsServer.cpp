#include "HttpsServer.h"

#include <httplib.h>
#include <stdlib.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace testsupport {

namespace {

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

HttpsServer::HttpsServer() : LoopbackServer(MakeTlsServer(), "https") {}

}  // namespace testsupport
