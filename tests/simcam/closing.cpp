#include "tests/simcam/closing.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "simcam/httpserver.h"

namespace simcamtest {

static_assert(kLongest < std::chrono::seconds(simcam::kIdleSeconds));

bool IsClosedByPeer(int socket) {
  const auto deadline = std::chrono::steady_clock::now() + kLongest;
  std::array<char, 65536> thrownAway{};
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd watched{socket, POLLIN, 0};
    if (left.count() <= 0 || poll(&watched, 1, static_cast<int>(left.count())) <= 0) {
      return false;
    }
    const ssize_t count = recv(socket, thrownAway.data(), thrownAway.size(), 0);
    if (count <= 0) {
      return count == 0 || errno == ECONNRESET;
    }
  }
}

}  // namespace simcamtest
