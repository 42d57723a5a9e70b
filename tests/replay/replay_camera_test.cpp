#include "tests/replay/replay_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "onvif/camapi-onvif.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

/// A folder with the files that a test writes; it goes with the test.
class ReplayCameraTest : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(m_folder); }
  void TearDown() override { std::filesystem::remove_all(m_folder); }

  void Write(const std::string& name, const std::string& manufacturer) {
    const std::string body = "<tds:GetDeviceInformationResponse><tds:Manufacturer>" + manufacturer +
                             "</tds:Manufacturer></tds:GetDeviceInformationResponse>";
    std::ofstream(m_folder / name) << Envelope(body);
  }

  /// What a driver reads as the camera's vendor.
  static std::string VendorOf(const ReplayCamera& camera) {
    CameraCap cap;
    ONVIFAPI driver("127.0.0.1", camera.Port(), "u", "p", "", cap);
    std::map<std::string, std::string> info;
    driver.GetDeviceInfo(info);
    return info["vendor"];
  }

  const std::filesystem::path m_folder =
      std::filesystem::path(testing::TempDir()) / ("replay-" + std::to_string(getpid()));
};

TEST_F(ReplayCameraTest, AnswersWithTheFileOfTheOperation) {
  Write("GetDeviceInformation.xml", "One");
  Write("Other.xml", "Two");
  const ReplayCamera camera(m_folder);
  EXPECT_EQ(VendorOf(camera), "One");
  EXPECT_EQ(camera.Count("GetDeviceInformation"), 1U);
  EXPECT_EQ(camera.Count("GetDevice"), 0U);
}

TEST_F(ReplayCameraTest, AnotherFileCanStandForAnOperation) {
  Write("GetDeviceInformation.xml", "One");
  Write("Other.xml", "Two");
  const ReplayCamera camera(m_folder, {{"GetDeviceInformation", "Other"}});
  EXPECT_EQ(VendorOf(camera), "Two");
}

TEST_F(ReplayCameraTest, OperationsWithoutFileAreFaultsAndNoted) {
  Write("GetDeviceInformation.xml", "One");
  const ReplayCamera camera(m_folder);
  CameraCap cap;
  ONVIFAPI driver("127.0.0.1", camera.Port(), "u", "p", "", cap);
  std::map<std::string, std::string> info;
  EXPECT_EQ(driver.GetDeviceInfo(info), CAMERA_FAULT) << "the MAC address is not recorded";
  EXPECT_THAT(camera.Unrecorded(), testing::ElementsAre("GetNetworkInterfaces"));
}

TEST(OperationOf, IsTheFirstElementOfTheBody) {
  const auto operationOf = [](const std::string& body) {
    HttpRequest request;
    request.body = "<s:Envelope><s:Body xmlns:s=\"x\">\n" + body + "</s:Body></s:Envelope>";
    return OperationOf(request);
  };
  EXPECT_EQ(operationOf("<GetNodes xmlns=\"y\" />"), "GetNodes");
  EXPECT_EQ(operationOf("<GetNodes/>"), "GetNodes");
  EXPECT_EQ(operationOf("<GetNodes><A/></GetNodes>"), "GetNodes");
  EXPECT_EQ(operationOf("text"), "");
  EXPECT_EQ(operationOf(""), "");
}

}  // namespace
}  // namespace testsupport
