#include "fuzz/rawserver.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <utility>

#include "fuzz/require.h"

namespace camapifuzz {

namespace {

constexpr time_t kPatience_s = 5;  // with a client that does not go

// Bytes as they come; false at the end.
bool Receive(int connection, std::string& received) {
  std::array<char, 4096> buffer;
  const ssize_t size = recv(connection, buffer.data(), buffer.size(), 0);
  if (size <= 0) {
    return false;
  }
  received.append(buffer.data(), static_cast<std::size_t>(size));
  return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

RawServer::RawServer(std::string requestEnd)
    : m_requestEnd(std::move(requestEnd)), m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof(address);
  Require(bind(m_listener.Get(), generic, size) == 0 && listen(m_listener.Get(), 8) == 0 &&
              getsockname(m_listener.Get(), generic, &size) == 0,
          "the rig has a port");
  m_port = ntohs(address.sin_port);
  m_thread = std::thread([this] { Serve(); });
}

RawServer::~RawServer() {
  shutdown(m_listener.Get(), SHUT_RDWR);
  m_thread.join();
}

void RawServer::SetAnswer(std::string_view bytes) {
  const std::lock_guard lock(m_mutex);
  m_answer = bytes;
}

void RawServer::Serve() const {
  while (true) {
    const testsupport::UniqueFd connection(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.IsOpen()) {
      return;
    }
    Converse(connection.Get());
  }
}

void RawServer::Converse(int connection) const {
  const timeval patience{kPatience_s, 0};
  setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  std::string request;
  while (!EndsWith(request, m_requestEnd)) {
    if (!Receive(connection, request)) {
      return;
    }
  }
  std::string answer;
  {
    const std::lock_guard lock(m_mutex);
    answer = m_answer;
  }
  send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
  shutdown(connection, SHUT_WR);
  // The client goes first, so that no reset overtakes the answer.
  while (Receive(connection, request)) {
    request.clear();
  }
}

}  // namespace camapifuzz
