#include "bench/soaking/controlclient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tests/support/unique_fd.h"

namespace soak {

namespace {

constexpr timeval kPatience{10, 0};
constexpr std::size_t kMostAnswer = std::size_t{64} * 1024;  // bytes

[[noreturn]] void Fail(std::uint16_t port, const std::string& what) {
  throw ControlError("control address on port " + std::to_string(port) + ": " + what);
}

testsupport::UniqueFd Connect(std::uint16_t port) {
  testsupport::UniqueFd connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection.IsOpen()) Fail(port, std::strerror(errno));
  for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    setsockopt(connection.Get(), SOL_SOCKET, direction, &kPatience, sizeof kPatience);
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    Fail(port, std::strerror(errno));
  }
  return connection;
}

// All that comes until the camera ends the connection.
std::string ReceiveAll(const testsupport::UniqueFd& connection) {
  std::string answer;
  std::array<char, 4096> piece{};
  ssize_t count = 0;
  while (answer.size() < kMostAnswer && (count = recv(connection.Get(), piece.data(), piece.size(), 0)) > 0) {
    answer.append(piece.data(), static_cast<std::size_t>(count));
  }
  return answer;
}

}  // namespace

void Tell(std::uint16_t controlPort, const std::string& method, const std::string& target, const std::string& body) {
  const std::string request = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n" +
                              "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  const testsupport::UniqueFd connection = Connect(controlPort);
  if (send(connection.Get(), request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
    Fail(controlPort, std::string("the request was not taken: ") + std::strerror(errno));
  }
  const std::string answer = ReceiveAll(connection);
  if (answer.rfind("HTTP/1.1 200 ", 0) != 0) {
    Fail(controlPort, method + " " + target + " was answered with \"" + answer.substr(0, 300) + "\"");
  }
}

}  // namespace soak
