// Snapshots over a real loopback socket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <memory>

#include "simcam/simcamera.h"
#include "simcam/snapshots.h"
#include "tests/simcam/client.h"
#include "tests/simcam/digestclient.h"
#include "tests/simcam/jpegreader.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::DecodedPicture;
using simcamtest::DigestLogin;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using testing::HasSubstr;
using testing::Not;

// Moved by the test while the camera's thread reads it.
class SharedClock : public simcam::Clock {
 public:
  std::chrono::system_clock::time_point UtcNow() const override {
    return std::chrono::system_clock::time_point(std::chrono::seconds(1709208000)) + Passed();
  }
  std::chrono::steady_clock::time_point SteadyNow() const override {
    return std::chrono::steady_clock::time_point(std::chrono::hours(1)) + Passed();
  }
  void Advance(std::chrono::milliseconds duration) { m_passed += duration.count(); }

 private:
  std::chrono::milliseconds Passed() const { return std::chrono::milliseconds(m_passed); }

  std::atomic<std::chrono::milliseconds::rep> m_passed{0};
};

// A camera that serves, with one connection to it.
class Served {
 public:
  explicit Served(const std::string& model) : Served(simcam::LoadModel(model)) {}
  explicit Served(simcam::CameraModel model)
      : m_camera(std::move(model), Options(m_clock)), m_connection(m_camera.Port()) {}

  SharedClock& Clock() { return *m_clock; }
  const simcam::SimCamera& Camera() const { return m_camera; }
  const HttpConnection& Connection() const { return m_connection; }

  // The answer to a signed operation.
  std::string Call(const std::string& path, const std::string& nameSpace, const std::string& operation,
                   const std::string& content) const {
    const auto token = simcamtest::MakeToken("admin", "simcam", m_clock->UtcNow());
    const HttpReply reply = m_connection.Post(
        path,
        simcamtest::Envelope(simcamtest::SecurityHeader(token), simcamtest::Element(operation, nameSpace, content)));
    EXPECT_EQ(reply.status, 200) << operation << ": " << reply.body;
    return reply.body;
  }
  std::string Media(const std::string& operation, const std::string& content) const {
    return Call(m_camera.Model().paths.media, simcamtest::kMediaNs, operation, content);
  }

  // Path and query of the address that GetSnapshotUri tells.
  std::string Target(const std::string& profile) const {
    const std::string body = Media("GetSnapshotUri", "<ProfileToken>" + profile + "</ProfileToken>");
    const std::string host = "<tt:Uri>http://127.0.0.1";
    const std::size_t start = body.find(host) + host.size();
    std::string target = body.substr(start, body.find('<', start) - start);
    for (std::size_t place = target.find("&amp;"); place != std::string::npos; place = target.find("&amp;")) {
      target.replace(place, 5, "&");
    }
    return target;
  }

  // Fetches it, with credentials when the camera wants them.
  HttpReply Get(const std::string& target) const {
    const HttpReply reply = m_connection.Get(target);
    return reply.status == 401
               ? m_connection.Get(target, simcamtest::DigestHeader(simcamtest::LoginFor(reply.head, target)))
               : reply;
  }

 private:
  static simcam::CameraOptions Options(std::shared_ptr<const simcam::Clock> clock) {
    simcam::CameraOptions options;
    options.clock = std::move(clock);
    return options;
  }

  const std::shared_ptr<SharedClock> m_clock = std::make_shared<SharedClock>();
  simcam::SimCamera m_camera;
  HttpConnection m_connection;
};

// Mean difference of two pictures between the bands.
double DifferenceOf(const DecodedPicture& a, const DecodedPicture& b) {
  EXPECT_EQ(a.bgrx.size(), b.bgrx.size());
  double sum = 0;
  const std::size_t start = a.bgrx.size() / 5;
  const std::size_t end = a.bgrx.size() / 5 * 3;
  for (std::size_t i = start; i < end; ++i) {
    sum += i % 4 == 3 ? 0 : std::abs(a.bgrx.at(i) - b.bgrx.at(i));
  }
  return sum / static_cast<double>(end - start);
}

std::string VideoEncoder(const std::string& token, int width, int height, const std::string& quality) {
  return "<Configuration token=\"" + token +
         "\" xmlns:t=\"http://www.onvif.org/ver10/schema\"><t:Name>n</t:Name><t:UseCount>1</t:UseCount>"
         "<t:Encoding>H264</t:Encoding><t:Resolution><t:Width>" +
         std::to_string(width) + "</t:Width><t:Height>" + std::to_string(height) +
         "</t:Height></t:Resolution><t:Quality>" + quality +
         "</t:Quality><t:RateControl><t:FrameRateLimit>12</t:FrameRateLimit><t:EncodingInterval>1</t:EncodingInterval>"
         "<t:BitrateLimit>900</t:BitrateLimit></t:RateControl><t:H264><t:GovLength>24</t:GovLength>"
         "<t:H264Profile>Main</t:H264Profile></t:H264><t:Multicast><t:Address><t:Type>IPv4</t:Type><t:IPv4Address>"
         "0.0.0.0</t:IPv4Address></t:Address><t:Port>0</t:Port><t:TTL>0</t:TTL><t:AutoStart>false</t:AutoStart>"
         "</t:Multicast><t:SessionTimeout>PT60S</t:SessionTimeout></Configuration>"
         "<ForcePersistence>true</ForcePersistence>";
}

TEST(Snapshot, AddressOfEveryProfileGivesAPictureOfItsSize) {
  int fetched = 0;
  for (const std::string& name : simcam::ModelNames()) {
    const Served served(name);
    const simcam::CameraModel& model = served.Camera().Model();
    for (const simcam::Profile& profile : model.profiles) {
      SCOPED_TRACE(name + " " + profile.token);
      const std::string& bound = profile.Binding(simcam::ConfigurationKind::VideoEncoder);
      if (bound.empty() || profile.Binding(simcam::ConfigurationKind::VideoSource).empty()) {
        continue;
      }
      const HttpReply reply = served.Get(served.Target(profile.token));
      ASSERT_EQ(reply.status, 200);
      EXPECT_THAT(reply.head, HasSubstr("Content-Type: image/jpeg\r\n"));
      EXPECT_THAT(reply.head, HasSubstr("Cache-Control: no-store"));
      const DecodedPicture picture = simcamtest::DecodeJpeg(reply.body);
      for (const simcam::VideoEncoderConfiguration& encoder : model.videoEncoders) {
        if (encoder.token == bound) {
          EXPECT_EQ(picture.width, encoder.width);
          EXPECT_EQ(picture.height, encoder.height);
          ++fetched;
        }
      }
    }
  }
  EXPECT_GE(fetched, 11);
}

TEST(Snapshot, FollowsTheSizeAndTheQualityOfTheEncoder) {
  const Served served("ptz-dome");
  const std::string target = served.Target("profile_2");
  std::size_t lastSize = 0;
  for (const char* const quality : {"1", "10"}) {
    served.Media("SetVideoEncoderConfiguration", VideoEncoder("vec_sub", 704, 576, quality));
    const HttpReply reply = served.Get(target);
    const DecodedPicture picture = simcamtest::DecodeJpeg(reply.body);
    EXPECT_EQ(picture.width, 704);
    EXPECT_EQ(picture.height, 576);
    EXPECT_GT(reply.body.size(), lastSize * 3 / 2) << "quality " << quality;
    lastSize = reply.body.size();
  }
}

TEST(Snapshot, ShowsWhereTheLensIs) {
  Served served("ptz-dome");
  const std::string target = served.Target("profile_2");
  const DecodedPicture before = simcamtest::DecodeJpeg(served.Get(target).body);
  served.Clock().Advance(std::chrono::seconds(5));
  const DecodedPicture later = simcamtest::DecodeJpeg(served.Get(target).body);
  ASSERT_GT(before.width, 0);
  EXPECT_LT(DifferenceOf(before, later), 4) << "a lens at rest";
  EXPECT_NE(before.bgrx, later.bgrx) << "the clock goes on";
  served.Call(served.Camera().Model().paths.ptz, simcamtest::kPtz20Ns, "GotoPreset",
              simcamtest::kFirstProfile + simcamtest::PresetToken("preset_1"));
  served.Clock().Advance(std::chrono::seconds(5));
  EXPECT_GT(DifferenceOf(later, simcamtest::DecodeJpeg(served.Get(target).body)), 15);
}

TEST(Snapshot, ProfileWithoutPtzLooksThroughTheSameLens) {
  Served served("ptz-dome");
  served.Media("CreateProfile", "<Name>New</Name><Token>new</Token>");
  served.Media("AddVideoSourceConfiguration", "<ProfileToken>new</ProfileToken><ConfigurationToken>" +
                                                  served.Camera().Model().videoSources.at(0).token +
                                                  "</ConfigurationToken>");
  served.Media("AddVideoEncoderConfiguration",
               "<ProfileToken>new</ProfileToken><ConfigurationToken>vec_sub</ConfigurationToken>");
  served.Call(served.Camera().Model().paths.ptz, simcamtest::kPtz20Ns, "GotoPreset",
              simcamtest::kFirstProfile + simcamtest::PresetToken("preset_1"));
  served.Clock().Advance(std::chrono::seconds(5));
  const DecodedPicture with = simcamtest::DecodeJpeg(served.Get(served.Target("profile_2")).body);
  const DecodedPicture without = simcamtest::DecodeJpeg(served.Get(served.Target("new")).body);
  ASSERT_GT(with.width, 0);
  EXPECT_LT(DifferenceOf(with, without), 2);
}

TEST(Snapshot, HeadTellsTheSizeWithoutThePicture) {
  const Served served("ptz-dome");
  const std::string target = served.Target("profile_2");
  served.Connection().Send("HEAD " + target + " HTTP/1.1\r\nHost: x\r\n\r\n");
  const HttpReply head = served.Connection().Receive(false);
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.body, "");
  EXPECT_THAT(head.head, HasSubstr("Content-Type: image/jpeg"));
  EXPECT_THAT(head.head, testing::ContainsRegex("Content-Length: [1-9][0-9][0-9][0-9]"));
  EXPECT_EQ(served.Get(target).status, 200) << "the connection is still good";
}

TEST(Snapshot, OtherMethodsAreNotAllowed) {
  const Served served("ptz-dome");
  const HttpReply reply = served.Connection().Post(served.Target("profile_2"), "x");
  EXPECT_EQ(reply.status, 405);
  EXPECT_THAT(reply.head, HasSubstr("Allow: GET, HEAD"));
}

TEST(Snapshot, ProfileWithoutAPictureIsNotFound) {
  const Served served("ptz-dome");
  served.Media("CreateProfile", "<Name>New</Name><Token>new</Token>");
  const auto add = [&served](const std::string& kind, const std::string& token) {
    served.Media("Add" + kind + "Configuration",
                 "<ProfileToken>new</ProfileToken><ConfigurationToken>" + token + "</ConfigurationToken>");
  };
  EXPECT_EQ(served.Get("/snapshot/nobody.jpg").status, 404);
  EXPECT_THAT(served.Get("/snapshot/nobody.jpg").body, HasSubstr("no such profile"));
  EXPECT_EQ(served.Get("/snapshot/new.jpg").status, 404);
  EXPECT_THAT(served.Get("/snapshot/new.jpg").body, HasSubstr("no video source"));
  add("VideoSource", served.Camera().Model().videoSources.at(0).token);
  EXPECT_EQ(served.Get("/snapshot/new.jpg").status, 404);
  EXPECT_THAT(served.Get("/snapshot/new.jpg").body, HasSubstr("no video encoder"));
  add("VideoEncoder", "vec_sub");
  EXPECT_EQ(served.Get("/snapshot/new.jpg").status, 200);
}

TEST(Snapshot, AddressesBesideItAreNotFound) {
  const Served served("ptz-dome");
  for (const char* const target : {"/snapshot/profile_2.jpg?x=1", "/snapshot/", "/snapshot/profile_2", "/"}) {
    EXPECT_EQ(served.Get(target).status, 404) << target;
  }
}

class SnapshotDigest : public testing::Test {
 protected:
  HttpReply Get(const DigestLogin& login) {
    return m_served.Connection().Get(m_target, simcamtest::DigestHeader(login));
  }
  DigestLogin Login() { return simcamtest::LoginFor(m_served.Connection().Get(m_target).head, m_target); }

  Served m_served{"axis-dome"};
  const std::string m_target = m_served.Target(m_served.Camera().ProfileTokens().front());
};

TEST_F(SnapshotDigest, WithoutCredentialsComesAChallenge) {
  const HttpReply reply = m_served.Connection().Get(m_target);
  EXPECT_EQ(reply.status, 401);
  EXPECT_THAT(reply.head,
              HasSubstr("WWW-Authenticate: Digest realm=\"Q6000-SIM\", qop=\"auth\", algorithm=MD5, nonce="));
  EXPECT_THAT(reply.head, Not(HasSubstr("stale")));
}

TEST_F(SnapshotDigest, RightCredentialsGetThePicture) {
  DigestLogin login = Login();
  EXPECT_EQ(Get(login).status, 200);
  login.count = "00000002";
  const HttpReply second = Get(login);
  EXPECT_EQ(second.status, 200) << "the nonce serves on";
  EXPECT_GT(simcamtest::DecodeJpeg(second.body).width, 0);
}

TEST_F(SnapshotDigest, WrongPasswordIsRefused) {
  DigestLogin login = Login();
  login.password = "wrong";
  const HttpReply reply = Get(login);
  EXPECT_EQ(reply.status, 401);
  EXPECT_THAT(reply.head, HasSubstr("WWW-Authenticate: Digest"));
  EXPECT_THAT(reply.head, Not(HasSubstr("stale")));
}

TEST_F(SnapshotDigest, RepeatedRequestIsRefused) {
  const DigestLogin login = Login();
  EXPECT_EQ(Get(login).status, 200);
  const HttpReply reply = Get(login);
  EXPECT_EQ(reply.status, 401);
  EXPECT_THAT(reply.body, HasSubstr("count"));
}

TEST_F(SnapshotDigest, OldNonceIsStale) {
  const DigestLogin login = Login();
  m_served.Clock().Advance(std::chrono::hours(1));
  const HttpReply reply = Get(login);
  EXPECT_EQ(reply.status, 401);
  EXPECT_THAT(reply.head, HasSubstr("stale=true"));
  EXPECT_EQ(Get(simcamtest::LoginFor(reply.head, m_target)).status, 200);
}

TEST_F(SnapshotDigest, CredentialsForAnotherAddressAreRefused) {
  DigestLogin login = Login();
  login.uri = "/onvif-cgi/jpg/image.cgi?profile=other";
  EXPECT_EQ(Get(login).status, 400);
  login.uri = m_target.substr(0, m_target.find('?'));
  EXPECT_EQ(Get(login).status, 400) << "the query belongs to it";
}

TEST_F(SnapshotDigest, ProfilesAreNotToldToStrangers) {
  EXPECT_EQ(m_served.Connection().Get("/onvif-cgi/jpg/image.cgi?profile=nobody").status, 401);
}

TEST(SnapshotDigests, TwoChallengesCanBeAnsweredByEither) {
  const Served served("fisheye");
  const std::string target = served.Target(served.Camera().ProfileTokens().front());
  const std::string head = served.Connection().Get(target).head;
  const std::size_t second = head.find("WWW-Authenticate:", head.find("WWW-Authenticate:") + 1);
  ASSERT_NE(second, std::string::npos);
  for (const std::string& challenge : {head.substr(head.find("WWW-Authenticate:")), head.substr(second)}) {
    const DigestLogin login = simcamtest::LoginFor(challenge, target);
    EXPECT_EQ(served.Connection().Get(target, simcamtest::DigestHeader(login)).status, 200) << login.algorithm;
  }
  EXPECT_EQ(simcamtest::ChallengeValue(head, "algorithm"), "SHA-256") << "the better one first";
  EXPECT_EQ(simcamtest::ChallengeValue(head.substr(second), "algorithm"), "MD5");
}

TEST(JpegQuality, FollowsTheEncodersQualityWithinItsRange) {
  struct Case {
    double quality;
    simcam::WholeRange range;
    int expected;
  };
  const Case cases[] = {
      {0, {0, 100}, 30}, {100, {0, 100}, 95}, {1, {1, 5}, 30},  {5, {1, 5}, 95},    {3, {1, 5}, 63},
      {4, {4, 4}, 95},   {-7, {1, 5}, 30},    {70, {1, 5}, 95}, {2.5, {0, 10}, 46},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(simcam::JpegQualityOf(one.quality, one.range), one.expected) << one.quality;
  }
}

}  // namespace
