#include "simcam/ptzarguments.h"

#include <strings.h>

#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "simcam/namespaces.h"
#include "simcam/ptzspaces.h"
#include "simcam/soapfault.h"
#include "simcam/xmlwriter.h"

namespace simcam {

namespace {

// What one kind of vector may hold, and how its misuse is called.
struct VectorRules {
  Range range;
  bool AxisMoves::*move;  // how an axis must be movable
  const char* panTiltSpace;
  const char* zoomSpace;
  const char* subcode;
};

constexpr VectorRules kVelocity = {
    {-1, 1}, &AxisMoves::continuous, spaces::kPanTiltVelocity, spaces::kZoomVelocity, "InvalidVelocity"};
constexpr VectorRules kTranslation = {
    {-1, 1}, &AxisMoves::relative, spaces::kPanTiltTranslation, spaces::kZoomTranslation, "InvalidTranslation"};
constexpr VectorRules kSpeed = {{0, 1}, nullptr, spaces::kPanTiltSpeed, spaces::kZoomSpeed, "InvalidSpeed"};

double ReadCoordinate(const XmlElement& vector, const char* name, const VectorRules& limits, double scale) {
  const std::optional<double> value = ParseNumber(vector.Attribute(name).value_or(""));
  if (!value || *value < limits.range.min * scale || *value > limits.range.max * scale) {
    throw InvalidArgument(limits.subcode, std::string(vector.Name()) + " has no " + name + " within the range");
  }
  return *value / scale;
}

void CheckSpace(const XmlElement& vector, const char* space, const CallRules& rules) {
  const std::string given = vector.Attribute("space").value_or(space);
  if (given != space && !(rules.ignoresSpaceCase && strcasecmp(given.c_str(), space) == 0)) {
    throw InvalidArgument("SpaceNotSupported", "the lens does not know the space " + given);
  }
}

LensVelocity ReadVector(const XmlElement& element, const VectorRules& limits, const CallRules& rules) {
  LensVelocity vector;
  const XmlElement panTilt = element.Child(ns::kSchema, "PanTilt");
  if (panTilt.Exists()) {
    CheckSpace(panTilt, limits.panTiltSpace, rules);
    vector.panTilt = {ReadCoordinate(panTilt, "x", limits, rules.vectorScale),
                      ReadCoordinate(panTilt, "y", limits, rules.vectorScale)};
  }
  const XmlElement zoom = element.Child(ns::kSchema, "Zoom");
  if (zoom.Exists()) {
    CheckSpace(zoom, limits.zoomSpace, rules);
    vector.zoom = ReadCoordinate(zoom, "x", limits, rules.vectorScale);
  }
  return vector;
}

// Zeros for axes that cannot be moved in this way ask for nothing and are left out; clients that always name both
// groups send them. Anything else is refused.
template <typename Group>
void DropOrCheck(std::optional<Group>& group, bool isZero, bool isMovable) {
  if (!group || isMovable) {
    return;
  }
  if (!isZero) {
    throw InvalidArgument("SpaceNotSupported", "the lens cannot be moved in this way");
  }
  group.reset();
}

void ScaleVector(LensVelocity& vector, double factor) {
  if (vector.panTilt) {
    vector.panTilt = {factor * vector.panTilt->x, factor * vector.panTilt->y};
  }
  if (vector.zoom) {
    vector.zoom = factor * *vector.zoom;
  }
}

// A move that is left without any axis would move nothing and must not be answered as if it had.
LensVelocity ReadMove(const XmlElement& element, const VectorRules& limits, const PtzNode& node,
                      const CallRules& rules) {
  LensVelocity vector = ReadVector(element, limits, rules);
  if (!vector.panTilt && !vector.zoom) {
    throw InvalidArgument(limits.subcode, std::string(element.Name()) + " names no axis");
  }
  DropOrCheck(vector.panTilt, vector.panTilt && vector.panTilt->x == 0 && vector.panTilt->y == 0,
              node.panTiltMoves.*limits.move);
  DropOrCheck(vector.zoom, vector.zoom && *vector.zoom == 0, node.zoomMoves.*limits.move);
  if (!vector.panTilt && !vector.zoom) {
    throw InvalidArgument("SpaceNotSupported", "the lens cannot be moved in this way");
  }
  if (rules.movesBackwards) {
    ScaleVector(vector, -1);
  }
  if (rules.ignoresZoom) {
    vector.zoom.reset();
  }
  return vector;
}

double FullSpeed(double velocity) {
  return velocity == 0 ? 0 : std::copysign(1, velocity);
}

bool IsZero(const LensVelocity& vector) {
  return vector.zoom.value_or(0) == 0 && (!vector.panTilt || (vector.panTilt->x == 0 && vector.panTilt->y == 0));
}

struct DurationUnit {
  char letter;
  bool isTime;  // after the T
  double seconds;
};

// Years and months have no fixed length and no place in the movement of a lens.
constexpr DurationUnit kDurationUnits[] = {{'D', false, 86400}, {'H', true, 3600}, {'M', true, 60}, {'S', true, 1}};

// Takes one "12.5S" from the front of `text`; the units must come in the order of the table, `unit` being the next
// one allowed.
std::optional<double> TakeComponent(std::string_view& text, bool isTime, std::size_t& unit) {
  const std::size_t length = text.find_first_not_of("0123456789.");
  if (length == 0 || length == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<double> number = ParseNumber(text.substr(0, length));
  const char letter = text[length];
  text.remove_prefix(length + 1);
  for (; unit < std::size(kDurationUnits); ++unit) {
    const DurationUnit& row = kDurationUnits[unit];
    if (row.letter == letter && row.isTime == isTime && number) {
      ++unit;
      return *number * row.seconds;
    }
  }
  return std::nullopt;
}

// Seconds of an xs:duration such as PT5S or P1DT2H0.5S; nothing when it is not one.
std::optional<double> ToSeconds(std::string_view text) {
  if (text.empty() || text.front() != 'P') {
    return std::nullopt;
  }
  text.remove_prefix(1);
  double seconds = 0;
  std::size_t unit = 0;
  bool isTime = false;
  do {
    if (!isTime && !text.empty() && text.front() == 'T') {
      isTime = true;
      text.remove_prefix(1);
    }
    const std::optional<double> component = TakeComponent(text, isTime, unit);
    if (!component) {
      return std::nullopt;
    }
    seconds += *component;
  } while (!text.empty());
  return seconds;
}

// Every axis has reached its end long before.
constexpr LensAxis::Duration kUntilTheLimit = std::chrono::hours(24);

LensAxis::Duration AsDuration(double seconds) {
  return std::chrono::duration_cast<LensAxis::Duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

LensVelocity ReadVelocity(const XmlElement& element, const PtzNode& node, const CallRules& rules) {
  LensVelocity velocity = ReadMove(element, kVelocity, node, rules);
  if (rules.refusesZeroVelocity && IsZero(velocity)) {
    throw InvalidArgument(kVelocity.subcode, "a velocity of zero is no movement");
  }
  if (rules.movesAtFullSpeed && velocity.panTilt) {
    velocity.panTilt = {FullSpeed(velocity.panTilt->x), FullSpeed(velocity.panTilt->y)};
  }
  if (rules.movesAtFullSpeed && velocity.zoom) {
    velocity.zoom = FullSpeed(*velocity.zoom);
  }
  return velocity;
}

LensVelocity ReadTranslation(const XmlElement& element, const PtzNode& node, const CallRules& rules) {
  return ReadMove(element, kTranslation, node, rules);
}

LensSpeed ReadSpeed(const XmlElement& element, double defaultSpeed, const CallRules& rules) {
  const LensVelocity vector = ReadVector(element, kSpeed, rules);
  const LensVelocity::PanTilt panTilt = vector.panTilt.value_or(LensVelocity::PanTilt{defaultSpeed, defaultSpeed});
  return {panTilt.x, panTilt.y, vector.zoom.value_or(defaultSpeed)};
}

LensAxis::Duration ReadTimeout(const XmlElement& element, const PtzConfiguration& configuration,
                               const CallRules& rules) {
  if (rules.ignoresTimeout) {
    return kUntilTheLimit;
  }
  if (!element.Exists()) {
    if (rules.needsTimeout) {
      throw SoapFault("Sender", {"InvalidArgs"}, "Timeout is missing");
    }
    return AsDuration(configuration.defaultTimeout);
  }
  const std::optional<double> seconds = ToSeconds(element.Text());
  if (!seconds) {
    throw SoapFault("Sender", {"InvalidArgVal"}, "Timeout is not a duration: " + element.Text());
  }
  if (*seconds < configuration.timeout.min || *seconds > configuration.timeout.max) {
    throw InvalidArgument("TimeoutNotSupported", "Timeout is not within " + FormatNumber(configuration.timeout.min) +
                                                     " to " + FormatNumber(configuration.timeout.max) + " seconds");
  }
  return AsDuration(*seconds);
}

}  // namespace simcam
