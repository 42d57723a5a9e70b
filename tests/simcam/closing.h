// Whether the camera ends a connection.
#pragma once

#include <chrono>

namespace simcamtest {

// To wait for what must come. Less than the 15 seconds after which the camera ends a silent connection by itself.
constexpr std::chrono::seconds kLongest{10};

// True when the other side of the socket ends the connection within kLongest; what comes before is thrown away.
bool IsClosedByPeer(int socket);

}  // namespace simcamtest
