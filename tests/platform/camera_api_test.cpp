#include "platform/cameraapi.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/platform/http_client_fixture.h"

namespace {

class UnderivedCamera : public testing::Test {
 protected:
  CameraAPI m_camera{"host", 8080, "user", "secret", "a,b", true};
};

TEST_F(UnderivedCamera, EveryOperationAnswersNotSupported) {
  STM_PROFILE profile;
  CAM_PARAM_PROFILE param;
  std::map<int, std::string> numbered;
  std::map<std::string, std::string> named;
  std::string text;
  int a = 0, b = 0, c = 0, d = 0;
  const struct {
    const char* operation;
    int result;
  } kAnswers[] = {
      {"SetStmProfile", m_camera.SetStmProfile(profile)},
      {"SetVdoStmType", m_camera.SetVdoStmType(1, 1)},
      {"SetDetVdoStmType", m_camera.SetDetVdoStmType(1, 1)},
      {"SetStream", m_camera.SetStream("", "", "")},
      {"SetLiveStream", m_camera.SetLiveStream("", "", "")},
      {"SetShotReso", m_camera.SetShotReso("")},
      {"SetPreset", m_camera.SetPreset(1, "")},
      {"DelPreset", m_camera.DelPreset(1, "")},
      {"GetPresets", m_camera.GetPresets(numbered)},
      {"SetMotion", m_camera.SetMotion()},
      {"SetAlarm", m_camera.SetAlarm()},
      {"SetMDParam", m_camera.SetMDParam(1, 2, 3, 4)},
      {"SetAudio", m_camera.SetAudio(1)},
      {"GetPathPort", m_camera.GetPathPort(text, a)},
      {"GetLivePathPort", m_camera.GetLivePathPort(text, a)},
      {"GetDetPathPort", m_camera.GetDetPathPort(text, a)},
      {"GetDiTrigValue", m_camera.GetDiTrigValue(text)},
      {"GetShotPathPort", m_camera.GetShotPathPort(text, a, b)},
      {"GetMDParam", m_camera.GetMDParam(a, b, c, d)},
      {"LensPTZ", m_camera.LensPTZ(1)},
      {"LensPTZStart", m_camera.LensPTZStart(1)},
      {"LensPTZSpeedStart", m_camera.LensPTZSpeedStart(1, 1)},
      {"LensPTZStop", m_camera.LensPTZStop(1)},
      {"LensABSPosition", m_camera.LensABSPosition(1, 1)},
      {"LensPreset", m_camera.LensPreset(1, "")},
      {"GetCapability", m_camera.GetCapability(named)},
      {"GetDeviceInfo", m_camera.GetDeviceInfo(named)},
      {"TestConn", m_camera.TestConn()},
      {"SetCamParam", m_camera.SetCamParam(param)},
      {"GetCameraSpecific", m_camera.GetCameraSpecific(numbered)},
      {"SetAutoFocus", m_camera.SetAutoFocus()},
  };
  for (const auto& answer : kAnswers) EXPECT_EQ(answer.result, 7) << answer.operation;
  EXPECT_TRUE(numbered.empty() && named.empty() && text.empty()) << "an output was touched";
  EXPECT_EQ(a + b + c + d, 0) << "an output was touched";
}

TEST_F(UnderivedCamera, TellsWhatItWasMadeWith) {
  EXPECT_EQ(m_camera.GetHost(), "host");
  EXPECT_EQ(m_camera.GetPort(), 8080);
  EXPECT_EQ(m_camera.GetUser(), "user");
  EXPECT_EQ(m_camera.GetPassword(), "secret");
  EXPECT_EQ(m_camera.GetCH(), "a,b");
  EXPECT_EQ(m_camera.GetStreamFormat(), 0);
  EXPECT_EQ(m_camera.GetUsrAgent(), "");
  EXPECT_FALSE(m_camera.IsModeledAPI());
  EXPECT_TRUE(m_camera.IsDefinedAPI());
  EXPECT_FALSE(CameraAPI("", 0, "", "", "", false).IsDefinedAPI());
}

TEST(CameraAPI, MakingOneConnectsToNothing) {
  testsupport::ScriptedCamera camera;
  { const PlainCamera client(camera.Port()); }
  EXPECT_EQ(camera.Connections(), 0);
}

}  // namespace
