// What happens to a camera while it runs: it starts anew, loses its connections, gets another account.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "simcam/simcamera.h"
#include "tests/simcam/digestclient.h"
#include "tests/simcam/messages.h"
#include "tests/simcam/with_control.h"

namespace {

using Json = nlohmann::json;
using simcam::SimCamera;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using simcamtest::Token;
using simcamtest::WithControl;
using std::chrono::hours;
using std::chrono::milliseconds;
using testing::HasSubstr;

class RunningCamera : public testing::Test {
 protected:
  explicit RunningCamera(const std::string& model = "ptz-dome")
      : m_camera(simcam::LoadModel(model), WithControl(m_clock)) {}

  HttpReply Tell(const std::string& target, const std::string& body = "") const {
    const HttpConnection connection(m_camera.ControlPort());
    connection.Send("POST " + target + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                    std::to_string(body.size()) + "\r\n\r\n" + body);
    return connection.Receive();
  }

  Token MakeToken(const std::string& password = "simcam", const std::string& user = "admin") const {
    return simcamtest::MakeToken(user, password, m_clock->UtcNow());
  }

  // The status of a signed question on a connection; 0: no answer.
  static int Ask(const HttpConnection& connection, const Token& token) {
    return connection
        .Post("/onvif/device_service",
              Envelope(simcamtest::SecurityHeader(token), Element("GetDeviceInformation", simcamtest::kDeviceNs)))
        .status;
  }

  int Ask(const Token& token) const { return Ask(HttpConnection(m_camera.Port()), token); }

  std::shared_ptr<simcamtest::ManualClock> m_clock = std::make_shared<simcamtest::ManualClock>();
  SimCamera m_camera;
};

class Reboot : public RunningCamera {};

TEST_F(Reboot, EndsConnectionsAndAnswersNothingUntilItsTimeIsOver) {
  const HttpConnection kept(m_camera.Port());
  ASSERT_EQ(Ask(kept, MakeToken()), 200);
  const HttpReply reply = Tell("/reboot", "2000");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Json::parse(reply.body), Json::parse(R"({"down": 2000})"));
  EXPECT_TRUE(kept.IsClosedByPeer());
  EXPECT_EQ(Ask(MakeToken()), 0);
  m_clock->Advance(milliseconds(1999));
  EXPECT_EQ(Ask(MakeToken()), 0);
  m_clock->Advance(milliseconds(1));
  EXPECT_EQ(Ask(MakeToken()), 200);
}

TEST_F(Reboot, ForgetsNonces) {
  const Token token = MakeToken();
  ASSERT_EQ(Ask(token), 200);
  ASSERT_EQ(Ask(token), 400) << "a nonce is good for once";
  m_camera.Reboot(milliseconds(0));
  EXPECT_EQ(Ask(token), 200);
  EXPECT_EQ(Ask(token), 400);
}

TEST_F(Reboot, ForgetsWrongTriesAndUnlocksTheAccount) {
  m_camera.SwitchOn("auth-lockout=2");
  ASSERT_EQ(Ask(MakeToken("wrong")), 400);
  ASSERT_EQ(Ask(MakeToken("wrong")), 400);
  ASSERT_EQ(Ask(MakeToken()), 400) << "the account is locked";
  m_camera.Reboot(milliseconds(0));
  EXPECT_EQ(Ask(MakeToken()), 200);
  ASSERT_EQ(Ask(MakeToken("wrong")), 400);
  m_camera.Reboot(milliseconds(0));
  ASSERT_EQ(Ask(MakeToken("wrong")), 400);
  EXPECT_EQ(Ask(MakeToken()), 200) << "the wrong try before is forgotten";
}

TEST_F(Reboot, BeginsTheClockAnew) {
  m_camera.SwitchOn("clock-reset=2000");
  const auto atItsStart = [] { return simcamtest::MakeTokenOf("admin", "simcam", "2000-01-01T00:00:00Z"); };
  ASSERT_EQ(Ask(atItsStart()), 200);
  m_clock->Advance(hours(1));
  ASSERT_EQ(Ask(atItsStart()), 400);
  m_camera.Reboot(milliseconds(0));
  EXPECT_EQ(Ask(atItsStart()), 200);
}

TEST_F(Reboot, StopsTheLensAndKeepsWhatWasSet) {
  const auto call = [this](const std::string& path, const char* nameSpace, const std::string& operation,
                           const std::string& content) {
    return HttpConnection(m_camera.Port())
        .Post(path, Envelope(simcamtest::SecurityHeader(MakeToken()), Element(operation, nameSpace, content)))
        .status;
  };
  const simcam::CameraModel& model = m_camera.Model();
  ASSERT_EQ(call(model.paths.media, simcamtest::kMediaNs, "CreateProfile", "<Name>mine</Name>"), 200);
  ASSERT_EQ(call(model.paths.ptz, simcamtest::kPtz20Ns, "ContinuousMove",
                 simcamtest::kFirstProfile + "<Velocity>" + simcamtest::PanTilt("1", "0") + "</Velocity>"),
            200);
  m_clock->Advance(milliseconds(500));
  const std::string& node = model.ptz->nodes.front().token;
  m_camera.Reboot(milliseconds(0));
  const double pan = m_camera.PositionOf(node)->pan;
  m_clock->Advance(milliseconds(500));
  EXPECT_NE(pan, 0) << "the lens did not move before";
  EXPECT_EQ(m_camera.PositionOf(node)->pan, pan);
  EXPECT_EQ(m_camera.Profiles().back().name, "mine");
}

class Disconnect : public RunningCamera {};

TEST_F(Disconnect, EndsAllConnectionsAndWelcomesNewOnes) {
  const HttpConnection first(m_camera.Port());
  const HttpConnection second(m_camera.Port());
  ASSERT_EQ(Ask(first, MakeToken()), 200);
  ASSERT_EQ(Ask(second, MakeToken()), 200);
  const HttpReply reply = Tell("/disconnect");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Json::parse(reply.body), Json::parse(R"({"disconnected": 2})"));
  EXPECT_TRUE(first.IsClosedByPeer());
  EXPECT_TRUE(second.IsClosedByPeer());
  EXPECT_EQ(Ask(MakeToken()), 200);
}

TEST_F(Disconnect, EndsAConnectionThatWaitsForItsAnswer) {
  m_camera.SwitchOn("http-stall=10");
  const HttpConnection stalled(m_camera.Port());
  stalled.Send(simcamtest::PostRequest("/onvif/device_service",
                                       Envelope("", Element("GetSystemDateAndTime", simcamtest::kDeviceNs))));
  while (m_camera.DropConnections() == 0) {
  }
  EXPECT_TRUE(stalled.IsClosedByPeer());
}

class ChangedAccount : public RunningCamera {};

TEST_F(ChangedAccount, TakesThePlaceOfTheOneBefore) {
  const HttpReply reply = Tell("/account", "root\nnew secret\n");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Json::parse(reply.body), Json::parse(R"({"user": "root"})"));
  EXPECT_EQ(Ask(MakeToken()), 400);
  EXPECT_EQ(Ask(MakeToken("new secret")), 400) << "the user name has changed as well";
  EXPECT_EQ(Ask(MakeToken("new secret", "root")), 200);
}

TEST_F(ChangedAccount, CountsForPlainTextAndHttpDigestAsWell) {
  m_camera.SwitchOn("digest-wanted");
  const auto digest = [this](const std::string& password) {
    const HttpConnection connection(m_camera.Port());
    const std::string body = Envelope("", Element("GetDeviceInformation", simcamtest::kDeviceNs));
    simcamtest::DigestLogin login =
        simcamtest::LoginFor(connection.Post("/onvif/device_service", body).head, "/onvif/device_service");
    login.method = "POST";
    login.password = password;
    connection.Send(
        "POST /onvif/device_service HTTP/1.1\r\nHost: localhost\r\nAuthorization: " + simcamtest::DigestHeader(login) +
        "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return connection.Receive().status;
  };
  ASSERT_EQ(digest("simcam"), 200);
  m_camera.ChangeAccount("admin", "new");
  EXPECT_EQ(digest("simcam"), 401);
  EXPECT_EQ(digest("new"), 200);
}

class ChangedSnapshotAccount : public RunningCamera {
 protected:
  ChangedSnapshotAccount() : RunningCamera("fisheye") {}

  simcamtest::DigestLogin Login() const {
    const std::string target = "/" + m_target;
    return simcamtest::LoginFor(HttpConnection(m_camera.Port()).Get(target).head, target);
  }

  int Get(const simcamtest::DigestLogin& login) const {
    return HttpConnection(m_camera.Port()).Get("/" + m_target, simcamtest::DigestHeader(login)).status;
  }

  std::string m_target = [this] {
    std::string path = m_camera.Model().snapshotPath.substr(1);
    return path.replace(path.find("{profile}"), 9, m_camera.ProfileTokens().front());
  }();
};

TEST_F(ChangedSnapshotAccount, LetsInOnlyTheNewOne) {
  ASSERT_EQ(Get(Login()), 200);
  m_camera.ChangeAccount("admin", "new");
  EXPECT_EQ(Get(Login()), 401);
  simcamtest::DigestLogin login = Login();
  login.password = "new";
  EXPECT_EQ(Get(login), 200);
}

TEST_F(ChangedSnapshotAccount, StaysOverAReboot) {
  m_camera.ChangeAccount("admin", "new");
  m_camera.Reboot(milliseconds(0));
  EXPECT_EQ(Get(Login()), 401);
  simcamtest::DigestLogin login = Login();
  login.password = "new";
  EXPECT_EQ(Get(login), 200);
}

TEST_F(ChangedSnapshotAccount, RebootMakesOldNoncesStale) {
  const simcamtest::DigestLogin login = Login();
  m_camera.Reboot(milliseconds(0));
  const HttpReply reply = HttpConnection(m_camera.Port()).Get("/" + m_target, simcamtest::DigestHeader(login));
  EXPECT_EQ(reply.status, 401);
  EXPECT_THAT(reply.head, HasSubstr("stale=true"));
}

}  // namespace
