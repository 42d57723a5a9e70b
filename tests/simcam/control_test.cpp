// The control address of a camera, over HTTP.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "simcam/quirks/quirk.h"
#include "simcam/simcamera.h"
#include "tests/simcam/messages.h"
#include "tests/simcam/with_control.h"

namespace {

using Json = nlohmann::json;
using simcam::SimCamera;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using simcamtest::WithControl;
using testing::HasSubstr;

class ControlAddress : public testing::Test {
 protected:
  HttpReply Ask(const std::string& method, const std::string& target, const std::string& body = "",
                const std::string& headers = "Host: localhost:1\r\n") const {
    const HttpConnection connection(m_camera.ControlPort());
    connection.Send(method + " " + target + " HTTP/1.1\r\n" + headers +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return connection.Receive();
  }

  Json Get(const std::string& target) const { return Json::parse(Ask("GET", target).body); }

  // Asks the camera itself.
  int Call(const std::string& path, const char* nameSpace, const std::string& operation, const std::string& content,
           const std::string& password = "simcam") const {
    const auto token = simcamtest::MakeToken("admin", password, m_clock->UtcNow());
    return HttpConnection(m_camera.Port())
        .Post(path, Envelope(simcamtest::SecurityHeader(token), Element(operation, nameSpace, content)))
        .status;
  }

  std::shared_ptr<simcamtest::ManualClock> m_clock = std::make_shared<simcamtest::ManualClock>();
  SimCamera m_camera{simcam::LoadModel("ptz-dome"), WithControl(m_clock)};
};

std::vector<std::string> On(const HttpReply& reply) {
  return Json::parse(reply.body).at("on").get<std::vector<std::string>>();
}

using Texts = std::vector<std::string>;

TEST_F(ControlAddress, ListsAllQuirksWithWhatTheyTake) {
  const HttpReply reply = Ask("GET", "/quirks");
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.head, HasSubstr("Content-Type: application/json"));
  const Json list = Json::parse(reply.body);
  EXPECT_EQ(list.at("on"), Json::array());
  std::size_t count = 0;
  for (const simcam::QuirkGroup& group : simcam::AllQuirks()) {
    for (const simcam::Quirk& quirk : group.quirks) {
      const Json& row = list.at("quirks").at(count++);
      EXPECT_EQ(row.at("name"), quirk.name);
      EXPECT_EQ(row.at("group"), group.name);
      EXPECT_EQ(row.at("trouble"), quirk.trouble);
    }
  }
  EXPECT_EQ(list.at("quirks").size(), count);
}

TEST_F(ControlAddress, DescribesValuesAndOperations) {
  std::map<std::string, Json> rows;
  const Json list = Get("/quirks");
  for (const Json& row : list.at("quirks")) {
    rows[row.at("name").get<std::string>()] = row;
  }
  EXPECT_TRUE(rows.at("auth-none").at("value").is_null());
  EXPECT_EQ(rows.at("auth-none").at("operations"), Json::array());
  EXPECT_EQ(rows.at("clock-window").at("value"),
            Json::parse(R"({"meaning": "seconds allowed both ways", "standard": "2", "min": 1, "max": 86400})"));
  EXPECT_EQ(rows.at("auth-role").at("value").at("choices"), Json::parse(R"(["operator", "user"])"));
  EXPECT_EQ(rows.at("clock-zeros").at("operations"), Json::parse(R"(["GetSystemDateAndTime"])"));
}

TEST_F(ControlAddress, SwitchesQuirksOnAndOff) {
  const HttpReply on = Ask("POST", "/quirks", "clock-offset=-5@GetProfiles#2\r\n\nauth-none\n");
  EXPECT_EQ(on.status, 200);
  EXPECT_EQ(On(on), (Texts{"clock-offset=-5@GetProfiles#2", "auth-none"}));
  EXPECT_EQ(Call("/onvif/device_service", simcamtest::kDeviceNs, "GetDeviceInformation", "", "wrong"), 200);
  const HttpReply off = Ask("DELETE", "/quirks/auth-none");
  EXPECT_EQ(off.status, 200);
  EXPECT_EQ(On(off), Texts{"clock-offset=-5@GetProfiles#2"});
  EXPECT_EQ(Call("/onvif/device_service", simcamtest::kDeviceNs, "GetDeviceInformation", "", "wrong"), 400);
  EXPECT_EQ(On(Ask("DELETE", "/quirks")), Texts());
}

TEST_F(ControlAddress, OneWrongLineSwitchesNothingOn) {
  const HttpReply reply = Ask("POST", "/quirks", "auth-none\nauth-nome\n");
  EXPECT_EQ(reply.status, 400);
  EXPECT_THAT(Json::parse(reply.body).at("error").get<std::string>(), HasSubstr("did you mean auth-none?"));
  EXPECT_EQ(On(Ask("GET", "/quirks")), Texts());
}

TEST_F(ControlAddress, TellsWhatTheCameraIsAndDoes) {
  const Json camera = Get("/camera");
  EXPECT_EQ(camera.at("model"), "ptz-dome");
  EXPECT_EQ(camera.at("port"), m_camera.Port());
  EXPECT_EQ(camera.at("controlPort"), m_camera.ControlPort());
  EXPECT_TRUE(camera.at("streamPort").is_null());
  EXPECT_EQ(camera.at("viewers"), 0);
  const simcam::CameraModel& model = m_camera.Model();
  ASSERT_EQ(camera.at("profiles").size(), model.profiles.size());
  const Json& profile = camera.at("profiles").at(0);
  EXPECT_EQ(profile.at("token"), model.profiles.front().token);
  EXPECT_EQ(profile.at("videoEncoder").at("width"), model.videoEncoders.front().width);
  EXPECT_EQ(profile.at("videoEncoder").at("encoding"), "H264");
  EXPECT_EQ(camera.at("lenses").at(0).at("moving"), false);
  EXPECT_EQ(camera.at("lenses").at(0).at("presets"), model.ptz->nodes.front().presets.size());
}

TEST_F(ControlAddress, FollowsTheLens) {
  const double before = Get("/camera").at("lenses").at(0).at("pan");
  ASSERT_EQ(Call(m_camera.Model().paths.ptz, simcamtest::kPtz20Ns, "ContinuousMove",
                 simcamtest::kFirstProfile + "<Velocity>" + simcamtest::PanTilt("1", "0") + "</Velocity>"),
            200);
  m_clock->Advance(std::chrono::milliseconds(500));
  const Json lens = Get("/camera").at("lenses").at(0);
  EXPECT_EQ(lens.at("moving"), true);
  EXPECT_GT(lens.at("pan").get<double>(), before);
}

TEST_F(ControlAddress, CountsRequestsByTheirEnd) {
  const auto ask = [this](const std::string& operation, const std::string& password) {
    return Call("/onvif/device_service", simcamtest::kDeviceNs, operation, "", password);
  };
  EXPECT_EQ(ask("GetDeviceInformation", "simcam"), 200);
  EXPECT_EQ(ask("GetDeviceInformation", "wrong"), 400);
  EXPECT_EQ(ask("GetNothing", "simcam"), 500);
  HttpConnection(m_camera.Port())
      .Post("/onvif/device_service", Envelope("", Element("GetDeviceInformation", simcamtest::kDeviceNs)));
  const Json camera = Get("/camera");
  EXPECT_EQ(camera.at("requests"), 4);
  EXPECT_EQ(camera.at("refused"), 2);
  EXPECT_EQ(camera.at("faults"), 1);
  EXPECT_EQ(camera.at("wrongTries"), 1) << "a call without token is no try";
}

struct Refusal {
  const char* method;
  const char* target;
  const char* body;
  int status;
  const char* error;
};

class ControlRefusal : public ControlAddress, public testing::WithParamInterface<Refusal> {};

TEST_P(ControlRefusal, IsJsonWithTheReason) {
  const Refusal& refusal = GetParam();
  const HttpReply reply = Ask(refusal.method, refusal.target, refusal.body);
  EXPECT_EQ(reply.status, refusal.status);
  EXPECT_THAT(Json::parse(reply.body).at("error").get<std::string>(), HasSubstr(refusal.error));
}

constexpr Refusal kRefusals[] = {
    {"GET", "/", "", 404, "/camera, /quirks, /quirks/NAME, /reboot, /disconnect and /account"},
    {"GET", "/quirks/", "", 404, "there are"},
    {"DELETE", "/quirks/auth-none", "", 404, "no quirk \"auth-none\" is on"},
    {"DELETE", "/quirks/%22%FF\xFF", "", 404, "is on"},
    {"GET", "/quirks/auth-none", "", 405, "here you can DELETE"},
    {"PUT", "/quirks", "auth-none", 405, "here you can GET, POST, DELETE"},
    {"POST", "/camera", "", 405, "here you can GET"},
    {"POST", "/quirks", "", 400, "one quirk a line"},
    {"POST", "/quirks", "\r\n\r\n", 400, "one quirk a line"},
    {"POST", "/quirks", "\xFF\xFE", 400, "no quirk is called"},
    {"POST", "/quirks", "auth-none#0", 400, "1 to 1000000"},
    {"GET", "/reboot", "", 405, "here you can POST"},
    {"POST", "/reboot", "", 400, "milliseconds that the camera is gone, 0 to 600000"},
    {"POST", "/reboot", "600001", 400, "0 to 600000"},
    {"POST", "/reboot", "-1", 400, "0 to 600000"},
    {"POST", "/reboot", "5s", 400, "0 to 600000"},
    {"POST", "/reboot", "5\n6", 400, "0 to 600000"},
    {"POST", "/account", "root", 400, "in a second line, a password"},
    {"POST", "/account", "root\nnew\nmore", 400, "in a second line, a password"},
    {"POST", "/account", "root\n1234567890123456789012345678901234567890123456789012345678901234+", 400,
     "1 to 64 bytes"}};
INSTANTIATE_TEST_SUITE_P(Rows, ControlRefusal, testing::ValuesIn(kRefusals));

TEST_F(ControlAddress, WrongMethodNamesTheRightOnes) {
  EXPECT_THAT(Ask("PUT", "/quirks").head, HasSubstr("Allow: GET, POST, DELETE"));
}

TEST_F(ControlAddress, OtherHostsAreRefused) {
  for (const char* const host : {"localhost", "127.0.0.1", "127.0.0.1:80", "[::1]:80"}) {
    EXPECT_EQ(Ask("GET", "/camera", "", std::string("Host: ") + host + "\r\n").status, 200) << host;
  }
  for (const char* const host : {"evil.example", "localhost.evil.example:80", "10.0.0.1", "[::2]", "["}) {
    const HttpReply reply = Ask("GET", "/camera", "", std::string("Host: ") + host + "\r\n");
    EXPECT_EQ(reply.status, 403) << host;
    EXPECT_THAT(reply.body, HasSubstr("\"error\"")) << host;
  }
}

TEST_F(ControlAddress, RequestsOfWebPagesAreRefused) {
  const HttpReply reply = Ask("POST", "/quirks", "auth-none", "Host: localhost\r\nOrigin: http://evil.example\r\n");
  EXPECT_EQ(reply.status, 403);
  EXPECT_EQ(On(Ask("GET", "/quirks")), Texts());
}

TEST(ControlPort, IsThereOnlyWhenAskedFor) {
  const SimCamera camera(simcam::LoadModel("fixed-box"));
  EXPECT_EQ(camera.ControlPort(), 0);
}

TEST(ControlPort, InUseIsToldByItsOwnNumber) {
  const SimCamera first(simcam::LoadModel("fixed-box"));
  simcam::CameraOptions options;
  options.controlPort = first.Port();
  try {
    const SimCamera second(simcam::LoadModel("fixed-box"), options);
    FAIL();
  } catch (const simcam::CameraError& error) {
    EXPECT_THAT(error.what(), HasSubstr("port " + std::to_string(first.Port())));
  }
}

TEST(ControlPort, EndsWithTheCamera) {
  simcam::CameraOptions options;
  options.controlPort = 0;
  SimCamera camera(simcam::LoadModel("fixed-box"), options);
  EXPECT_TRUE(HttpConnection(camera.ControlPort()).IsOpen());
  camera.Stop();
  EXPECT_FALSE(HttpConnection(camera.ControlPort()).IsOpen());
}

TEST(SnapshotQuirks, ChangeHowSnapshotsTravelAndNothingElse) {
  simcam::CameraOptions options;
  options.quirks = {"http-status=503@snapshot#2"};
  const SimCamera camera(simcam::LoadModel("ptz-dome"), options);
  const auto statusOf = [&camera](const std::string& request) {
    const HttpConnection connection(camera.Port());
    connection.Send(request);
    return connection.Receive().status;
  };
  const std::string snapshot = "GET /snapshot/profile_2.jpg HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const std::string date = simcamtest::PostRequest(
      "/onvif/device_service", Envelope("", Element("GetSystemDateAndTime", simcamtest::kDeviceNs)));
  EXPECT_EQ(statusOf(snapshot), 200);
  EXPECT_EQ(statusOf(date), 200);
  EXPECT_EQ(statusOf(snapshot), 503);
  EXPECT_EQ(statusOf(snapshot), 200);
}

TEST(ModelQuirks, AreOnFromTheStartBesidesThoseOfTheOptions) {
  simcam::CameraModel model = simcam::LoadModel("fixed-box");
  model.quirks = {"auth-none"};
  simcam::CameraOptions options;
  options.quirks = {"clock-offset=5"};
  options.controlPort = 0;
  const SimCamera camera(model, options);
  const HttpConnection connection(camera.ControlPort());
  connection.Send("GET /camera HTTP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_EQ(Json::parse(connection.Receive().body).at("quirks"), Json::parse(R"(["auth-none", "clock-offset=5"])"));
}

}  // namespace
