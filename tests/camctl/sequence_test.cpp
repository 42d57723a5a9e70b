// The life of a camera as a server lives it: the real driver, one operation after the other, over HTTP.

#include <gtest/gtest.h>

#include "camctl/documents.h"
#include "camctl/steps.h"
#include "camctl/text.h"
#include "tests/camctl/session_fixture.h"
#include "tests/support/sleep_counter.h"

namespace camctl {
namespace {

constexpr int kG711 = 2;

// What a model's data imply for the operations that not every camera can do.
struct Expectation {
  const char* model;
  int videoType;      // of the streams that are set: 1 JPEG, 2 MPEG4, 3 H264
  const char* equal;  // size of both streams
  const char* live;   // another size for the live stream
  int audio;          // result of choosing G711
  int direction;      // that the lens knows; right when it has none
  int step;
  int start;
  int home;
  int preset;
};

constexpr Expectation kModels[] = {
    // two encoders that offer the same, audio, all axes
    {"axis-dome", 3, "640x360", "320x180", 0, 1, 0, 0, 0, 0},
    {"canon-box", 3, "640x480", "320x240", 0, 1, 0, 0, 0, 0},
    {"fisheye", 3, "640x480", "1024x768", 0, 1, 7, 7, 7, 7},
    // no audio: binding the first audio source fails
    {"fixed-box", 3, "640x480", "320x240", 1, 1, 7, 7, 7, 7},
    // its node has no home position
    {"legacy-1-0", 2, "704x576", "352x288", 0, 1, 0, 0, 7, 0},
    // encoders cannot be listed, but the second profile has what is asked for
    {"old-style", 3, "704x576", "352x288", 0, 1, 7, 7, 7, 7},
    {"plural-ptz", 3, "640x360", "1280x720", 0, 1, 0, 0, 0, 0},
    {"ptz-dome", 3, "640x360", "352x288", 0, 1, 0, 0, 0, 0},
    // creates the second profile
    {"single-profile", 3, "640x360", "320x180", 0, 1, 7, 7, 7, 7},
    // no velocity space: the camera refuses to move continuously
    {"step-dome", 3, "640x360", "320x180", 0, 1, 0, 1, 0, 0},
    // without pan and tilt no home and no presets are reported
    {"zoom-box", 3, "640x360", "1280x720", 0, 34, 0, 0, 7, 7},
};

STM_PROFILE Wish(const Expectation& row) {
  STM_PROFILE wish;
  wish.nVdoType = row.videoType;
  wish.nStmMode = 1;
  wish.strReso = wish.strLiveReso = row.equal;
  wish.strFps = wish.strLiveFps = "8";
  wish.strQual = wish.strLiveQual = "4";
  return wish;
}

OVF_MED_VDO_CONF ReadEncoder(ONVIFAPI& driver, const Capabilities& record, const std::string& token) {
  OnvifMediaService service;
  service.UpdateServiceParam(&driver, record.at("media_entry"), "", "");
  OVF_MED_PROFILE profile;
  EXPECT_EQ(service.GetProfile(token, profile), RET_ONVIF_OK) << token;
  return profile.VdoConf;
}

void ExpectEncoder(ONVIFAPI& driver, const Capabilities& record, const std::string& token, int videoType,
                   const std::string& size, const std::string& fps, const std::string& level) {
  const OVF_MED_VDO_CONF found = ReadEncoder(driver, record, token);
  EXPECT_EQ(found.strEncoding, OnvifMediaService::m_rgstrCodec[videoType - 1]) << token;
  EXPECT_EQ(found.strWidth + "x" + found.strHeight, size) << token;
  EXPECT_EQ(found.strFrameRateLimit, fps) << token;
  EXPECT_EQ(found.strQuality, driver.GetRealQualText(level)) << token;
}

class Sequence : public testing::TestWithParam<Expectation> {
 protected:
  Sequence() : m_live(GetParam().model) {}

  // Report, camera file, new driver object.
  void Store() {
    Capabilities report;
    ASSERT_EQ(m_live.Driver({}, m_live.FirstProfiles())->GetCapability(report), 0);
    CameraFile file;
    file.profiles = m_live.FirstProfiles();
    file.capabilities = report;
    const CameraFile stored = ParseCameraFile(CameraFileText(file), "camera file");
    ASSERT_EQ(stored.capabilities, report);
    m_record = stored.capabilities;
    m_driver = m_live.Driver(m_record, stored.profiles);
  }

  void SetEqual() {
    ASSERT_EQ(m_driver->SetStmProfile(Wish(GetParam())), 0);
    EXPECT_EQ(MainOf(m_driver->GetCH()), LiveOf(m_driver->GetCH()));
    ExpectEncoder(*m_driver, m_record, MainOf(m_driver->GetCH()), GetParam().videoType, GetParam().equal, "8", "4");
  }

  void SetDifferent() {
    STM_PROFILE wish = Wish(GetParam());
    wish.strLiveReso = GetParam().live;
    wish.strLiveFps = "5";
    wish.strLiveQual = "2";
    ASSERT_EQ(m_driver->SetStmProfile(wish), 0);
    const std::string pair = m_driver->GetCH();
    EXPECT_NE(MainOf(pair), LiveOf(pair));
    ExpectEncoder(*m_driver, m_record, MainOf(pair), GetParam().videoType, GetParam().equal, "8", "4");
    ExpectEncoder(*m_driver, m_record, LiveOf(pair), GetParam().videoType, GetParam().live, "5", "2");
  }

  void ReadPaths() {
    std::string main;
    std::string live;
    std::string shot;
    int port = 0;
    int flag = 0;
    EXPECT_EQ(m_driver->GetPathPort(main, port), 0);
    EXPECT_GT(port, 0);
    EXPECT_EQ(m_driver->GetLivePathPort(live, port), 0);
    EXPECT_NE(main, live);
    EXPECT_EQ(m_driver->GetShotPathPort(shot, port, flag), 0);
    EXPECT_EQ(port, m_live.GetConnection().port);
  }

  void MoveLens() {
    const Expectation& row = GetParam();
    EXPECT_EQ(m_driver->LensPTZ(row.direction), row.step);
    EXPECT_EQ(m_driver->LensPTZStart(row.direction), row.start);
    EXPECT_EQ(m_driver->LensPTZSpeedStart(row.direction, 2), row.start);
    EXPECT_EQ(m_driver->LensPTZStop(row.direction), row.start);
    EXPECT_EQ(m_driver->LensPTZ(33), row.home);
  }

  void UsePresets() {
    const int result = GetParam().preset;
    std::map<int, std::string> listed;
    EXPECT_EQ(m_driver->SetPreset(0, ""), result);
    EXPECT_EQ(m_driver->SetPreset(3, ""), result);
    EXPECT_EQ(m_driver->LensPreset(3, ""), result);
    EXPECT_EQ(m_driver->GetPresets(listed), result);
    using Presets = std::map<int, std::string>;
    const Presets stored = result == 0 ? Presets{{0, "qarn0"}, {3, "qarn3"}} : Presets();
    EXPECT_EQ(listed, stored);
    EXPECT_EQ(m_driver->DelPreset(0, ""), result);
    EXPECT_EQ(m_driver->DelPreset(-1, "QARN3"), result);
    listed.clear();
    EXPECT_EQ(m_driver->GetPresets(listed), result);
    EXPECT_TRUE(listed.empty());
  }

  LiveCamera m_live;
  Capabilities m_record;
  std::unique_ptr<ONVIFAPI> m_driver;
};

TEST_P(Sequence, ReportStoreSetMoveAndReportAgain) {
  ASSERT_NO_FATAL_FAILURE(Store());
  ASSERT_NO_FATAL_FAILURE(SetEqual());
  ASSERT_NO_FATAL_FAILURE(SetDifferent());
  EXPECT_EQ(m_driver->SetAudio(kG711), GetParam().audio);
  ReadPaths();
  MoveLens();
  UsePresets();
  Capabilities again;
  EXPECT_EQ(m_driver->GetCapability(again), 0);
  again["multi_channel_audio"] = m_record["multi_channel_audio"];  // names the profile that may be new
  EXPECT_EQ(again, m_record);
}

TEST_P(Sequence, SettingTheSameAgainAsksForNoUpdate) {
  ASSERT_NO_FATAL_FAILURE(Store());
  ASSERT_NO_FATAL_FAILURE(SetEqual());
  testsupport::ClearSleeps();
  ASSERT_NO_FATAL_FAILURE(SetEqual());
  EXPECT_TRUE(testsupport::Sleeps().empty()) << "the driver sleeps only after an update";
}

std::string NameOf(const testing::TestParamInfo<Expectation>& info) {
  return ReplaceAll(info.param.model, "-", "_");
}

INSTANTIATE_TEST_SUITE_P(EveryModel, Sequence, testing::ValuesIn(kModels), NameOf);

TEST(SequenceTable, HoldsEveryModel) {
  std::vector<std::string> names;
  for (const Expectation& row : kModels) names.emplace_back(row.model);
  EXPECT_EQ(names, simcam::ModelNames());
}

const Expectation& Dome() {
  static const Expectation row = {"ptz-dome", 3, "640x360", "352x288", 0, 1, 0, 0, 0, 0};
  return row;
}

TEST(TwoDriverObjects, SeeWhatTheOtherDid) {
  LiveCamera live(Dome().model);
  Capabilities record;
  ASSERT_EQ(live.Driver({}, live.FirstProfiles())->GetCapability(record), 0);
  const auto one = live.Driver(record, live.FirstProfiles());
  const auto other = live.Driver(record, live.FirstProfiles());
  ASSERT_EQ(one->SetStmProfile(Wish(Dome())), 0);
  testsupport::ClearSleeps();
  ASSERT_EQ(other->SetStmProfile(Wish(Dome())), 0);
  EXPECT_TRUE(testsupport::Sleeps().empty()) << "the camera was set already";
  EXPECT_EQ(one->GetCH(), other->GetCH());

  std::map<int, std::string> listed;
  EXPECT_EQ(one->SetPreset(5, ""), 0);
  EXPECT_EQ(other->GetPresets(listed), 0);
  EXPECT_EQ(listed, (std::map<int, std::string>{{5, "qarn5"}}));
  EXPECT_EQ(other->DelPreset(5, ""), 0);
  EXPECT_EQ(one->LensPreset(5, ""), 1);

  EXPECT_EQ(one->LensPTZStart(1), 0);
  EXPECT_EQ(other->LensPTZStop(1), 0);
}

TEST(CameraRestart, TheSameDriverObjectGoesOn) {
  LiveCamera live(Dome().model);
  Capabilities record;
  ASSERT_EQ(live.Driver({}, live.FirstProfiles())->GetCapability(record), 0);
  const auto driver = live.Driver(record, live.FirstProfiles());
  ASSERT_EQ(driver->SetStmProfile(Wish(Dome())), 0);

  live.Stop();
  Capabilities unread;
  EXPECT_EQ(driver->GetCapability(unread), 4);
  EXPECT_TRUE(unread.empty());
  EXPECT_EQ(driver->SetStmProfile(Wish(Dome())), 1);
  EXPECT_EQ(driver->SetAudio(kG711), 1);
  EXPECT_EQ(driver->LensPTZ(1), 1);

  live.Restart();  // as it was delivered: what was set is forgotten
  EXPECT_EQ(driver->TestConn(), 0);
  testsupport::ClearSleeps();
  EXPECT_EQ(driver->SetStmProfile(Wish(Dome())), 0);
  EXPECT_EQ(testsupport::Sleeps().size(), 1U) << "one update, after which the driver waits";
  ExpectEncoder(*driver, record, MainOf(driver->GetCH()), 3, "640x360", "8", "4");
  EXPECT_EQ(driver->SetPreset(1, ""), 0);
  EXPECT_EQ(driver->LensPTZ(1), 0);
}

}  // namespace
}  // namespace camctl
