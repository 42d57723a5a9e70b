// The tour on every model: it passes, and the camera is then what it was.

#include <gtest/gtest.h>

#include "camctl/camerastate.h"
#include "camctl/commands.h"
#include "camctl/presets.h"
#include "camctl/text.h"
#include "tests/camctl/session_fixture.h"
#include "tests/camctl/temporary_file.h"

namespace camctl {
namespace {

// Everything of a camera that the tour may touch, as lines of text.
std::vector<std::string> Describe(LiveCamera& live, const Capabilities& record) {
  Connection connection = live.GetConnection();
  connection.capabilities = record;
  connection.profiles = live.FirstProfiles();
  Session session(connection);
  CameraState state;
  EXPECT_EQ(ReadState(state).run(session).result, 0);
  std::vector<std::string> lines;
  for (const OVF_MED_PROFILE& profile : state) {
    const OVF_MED_VDO_CONF& video = profile.VdoConf;
    lines.push_back(Joined({profile.strToken, video.strSourceToken, video.strToken, video.strEncoding, video.strWidth,
                            video.strHeight, video.strFrameRateLimit, video.strQuality, profile.AudConf.strSourceToken,
                            profile.AudConf.strToken, profile.AudConf.strEncoding, profile.strPtzToken},
                           " "));
  }
  std::list<OVF_PTZ_PRESET_POS> presets;
  const bool hasPresets = record.count("preset") > 0;
  EXPECT_EQ(hasPresets ? ReadPresets(presets).run(session).result : 0, 0);
  for (const OVF_PTZ_PRESET_POS& preset : presets) lines.push_back("preset " + preset.strName + " " + preset.strToken);
  return lines;
}

Capabilities ReportOf(const LiveCamera& live) {
  Capabilities report;
  EXPECT_EQ(live.Driver({}, live.FirstProfiles())->GetCapability(report), 0);
  return report;
}

class Tour : public testing::TestWithParam<std::string> {};

TEST_P(Tour, PassesAndLeavesTheCameraAsItWas) {
  LiveCamera live(GetParam());
  const Capabilities record = ReportOf(live);
  const std::vector<std::string> before = Describe(live, record);
  Console console(true);
  Session session(live.GetConnection());
  Runner runner(session, console, ShowSteps::All);
  const TemporaryFile snapshot("");
  TourOptions options;
  options.play = false;
  options.snapshot = snapshot.Path();
  RunTour(runner, options);
  const Report report = runner.Finish();
  EXPECT_EQ(report.result, 0) << report.cause.cause;
  EXPECT_EQ(report.steps.back().step, "report again");
  EXPECT_EQ(report.steps.back().detail, "as before");
  EXPECT_EQ(Describe(live, record), before);
}

std::string NameOfModel(const testing::TestParamInfo<std::string>& info) {
  return ReplaceAll(info.param, "-", "_");
}

INSTANTIATE_TEST_SUITE_P(EveryModel, Tour, testing::ValuesIn(simcam::ModelNames()), NameOfModel);

TEST(RestoreState, ProfilesBindingsAndEncodersComeBack) {
  LiveCamera live("ptz-dome");
  const Capabilities record = ReportOf(live);
  const std::vector<std::string> before = Describe(live, record);
  Connection connection = live.GetConnection();
  connection.capabilities = record;
  Session session(connection);
  CameraState state;
  ASSERT_EQ(ReadState(state).run(session).result, 0);

  OnvifMediaService media = session.MediaClient();
  OVF_MED_PROFILE created;
  ASSERT_EQ(media.CreateProfile("Another", created), RET_ONVIF_OK);
  OVF_MED_VDO_CONF encoder = state.front().VdoConf;
  encoder.strFrameRateLimit = "7";
  ASSERT_EQ(media.SetVideoEncoderConfiguration(encoder), RET_ONVIF_OK);
  ASSERT_EQ(media.AddVideoEncoderConfiguration(std::next(state.begin())->strToken, encoder.strToken), RET_ONVIF_OK);
  ASSERT_NE(Describe(live, record), before);

  const StepOutcome restored = RestoreState(state).run(session);
  EXPECT_EQ(restored.result, 0);
  EXPECT_EQ(restored.detail, "3 changes put back");
  EXPECT_EQ(Describe(live, record), before);
}

TEST(RestoreState, WhatWasNotBoundIsUnboundAgain) {
  LiveCamera live("single-profile");
  const Capabilities record = ReportOf(live);
  Connection connection = live.GetConnection();
  connection.capabilities = record;
  Session session(connection);
  OnvifMediaService media = session.MediaClient();
  OVF_MED_PROFILE bare;
  ASSERT_EQ(media.CreateProfile("Bare", bare), RET_ONVIF_OK);
  CameraState state;
  ASSERT_EQ(ReadState(state).run(session).result, 0);
  const std::vector<std::string> before = Describe(live, record);

  const OVF_MED_PROFILE& full = state.front();
  ASSERT_EQ(media.AddVideoSourceConfiguration(bare.strToken, full.VdoConf.strSourceToken), RET_ONVIF_OK);
  ASSERT_EQ(media.AddVideoEncoderConfiguration(bare.strToken, full.VdoConf.strToken), RET_ONVIF_OK);
  EXPECT_EQ(RestoreState(state).run(session).detail, "2 changes put back");
  EXPECT_EQ(Describe(live, record), before);
}

TEST(RestoreState, CameraThatIsGoneIsTold) {
  LiveCamera live("fixed-box");
  Connection connection = live.GetConnection();
  connection.capabilities = ReportOf(live);
  Session session(connection);
  CameraState state;
  ASSERT_EQ(ReadState(state).run(session).result, 0);
  live.Stop();
  EXPECT_EQ(RestoreState(state).run(session).result, 4);
}

}  // namespace
}  // namespace camctl
