#include "tests/support/closed_port.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace testsupport {

ClosedPort::ClosedPort() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
      getsockname(m_socket.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::system_error(errno, std::generic_category(), "bind a port of the loopback interface");
  }
  m_port = ntohs(address.sin_port);
}

}  // namespace testsupport
