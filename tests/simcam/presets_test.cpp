// Nodes, configurations, presets and the home position of the PTZ service as a client sees them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/bench.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::Bench;
using simcamtest::FaultCodes;
using simcamtest::kNoToken;
using simcamtest::PresetToken;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

std::string Profile(const Bench& bench) {
  return simcamtest::ProfileToken(bench.Model().profiles.front().token);
}

std::string PresetName(const std::string& name) {
  return "<PresetName>" + name + "</PresetName>";
}

std::string Vector(const std::string& x, const std::string& y, const std::string& zoom) {
  const std::string tt = " xmlns=\"http://www.onvif.org/ver10/schema\"";
  return "<PanTilt x=\"" + x + "\" y=\"" + y + "\"" + tt + "/><Zoom x=\"" + zoom + "\"" + tt + "/>";
}

// Moves the lens by a vector at full speed and waits until it stands.
void MoveBy(Bench& bench, const std::string& vector) {
  ASSERT_EQ(FaultCodes(bench.Ptz("RelativeMove", Profile(bench) + "<Translation>" + vector + "</Translation><Speed>" +
                                                     Vector("1", "1", "1") + "</Speed>")),
            "");
  bench.Clock().Advance(seconds(60));
}

TEST(Presets, KeepThePlaceOfTheLens) {
  Bench bench("ptz-dome");
  MoveBy(bench, Vector("0.5", "-0.25", "0.125"));
  EXPECT_THAT(bench.Ptz("SetPreset", Profile(bench) + PresetName("QARN3")).body,
              HasSubstr("<tptz:PresetToken>preset_2</tptz:PresetToken>"));  // the factory's is preset_1
  EXPECT_THAT(bench.Ptz("GetPresets", Profile(bench)).body,
              HasSubstr("<tptz:Preset token=\"preset_2\"><tt:Name>QARN3</tt:Name><tt:PTZPosition><tt:PanTilt x=\"0.5\" "
                        "y=\"-0.25\" space=\"http://www.onvif.org/ver10/tptz/PanTiltSpaces/PositionGenericSpace\"/>"
                        "<tt:Zoom x=\"0.125\""));
}

TEST(Presets, GotoMovesTheLensThereInFiniteTime) {
  Bench bench("ptz-dome");
  bench.Ptz("SetPreset", Profile(bench) + PresetName("start"));
  MoveBy(bench, Vector("0.8", "0", "0"));
  ASSERT_EQ(FaultCodes(bench.Ptz("GotoPreset", Profile(bench) + PresetToken("preset_2") + "<Speed>" +
                                                   Vector("1", "1", "1") + "</Speed>")),
            "");
  bench.Clock().Advance(seconds(1));
  EXPECT_DOUBLE_EQ(bench.State().PositionOf("ptz_node_1")->pan, 0.4);  // 0.4 a second
  bench.Clock().Advance(seconds(2));
  EXPECT_EQ(bench.State().PositionOf("ptz_node_1")->pan, 0);
}

TEST(Presets, FactoryPresetsAreThereFromTheStart) {
  const Bench bench("axis-dome");
  EXPECT_THAT(bench.Ptz("GetPresets", Profile(bench)).body,
              testing::AllOf(HasSubstr("<tptz:Preset token=\"pos_front\"><tt:Name>Front door</tt:Name>"),
                             HasSubstr("<tptz:Preset token=\"pos_raw\"><tt:PTZPosition>")));
}

TEST(Presets, NameIsOptional) {
  const Bench bench("step-dome");
  ASSERT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench))), "");
  EXPECT_THAT(bench.Ptz("GetPresets", Profile(bench)).body,
              testing::AllOf(HasSubstr("<tptz:Preset token=\"slot1\">"), Not(HasSubstr("<tt:Name>"))));
}

TEST(Presets, NameThatAnotherPresetHasIsRefused) {
  const Bench bench("ptz-dome");
  bench.Ptz("SetPreset", Profile(bench) + PresetName("a"));
  EXPECT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench) + PresetName("a"))),
            "env:Sender ter:InvalidArgVal ter:PresetExist");
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").size(), 2U);
}

TEST(Presets, ImpossibleNamesAreRefused) {
  const Bench bench("ptz-dome");
  for (const std::string& name : {std::string(), std::string(65, 'x')}) {
    EXPECT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench) + PresetName(name))),
              "env:Sender ter:InvalidArgVal ter:InvalidPresetName")
        << name;
  }
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").size(), 1U);
}

TEST(Presets, WithATokenOneIsOverwritten) {
  Bench bench("ptz-dome");
  MoveBy(bench, Vector("-0.5", "0", "0"));
  ASSERT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench) + PresetToken("preset_1"))), "");
  const std::vector<simcam::Preset> presets = bench.State().PresetsOf("ptz_node_1");
  ASSERT_EQ(presets.size(), 1U);
  EXPECT_EQ(presets[0].name, "Entrance");
  EXPECT_EQ(presets[0].position.pan, -0.5);
  EXPECT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench) + PresetName("Entrance") + PresetToken("preset_1"))), "");
  EXPECT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench) + PresetToken("preset_9"))), kNoToken);
}

TEST(Presets, MoreThanTheMaximumAreRefused) {
  const Bench bench("step-dome");
  for (int i = 0; i < 8; ++i) {
    ASSERT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench))), "") << i;
  }
  EXPECT_EQ(FaultCodes(bench.Ptz("SetPreset", Profile(bench))), "env:Receiver ter:Action ter:TooManyPresets");
  EXPECT_EQ(bench.State().PresetsOf("stepper").size(), 8U);
}

TEST(Presets, RemovedOneIsGoneAndItsTokenDoesNotComeBack) {
  const Bench bench("ptz-dome");
  bench.Ptz("SetPreset", Profile(bench));
  EXPECT_EQ(bench.Ptz("RemovePreset", Profile(bench) + PresetToken("preset_2")).httpStatus, 200);
  EXPECT_EQ(FaultCodes(bench.Ptz("RemovePreset", Profile(bench) + PresetToken("preset_2"))), kNoToken);
  EXPECT_EQ(FaultCodes(bench.Ptz("GotoPreset", Profile(bench) + PresetToken("preset_2"))), kNoToken);
  EXPECT_EQ(FaultCodes(bench.Ptz("GotoPreset", Profile(bench) + PresetToken(""))), kNoToken);
  EXPECT_EQ(FaultCodes(bench.Ptz("RemovePreset", Profile(bench))), "env:Sender ter:InvalidArgs");
  EXPECT_THAT(bench.Ptz("SetPreset", Profile(bench)).body, HasSubstr(">preset_3<"));
}

TEST(Presets, OfTheFirstReleaseAreToldByTokenAndName) {
  const Bench bench("legacy-1-0");
  bench.Ptz("SetPreset", Profile(bench) + PresetName("QARN1"));
  EXPECT_THAT(bench.Ptz("GetPresets", Profile(bench)).body,
              HasSubstr("<tptz:PTZPreset token=\"p1\"><tt:Name>QARN1</tt:Name>"));
  for (const char* const operation : {"GotoPreset", "RemovePreset"}) {
    EXPECT_EQ(FaultCodes(bench.Ptz(operation, Profile(bench) + PresetToken("p1"))), "env:Sender ter:InvalidArgs");
    EXPECT_EQ(FaultCodes(bench.Ptz(operation, Profile(bench) + PresetToken("p1") + PresetName("QARN1"))), "");
  }
  EXPECT_TRUE(bench.State().PresetsOf("node0").empty());
}

TEST(Home, IsWhereItWasSet) {
  Bench bench("ptz-dome");
  MoveBy(bench, Vector("0.25", "0", "0"));
  ASSERT_EQ(FaultCodes(bench.Ptz("SetHomePosition", Profile(bench))), "");
  MoveBy(bench, Vector("0.5", "0.5", "0.5"));
  bench.Ptz("GotoHomePosition", Profile(bench));
  bench.Clock().Advance(seconds(60));
  EXPECT_EQ(bench.State().PositionOf("ptz_node_1")->pan, 0.25);
  EXPECT_EQ(bench.State().PositionOf("ptz_node_1")->zoom, 0);
}

TEST(Home, ThatIsFixedOrMissingIsNotSet) {
  const Bench fixed("canon-box");
  EXPECT_EQ(FaultCodes(fixed.Ptz("SetHomePosition", Profile(fixed))),
            "env:Receiver ter:Action ter:CannotOverwriteHome");
  const Bench missing("legacy-1-0");
  EXPECT_EQ(FaultCodes(missing.Ptz("SetHomePosition", Profile(missing))), "env:Receiver ter:ActionNotSupported");
}

TEST(Nodes, TellSpacesPresetsAndHome) {
  const Bench bench("ptz-dome");
  const std::string all = bench.Ptz("GetNodes").body;
  EXPECT_THAT(all, HasSubstr("<tptz:PTZNode token=\"ptz_node_1\" FixedHomePosition=\"false\">"));
  EXPECT_THAT(all, HasSubstr("<tt:MaximumNumberOfPresets>64</tt:MaximumNumberOfPresets><tt:HomeSupported>true<"));
  EXPECT_THAT(all, HasSubstr("<tt:ContinuousPanTiltVelocitySpace>"));
  EXPECT_THAT(bench.Ptz("GetNode", "<NodeToken>ptz_node_1</NodeToken>").body, HasSubstr("Dome drive"));
  EXPECT_EQ(FaultCodes(bench.Ptz("GetNode", "<NodeToken>ptz_1</NodeToken>")),
            "env:Sender ter:InvalidArgVal ter:NoEntity");
}

TEST(PtzConfigurations, AreToldAloneAndInTheList) {
  const Bench bench("ptz-dome");
  EXPECT_THAT(bench.Ptz("GetConfigurations").body,
              HasSubstr("<tptz:PTZConfiguration token=\"ptz_1\"><tt:Name>Dome</tt:Name><tt:UseCount>3<"));
  EXPECT_THAT(bench.Ptz("GetConfiguration", "<PTZConfigurationToken>ptz_1</PTZConfigurationToken>").body,
              HasSubstr("<tptz:PTZConfiguration token=\"ptz_1\">"));
  EXPECT_EQ(FaultCodes(bench.Ptz("GetConfiguration", "<PTZConfigurationToken>x</PTZConfigurationToken>")),
            "env:Sender ter:InvalidArgVal ter:NoConfig");
  EXPECT_EQ(FaultCodes(bench.Ptz("GetConfigurationOptions", "<ConfigurationToken>x</ConfigurationToken>")),
            "env:Sender ter:InvalidArgVal ter:NoConfig");
}

TEST(PtzConfigurations, OfOneModelAreNamedInThePlural) {
  const Bench bench("plural-ptz");
  EXPECT_THAT(bench.Ptz("GetConfigurations").body, HasSubstr("<tptz:PTZConfigurations token=\"000\">"));
}

std::string Options(const std::string& model) {
  const Bench bench(model);
  return bench
      .Ptz("GetConfigurationOptions",
           "<ConfigurationToken>" + bench.Model().ptz->configurations.front().token + "</ConfigurationToken>")
      .body;
}

TEST(PtzOptions, TellHowTheAxesMove) {
  const std::string range = "<tt:XRange><tt:Min>-1</tt:Min><tt:Max>1</tt:Max></tt:XRange>";
  EXPECT_THAT(Options("ptz-dome"),
              testing::AllOf(HasSubstr("VelocityGenericSpace</tt:URI>" + range + "<tt:YRange>"),
                             HasSubstr("<tt:PTZTimeout><tt:Min>PT0.1S</tt:Min><tt:Max>PT60S</tt:Max>")));
  EXPECT_THAT(Options("step-dome"),
              testing::AllOf(HasSubstr("<tt:RelativePanTiltTranslationSpace>"),
                             HasSubstr("<tt:RelativeZoomTranslationSpace>"), Not(HasSubstr("Continuous"))));
  EXPECT_THAT(Options("zoom-box"),
              testing::AllOf(HasSubstr("<tt:ContinuousZoomVelocitySpace>"), Not(HasSubstr("PanTilt"))));
}

TEST(StepDome, MovesInStepsOnly) {
  Bench bench("step-dome");
  for (const char* const number : {"0.5", "0"}) {
    EXPECT_EQ(FaultCodes(bench.Ptz("ContinuousMove",
                                   Profile(bench) + "<Velocity>" + Vector(number, "0", number) + "</Velocity>")),
              "env:Sender ter:InvalidArgVal ter:SpaceNotSupported")
        << number;
  }
  MoveBy(bench, Vector("0.0625", "0", "0"));
  EXPECT_EQ(bench.State().PositionOf("stepper")->pan, 0.0625);
}

TEST(ZoomBox, MovesItsZoomOnly) {
  Bench bench("zoom-box");
  MoveBy(bench, Vector("0", "0", "0.25"));  // zeros for axes that it lacks ask for nothing
  EXPECT_EQ(bench.State().PositionOf("ZoomNode")->zoom, 0.25);
  EXPECT_EQ(FaultCodes(bench.Ptz("RelativeMove",
                                 Profile(bench) + "<Translation>" + Vector("0.1", "0", "0.25") + "</Translation>")),
            "env:Sender ter:InvalidArgVal ter:SpaceNotSupported");
  bench.Clock().Advance(seconds(60));
  EXPECT_EQ(bench.State().PositionOf("ZoomNode")->zoom, 0.25);
  EXPECT_THAT(bench.Ptz("GetStatus", Profile(bench)).body, Not(HasSubstr("PanTilt")));
}

}  // namespace
