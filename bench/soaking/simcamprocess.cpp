#include "bench/soaking/simcamprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace soak {

namespace {

constexpr int kReady_ms = 60000;  // longest wait for a line of the program
constexpr int kEnd_ms = 60000;    // longest wait for its end, before it is killed

bool IsReadable(int descriptor, int timeout_ms) {
  pollfd entry{descriptor, POLLIN, 0};
  return poll(&entry, 1, timeout_ms) == 1;
}

// In the child: only what is safe between fork and exec.
[[noreturn]] void Become(const std::vector<char*>& arguments, int output, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(1);  // it ended before the line above
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  dup2(output, STDOUT_FILENO);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

std::uint16_t PortIn(const std::string& line, const std::string& before) {
  const std::string start = before + "http://127.0.0.1:";
  const std::size_t place = line.find(start);
  return place == std::string::npos
             ? std::uint16_t{0}
             : static_cast<std::uint16_t>(std::strtoul(line.c_str() + place + start.size(), nullptr, 10));
}

}  // namespace

SimcamProcess::SimcamProcess(const std::string& program, const std::string& model, int count) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw SimcamError(std::strerror(errno));
  m_output = testsupport::UniqueFd(ends[0]);
  testsupport::UniqueFd input(ends[1]);
  std::vector<std::string> texts = {program,     "--model",        model, "--count", std::to_string(count),
                                    "--no-rtsp", "--control-port", "0"};
  std::vector<char*> arguments;
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  setenv("SIMCAM_PASSWORD", kFirstPassword, 1);
  const pid_t parent = getpid();
  m_pid = fork();
  if (m_pid == 0) Become(arguments, input.Get(), parent);
  if (m_pid == -1) throw SimcamError(std::strerror(errno));
  input = testsupport::UniqueFd();  // the output ends with the program
  m_process = testsupport::UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)));
  try {
    if (m_process.Get() < 0) throw SimcamError("the simulated cameras cannot be watched: no pidfd_open here");
    ReadPorts(program, count);
  } catch (const SimcamError&) {
    End();
    throw;
  }
}

SimcamProcess::~SimcamProcess() {
  End();
}

void SimcamProcess::End() {
  kill(m_pid, SIGTERM);
  const bool watched = m_process.Get() >= 0;
  if (!watched || !IsReadable(m_process.Get(), kEnd_ms)) kill(m_pid, SIGKILL);
  waitpid(m_pid, nullptr, 0);
}

bool SimcamProcess::IsRunning() const {
  return !IsReadable(m_process.Get(), 0);
}

std::string SimcamProcess::ReadLine() {
  std::size_t end = 0;
  while ((end = m_unread.find('\n')) == std::string::npos) {
    std::array<char, 4096> piece{};
    const ssize_t count =
        IsReadable(m_output.Get(), kReady_ms) ? read(m_output.Get(), piece.data(), piece.size()) : ssize_t{0};
    if (count <= 0) return {};
    m_unread.append(piece.data(), static_cast<std::size_t>(count));
  }
  std::string line = m_unread.substr(0, end);
  m_unread.erase(0, end + 1);
  return line;
}

void SimcamProcess::ReadPorts(const std::string& program, int count) {
  CameraPorts ports;
  while (m_cameras.size() < static_cast<std::size_t>(count)) {
    const std::string line = ReadLine();
    if (line.empty()) throw SimcamError(program + " did not come up; is it the program simcam?");
    if (const std::uint16_t service = PortIn(line, "listening on ")) ports.service = service;
    ports.control = PortIn(line, "control on ");
    if (ports.control != 0) m_cameras.push_back(ports);
  }
}

}  // namespace soak
