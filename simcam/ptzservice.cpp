// The PTZ service: the lens moves, and says where it is.
#include <ctime>

#include "simcam/ptzarguments.h"
#include "simcam/ptzwriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

void ContinuousMove(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    const LensVelocity velocity = ReadVelocity(call.request.Argument("Velocity"), target.node, call.rules);
    target.unit.lens.Continuous(
        target.now, velocity, ReadTimeout(call.request.OptionalArgument("Timeout"), target.configuration, call.rules));
  });
}

void RelativeMove(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    const LensVelocity translation = ReadTranslation(call.request.Argument("Translation"), target.node, call.rules);
    target.unit.lens.Relative(
        target.now, translation,
        ReadSpeed(call.request.OptionalArgument("Speed"), target.configuration.defaultSpeed, call.rules));
  });
}

void GotoHomePosition(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    if (!target.unit.home) {
      throw ActionFailed("NoHomePosition", "the lens has no home position");
    }
    target.unit.lens.Absolute(
        target.now, *target.unit.home,
        ReadSpeed(call.request.OptionalArgument("Speed"), target.configuration.defaultSpeed, call.rules));
  });
}

// An axis that Stop leaves out is stopped as well.
void Stop(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    const XmlElement panTilt = call.request.OptionalArgument("PanTilt");
    const XmlElement zoom = call.request.OptionalArgument("Zoom");
    if (call.rules.stopNeedsBothAxes && !(panTilt.Exists() && zoom.Exists())) {
      throw SoapFault("Sender", {"InvalidArgs"}, "PanTilt or Zoom is missing");
    }
    target.unit.lens.Stop(target.now, !panTilt.Exists() || ReadBoolean(panTilt), !zoom.Exists() || ReadBoolean(zoom));
  });
}

std::string FormatUtc(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  char text[sizeof "YYYYY-MM-DDThh:mm:ssZ"] = "";
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
  return text;
}

const char* MoveText(bool isMoving) {
  return isMoving ? "MOVING" : "IDLE";
}

void GetStatus(const Call& call, XmlWriter& response) {
  WithPtz(call, [&](PtzTarget& target) {
    const LensPosition position = target.unit.lens.PositionAt(target.now);
    response.Open("tptz:PTZStatus");
    WritePosition(response, "tt:Position", target.node, position);
    response.Open("tt:MoveStatus");
    if (target.node.panTiltMoves.Any()) {
      response.Element("tt:PanTilt", MoveText(target.unit.lens.IsPanTiltMovingAt(target.now)));
    }
    if (target.node.zoomMoves.Any()) {
      response.Element("tt:Zoom", MoveText(target.unit.lens.IsZoomMovingAt(target.now)));
    }
    response.Close();
    response.Element("tt:UtcTime", FormatUtc(call.clock.UtcNow())).Close();
  });
}

void GetPtzServiceCapabilities(const Call&, XmlWriter& response) {
  WritePtzCapabilities(response);
}

}  // namespace

void WritePtzCapabilities(XmlWriter& writer) {
  writer.Open("tptz:Capabilities").Attribute("EFlip", false).Attribute("Reverse", false);
  writer.Attribute("GetCompatibleConfigurations", false).Attribute("MoveStatus", true);
  writer.Attribute("StatusPosition", true).Close();
}

std::vector<Operation> PtzOperations() {
  constexpr Service kHere = Service::Ptz;
  return {
      {kHere, "GetServiceCapabilities", Access::Open, 2, GetPtzServiceCapabilities},
      {kHere, "ContinuousMove", Access::Authenticated, 1, ContinuousMove},
      {kHere, "RelativeMove", Access::Authenticated, 1, RelativeMove},
      {kHere, "GotoHomePosition", Access::Authenticated, 1, GotoHomePosition},
      {kHere, "Stop", Access::Authenticated, 1, Stop},
      {kHere, "GetStatus", Access::Authenticated, 1, GetStatus},
  };
}

}  // namespace simcam
