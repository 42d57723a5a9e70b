#include "camctl/secrets.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

#include "camctl/text.h"
#include "camctl/usageerror.h"

namespace camctl {

namespace {

constexpr std::size_t kLongestPassword = 1024;  // bytes

class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor() {
    if (m_number >= 0) close(m_number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Number() const { return m_number; }
  bool IsOpen() const { return m_number >= 0; }

 private:
  int m_number;
};

// Holds back the signals that would end the program while the terminal is silent; lets them through at its end.
class HeldSignals {
 public:
  HeldSignals() {
    sigemptyset(&m_signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&m_signals, number);
    sigset_t blocked = m_signals;
    sigaddset(&blocked, SIGTSTP);
    pthread_sigmask(SIG_BLOCK, &blocked, &m_before);
  }
  ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  const sigset_t& Signals() const { return m_signals; }

 private:
  sigset_t m_signals{};
  sigset_t m_before{};
};

class SilentTerminal {
 public:
  explicit SilentTerminal(int terminal) : m_terminal(terminal), m_silent(tcgetattr(terminal, &m_before) == 0) {
    termios silent = m_before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    m_silent = m_silent && tcsetattr(m_terminal, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (m_silent) tcsetattr(m_terminal, TCSAFLUSH, &m_before);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  bool IsSilent() const { return m_silent; }

 private:
  int m_terminal;
  termios m_before{};
  bool m_silent;
};

void Show(int terminal, std::string_view text) {
  // A terminal that does not take the prompt can still be read from.
  [[maybe_unused]] const ssize_t written = write(terminal, text.data(), text.size());
}

// One line of a terminal in line mode, or nothing at its end or when a held signal came.
std::optional<std::string> ReadTerminalLine(int terminal, const sigset_t& signals) {
  const Descriptor signalled(signalfd(-1, &signals, SFD_CLOEXEC));
  std::array<pollfd, 2> waited{{{terminal, POLLIN, 0}, {signalled.Number(), POLLIN, 0}}};
  if (poll(waited.data(), waited.size(), -1) < 0 || waited[1].revents != 0) return std::nullopt;
  std::array<char, kLongestPassword> line{};
  const ssize_t length = read(terminal, line.data(), line.size());
  if (length <= 0) return std::nullopt;
  const std::string_view text(line.data(), static_cast<std::size_t>(length));
  return std::string(text.substr(0, text.find('\n')));
}

[[noreturn]] void RefusePasswordFile(const std::string& path, const std::string& reason) {
  throw UsageError("--password-file " + path + ": " + reason);
}

// The first bytes of a file: enough for the longest password and a line end of two bytes.
std::string ReadBeginning(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) RefusePasswordFile(path, std::string("cannot be read: ") + std::strerror(errno));
  std::array<char, kLongestPassword + 2> bytes{};
  std::size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t got = read(file.Number(), bytes.data() + length, bytes.size() - length);
    if (got < 0) RefusePasswordFile(path, std::string("cannot be read: ") + std::strerror(errno));
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  return {bytes.data(), length};
}

// The byte that "%XX" at the beginning of `text` stands for; nothing when there is none.
std::optional<char> DecodedByte(std::string_view text) {
  constexpr std::size_t length = 3;
  constexpr int hexadecimal = 16;
  if (text.size() < length || text.front() != '%') return std::nullopt;
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data() + 1, text.data() + length, value, hexadecimal);
  if (error != std::errc() || end != text.data() + length) return std::nullopt;
  return static_cast<char>(value);
}

// Where the password ends that begins at `begin`, each byte of it as it is or encoded as in an address; `begin` when it
// does not stand there.
std::size_t EndOfPassword(std::string_view text, std::size_t begin, std::string_view password) {
  std::set<std::size_t> places = {begin};  // more than one behind "%25", which may also stand for itself
  for (const char wanted : password) {
    std::set<std::size_t> next;
    for (const std::size_t place : places) {
      const std::string_view rest = text.substr(place);
      if (rest.empty()) continue;
      if (rest.front() == wanted || (rest.front() == '+' && wanted == ' ')) next.insert(place + 1);
      if (DecodedByte(rest) == wanted) next.insert(place + 3);
    }
    if (next.empty()) return begin;
    places = std::move(next);
  }
  return *places.rbegin();
}

}  // namespace

std::string ReadPasswordFile(const std::string& path) {
  std::string line = ReadBeginning(path);
  line.erase(std::min(line.find('\n'), line.size()));
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (line.empty()) RefusePasswordFile(path, "its first line is empty; write the password there");
  if (line.size() > kLongestPassword) RefusePasswordFile(path, "its first line is no password: too long");
  return line;
}

std::optional<std::string> TakeEnvironmentPassword() {
  const char* const value = std::getenv(kPasswordVariable);
  if (value == nullptr) return std::nullopt;
  std::string password(value);
  unsetenv(kPasswordVariable);
  return password;
}

std::optional<std::string> PromptPassword(const std::string& user) {
  const Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (!terminal.IsOpen()) return std::nullopt;
  const HeldSignals held;
  const SilentTerminal silent(terminal.Number());
  if (!silent.IsSilent()) return std::nullopt;
  Show(terminal.Number(), "Password of " + OneLine(user) + ": ");
  std::optional<std::string> password = ReadTerminalLine(terminal.Number(), held.Signals());
  Show(terminal.Number(), "\n");
  return password;
}

std::string HidePassword(const std::string& text, const std::string& password) {
  constexpr std::size_t shortest = 4;
  if (password.size() < shortest) return text;
  std::string hidden;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t end = EndOfPassword(text, place, password);
    if (end == place) {
      hidden += text[place++];
    } else {
      hidden += "********";
      place = end;
    }
  }
  return hidden;
}

}  // namespace camctl
