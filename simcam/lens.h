// The moving part of a PTZ camera. A lens knows where it started, how fast each axis goes and where it must stop;
// where it is now follows from the time that is asked for, so that nothing ticks in the background.
#pragma once

#include <chrono>
#include <optional>

#include "simcam/model.h"

namespace simcam {

// One axis: a straight movement from a place, at a rate, inside a range, for a limited time.
class LensAxis {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  // `range` is where the axis can be at all, in position units.
  LensAxis(Range range, double position);

  // Moves at `rate` (position units per second, the sign is the direction) until the range or the duration ends.
  void MoveFor(Time now, double rate, Duration duration);

  // Moves to `target`, clipped to the range, at the absolute `rate`.
  void MoveTo(Time now, double target, double rate);

  void Halt(Time now);

  double PositionAt(Time now) const;

  // True while the axis changes its place.
  bool IsMovingAt(Time now) const;

 private:
  Range m_range;
  double m_start;
  double m_rate = 0;
  double m_end;
  Time m_since{};
  Duration m_duration{0};
};

// How fast a move to a place goes, 0 to 1 of what the axis can.
struct LensSpeed {
  double pan = 1;
  double tilt = 1;
  double zoom = 1;
};

// Velocities or translations asked of the axes, -1 to 1; an axis without a value keeps doing what it does.
struct LensVelocity {
  struct PanTilt {
    double x = 0;
    double y = 0;
  };
  std::optional<PanTilt> panTilt;
  std::optional<double> zoom;
};

// Pan, tilt and zoom together. Not thread-safe: the camera's state guards it.
class Lens {
 public:
  // Starts at the home position, or where all axes are nearest to zero.
  explicit Lens(const PtzNode& node);

  void Continuous(LensAxis::Time now, const LensVelocity& velocity, LensAxis::Duration timeout);

  // Moves by `translation` from where the lens is now; the target is clipped to the limits.
  void Relative(LensAxis::Time now, const LensVelocity& translation, const LensSpeed& speed);

  void Absolute(LensAxis::Time now, const LensPosition& target, const LensSpeed& speed);

  void Stop(LensAxis::Time now, bool panTilt, bool zoom);

  LensPosition PositionAt(LensAxis::Time now) const;
  bool IsPanTiltMovingAt(LensAxis::Time now) const;
  bool IsZoomMovingAt(LensAxis::Time now) const;

 private:
  double m_panTiltRate;
  double m_zoomRate;
  LensAxis m_pan;
  LensAxis m_tilt;
  LensAxis m_zoom;
};

}  // namespace simcam
