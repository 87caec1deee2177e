// How the test program and the loopback server program talk.
//
// The test program starts the server program (STRMCOMMON_TEST_SERVER_PROGRAM) with
//   --rpc-port P [--tls]
// and speaks lines with it over the program's standard input and output:
//   server -> test   "port N"              serving on 127.0.0.1:N (or "error TEXT", then exit)
//   test -> server   "route ID PATTERN"    add a route that the test program answers; "ok"
//   test -> server   "streams"             add the stream routes of RouteServer; "ok"
//   end of input                           stop serving and exit
// A request on a route the test program answers travels over a fresh TCP connection to
// 127.0.0.1:P, in frames of a type byte, a 32-bit little-endian length and the payload:
//   server -> test   kRequest              route id and the request
//   test -> server   kHead                 status, headers, body, and how the body goes on
//   test -> server   kData... then kDone   (a body from a content provider) or kFail (drop it)
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace testsupport {
namespace wire {

enum FrameType : unsigned char { kRequest = 1, kHead, kData, kDone, kFail };

// How the body follows the head: in it, or from a content provider of the test program.
enum BodyKind : unsigned char { kPlainBody, kLengthBody, kChunkedBody, kUntilCloseBody };

// Writes or reads one whole frame; false when the connection failed or closed.
bool SendFrame(int fd, FrameType type, const char* data, size_t size);
bool SendFrame(int fd, FrameType type, const std::string& payload);
bool ReceiveFrame(int fd, FrameType& type, std::string& payload);

std::string EncodeRequest(uint32_t routeId, const httplib::Request& req);
// Fills method, version, target, path, headers, params, body and the peer's address.
bool DecodeRequest(const std::string& payload, uint32_t& routeId, httplib::Request& req);

// The head of a response; the kind says whether a content provider goes on after it.
std::string EncodeHead(const httplib::Response& res, BodyKind kind);
bool DecodeHead(const std::string& payload, httplib::Response& res, BodyKind& kind);

// A connected TCP socket to 127.0.0.1:port, or -1.
int ConnectLoopback(int port);

}  // namespace wire
}  // namespace testsupport
