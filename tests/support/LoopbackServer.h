// An HTTP server on 127.0.0.1 for the engine's tests: the routes of server/RouteServer.h, and
// further routes that a test adds with Get() before or after the first request.
//
// The server runs in a program of its own (server/ServerMain.cpp), so that no thread of the HTTP
// library runs inside the test program: ThreadSanitizer cannot see into that library, which is
// built without it. Requests on routes that a test adds are answered inside the test program, by
// the test's handler, on a thread of this class. Where the build runs its tests through an
// emulator the server runs inside the test program instead; STRMCOMMON_TEST_SERVER=in-process
// chooses that too.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "GeneratedContent.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace testsupport {

class LoopbackServer {
 public:
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  // Serves plain HTTP from a free port until destroyed. Throws std::runtime_error when the
  // server does not start.
  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int Port() const;
  // "http://127.0.0.1:<port>" followed by path.
  std::string Url(const std::string& path) const;
  // Adds a route after the others: the first route whose pattern matches the whole path answers.
  // The handler sees req.matches of its own pattern and may answer with a content provider.
  void Get(const std::string& pattern, Handler handler);
  // Adds the stream routes listed in server/RouteServer.h.
  void AddStreamRoutes();

  class Backend;

 protected:
  // With tls the server speaks HTTPS, and Url() gives "https://...".
  explicit LoopbackServer(bool tls);

 private:
  std::unique_ptr<Backend> m_backend;
  std::string m_scheme;
};

}  // namespace testsupport
