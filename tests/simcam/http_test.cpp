// The camera over a real loopback socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <vector>

#include "simcam/httpserver.h"
#include "simcam/simcamera.h"
#include "tests/simcam/client.h"
#include "tests/simcam/messages.h"

namespace {

using simcam::SimCamera;
using simcamtest::DateRequest;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using simcamtest::kDeviceNs;
using simcamtest::kDevicePath;
using simcamtest::kLongest;
using simcamtest::kMediaNs;
using simcamtest::PostRequest;
using testing::HasSubstr;

constexpr std::size_t kBodyLimit = 128 * 1024;

std::string SignedProfiles(const std::string& password) {
  const auto token = simcamtest::MakeToken("admin", password, std::chrono::system_clock::now());
  return Envelope(simcamtest::SecurityHeader(token), Element("GetProfiles", kMediaNs));
}

// The date request with blanks behind it, up to a length.
std::string RequestOfLength(std::size_t length) {
  std::string body = DateRequest();
  body.resize(length, ' ');
  return body;
}

class Http : public testing::Test {
 protected:
  SimCamera m_camera{simcam::LoadModel("ptz-dome")};
  HttpConnection m_connection{m_camera.Port()};
};

TEST_F(Http, AnswersOnTheLoopbackPort) {
  const HttpReply reply = m_connection.Post(kDevicePath, DateRequest());
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.head, HasSubstr("Content-Type: application/soap+xml; charset=utf-8"));
  EXPECT_THAT(reply.body, HasSubstr("GetSystemDateAndTimeResponse"));
}

TEST_F(Http, ChecksTheDigestWithTheRealClock) {
  EXPECT_EQ(m_connection.Post("/onvif/media_service", SignedProfiles("simcam")).status, 200);
  const std::string repeated = SignedProfiles("simcam");
  EXPECT_EQ(m_connection.Post("/onvif/media_service", repeated).status, 200);
  const HttpReply second = m_connection.Post("/onvif/media_service", repeated);
  EXPECT_EQ(second.status, 400);
  EXPECT_THAT(second.body, HasSubstr("ter:NotAuthorized"));
  EXPECT_EQ(m_connection.Post("/onvif/media_service", SignedProfiles("wrong")).status, 400);
}

TEST_F(Http, AddressesFollowTheHostHeader) {
  const std::string request = Envelope("", Element("GetCapabilities", kDeviceNs));
  EXPECT_THAT(m_connection.Post(kDevicePath, request, "camera.local:81").body,
              HasSubstr("<tt:XAddr>http://camera.local:81/onvif/device_service</tt:XAddr>"));
  EXPECT_THAT(m_connection.Post(kDevicePath, request, "no host").body,
              HasSubstr("<tt:XAddr>http://127.0.0.1:" + std::to_string(m_camera.Port()) + "/"));
}

TEST_F(Http, KeepsTheConnectionForManyRequests) {
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(m_connection.Post(kDevicePath, DateRequest()).status, 200) << "request " << i;
  }
}

TEST_F(Http, TakesARequestInSmallPieces) {
  const std::string request = PostRequest(kDevicePath, DateRequest());
  for (const char byte : request) {
    m_connection.Send(std::string(1, byte));
  }
  EXPECT_EQ(m_connection.Receive().status, 200);
}

TEST_F(Http, OtherPathsAreNotFound) {
  EXPECT_EQ(m_connection.Post("/", DateRequest()).status, 404);
  EXPECT_EQ(m_connection.Post("/onvif/device_service/", DateRequest()).status, 404);
  EXPECT_EQ(m_connection.Post(kDevicePath, DateRequest()).status, 200) << "the connection is still good";
}

TEST_F(Http, OtherMethodsAreNotAllowed) {
  for (const char* const method : {"GET", "PUT", "DELETE"}) {
    m_connection.Send(std::string(method) + " " + kDevicePath + " HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
    const HttpReply reply = m_connection.Receive();
    EXPECT_EQ(reply.status, 405) << method;
    EXPECT_THAT(reply.head, HasSubstr("Allow: POST")) << method;
  }
}

TEST_F(Http, BodyUpToTheLimitIsRead) {
  EXPECT_EQ(m_connection.Post(kDevicePath, RequestOfLength(kBodyLimit)).status, 200);
}

TEST_F(Http, BodyBeyondTheLimitIsRefused) {
  EXPECT_EQ(m_connection.Post(kDevicePath, RequestOfLength(kBodyLimit + 1)).status, 413);
  EXPECT_EQ(HttpConnection(m_camera.Port()).Post(kDevicePath, DateRequest()).status, 200);
}

TEST_F(Http, ChunkedBodyBeyondTheLimitIsRefused) {
  m_connection.Send(std::string("POST ") + kDevicePath + " HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n");
  for (int i = 0; i < 130; ++i) {
    m_connection.Send("400\r\n" + std::string(1024, ' ') + "\r\n");
  }
  m_connection.Send("0\r\n\r\n");
  EXPECT_EQ(m_connection.Receive().status, 413);
}

TEST_F(Http, EndlessBodyIsCutOff) {
  m_connection.Send(PostRequest(kDevicePath, std::string(4 * 1024 * 1024, ' ')));
  EXPECT_TRUE(m_connection.IsClosedByPeer());
  EXPECT_EQ(HttpConnection(m_camera.Port()).Post(kDevicePath, DateRequest()).status, 200);
}

TEST_F(Http, GarbageEndsInARefusal) {
  for (const std::string& garbage :
       {std::string("nonsense\r\n\r\n"), std::string(100000, 'x'),
        "POST " + std::string(60000, '/') + " HTTP/1.1\r\n\r\n", std::string("\x16\x03\x01\0\0\r\n\r\n", 9)}) {
    const HttpConnection connection(m_camera.Port());
    connection.Send(garbage);
    const auto answer = connection.ReceiveAll(kLongest);
    EXPECT_NE(answer.end, HttpConnection::End::Silent) << garbage.substr(0, 20);
    EXPECT_THAT(answer.bytes, testing::Not(HasSubstr(" 200 "))) << garbage.substr(0, 20);
    EXPECT_EQ(HttpConnection(m_camera.Port()).Post(kDevicePath, DateRequest()).status, 200) << garbage.substr(0, 20);
  }
  EXPECT_EQ(m_connection.Post(kDevicePath, DateRequest()).status, 200);
}

TEST_F(Http, EmptyLinesBeforeARequestAreSkipped) {
  m_connection.Send("\r\n\r\n\r\n\r\n");
  EXPECT_EQ(m_connection.Post(kDevicePath, DateRequest()).status, 200);
}

TEST_F(Http, BodyThatIsNotXmlIsAFaultWithStatus400) {
  const HttpReply reply = m_connection.Post(kDevicePath, "not XML");
  EXPECT_EQ(reply.status, 400);
  EXPECT_THAT(reply.body, HasSubstr("<env:Value>env:Sender</env:Value>"));
}

TEST_F(Http, ManyIdleConnectionsDoNotLockOthersOut) {
  std::vector<std::unique_ptr<HttpConnection>> idle;
  for (int i = 0; i < 400; ++i) {
    idle.push_back(std::make_unique<HttpConnection>(m_camera.Port()));
    if (i % 2 == 0) {
      idle.back()->Send("POST /onvif/device_service HTTP/1.1\r\nHost:");
    }
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(HttpConnection(m_camera.Port()).Post(kDevicePath, DateRequest()).status, 200);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_TRUE(idle.front()->IsClosedByPeer()) << "the longest idle connection makes room";
}

// An exception that reached the HTTP library would end the program.
TEST(HttpServer, HandlerThatThrowsIsAnsweredWith500AndTheNextIsServed) {
  const simcam::HttpServer server(0, [](const simcam::HttpRequest& request) -> simcam::HttpAnswer {
    if (request.target == "/broken") {
      throw std::out_of_range("of what it can");
    }
    return simcam::PlainAnswer(200, "well");
  });
  const HttpConnection connection(server.Port());
  const HttpReply reply = connection.Get("/broken");
  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(reply.body, "the request cannot be answered: of what it can\n");
  EXPECT_EQ(connection.Get("/whole").status, 200);
}

TEST(HttpServer, AnswerThatQuirksCannotReadIsAnsweredWith500) {
  simcam::CameraOptions options;
  options.quirks = {"address-query=\x01", "xml-null-values=Name"};  // the fault names the query that is missing
  const SimCamera camera(simcam::LoadModel("ptz-dome"), options);
  const HttpReply reply = HttpConnection(camera.Port()).Post("/onvif/media_service", SignedProfiles("simcam"));
  EXPECT_EQ(reply.status, 500);
  EXPECT_THAT(reply.body, HasSubstr("the answer is not XML"));
  EXPECT_EQ(HttpConnection(camera.Port()).Post(kDevicePath, DateRequest()).status, 200);
}

TEST(SimCamera, StopsAtOnceWithOpenConnections) {
  SimCamera camera(simcam::LoadModel("fixed-box"));
  std::vector<std::unique_ptr<HttpConnection>> idle;
  for (int i = 0; i < 20; ++i) {
    idle.push_back(std::make_unique<HttpConnection>(camera.Port()));
    idle.back()->Post(kDevicePath, DateRequest());
  }
  const auto start = std::chrono::steady_clock::now();
  camera.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_TRUE(idle.front()->IsClosedByPeer());
  EXPECT_FALSE(HttpConnection(camera.Port()).IsOpen());
  camera.Stop();
}

TEST(SimCamera, PortInUseIsAnErrorWithItsReason) {
  const SimCamera first(simcam::LoadModel("fixed-box"));
  simcam::CameraOptions options;
  options.port = first.Port();
  try {
    const SimCamera second(simcam::LoadModel("fixed-box"), options);
    FAIL() << "two cameras listen on port " << options.port;
  } catch (const simcam::CameraError& error) {
    EXPECT_THAT(error.what(), testing::AllOf(HasSubstr(std::to_string(options.port)), HasSubstr("in use")));
  }
}

TEST(SimCamera, FreedPortCanBeUsedAgainAtOnce) {
  simcam::CameraOptions options;
  {
    const SimCamera first(simcam::LoadModel("fixed-box"));
    options.port = first.Port();
    HttpConnection(first.Port()).Post(kDevicePath, DateRequest());
  }
  const SimCamera second(simcam::LoadModel("fixed-box"), options);
  EXPECT_EQ(HttpConnection(second.Port()).Post(kDevicePath, DateRequest()).status, 200);
}

TEST(SimCamera, TellsItsStateToItsOwner) {
  const SimCamera camera(simcam::LoadModel("ptz-dome"));
  EXPECT_EQ(camera.Model().name, "ptz-dome");
  EXPECT_EQ(camera.ProfileTokens(), (std::vector<std::string>{"profile_1", "profile_2", "profile_3", "profile_4"}));
  EXPECT_EQ(camera.PositionOf("ptz_node_1")->pan, 0);
  EXPECT_FALSE(camera.PositionOf("another").has_value());
}

}  // namespace
