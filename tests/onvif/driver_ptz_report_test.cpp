// GetPTZCap: what the camera's lens can do.

#include <map>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

std::string AskPtzList(const std::string& operation) {
  return "POST /onvif/ptz <" + operation + " xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\" />";
}

std::string AskSpaces(const std::string& token) {
  return "POST /onvif/ptz <GetConfigurationOptions xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\"><ConfigurationToken>" +
         token + "</ConfigurationToken></GetConfigurationOptions>";
}

Reply Configuration(const std::string& elements) {
  return Reply::Ok(Envelope("<tptz:GetConfigurationsResponse>" + elements + "</tptz:GetConfigurationsResponse>"));
}

Reply OneConfiguration() {
  return Configuration("<tptz:PTZConfiguration token=\"ptz0\"/>");
}

Reply Spaces(const std::string& spaces) {
  return Reply::Ok(Envelope("<tptz:GetConfigurationOptionsResponse><tptz:PTZConfigurationOptions><tt:Spaces>" + spaces +
                            "</tt:Spaces></tptz:PTZConfigurationOptions></tptz:GetConfigurationOptionsResponse>"));
}

std::string Range(const std::string& name, const std::string& min, const std::string& max) {
  return "<tt:" + name + "><tt:Min>" + min + "</tt:Min><tt:Max>" + max + "</tt:Max></tt:" + name + ">";
}

// A space with an address and these ranges.
std::string Space(const std::string& name, const std::string& ranges) {
  return "<tt:" + name + "><tt:URI>urn:" + name + "</tt:URI>" + ranges + "</tt:" + name + ">";
}

const std::string kPanTiltRanges = Range("XRange", "-1", "1") + Range("YRange", "-0.5", "0.50");
const std::string kVelocity = Space("ContinuousPanTiltVelocitySpace", kPanTiltRanges);
const std::string kSteps = Space("RelativePanTiltTranslationSpace", kPanTiltRanges);
const std::string kZoomVelocity = Space("ContinuousZoomVelocitySpace", Range("XRange", "0", "1.0"));
const std::string kZoomSteps = Space("RelativeZoomTranslationSpace", Range("XRange", "-2", "+2"));

Reply Node(const std::string& presets, const std::string& home) {
  return Reply::Ok(Envelope("<tptz:GetNodesResponse><tptz:PTZNode token=\"n\">" + presets + home +
                            "</tptz:PTZNode></tptz:GetNodesResponse>"));
}

std::string MaxPresets(const std::string& number) {
  return "<tt:MaximumNumberOfPresets>" + number + "</tt:MaximumNumberOfPresets>";
}

std::string Home(const std::string& supported) {
  return "<tt:HomeSupported>" + supported + "</tt:HomeSupported>";
}

class PtzReport : public Driver {
 protected:
  // The report of a camera with these spaces; the node is asked for exactly when there is an answer for it.
  Map ReportOf(const std::string& spaces, const std::vector<Reply>& node = {Node("", "")}, Map caps = {}) {
    m_camera.Answer(OneConfiguration());
    m_camera.Answer(Spaces(spaces));
    for (const Reply& reply : node) m_camera.Answer(reply);
    EXPECT_EQ(m_driver->GetPTZCap(caps), 0);
    return caps;
  }

  std::unique_ptr<ONVIFAPI> m_driver = MakeDriver(m_camera);
};

Map Plus(Map one, const Map& other) {
  one.insert(other.begin(), other.end());
  return one;
}

const Map kRanges{{"ptz_xmin", "-1"}, {"ptz_xmax", "1"}, {"ptz_ymin", "-0.5"}, {"ptz_ymax", "0.50"}};
const Map kContinuous = Plus(kRanges, {{"pan", "continuous"}, {"tilt", "continuous"}, {"ptz_speed_max", "1"}});
const Map kStep = Plus(kRanges, {{"pan", "step"}, {"tilt", "step"}});
const Map kZoomRange{{"ptz_zmin", "0"}, {"ptz_zmax", "1.0"}};
const Map kZoomStepRange{{"ptz_zmin", "-2"}, {"ptz_zmax", "+2"}};

TEST_F(PtzReport, ContinuousDomeWithPresetsAndHome) {
  m_camera.Answer(OneConfiguration());
  m_camera.Answer(
      Spaces(Space("ContinuousPanTiltVelocitySpace", Range("XRange", "-1", "1") + Range("YRange", "-1", "1")) +
             Space("ContinuousZoomVelocitySpace", Range("XRange", "0", "1"))));
  m_camera.Answer(Node(MaxPresets("16"), Home("true")));
  Map caps;

  EXPECT_EQ(m_driver->GetPTZCap(caps), 0);

  EXPECT_EQ(caps, (Map{{"pan", "continuous"},
                       {"tilt", "continuous"},
                       {"ptz_speed_max", "1"},
                       {"ptz_xmin", "-1"},
                       {"ptz_xmax", "1"},
                       {"ptz_ymin", "-1"},
                       {"ptz_ymax", "1"},
                       {"preset", "16"},
                       {"home", "yes"},
                       {"zoom", "continuous"},
                       {"ptz_zmin", "0"},
                       {"ptz_zmax", "1"}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations"), AskSpaces("ptz0"), AskPtzList("GetNodes")));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(PtzReport, RelativeSpacesOnlyAreStepsWithoutASpeed) {
  EXPECT_EQ(ReportOf(kSteps + kZoomSteps), Plus(Plus(kStep, {{"zoom", "step"}}), kZoomStepRange));
}

TEST_F(PtzReport, PanTiltWithoutZoom) {
  EXPECT_EQ(ReportOf(kVelocity), kContinuous);
  EXPECT_EQ(ReportOf(kSteps), kStep);
}

TEST_F(PtzReport, ContinuousZoomMakesARelativePanTiltContinuousToo) {
  EXPECT_EQ(ReportOf(kSteps + kZoomVelocity), Plus(Plus(kContinuous, {{"zoom", "continuous"}}), kZoomRange));
}

TEST_F(PtzReport, ContinuousPanTiltMakesARelativeZoomContinuousToo) {
  EXPECT_EQ(ReportOf(kVelocity + kZoomSteps), Plus(Plus(kContinuous, {{"zoom", "continuous"}}), kZoomStepRange));
}

TEST_F(PtzReport, VelocitySpaceIsPreferredWithItsRanges) {
  EXPECT_EQ(ReportOf(Space("RelativePanTiltTranslationSpace", Range("XRange", "-9", "9")) + kVelocity), kContinuous);
}

TEST_F(PtzReport, ZoomOnlyCameraIsNotAskedForItsNode) {
  EXPECT_EQ(ReportOf(kZoomVelocity, {}), Plus({{"zoom", "continuous"}}, kZoomRange));
  EXPECT_EQ(ReportOf(kZoomSteps, {}), Plus({{"zoom", "step"}}, kZoomStepRange));
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations"), AskSpaces("ptz0"),
                                           AskPtzList("GetConfigurations"), AskSpaces("ptz0")));
}

TEST_F(PtzReport, CameraWithoutSpacesAddsNothing) {
  EXPECT_THAT(ReportOf("", {}), IsEmpty());
}

TEST_F(PtzReport, SpaceWithAnEmptyAddressIsNoSpaceButItsMotionStillCounts) {
  EXPECT_EQ(ReportOf("<tt:ContinuousPanTiltVelocitySpace><tt:URI></tt:URI>" + kPanTiltRanges +
                         "</tt:ContinuousPanTiltVelocitySpace>" + kZoomSteps,
                     {}),
            Plus({{"zoom", "continuous"}}, kZoomStepRange));
}

TEST_F(PtzReport, PluralNameOfTheConfigurationsIsUnderstood) {
  m_camera.Answer(Configuration("<tptz:PTZConfigurations token=\"plural\"/>"));
  m_camera.Answer(Spaces(""));
  Map caps;

  EXPECT_EQ(m_driver->GetPTZCap(caps), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations"), AskSpaces("plural")));
}

struct BoundRow {
  const char* key;
  const char* space;
  const char* range;
  const char* bound;
};

TEST_F(PtzReport, EachBoundIsAKeyOnlyWhenItsTextIsNotEmpty) {
  const BoundRow rows[] = {{"ptz_xmin", "ContinuousPanTiltVelocitySpace", "XRange", "Min"},
                           {"ptz_xmax", "ContinuousPanTiltVelocitySpace", "XRange", "Max"},
                           {"ptz_ymin", "ContinuousPanTiltVelocitySpace", "YRange", "Min"},
                           {"ptz_ymax", "ContinuousPanTiltVelocitySpace", "YRange", "Max"},
                           {"ptz_zmin", "ContinuousZoomVelocitySpace", "XRange", "Min"},
                           {"ptz_zmax", "ContinuousZoomVelocitySpace", "XRange", "Max"}};
  for (const BoundRow& row : rows) {
    for (const char* text : {" -1.50 ", "INF", "none", "", "(missing)"}) {
      const std::string element = std::string("<tt:") + row.bound + ">" + text + "</tt:" + row.bound + ">";
      const std::string bound = std::string(text) == "(missing)" ? "" : element;
      const std::string described =
          Space(row.space, std::string("<tt:") + row.range + ">" + bound + "</tt:" + row.range + ">");
      const std::string other =
          Space(std::string(row.space).find("Zoom") == std::string::npos ? "ContinuousZoomVelocitySpace"
                                                                         : "ContinuousPanTiltVelocitySpace",
                "");
      Map expected{{"pan", "continuous"}, {"tilt", "continuous"}, {"zoom", "continuous"}, {"ptz_speed_max", "1"}};
      if (*text != '\0' && !bound.empty()) expected[row.key] = text;
      EXPECT_EQ(ReportOf(described + other), expected) << row.key << " \"" << text << '"';
    }
  }
}

TEST_F(PtzReport, PresetsAreReportedAsWrittenWhenTheirNumberIsAboveZero) {
  const std::pair<const char*, bool> rows[] = {{"16", true},
                                               {"1", true},
                                               {"0", false},
                                               {"-3", false},
                                               {"", false},
                                               {"many", false},
                                               {"007", true},
                                               {" 8 ", true},
                                               {"12 of", true},
                                               {"0x10", false},
                                               {"+5", true},
                                               {"0.9", false},
                                               {"99999999999999999999", true},
                                               {"1e3", true},
                                               {"-99999999999999999999", false}};
  for (const auto& [text, reported] : rows) {
    Map expected = kContinuous;
    if (reported) expected["preset"] = text;
    EXPECT_EQ(ReportOf(kVelocity, {Node(MaxPresets(text), "")}), expected) << '"' << text << '"';
  }
  EXPECT_EQ(ReportOf(kVelocity, {Node("", Home("true"))}), Plus(kContinuous, {{"home", "yes"}})) << "no such element";
}

TEST_F(PtzReport, HomeIsReportedForTheTextTrueAlone) {
  for (const char* text : {"1", "True", "TRUE", " true", "true ", "yes", "false", ""}) {
    EXPECT_EQ(ReportOf(kVelocity, {Node("", Home(text))}), kContinuous) << '"' << text << '"';
  }
  EXPECT_EQ(ReportOf(kVelocity, {Node("", Home("true"))}), Plus(kContinuous, {{"home", "yes"}}));
}

TEST_F(PtzReport, KeysThatTheCallerHoldsKeepTheirValues) {
  const Reply node = Node(MaxPresets("16"), Home("true"));
  const Map all = ReportOf(kVelocity + kZoomVelocity, {node});
  ASSERT_EQ(all.size(), 12U);
  for (const auto& [key, reported] : all) {
    for (const std::string& held : {std::string("mine"), std::string()}) {
      Map expected = all;
      expected[key] = held;
      EXPECT_EQ(ReportOf(kVelocity + kZoomVelocity, {node}, {{key, held}}), expected) << key;
    }
  }
}

class PtzReportFailure : public PtzReport, public testing::WithParamInterface<RequestFailure> {};

TEST_P(PtzReportFailure, OfTheConfigurationsWritesNothing) {
  m_camera.Answer(GetParam().reply);
  Map caps{{"pan", "before"}};

  EXPECT_EQ(m_driver->GetPTZCap(caps), GetParam().serverCode);

  EXPECT_EQ(caps, (Map{{"pan", "before"}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations")));
}

TEST_P(PtzReportFailure, OfTheSpacesWritesNothing) {
  m_camera.Answer(LastOnConnection(OneConfiguration()));
  m_camera.Answer(GetParam().reply);
  Map caps;

  EXPECT_EQ(m_driver->GetPTZCap(caps), GetParam().serverCode);

  EXPECT_THAT(caps, IsEmpty());
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations"), AskSpaces("ptz0")));
}

TEST_P(PtzReportFailure, OfTheNodeKeepsThePanTiltKeysAndLeavesOutTheZoom) {
  m_camera.Answer(OneConfiguration());
  m_camera.Answer(LastOnConnection(Spaces(kVelocity + kZoomVelocity)));
  m_camera.Answer(GetParam().reply);
  Map caps;

  EXPECT_EQ(m_driver->GetPTZCap(caps), GetParam().serverCode);

  EXPECT_EQ(caps, kContinuous);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskPtzList("GetConfigurations"), AskSpaces("ptz0"), AskPtzList("GetNodes")));
  EXPECT_THAT(DriverLogTexts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, PtzReportFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

TEST_F(PtzReport, AnswerThatNamesNoConfigurationIsABadArgument) {
  m_camera.Answer(Configuration(""));
  m_camera.Answer(Configuration("<tptz:PTZConfiguration/>"));
  Map caps;

  EXPECT_EQ(m_driver->GetPTZCap(caps), 6);
  EXPECT_EQ(m_driver->GetPTZCap(caps), 6);

  EXPECT_THAT(caps, IsEmpty());
}

}  // namespace
}  // namespace testsupport
