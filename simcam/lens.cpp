#include "simcam/lens.h"

#include <algorithm>
#include <cmath>

namespace simcam {

namespace {

// The steady clock counts nanoseconds in 64 bits: an unlimited movement is given some years instead of for ever.
constexpr LensAxis::Duration kUnlimited = std::chrono::hours(24 * 365 * 10);

double Clip(double value, const Range& range) {
  return std::clamp(value, range.min, range.max);
}

}  // namespace

LensAxis::LensAxis(Range range, double position)
    : m_range(range), m_start(Clip(position, range)), m_end(Clip(position, range)) {}

void LensAxis::MoveFor(Time now, double rate, Duration duration) {
  m_start = PositionAt(now);
  m_rate = rate;
  m_end = rate > 0 ? m_range.max : m_range.min;
  m_since = now;
  m_duration = duration;
}

void LensAxis::MoveTo(Time now, double target, double rate) {
  m_start = PositionAt(now);
  m_end = Clip(target, m_range);
  m_rate = std::copysign(rate, m_end - m_start);
  m_since = now;
  m_duration = kUnlimited;
}

void LensAxis::Halt(Time now) {
  MoveFor(now, 0, Duration(0));
}

double LensAxis::PositionAt(Time now) const {
  if (m_rate == 0) {
    return m_start;
  }
  const Duration elapsed = std::clamp(now - m_since, Duration(0), m_duration);
  const double travelled = m_rate * std::chrono::duration<double>(elapsed).count();
  return std::abs(travelled) >= std::abs(m_end - m_start) ? m_end : m_start + travelled;
}

bool LensAxis::IsMovingAt(Time now) const {
  return m_rate != 0 && now - m_since < m_duration && PositionAt(now) != m_end;
}

Lens::Lens(const PtzNode& node)
    : m_panTiltRate(node.panTiltRate),
      m_zoomRate(node.zoomRate),
      m_pan(node.pan, node.home.value_or(LensPosition()).pan),
      m_tilt(node.tilt, node.home.value_or(LensPosition()).tilt),
      m_zoom(node.zoom, node.home.value_or(LensPosition()).zoom) {}

void Lens::Continuous(LensAxis::Time now, const LensVelocity& velocity, LensAxis::Duration timeout) {
  if (velocity.panTilt) {
    m_pan.MoveFor(now, velocity.panTilt->x * m_panTiltRate, timeout);
    m_tilt.MoveFor(now, velocity.panTilt->y * m_panTiltRate, timeout);
  }
  if (velocity.zoom) {
    m_zoom.MoveFor(now, *velocity.zoom * m_zoomRate, timeout);
  }
}

void Lens::Relative(LensAxis::Time now, const LensVelocity& translation, const LensSpeed& speed) {
  if (translation.panTilt) {
    m_pan.MoveTo(now, m_pan.PositionAt(now) + translation.panTilt->x, speed.pan * m_panTiltRate);
    m_tilt.MoveTo(now, m_tilt.PositionAt(now) + translation.panTilt->y, speed.tilt * m_panTiltRate);
  }
  if (translation.zoom) {
    m_zoom.MoveTo(now, m_zoom.PositionAt(now) + *translation.zoom, speed.zoom * m_zoomRate);
  }
}

void Lens::Absolute(LensAxis::Time now, const LensPosition& target, const LensSpeed& speed) {
  m_pan.MoveTo(now, target.pan, speed.pan * m_panTiltRate);
  m_tilt.MoveTo(now, target.tilt, speed.tilt * m_panTiltRate);
  m_zoom.MoveTo(now, target.zoom, speed.zoom * m_zoomRate);
}

void Lens::Stop(LensAxis::Time now, bool panTilt, bool zoom) {
  if (panTilt) {
    m_pan.Halt(now);
    m_tilt.Halt(now);
  }
  if (zoom) {
    m_zoom.Halt(now);
  }
}

LensPosition Lens::PositionAt(LensAxis::Time now) const {
  return {m_pan.PositionAt(now), m_tilt.PositionAt(now), m_zoom.PositionAt(now)};
}

bool Lens::IsPanTiltMovingAt(LensAxis::Time now) const {
  return m_pan.IsMovingAt(now) || m_tilt.IsMovingAt(now);
}

bool Lens::IsZoomMovingAt(LensAxis::Time now) const {
  return m_zoom.IsMovingAt(now);
}

}  // namespace simcam
