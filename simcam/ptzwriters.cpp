#include "simcam/ptzwriters.h"

#include "simcam/bytoken.h"
#include "simcam/configurationwriter.h"
#include "simcam/ptzspaces.h"

namespace simcam {

namespace {

constexpr Range kWholeRange = {-1, 1};
constexpr Range kSpeedRange = {0, 1};

void WriteRange(XmlWriter& writer, const char* name, const Range& range) {
  writer.Open(name).Element("tt:Min", range.min).Element("tt:Max", range.max).Close();
}

// One space that a group of axes may have.
struct SpaceRow {
  const char* name;
  const char* uri;
  AxisMoves PtzNode::*group;
  bool AxisMoves::*move;  // null: all that can be moved have it
  Range range;
  bool hasTwoAxes;
};

// In the order of the schema.
constexpr SpaceRow kSpaces[] = {
    {"RelativePanTiltTranslationSpace", spaces::kPanTiltTranslation, &PtzNode::panTiltMoves, &AxisMoves::relative,
     kWholeRange, true},
    {"RelativeZoomTranslationSpace", spaces::kZoomTranslation, &PtzNode::zoomMoves, &AxisMoves::relative, kWholeRange,
     false},
    {"ContinuousPanTiltVelocitySpace", spaces::kPanTiltVelocity, &PtzNode::panTiltMoves, &AxisMoves::continuous,
     kWholeRange, true},
    {"ContinuousZoomVelocitySpace", spaces::kZoomVelocity, &PtzNode::zoomMoves, &AxisMoves::continuous, kWholeRange,
     false},
    {"PanTiltSpeedSpace", spaces::kPanTiltSpeed, &PtzNode::panTiltMoves, nullptr, kSpeedRange, false},
    {"ZoomSpeedSpace", spaces::kZoomSpeed, &PtzNode::zoomMoves, nullptr, kSpeedRange, false},
};

bool HasSpace(const PtzNode& node, const SpaceRow& row) {
  const AxisMoves& moves = node.*row.group;
  return row.move == nullptr ? moves.Any() : moves.*row.move;
}

void WriteSpaces(XmlWriter& writer, const char* name, const PtzNode& node) {
  writer.Open(name);
  for (const SpaceRow& row : kSpaces) {
    if (!HasSpace(node, row)) {
      continue;
    }
    writer.Open(std::string("tt:") + row.name).Element("tt:URI", row.uri);
    WriteRange(writer, "tt:XRange", row.range);
    if (row.hasTwoAxes) {
      WriteRange(writer, "tt:YRange", row.range);
    }
    writer.Close();
  }
  writer.Close();
}

void WriteDefaultSpaces(XmlWriter& writer, const PtzNode& node) {
  for (const SpaceRow& row : kSpaces) {
    if (row.move != nullptr && HasSpace(node, row)) {
      writer.Element((std::string("tt:Default") + row.name).c_str(), row.uri);
    }
  }
}

void WriteDefaultSpeed(XmlWriter& writer, const PtzNode& node, double speed) {
  writer.Open("tt:DefaultPTZSpeed");
  if (node.panTiltMoves.Any()) {
    writer.Open("tt:PanTilt").Attribute("x", speed).Attribute("y", speed).Close();
  }
  if (node.zoomMoves.Any()) {
    writer.Open("tt:Zoom").Attribute("x", speed).Close();
  }
  writer.Close();
}

void WriteLimits(XmlWriter& writer, const PtzNode& node) {
  if (node.panTiltMoves.Any()) {
    writer.Open("tt:PanTiltLimits").Open("tt:Range").Element("tt:URI", spaces::kPanTiltPosition);
    WriteRange(writer, "tt:XRange", node.pan);
    WriteRange(writer, "tt:YRange", node.tilt);
    writer.Close().Close();
  }
  if (node.zoomMoves.Any()) {
    writer.Open("tt:ZoomLimits").Open("tt:Range").Element("tt:URI", spaces::kZoomPosition);
    WriteRange(writer, "tt:XRange", node.zoom);
    writer.Close().Close();
  }
}

std::string DurationText(double seconds) {
  return "PT" + FormatNumber(seconds) + "S";
}

}  // namespace

void WritePtzConfiguration(XmlWriter& writer, const char* name, const PtzModel& ptz,
                           const PtzConfiguration& configuration, const std::vector<Profile>& profiles) {
  const PtzNode& node = *FindByToken(ptz.nodes, configuration.node);
  OpenConfiguration(writer, name, ConfigurationKind::Ptz, configuration, profiles);
  writer.Element("tt:NodeToken", configuration.node);
  WriteDefaultSpaces(writer, node);
  WriteDefaultSpeed(writer, node, configuration.defaultSpeed);
  writer.Element("tt:DefaultPTZTimeout", DurationText(configuration.defaultTimeout));
  WriteLimits(writer, node);
  writer.Close();
}

void WritePtzNode(XmlWriter& writer, const PtzNode& node) {
  writer.Open("tptz:PTZNode").Attribute("token", node.token);
  if (node.home) {
    writer.Attribute("FixedHomePosition", node.fixedHome);
  }
  writer.Element("tt:Name", node.name);
  WriteSpaces(writer, "tt:SupportedPTZSpaces", node);
  writer.Element("tt:MaximumNumberOfPresets", node.maxPresets);
  writer.Element("tt:HomeSupported", node.home.has_value()).Close();
}

void WritePtzOptions(XmlWriter& writer, const PtzNode& node, const PtzConfiguration& configuration) {
  writer.Open("tptz:PTZConfigurationOptions");
  WriteSpaces(writer, "tt:Spaces", node);
  writer.Open("tt:PTZTimeout").Element("tt:Min", DurationText(configuration.timeout.min));
  writer.Element("tt:Max", DurationText(configuration.timeout.max)).Close().Close();
}

void WritePosition(XmlWriter& writer, const char* name, const PtzNode& node, const LensPosition& position) {
  writer.Open(name);
  if (node.panTiltMoves.Any()) {
    writer.Open("tt:PanTilt").Attribute("x", position.pan).Attribute("y", position.tilt);
    writer.Attribute("space", std::string(spaces::kPanTiltPosition)).Close();
  }
  if (node.zoomMoves.Any()) {
    writer.Open("tt:Zoom").Attribute("x", position.zoom);
    writer.Attribute("space", std::string(spaces::kZoomPosition)).Close();
  }
  writer.Close();
}

}  // namespace simcam
