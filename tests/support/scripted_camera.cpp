#include "tests/support/scripted_camera.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <system_error>

namespace testsupport {
namespace {

constexpr std::string_view kHeaderEnd = "\r\n\r\n";
constexpr int kDripPauseMs = 100;

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

sockaddr_storage MakeAddress(const std::string& address, std::uint16_t port, socklen_t& length) {
  sockaddr_storage storage{};
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  v4.sin_port = htons(port);
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  v6.sin6_port = htons(port);
  if (inet_pton(AF_INET, address.c_str(), &v4.sin_addr) == 1) {
    std::memcpy(&storage, &v4, length = sizeof(v4));
  } else if (inet_pton(AF_INET6, address.c_str(), &v6.sin6_addr) == 1) {
    std::memcpy(&storage, &v6, length = sizeof(v6));
  } else {
    throw std::system_error(EINVAL, std::generic_category(), address);
  }
  return storage;
}

/// A socket at the address, port 0: one that the system picks. Several sockets of this program may share the port.
UniqueFd Bind(const std::string& address, std::uint16_t port) {
  socklen_t length = 0;
  const sockaddr_storage storage = MakeAddress(address, port, length);
  UniqueFd bound(socket(storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  Require(bound.IsOpen(), "socket");
  const int on = 1;
  Require(setsockopt(bound.Get(), SOL_SOCKET, SO_REUSEPORT, &on, sizeof(on)) == 0, "setsockopt");
  Require(bind(bound.Get(), reinterpret_cast<const sockaddr*>(&storage), length) == 0, "bind");
  return bound;
}

UniqueFd Listen(const std::string& address, std::uint16_t port) {
  UniqueFd listener = Bind(address, port);
  Require(listen(listener.Get(), SOMAXCONN) == 0, "listen");
  return listener;
}

std::uint16_t PortOf(const UniqueFd& bound) {
  sockaddr_storage storage{};
  socklen_t length = sizeof(storage);
  Require(getsockname(bound.Get(), reinterpret_cast<sockaddr*>(&storage), &length) == 0, "getsockname");
  // The port stands at the same place in both families.
  sockaddr_in address{};
  std::memcpy(&address, &storage, sizeof(address));
  return ntohs(address.sin_port);
}

/// Cuts the first whole request from `input`; nothing when it has not come whole.
std::optional<HttpRequest> CutRequest(std::string& input) {
  const std::size_t headerEnd = input.find(kHeaderEnd);
  if (headerEnd == std::string::npos) return std::nullopt;
  HttpRequest request;
  const std::size_t lineEnd = input.find("\r\n");
  const std::string line = input.substr(0, lineEnd);
  request.method = line.substr(0, line.find(' '));
  request.target = line.substr(std::min(request.method.size() + 1, line.size()));
  request.target.erase(std::min(request.target.rfind(' '), request.target.size()));
  if (lineEnd < headerEnd) request.headers = input.substr(lineEnd + 2, headerEnd - lineEnd);
  const std::size_t bodyStart = headerEnd + kHeaderEnd.size();
  const std::size_t bodySize = std::strtoul(request.Header("Content-Length").c_str(), nullptr, 10);
  if (input.size() - bodyStart < bodySize) return std::nullopt;
  request.body = input.substr(bodyStart, bodySize);
  request.raw = input.substr(0, bodyStart + bodySize);
  input.erase(0, request.raw.size());
  return request;
}

void ResetOnClose(int socket) {
  const linger atOnce{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

}  // namespace

std::string HttpRequest::Header(std::string_view name) const {
  const std::string wanted = LowerCase(name) + ":";
  std::string_view rest = headers;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find("\r\n"));
    if (LowerCase(line.substr(0, wanted.size())) == wanted) return std::string(Trim(line.substr(wanted.size())));
    rest.remove_prefix(std::min(line.size() + 2, rest.size()));
  }
  return {};
}

Reply Reply::Ok(std::string_view body, std::string_view extraHeaders) {
  return Status(200, body, extraHeaders);
}

Reply Reply::Status(int status, std::string_view body, std::string_view extraHeaders) {
  std::string bytes = "HTTP/1.1 " + std::to_string(status) + (status == 200 ? " OK" : " Refused") + "\r\n";
  bytes += "Content-Type: application/soap+xml; charset=utf-8\r\n";
  bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  bytes += std::string(extraHeaders) + "\r\n" + std::string(body);
  return {bytes, End::kKeepOpen};
}

Reply Reply::Raw(std::string_view bytes, End end) {
  return {std::string(bytes), end};
}
Reply Reply::Close() {
  return {"", End::kClose};
}
Reply Reply::Reset() {
  return {"", End::kReset};
}
Reply Reply::ResetAfter(std::string_view bytes) {
  return {std::string(bytes), End::kReset};
}
Reply Reply::Stall() {
  return {"", End::kStall};
}
Reply Reply::StallAfter(std::string_view bytes) {
  return {std::string(bytes), End::kStall};
}
Reply Reply::Drip(std::string_view bytes) {
  return {std::string(bytes), End::kDrip};
}
Reply Reply::Stream(std::string_view bytes, std::function<std::string()> next) {
  return {std::string(bytes), End::kKeepOpen, std::move(next)};
}

Reply Reply::ThenClose() const {
  return {bytes, End::kClose};
}

Reply LastOnConnection(Reply reply) {
  reply.bytes.insert(reply.bytes.find(kHeaderEnd), "\r\nConnection: close");
  return reply;
}

ScriptedCamera::ScriptedCamera(const std::string& address)
    : m_address(address),
      m_reserved(Bind(address, 0)),
      m_port(PortOf(m_reserved)),
      m_listener(Listen(address, m_port)),
      m_stop(eventfd(0, EFD_CLOEXEC)),
      m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  Require(m_stop.IsOpen() && m_wake.IsOpen(), "eventfd");
  m_thread = std::thread([this] { Serve(); });
}

ScriptedCamera::~ScriptedCamera() {
  eventfd_write(m_stop.Get(), 1);
  m_thread.join();
}

void ScriptedCamera::Answer(Reply reply) {
  const std::lock_guard lock(m_mutex);
  m_script.push_back(std::move(reply));
}

void ScriptedCamera::AnswerAll(Answerer answerer) {
  const std::lock_guard lock(m_mutex);
  m_answerer = std::move(answerer);
}

void ScriptedCamera::SetDoor(Door door) {
  if (std::this_thread::get_id() == m_thread.get_id()) {
    ApplyDoor(door);
    return;
  }
  std::unique_lock lock(m_mutex);
  m_wantedDoor = door;
  eventfd_write(m_wake.Get(), 1);
  m_doorTurned.wait(lock, [this] { return !m_wantedDoor; });
}

std::vector<HttpRequest> ScriptedCamera::Requests() const {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

int ScriptedCamera::Connections() const {
  const std::lock_guard lock(m_mutex);
  return m_accepted;
}

int ScriptedCamera::Unexpected() const {
  const std::lock_guard lock(m_mutex);
  return m_unexpected;
}

int ScriptedCamera::Unused() const {
  const std::lock_guard lock(m_mutex);
  return static_cast<int>(m_script.size());
}

void ScriptedCamera::Serve() {
  while (true) {
    std::vector<pollfd> polled{
        {m_stop.Get(), POLLIN, 0}, {m_listener.Get(), POLLIN, 0}, {m_wake.Get(), POLLIN, 0}};  // -1 is passed over
    const std::size_t fixed = polled.size();
    for (const Connection& connection : m_connections) polled.push_back({connection.socket.Get(), POLLIN, 0});
    const int ready = poll(polled.data(), polled.size(), Drips() ? kDripPauseMs : -1);
    if (polled[0].revents != 0) return;
    if (ready == 0) DripAll();
    std::vector<Connection> kept;
    for (std::size_t i = 0; i < m_connections.size(); ++i) {
      if (polled[i + fixed].revents == 0 || Receive(m_connections[i])) kept.push_back(std::move(m_connections[i]));
    }
    m_connections = std::move(kept);
    if (polled[1].revents != 0) Accept();
    if (polled[2].revents != 0) TurnDoor();
  }
}

bool ScriptedCamera::Drips() const {
  return std::any_of(m_connections.begin(), m_connections.end(),
                     [](const Connection& connection) { return !connection.drip.empty() || connection.next; });
}

void ScriptedCamera::DripAll() {
  for (Connection& connection : m_connections) {
    if (connection.next) Send(connection.socket.Get(), connection.next());
    if (connection.drip.empty()) continue;
    send(connection.socket.Get(), connection.drip.data(), 1, MSG_NOSIGNAL);
    connection.drip.erase(0, 1);
  }
}

void ScriptedCamera::TurnDoor() {
  eventfd_t count = 0;
  eventfd_read(m_wake.Get(), &count);
  const std::lock_guard lock(m_mutex);
  if (!m_wantedDoor) return;
  ApplyDoor(*m_wantedDoor);
  m_wantedDoor.reset();
  m_doorTurned.notify_all();
}

void ScriptedCamera::ApplyDoor(Door door) {
  if (door == Door::kClosed) {
    m_listener = UniqueFd();
  } else if (!m_listener.IsOpen()) {
    m_listener = Listen(m_address, m_port);
  }
  m_door = door;
}

void ScriptedCamera::Accept() {
  UniqueFd socket(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!socket.IsOpen()) return;
  const std::lock_guard lock(m_mutex);
  ++m_accepted;
  if (m_door == Door::kResets) {
    ResetOnClose(socket.Get());
    return;
  }
  m_connections.push_back({std::move(socket), {}, false, {}, {}});
}

/// False when the connection is over.
bool ScriptedCamera::Receive(Connection& connection) {
  std::array<char, 65536> buffer;
  const ssize_t size = recv(connection.socket.Get(), buffer.data(), buffer.size(), 0);
  if (size < 0) return errno == EAGAIN || errno == EINTR;
  if (size == 0) return false;
  connection.input.append(buffer.data(), static_cast<std::size_t>(size));
  return AnswerPending(connection);
}

bool ScriptedCamera::AnswerPending(Connection& connection) {
  while (!connection.stalled) {
    const std::optional<HttpRequest> request = CutRequest(connection.input);
    if (!request) return true;
    if (!Play(connection, NextReply(*request))) return false;
  }
  return true;
}

Reply ScriptedCamera::NextReply(const HttpRequest& request) {
  Answerer answerer;
  {
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
    if (!m_script.empty()) {
      Reply reply = std::move(m_script.front());
      m_script.pop_front();
      return reply;
    }
    answerer = m_answerer;
    if (!answerer) ++m_unexpected;
  }
  // Outside the lock, so that it may ask the camera.
  return answerer ? answerer(request) : Reply::Status(500);
}

bool ScriptedCamera::Play(Connection& connection, const Reply& reply) {
  const int socket = connection.socket.Get();
  if (reply.end == Reply::End::kDrip) {
    connection.drip = reply.bytes;
  } else if (!Send(socket, reply.bytes)) {
    return false;
  }
  if (reply.next) connection.next = reply.next;
  if (reply.end == Reply::End::kReset) ResetOnClose(socket);
  connection.stalled = reply.end == Reply::End::kStall || reply.end == Reply::End::kDrip;
  return reply.end == Reply::End::kKeepOpen || connection.stalled;
}

/// False when the client, or the camera, went before all was sent.
bool ScriptedCamera::Send(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
      continue;
    }
    if (errno != EAGAIN && errno != EINTR) return false;
    std::array<pollfd, 2> polled{pollfd{m_stop.Get(), POLLIN, 0}, pollfd{socket, POLLOUT, 0}};
    poll(polled.data(), polled.size(), -1);
    if (polled[0].revents != 0) return false;
  }
  return true;
}

}  // namespace testsupport
