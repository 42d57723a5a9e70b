// What came of all the calls.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "bench/soaking/troubles.h"

namespace soak {

// Safe to use from several threads.
class Tally {
 public:
  void CountResult(int result);
  void CountTrouble(std::size_t index) { ++m_troubles.at(index); }

  // A result that must not be, or a camera that cannot be told. Goes to standard error, unless there were very many.
  void CountWrong(const std::string& text);

  // From now on nothing counts as wrong: the cameras may be gone.
  void Close() { m_isClosed = true; }

  std::uint64_t Calls() const;
  std::uint64_t Troubles() const;
  std::uint64_t Wrong() const { return m_wrong; }

  // "0: 1234, 1: 12, ...", and the troubles with how often each came.
  std::string ResultText() const;
  std::string TroubleText() const;

 private:
  static constexpr std::size_t kCodes = 9;  // 0 to 7, and all others

  std::array<std::atomic<std::uint64_t>, kCodes> m_results{};
  std::array<std::atomic<std::uint64_t>, kTroubleCount> m_troubles{};
  std::atomic<std::uint64_t> m_wrong{0};
  std::atomic<bool> m_isClosed{false};
  std::mutex m_output;
};

}  // namespace soak
