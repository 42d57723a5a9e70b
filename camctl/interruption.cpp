#include "camctl/interruption.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace camctl {

namespace {

// The handler can reach nothing else; -1 when no Interruption lives.
volatile std::sig_atomic_t g_event = -1;

extern "C" void Note(int /*number*/) {
  const int error = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(g_event, &one, sizeof one);
  errno = error;
}

}  // namespace

Interruption::Interruption() {
  g_event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (g_event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  struct sigaction action {};
  action.sa_handler = &Note;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    struct sigaction& previous = m_previous.at(i);
    sigaction(kSignals.at(i), &action, &previous);
    // nohup, or a shell's job in the background
    if (previous.sa_handler == SIG_IGN) sigaction(kSignals.at(i), &previous, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals.at(i), &m_previous.at(i), nullptr);
  close(g_event);
  g_event = -1;
}

bool Interruption::Wait(std::optional<std::chrono::milliseconds> longest) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + longest.value_or(std::chrono::milliseconds(0));
  pollfd event = {g_event, POLLIN, 0};
  int left = longest ? static_cast<int>(longest->count()) : -1;
  int ready = poll(&event, 1, left);
  // A signal of another kind may end the call early.
  while (ready < 0 && errno == EINTR) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    if (longest) left = rest > 0 ? static_cast<int>(rest) : 0;
    ready = poll(&event, 1, left);
  }
  return ready > 0;
}

}  // namespace camctl
