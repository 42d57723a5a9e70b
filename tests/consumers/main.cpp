// A server that is built against the library: makes a driver and tests the connection to a camera that is not there.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>

#include "onvif/camapi-onvif.h"
#include "platform/cameraapi.h"
#include "platform/cameraresult.h"

namespace {

// A port that nobody listens on, and that nobody else gets while this lives.
class ClosedPort {
 public:
  ClosedPort() {
    m_address.sin_family = AF_INET;
    m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(m_socket, reinterpret_cast<sockaddr*>(&m_address), m_size);
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&m_address), &m_size);
  }
  ~ClosedPort() { close(m_socket); }
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  int Number() const { return ntohs(m_address.sin_port); }

 private:
  int m_socket = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in m_address{};
  socklen_t m_size = sizeof(m_address);
};

}  // namespace

int main() {
  const ClosedPort port;
  CameraCap cap(CameraCap::MAP{{"media_entry", "/onvif/media"}});
  ONVIFAPI driver("127.0.0.1", port.Number(), "user", "secret", "main,live", cap);
  CameraAPI& camera = driver;
  const int result = camera.TestConn();
  std::printf("TestConn of a closed port: %d\n", result);
  return result == CAMERA_UNREACHABLE ? 0 : 1;
}
