#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace simcam {

// The camera's two clocks, replaceable so that tests need not wait. Safe to use from any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  // The time of day that the camera believes in (UTC).
  virtual std::chrono::system_clock::time_point UtcNow() const;

  // A clock that never jumps, for the movement of the lens.
  virtual std::chrono::steady_clock::time_point SteadyNow() const;
};

// How a camera's clock goes wrong.
struct ClockRules {
  std::chrono::seconds offset{0};                                // ahead of the true time
  std::chrono::seconds gainPerHour{0};                           // since the camera started
  std::chrono::seconds step{0};                                  // stands still between multiples of it; 0: runs
  std::optional<std::chrono::system_clock::time_point> restart;  // what it said when the camera started
};

// A clock that goes wrong. Its movement of the lens is that of the right one.
class BentClock : public Clock {
 public:
  // The right clock must outlive this one; `start` is when the camera started, by the right clock.
  BentClock(const Clock& right, std::chrono::system_clock::time_point start, ClockRules rules)
      : m_right(right), m_start(start), m_rules(rules) {}

  std::chrono::system_clock::time_point UtcNow() const override;
  std::chrono::steady_clock::time_point SteadyNow() const override { return m_right.SteadyNow(); }

 private:
  const Clock& m_right;
  std::chrono::system_clock::time_point m_start;
  ClockRules m_rules;
};

// Reads "YYYY-MM-DDThh:mm:ss", an optional fraction and a final Z. Returns false, and leaves `time` alone, for
// anything else, also for a date or an hour that does not exist.
bool ParseUtc(std::string_view text, std::chrono::system_clock::time_point& time);

}  // namespace simcam
