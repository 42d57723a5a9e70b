// Different driver objects in different threads.

#include <array>
#include <memory>
#include <thread>

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

constexpr std::size_t kCameras = 64;
constexpr int kRounds = 5;

bool Asks(const HttpRequest& request, const std::string& operation) {
  return request.body.find("<" + operation + " ") != std::string::npos;
}

// A camera whose every answer carries its own name.
Reply AnswerOf(const std::string& name, const HttpRequest& request) {
  if (Asks(request, "GetProfiles")) {
    return Reply::Ok(Envelope("<trt:GetProfilesResponse><trt:Profiles token=\"" + name +
                              "\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles></trt:GetProfilesResponse>"));
  }
  if (Asks(request, "GetDeviceInformation")) {
    return Reply::Ok(Envelope("<tds:GetDeviceInformationResponse><tds:Manufacturer>" + name +
                              "</tds:Manufacturer></tds:GetDeviceInformationResponse>"));
  }
  if (Asks(request, "GetStreamUri")) {
    return Reply::Ok(Envelope("<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>rtsp://h:554/" + name +
                              "</tt:Uri></trt:MediaUri></trt:GetStreamUriResponse>"));
  }
  if (Asks(request, "GetSnapshotUri")) return Reply::Ok(FaultEnvelope("ter:ActionNotSupported", name));
  return Reply::Ok(Envelope("<tds:SomeResponse/>"));
}

// One round of what a server asks; how many of its results are wrong.
int WrongResults(ONVIFAPI& driver, const std::string& name) {
  std::map<std::string, std::string> info;
  std::string path;
  std::string shotPath = "kept";
  int port = 0;
  int flag = 0;
  int wrong = driver.TestConn() == 0 ? 0 : 1;
  wrong += driver.GetDeviceInfo(info) == 0 && info["vendor"] == name ? 0 : 1;
  wrong += driver.GetLivePathPort(path, port) == 0 && path == "/" + name && port == 554 ? 0 : 1;
  wrong += driver.GetShotPathPort(shotPath, port, flag) == 1 && shotPath == "kept" && flag == 0 ? 0 : 1;
  return wrong;
}

TEST(DriversInThreads, WorkAtTheSameTimeEachWithItsOwnCamera) {
  ClearLog();
  std::array<ScriptedCamera, kCameras> cameras;
  std::array<int, kCameras> wrong{};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kCameras; ++i) {
    const std::string name = "camera" + std::to_string(i);
    cameras[i].AnswerAll([name](const HttpRequest& request) { return AnswerOf(name, request); });
    threads.emplace_back([&camera = cameras[i], &count = wrong[i], name] {
      const auto driver = MakeDriver(camera, name);
      for (int round = 0; round < kRounds; ++round) count += WrongResults(*driver, name);
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (std::size_t i = 0; i < kCameras; ++i) {
    EXPECT_EQ(wrong[i], 0) << "results of camera " << i;
    const std::vector<std::string> asked = Asked(cameras[i]);
    EXPECT_EQ(asked.size(), 6U * kRounds) << "requests to camera " << i;
    EXPECT_THAT(asked, testing::Not(testing::Contains(testing::HasSubstr("badly signed"))));
    EXPECT_THAT(
        asked,
        testing::Contains(testing::HasSubstr("<ProfileToken>camera" + std::to_string(i) + "<")).Times(3 * kRounds))
        << "requests of camera " << i << " must name its own profile";
  }
  if (PrivateLogReason().empty()) {
    EXPECT_EQ(LogLines().size(), kCameras * kRounds) << "one line for each refused snapshot";
  }
}

}  // namespace
}  // namespace testsupport
