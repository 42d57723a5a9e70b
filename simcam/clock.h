#pragma once

#include <chrono>
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

// A clock that is off by a constant. Its movement of the lens is that of the right one.
class OffsetClock : public Clock {
 public:
  // The right clock must outlive this one.
  OffsetClock(const Clock& right, std::chrono::seconds offset) : m_right(right), m_offset(offset) {}

  std::chrono::system_clock::time_point UtcNow() const override { return m_right.UtcNow() + m_offset; }
  std::chrono::steady_clock::time_point SteadyNow() const override { return m_right.SteadyNow(); }

 private:
  const Clock& m_right;
  std::chrono::seconds m_offset;
};

// Reads "YYYY-MM-DDThh:mm:ss", an optional fraction and a final Z. Returns false, and leaves `time` alone, for
// anything else, also for a date or an hour that does not exist.
bool ParseUtc(std::string_view text, std::chrono::system_clock::time_point& time);

}  // namespace simcam
