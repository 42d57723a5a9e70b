#include "bench/canned_camera.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "tests/support/unique_fd.h"

namespace bench {

using testsupport::UniqueFd;

struct CannedCounts {
  std::atomic<long> connections{0};
  std::atomic<long> requests{0};
  std::atomic<long> answerBytes{0};
};

namespace {

constexpr char kEndOfHead[] = "\r\n\r\n";
constexpr char kLength[] = "Content-Length: ";  // as libcurl writes it
constexpr int kWaiting = 4096;                  // connections that nobody has accepted yet
constexpr int kEvents = 256;                    // at a time

int Checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

std::string HttpAnswer(const std::string& status, const std::string& body) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: application/soap+xml; charset=utf-8\r\n" + kLength +
         std::to_string(body.size()) + kEndOfHead + body;
}

/// The name of the first element in the Body of a request.
std::string OperationOf(const std::string& request) {
  const std::size_t body = request.find(":Body");
  const std::size_t start = body == std::string::npos ? body : request.find('<', body);
  if (start == std::string::npos) return {};
  return request.substr(start + 1, request.find_first_of(" />", start + 1) - start - 1);
}

/// The bytes of the first request in what was received; 0 while it is not whole.
std::size_t SizeOfRequest(const std::string& received) {
  const std::size_t head = received.find(kEndOfHead);
  if (head == std::string::npos) return 0;
  const std::size_t field = received.find(kLength);
  const std::size_t body = field < head ? std::strtoul(received.c_str() + field + sizeof kLength - 1, nullptr, 10) : 0;
  const std::size_t size = head + sizeof kEndOfHead - 1 + body;
  return received.size() < size ? 0 : size;
}

/// What the camera's process does until it is ended.
class Server {
 public:
  Server(UniqueFd listener, const Answers& answers, CannedCounts& counts)
      : m_listener(std::move(listener)),
        m_epoll(Checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
        m_counts(counts) {
    for (const auto& [operation, envelope] : answers) m_answers[operation] = HttpAnswer("200 OK", envelope);
    Watch(m_listener.Get());
  }

  [[noreturn]] void Run() {
    std::array<epoll_event, kEvents> events{};
    for (;;) {
      const int count = epoll_wait(m_epoll.Get(), events.data(), kEvents, -1);
      for (int i = 0; i < count; ++i) {
        const int fd = events[static_cast<std::size_t>(i)].data.fd;
        fd == m_listener.Get() ? Accept() : Serve(fd);
      }
    }
  }

 private:
  struct Client {
    UniqueFd socket;
    std::string received;
  };

  void Watch(int fd) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    Checked(epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, fd, &event), "epoll_ctl");
  }

  void Accept() {
    UniqueFd socket(Checked(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC), "accept4"));
    const int one = 1;
    Checked(setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &one, sizeof one), "TCP_NODELAY");
    Watch(socket.Get());
    ++m_counts.connections;
    const int fd = socket.Get();
    m_clients[fd].socket = std::move(socket);
  }

  void Serve(int fd) {
    std::array<char, 65536> bytes{};
    const ssize_t count = recv(fd, bytes.data(), bytes.size(), 0);
    Client& client = m_clients.at(fd);
    if (count > 0) client.received.append(bytes.data(), static_cast<std::size_t>(count));
    if (count <= 0 || !Answer(client)) m_clients.erase(fd);
  }

  /// False when the client has gone.
  bool Answer(Client& client) {
    while (const std::size_t size = SizeOfRequest(client.received)) {
      const auto found = m_answers.find(OperationOf(client.received));
      const std::string& answer = found == m_answers.end() ? m_unknown : found->second;
      ++m_counts.requests;
      m_counts.answerBytes += static_cast<long>(answer.size());
      if (!Send(client.socket.Get(), answer)) return false;
      client.received.erase(0, size);
    }
    return true;
  }

  static bool Send(int fd, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count < 0) return false;
      sent += static_cast<std::size_t>(count);
    }
    return true;
  }

  const UniqueFd m_listener;
  const UniqueFd m_epoll;
  CannedCounts& m_counts;
  Answers m_answers;  // with the head of HTTP
  const std::string m_unknown = HttpAnswer("500 Internal Server Error", "");
  std::map<int, Client> m_clients;
};

UniqueFd Listen() {
  UniqueFd socket(Checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Checked(bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
  Checked(listen(socket.Get(), kWaiting), "listen");
  return socket;
}

int PortOf(const UniqueFd& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  Checked(getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  return ntohs(address.sin_port);
}

CannedCounts* MakeCounts() {
  void* const memory = mmap(nullptr, sizeof(CannedCounts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
  return new (memory) CannedCounts;
}

/// The camera's process, from its first to its last step. Nothing of its parent's is run in it.
[[noreturn]] void Serve(pid_t parent, UniqueFd listener, const Answers& answers, CannedCounts& counts) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(0);
  try {
    Server(std::move(listener), answers, counts).Run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "the camera: %s\n", error.what());
  }
  _exit(1);
}

}  // namespace

void CannedCamera::Unmap::operator()(CannedCounts* counts) const {
  munmap(counts, sizeof(CannedCounts));
}

CannedCamera::CannedCamera(const Answers& answers) : m_counts(MakeCounts()) {
  UniqueFd listener = Listen();
  m_port = PortOf(listener);
  const pid_t parent = getpid();
  m_process = Checked(fork(), "fork");
  if (m_process == 0) Serve(parent, std::move(listener), answers, *m_counts);
}

CannedCamera::~CannedCamera() {
  kill(m_process, SIGKILL);
  waitpid(m_process, nullptr, 0);
}

long CannedCamera::Connections() const {
  return m_counts->connections;
}

long CannedCamera::Requests() const {
  return m_counts->requests;
}

long CannedCamera::AnswerBytes() const {
  return m_counts->answerBytes;
}

}  // namespace bench
