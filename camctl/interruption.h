#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <optional>

namespace camctl {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP does not end the program but ends `Wait`. A second one of the
/// same kind acts as it did before, and one that was ignored stays ignored. One object at a time.
class Interruption {
 public:
  /// Throws std::system_error when the system has no descriptors left.
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Waits for a signal, also one that came already, at most `longest`; without it as long as it takes.
  /// \return whether a signal came
  bool Wait(std::optional<std::chrono::milliseconds> longest);

 private:
  static constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};

  std::array<struct sigaction, kSignals.size()> m_previous{};
};

}  // namespace camctl
