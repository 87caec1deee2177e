// Further routes of the loopback server for body delivery, faults and measurement.
//
//   /chunked/N?piece=P      N bytes of ContentByte in chunked encoding, chunks of P bytes (4096)
//   /chunkdrop/N?piece=P    the same, broken off after N bytes: no last chunk, connection dropped
//   /paced/N?bps=B          N bytes with Content-Length, sent in 20 ms pieces on a fixed
//                           schedule so that the body flows at B bits a second
#pragma once

#include "LoopbackServer.h"

namespace testsupport {

void AddStreamRoutes(LoopbackServer& server);

}  // namespace testsupport
