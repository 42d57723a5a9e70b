#include "tests/support/private_log.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <system_error>

#include "tests/support/unique_fd.h"

namespace testsupport {
namespace {

namespace fs = std::filesystem;

void Require(bool succeeded, const std::string& what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

/// Reads /dev/log all the time, because the system queues few datagrams there and `syslog` would wait for room.
class SyslogReader {
 public:
  explicit SyslogReader(UniqueFd socket) : m_socket(std::move(socket)), m_stop(eventfd(0, EFD_CLOEXEC)) {
    Require(m_stop.IsOpen(), "eventfd");
    // Not std::thread: a forked child has no thread that points to that one's state, and leak checkers see it lost.
    errno = pthread_create(&m_thread, nullptr, &SyslogReader::Entry, this);
    Require(errno == 0, "pthread_create");
  }

  ~SyslogReader() {
    eventfd_write(m_stop.Get(), 1);
    pthread_join(m_thread, nullptr);
  }

  SyslogReader(const SyslogReader&) = delete;
  SyslogReader& operator=(const SyslogReader&) = delete;

  std::vector<std::string> Take() {
    const std::lock_guard lock(m_mutex);
    // What a finished `syslog` call sent is in the queue already, whether or not the thread has woken up.
    Drain();
    return std::exchange(m_datagrams, {});
  }

 private:
  static void* Entry(void* reader) {
    static_cast<SyslogReader*>(reader)->Run();
    return nullptr;
  }

  void Run() {
    std::array<pollfd, 2> polled{pollfd{m_stop.Get(), POLLIN, 0}, pollfd{m_socket.Get(), POLLIN, 0}};
    while (true) {
      poll(polled.data(), polled.size(), -1);
      if (polled[0].revents != 0) return;
      const std::lock_guard lock(m_mutex);
      Drain();
    }
  }

  void Drain() {
    std::array<char, 65536> datagram;
    ssize_t size = 0;
    while ((size = recv(m_socket.Get(), datagram.data(), datagram.size(), MSG_DONTWAIT)) >= 0) {
      m_datagrams.emplace_back(datagram.data(), static_cast<std::size_t>(size));
    }
  }

  UniqueFd m_socket;
  UniqueFd m_stop;
  std::mutex m_mutex;
  std::vector<std::string> m_datagrams;
  pthread_t m_thread{};
};

std::string g_reason = "EnterPrivateLog was not called";
std::unique_ptr<SyslogReader> g_reader;

void WriteWhole(const std::string& path, const std::string& text) {
  const UniqueFd file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  Require(file.IsOpen() && write(file.Get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()),
          "write " + path);
}

/// For users who are not root: a user namespace in which they may mount, with their own ids unchanged.
void UnshareAsUser() {
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  Require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare user and mount namespaces");
  WriteWhole("/proc/self/setgroups", "deny");
  WriteWhole("/proc/self/uid_map", user + " " + user + " 1");
  WriteWhole("/proc/self/gid_map", group + " " + group + " 1");
}

void EnterMountNamespace() {
  if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0) UnshareAsUser();
  Require(mount("none", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
}

void MountTmpfs(const char* path) {
  Require(mount("tmpfs", path, "tmpfs", MS_NOSUID, "mode=0755") == 0, std::string("mount a tmpfs on ") + path);
}

/// What programs expect in /dev. Those that the machine has are bound into the private one.
constexpr std::array kDevices{"null", "zero", "full", "random", "urandom", "tty", "shm", "pts"};

std::map<std::string, UniqueFd> OpenDevices() {
  std::map<std::string, UniqueFd> devices;
  for (const char* name : kDevices) {
    UniqueFd device(open((std::string("/dev/") + name).c_str(), O_PATH | O_CLOEXEC));
    if (device.IsOpen()) devices.emplace(name, std::move(device));
  }
  return devices;
}

void BindDevice(const std::string& name, const UniqueFd& device) {
  const std::string target = "/dev/" + name;
  const std::string source = "/proc/self/fd/" + std::to_string(device.Get());
  if (fs::is_directory(source)) {
    fs::create_directory(target);
  } else {
    Require(UniqueFd(open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)).IsOpen(), "create " + target);
  }
  Require(mount(source.c_str(), target.c_str(), "", MS_BIND | MS_REC, nullptr) == 0, "bind " + target);
}

void BuildPrivateDev() {
  const std::map<std::string, UniqueFd> devices = OpenDevices();
  MountTmpfs("/dev");
  for (const auto& [name, device] : devices) BindDevice(name, device);
  fs::create_directory_symlink("/proc/self/fd", "/dev/fd");
}

UniqueFd BindSyslogSocket() {
  UniqueFd socketFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  Require(socketFd.IsOpen(), "socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/dev/log");
  Require(bind(socketFd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, "bind /dev/log");
  Require(chmod("/dev/log", 0666) == 0, "chmod /dev/log");
  return socketFd;
}

/// "<11>Nov  5 13:07:42 program: text", as the C library sends it. What does not look so is all text, priority -1.
SyslogMessage ParseSyslog(const std::string& datagram) {
  constexpr std::size_t kTimeLength = sizeof("Nov  5 13:07:42 ") - 1;
  const std::size_t close = datagram.find('>');
  const std::size_t colon = close == std::string::npos ? close : datagram.find(": ", close + 1 + kTimeLength);
  if (datagram.empty() || datagram[0] != '<' || colon == std::string::npos) return {-1, datagram};
  return {std::stoi(datagram.substr(1, close - 1)), datagram.substr(colon + 2)};
}

}  // namespace

void EnterPrivateLog() {
  try {
    EnterMountNamespace();
    MountTmpfs("/var/log");
    BuildPrivateDev();
    g_reader = std::make_unique<SyslogReader>(BindSyslogSocket());
    g_reason.clear();
  } catch (const std::exception& refused) {
    g_reason = std::string("no private /var/log and /dev/log here: ") + refused.what();
  }
}

void LeavePrivateLog() {
  g_reader.reset();
}

std::string PrivateLogReason() {
  return g_reason;
}

std::string LogText() {
  if (!g_reason.empty() || !fs::is_regular_file(kLogPath)) return {};
  std::ifstream file(kLogPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> LogLines() {
  std::istringstream text(LogText());
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

void ClearLog() {
  if (!g_reason.empty()) return;
  for (const auto& entry : fs::directory_iterator("/var/log")) fs::remove_all(entry.path());
  g_reader->Take();
}

std::vector<SyslogMessage> SyslogMessages() {
  std::vector<SyslogMessage> messages;
  if (g_reader == nullptr) return messages;
  for (const std::string& datagram : g_reader->Take()) messages.push_back(ParseSyslog(datagram));
  return messages;
}

}  // namespace testsupport
