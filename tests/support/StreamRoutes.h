// Further routes of the loopback server for body delivery, faults and measurement; they are
// listed in server/RouteServer.h.
#pragma once

#include "LoopbackServer.h"

namespace testsupport {

inline void AddStreamRoutes(LoopbackServer& server) { server.AddStreamRoutes(); }

}  // namespace testsupport
