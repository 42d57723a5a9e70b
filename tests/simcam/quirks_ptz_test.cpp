// Lenses that do not move as they are told, or do not tell how they can.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/messages.h"
#include "tests/simcam/quirkcases.h"

namespace {

using simcamtest::Ask;
using simcamtest::Bench;
using simcamtest::ExpectAllBent;
using simcamtest::FaultCodes;
using simcamtest::kFirstProfile;
using simcamtest::kTtNamespace;
using simcamtest::PanTilt;
using simcamtest::Zoom;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kInvalidArgs = "env:Sender ter:InvalidArgs";
constexpr const char* kNoSpace = "env:Sender ter:InvalidArgVal ter:SpaceNotSupported";

// A camera with one quirk, whose lens is asked to move.
class BentLens {
 public:
  explicit BentLens(const std::string& quirk = "") {
    if (!quirk.empty()) {
      simcamtest::SwitchOn(m_bench, quirk);
    }
  }

  simcam::SoapAnswer Move(const std::string& axes, const std::string& timeout = "<Timeout>PT1S</Timeout>") {
    return m_bench.Ptz("ContinuousMove", kFirstProfile + ("<Velocity>" + axes + "</Velocity>") + timeout);
  }

  simcam::SoapAnswer Step(const std::string& axes) {
    return m_bench.Ptz("RelativeMove", kFirstProfile + ("<Translation>" + axes + "</Translation>"));
  }

  simcam::SoapAnswer Do(const std::string& operation, const std::string& content = "") {
    return m_bench.Ptz(operation, kFirstProfile + content);
  }

  simcam::LensPosition After(seconds time) {
    m_bench.Clock().Advance(time);
    return *m_bench.State().PositionOf("ptz_node_1");
  }

  Bench& Camera() { return m_bench; }

 private:
  Bench m_bench{"ptz-dome"};
};

TEST(PtzQuirks, HideWhatIsThere) {
  ExpectAllBent({
      {"ptz-unadvertised", "GetCapabilities", "", "<tt:PTZ>"},
      {"ptz-unadvertised", "GetServices", "", "ver20/ptz/wsdl</tds:Namespace>"},
      {"ptz-zoom-only", "GetNodes", "", "PanTilt"},
      {"ptz-zoom-only", "GetConfigurations", "", "PanTilt"},
      {"ptz-zoom-only", "GetStatus", "", "<tt:PanTilt"},
      {"ptz-without-relative", "GetNodes", "", "<tt:RelativePanTiltTranslationSpace>"},
      {"ptz-without-relative", "GetConfigurationOptions", "", "<tt:RelativeZoomTranslationSpace>"},
      {"ptz-without-spaces", "GetNode", "<tt:SupportedPTZSpaces/>", "<tt:URI>"},
      {"ptz-without-spaces", "GetConfigurationOptions", "<tt:Spaces/>", "<tt:URI>"},
      {"ptz-nodes-fault", "GetNodes", "ter:ActionNotSupported", "<tptz:PTZNode "},
      {"ptz-nodes-empty", "GetNodes", "<tptz:GetNodesResponse/>", "<tptz:PTZNode "},
      {"ptz-node-without-name", "GetNode", "", "<tt:Name>"},
      {"ptz-configurations-fault", "GetConfigurations", "ter:ActionNotSupported", "<tptz:PTZConfiguration "},
      {"ptz-configurations-empty", "GetConfigurations", "<tptz:GetConfigurationsResponse/>", "<tptz:PTZConfiguration "},
      {"ptz-configuration-hidden", "GetProfiles", "", "<tt:PTZConfiguration "},
      {"ptz-options-fault", "GetConfigurationOptions", "ter:ActionNotSupported", "<tptz:PTZConfigurationOptions>"},
      {"ptz-without-default-timeout", "GetConfiguration", "", "<tt:DefaultPTZTimeout>"},
      {"ptz-without-default-timeout", "GetProfiles", "", "<tt:DefaultPTZTimeout>"},
      {"ptz-without-defaults", "GetConfigurations", "", "<tt:DefaultPTZSpeed>"},
      {"ptz-without-defaults", "GetProfile", "", "<tt:PanTiltLimits>"},
  });
}

TEST(PtzQuirks, TellNumbersThatMislead) {
  constexpr const char* kRange = "<tt:Min>-1</tt:Min><tt:Max>1</tt:Max>";
  ExpectAllBent({
      {"ptz-range-flat", "GetNodes", "<tt:Min>1</tt:Min><tt:Max>1</tt:Max>", kRange},
      {"ptz-range-inverted", "GetConfigurationOptions", "<tt:Min>1</tt:Min><tt:Max>-1</tt:Max>", kRange},
      {"ptz-range-scaled", "GetNodes", "<tt:Min>-100</tt:Min><tt:Max>100</tt:Max>", kRange},
      {"ptz-range-scaled=7", "GetConfigurationOptions", "<tt:Min>0</tt:Min><tt:Max>7</tt:Max>", kRange},
      {"ptz-space-lower-case", "GetNodes", "/pantiltspaces/velocitygenericspace<", "/PanTiltSpaces/"},
      {"ptz-space-lower-case", "GetConfigurations", "/pantiltspaces/velocitygenericspace<", "/PanTiltSpaces/Velocity"},
      {"ptz-timeout-odd", "GetConfigurations", "<tt:DefaultPTZTimeout>10<", "PT10S"},
      {"ptz-timeout-odd=clock", "GetConfigurationOptions", "<tt:Min>00:00:10</tt:Min>", "PT60S"},
      {"ptz-timeout-odd=empty", "GetProfiles", "<tt:DefaultPTZTimeout/>", "PT10S"},
      {"ptz-timeout-odd=huge", "GetProfile", ">PT99999999999S<", "PT10S"},
  });
}

TEST(PtzQuirks, BendTheStatus) {
  ExpectAllBent({
      {"ptz-status-without-position", "GetStatus", "", "<tt:Position>"},
      {"ptz-status-without-move", "GetStatus", "", "<tt:MoveStatus>"},
      {"ptz-status-always-moving", "GetStatus", "<tt:PanTilt>MOVING</tt:PanTilt><tt:Zoom>MOVING<", "IDLE"},
      {"ptz-status-unknown", "GetStatus", "<tt:PanTilt>UNKNOWN</tt:PanTilt><tt:Zoom>UNKNOWN<", "IDLE"},
      {"ptz-status-fault", "GetStatus", "ter:ActionNotSupported", "<tptz:PTZStatus>"},
  });
}

TEST(PtzQuirks, StatusOfAMovingLensLies) {
  BentLens idle("ptz-status-always-idle");
  idle.Move(PanTilt("1", "0"), "<Timeout>PT9S</Timeout>");
  EXPECT_GT(idle.After(seconds(1)).pan, 0);
  EXPECT_THAT(idle.Do("GetStatus").body, HasSubstr("<tt:PanTilt>IDLE<"));
  BentLens zero("ptz-status-zero-position");
  zero.Move(PanTilt("1", "0") + Zoom("1"));
  EXPECT_DOUBLE_EQ(zero.After(seconds(5)).pan, 0.4);
  EXPECT_THAT(zero.Do("GetStatus").body, testing::AllOf(HasSubstr("<tt:PanTilt x=\"0\" y=\"0\""),
                                                        HasSubstr("<tt:Zoom x=\"0\""), Not(HasSubstr("0.4"))));
}

// The right lens, as the tests below have it.
TEST(PtzQuirks, WithoutThemTheLensObeys) {
  BentLens lens;
  EXPECT_EQ(lens.Move(PanTilt("0.5", "0") + Zoom("1")).httpStatus, 200);
  const simcam::LensPosition place = lens.After(seconds(60));
  EXPECT_DOUBLE_EQ(place.pan, 0.2);
  EXPECT_DOUBLE_EQ(place.zoom, 0.25);
  EXPECT_EQ(lens.Step(PanTilt("0.25", "0") + Zoom("0.25")).httpStatus, 200);
  EXPECT_DOUBLE_EQ(lens.After(seconds(60)).pan, 0.45);
  EXPECT_DOUBLE_EQ(lens.After(seconds(60)).zoom, 0.5);
}

struct MoveCase {
  const char* quirk;
  double pan;  // where the same moves lead
  double zoom;
};

TEST(PtzQuirks, MovesLeadElsewhere) {
  for (const MoveCase& row : std::vector<MoveCase>{{"ptz-reversed", -0.2, 0},
                                                   {"ptz-full-speed", 0.4, 0.25},
                                                   {"ptz-zoom-ignored", 0.2, 0},
                                                   {"ptz-timeout-ignored", 1, 1},
                                                   {"ptz-move-ignored", 0, 0}}) {
    BentLens lens(row.quirk);
    EXPECT_EQ(lens.Move(PanTilt("0.5", "0") + Zoom("1")).httpStatus, 200) << row.quirk;
    const simcam::LensPosition place = lens.After(seconds(60));
    EXPECT_DOUBLE_EQ(place.pan, row.pan) << row.quirk;
    EXPECT_DOUBLE_EQ(place.zoom, row.zoom) << row.quirk;
  }
}

TEST(PtzQuirks, StepsLeadElsewhere) {
  for (const MoveCase& row :
       std::vector<MoveCase>{{"ptz-reversed", -0.25, 0}, {"ptz-zoom-ignored", 0.25, 0}, {"ptz-move-ignored", 0, 0}}) {
    BentLens lens(row.quirk);
    EXPECT_EQ(lens.Step(PanTilt("0.25", "0") + Zoom("0.25")).httpStatus, 200) << row.quirk;
    const simcam::LensPosition place = lens.After(seconds(60));
    EXPECT_DOUBLE_EQ(place.pan, row.pan) << row.quirk;
    EXPECT_DOUBLE_EQ(place.zoom, row.zoom) << row.quirk;
  }
}

TEST(PtzQuirks, LensThatOnlyZoomsRefusesToTurn) {
  BentLens lens("ptz-zoom-only");
  EXPECT_EQ(FaultCodes(lens.Move(PanTilt("0.5", "0"))), kNoSpace);
  EXPECT_EQ(FaultCodes(lens.Step(PanTilt("0.5", "0"))), kNoSpace);
  EXPECT_EQ(lens.Move(PanTilt("0", "0") + Zoom("1")).httpStatus, 200);
  EXPECT_DOUBLE_EQ(lens.After(seconds(60)).zoom, 0.25);
}

TEST(PtzQuirks, LensWithoutRelativeMovesRefusesThem) {
  BentLens lens("ptz-without-relative");
  EXPECT_EQ(FaultCodes(lens.Step(PanTilt("0.5", "0"))), kNoSpace);
  EXPECT_EQ(lens.Move(PanTilt("0.5", "0")).httpStatus, 200);
}

TEST(PtzQuirks, HiddenServiceMovesTheLens) {
  for (const char* const quirk : {"ptz-unadvertised", "ptz-without-spaces", "ptz-configuration-hidden"}) {
    BentLens lens(quirk);
    EXPECT_EQ(lens.Move(PanTilt("0.5", "0")).httpStatus, 200);
    EXPECT_DOUBLE_EQ(lens.After(seconds(60)).pan, 0.2) << quirk;
  }
}

TEST(PtzQuirks, SecondProfileAloneMoves) {
  BentLens lens("ptz-second-profile-only");
  EXPECT_EQ(FaultCodes(lens.Move(PanTilt("1", "0"))), "env:Sender ter:InvalidArgVal ter:NoPTZProfile");
  const std::string second = "<ProfileToken>profile_2</ProfileToken>";
  EXPECT_EQ(lens.Camera().Ptz("GetStatus", second).httpStatus, 200);
  const std::string profiles = Ask(lens.Camera(), "GetProfiles").body;
  const std::size_t shown = profiles.find("<tt:PTZConfiguration ");
  EXPECT_GT(shown, profiles.find("token=\"profile_2\""));
  EXPECT_LT(shown, profiles.find("token=\"profile_3\""));
  EXPECT_EQ(profiles.find("<tt:PTZConfiguration ", shown + 1), std::string::npos);
  EXPECT_THAT(Ask(lens.Camera(), "GetProfile").body, Not(HasSubstr("<tt:PTZConfiguration ")));
  EXPECT_THAT(lens.Camera().Media("GetProfile", second).body, HasSubstr("<tt:PTZConfiguration "));
}

TEST(PtzQuirks, ScaledRangesAreTakenAsTheyAreTold) {
  BentLens lens("ptz-range-scaled");
  EXPECT_EQ(lens.Move(PanTilt("50", "0") + Zoom("100")).httpStatus, 200);
  EXPECT_DOUBLE_EQ(lens.After(seconds(60)).pan, 0.2);
  EXPECT_EQ(FaultCodes(lens.Move(PanTilt("101", "0"))), "env:Sender ter:InvalidArgVal ter:InvalidVelocity");
}

TEST(PtzQuirks, SpacesInLowerCaseAreTaken) {
  const std::string axes = std::string(
                               "<PanTilt x=\"1\" y=\"0\" "
                               "space=\"http://www.onvif.org/ver10/tptz/pantiltspaces/velocitygenericspace\"") +
                           kTtNamespace + "/>";
  EXPECT_EQ(FaultCodes(BentLens().Move(axes)), kNoSpace);
  EXPECT_EQ(BentLens("ptz-space-lower-case").Move(axes).httpStatus, 200);
}

TEST(PtzQuirks, StopDoesNotStop) {
  BentLens lens("ptz-stop-ignored");
  lens.Move(PanTilt("1", "0"), "<Timeout>PT60S</Timeout>");
  EXPECT_EQ(lens.Do("Stop").httpStatus, 200);
  EXPECT_EQ(lens.After(seconds(60)).pan, 1);
  BentLens refusing("ptz-stop-fault");
  refusing.Move(PanTilt("1", "0"), "<Timeout>PT60S</Timeout>");
  EXPECT_EQ(FaultCodes(refusing.Do("Stop")), "env:Receiver ter:ActionNotSupported");
  EXPECT_EQ(refusing.Move(PanTilt("0", "0")).httpStatus, 200) << "a velocity of zero must do";
  EXPECT_EQ(refusing.After(seconds(60)).pan, 0);
}

TEST(PtzQuirks, StopNeedsBothGroups) {
  BentLens lens("ptz-stop-needs-both");
  EXPECT_EQ(FaultCodes(lens.Do("Stop")), kInvalidArgs);
  EXPECT_EQ(FaultCodes(lens.Do("Stop", "<PanTilt>true</PanTilt>")), kInvalidArgs);
  EXPECT_EQ(lens.Do("Stop", "<PanTilt>true</PanTilt><Zoom>true</Zoom>").httpStatus, 200);
}

TEST(PtzQuirks, MovesAreRefused) {
  EXPECT_EQ(FaultCodes(BentLens("ptz-zero-refused").Move(PanTilt("0", "0") + Zoom("0"))),
            "env:Sender ter:InvalidArgVal ter:InvalidVelocity");
  EXPECT_EQ(BentLens("ptz-zero-refused").Move(PanTilt("0", "0") + Zoom("0.1")).httpStatus, 200);
  EXPECT_EQ(FaultCodes(BentLens("ptz-timeout-needed").Move(PanTilt("1", "0"), "")), kInvalidArgs);
  EXPECT_EQ(BentLens("ptz-timeout-needed").Move(PanTilt("1", "0")).httpStatus, 200);
  EXPECT_EQ(FaultCodes(BentLens("ptz-move-fault").Move(PanTilt("1", "0"))), "env:Receiver ter:Action");
  EXPECT_EQ(FaultCodes(BentLens("ptz-move-fault").Step(PanTilt("1", "0"))), "env:Receiver ter:Action");
}

TEST(PtzQuirks, HomeIsNotReached) {
  BentLens lens("ptz-home-ignored");
  lens.Move(PanTilt("1", "0"));
  EXPECT_EQ(lens.Do("GotoHomePosition").httpStatus, 200);
  EXPECT_DOUBLE_EQ(lens.After(seconds(60)).pan, 0.4);
  EXPECT_EQ(FaultCodes(BentLens("ptz-home-fault").Do("GotoHomePosition")),
            "env:Receiver ter:Action ter:NoHomePosition");
}

TEST(PtzQuirks, HomeIsNotSet) {
  BentLens lens("ptz-home-not-set");
  lens.Move(PanTilt("1", "0"));
  lens.After(seconds(60));
  EXPECT_EQ(lens.Do("SetHomePosition").httpStatus, 200);
  EXPECT_EQ(lens.Do("GotoHomePosition").httpStatus, 200);
  EXPECT_EQ(lens.After(seconds(60)).pan, 0);
}

}  // namespace
