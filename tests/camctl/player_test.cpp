// The player against a server that answers each RTSP request as the test says. What real streams measure is tested with
// the simulated camera, in tests/system.

#include "camctl/player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/scripted_camera.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;
using testsupport::HttpRequest;
using testsupport::Reply;
using testsupport::ScriptedCamera;

constexpr const char* kPassword = "secret-word";

std::string Answer(const HttpRequest& request, const std::string& status, const std::string& more = "\r\n") {
  return "RTSP/1.0 " + status + "\r\nCSeq: " + request.Header("CSeq") + "\r\n" + more;
}

std::string Description(const std::string& sdp) {
  return "Content-Type: application/sdp\r\nContent-Length: " + std::to_string(sdp.size()) + "\r\n\r\n" + sdp;
}

constexpr const char* kSession =
    "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=Session\r\nc=IN IP4 0.0.0.0\r\nt=0 0\r\na=control:*\r\n";
constexpr const char* kH264 = "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\na=control:track1\r\n";

// A description names no encoding of these: their payload types have a fixed meaning.
constexpr const char* kPlainJpeg = "m=video 0 RTP/AVP 26\r\na=control:track1\r\n";
constexpr const char* kPlainSound[] = {"m=audio 0 RTP/AVP 0\r\na=control:track2\r\n",
                                       "m=audio 0 RTP/AVP 8\r\na=control:track2\r\n"};

std::string BigEndian(std::uint32_t number, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(number >> shift & 0xffU);
  return text;
}

// RTP packets inside the connection, each a grey JPEG picture of 16x16 pixels.
class Pictures {
 public:
  // `step` lies between the times of two, in parts of 1/90000 s.
  explicit Pictures(std::uint32_t step) : m_step(step) {}

  std::string operator()() {
    const std::string header = "\x80\x9a" + BigEndian(m_number, 2) + BigEndian(m_number * m_step, 4) + "cams";
    ++m_number;
    // From offset 0, YUV 4:2:0, quality 50, two by two blocks of eight pixels; then the one grey macroblock.
    const std::string picture = BigEndian(0, 4) + BigEndian(0x01320202, 4) + BigEndian(0x28a28a00, 4);
    const auto size = static_cast<std::uint32_t>(header.size() + picture.size());
    return "$" + BigEndian(0, 1) + BigEndian(size, 2) + header + picture;  // on channel 0
  }

 private:
  const std::uint32_t m_step;
  std::uint32_t m_number = 0;
};

class Player : public testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    if (!CanPlay(reason)) GTEST_SKIP() << reason;
  }

  // A server that describes a stream, lets it be set up and played, and sends nothing.
  static Reply Serve(const HttpRequest& request, const std::string& sdp) {
    if (request.method == "DESCRIBE")
      return Reply::Raw(Answer(request, "200 OK", Description(sdp)), Reply::End::kKeepOpen);
    if (request.method == "SETUP") {
      return Reply::Raw(
          Answer(request, "200 OK", "Session: 1\r\nTransport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n\r\n"),
          Reply::End::kKeepOpen);
    }
    return Reply::Raw(Answer(request, "200 OK", "Session: 1\r\nPublic: DESCRIBE, SETUP, PLAY, TEARDOWN\r\n\r\n"),
                      Reply::End::kKeepOpen);
  }

  // A server that describes a stream and sends its pictures, one every tenth of a second.
  void ServePictures(const std::string& sdp, std::uint32_t step) {
    m_camera.AnswerAll([sdp, step](const HttpRequest& request) {
      if (request.method == "SETUP") {
        const std::string transport = "Session: 1\r\nTransport: " + request.Header("Transport") + "\r\n\r\n";
        return Reply::Raw(Answer(request, "200 OK", transport), Reply::End::kKeepOpen);
      }
      const Reply reply = Serve(request, sdp);
      return request.method == "PLAY" ? Reply::Stream(reply.bytes, Pictures(step)) : reply;
    });
  }

  // Answers DESCRIBE with a status and headers, everything else with success.
  void Refuse(const std::string& status, const std::string& more = "\r\n") {
    m_camera.AnswerAll([status, more](const HttpRequest& request) {
      return request.method == "DESCRIBE" ? Reply::Raw(Answer(request, status, more), Reply::End::kKeepOpen)
                                          : Serve(request, "");
    });
  }

  PlayRequest Request() const {
    PlayRequest request;
    request.host = "127.0.0.1";
    request.port = m_camera.Port();
    request.path = "/live?x=1";
    request.user = "admin";
    request.password = kPassword;
    return request;
  }

  bool WasAsked(const std::string& method) const {
    const std::vector<HttpRequest> requests = m_camera.Requests();
    return std::any_of(requests.begin(), requests.end(),
                       [&](const HttpRequest& request) { return request.method == method; });
  }

  ScriptedCamera m_camera;
};

TEST_F(Player, AsksForTheWholePathAndNamesNoAccountInIt) {
  Refuse("404 Not Found");
  EXPECT_EQ(Play(Request()).result, PlayResult::NotFound);
  EXPECT_TRUE(WasAsked("DESCRIBE"));
  for (const HttpRequest& request : m_camera.Requests()) {
    EXPECT_EQ(request.target, "rtsp://127.0.0.1:" + std::to_string(m_camera.Port()) + "/live?x=1");
    EXPECT_THAT(request.raw, Not(HasSubstr(kPassword)));
  }
}

struct StatusRow {
  const char* status;
  PlayResult result;
};

TEST_F(Player, RefusalsAreToldApart) {
  const StatusRow rows[] = {{"403 Forbidden", PlayResult::Refused},
                            {"404 Not Found", PlayResult::NotFound},
                            {"453 Not Enough Bandwidth", PlayResult::BadStatus},
                            {"503 Service Unavailable", PlayResult::BadStatus}};
  for (const StatusRow& row : rows) {
    Refuse(row.status);
    const Playback playback = Play(Request());
    EXPECT_EQ(playback.result, row.result) << row.status;
    EXPECT_EQ(playback.status, std::stoi(row.status)) << row.status;
  }
}

TEST_F(Player, WrongPasswordIsTriedOnce) {
  Refuse("401 Unauthorized", "WWW-Authenticate: Digest realm=\"c\", nonce=\"n\"\r\n\r\n");
  const Playback playback = Play(Request());
  EXPECT_EQ(playback.result, PlayResult::Refused);
  EXPECT_EQ(playback.status, 401);
  int answers = 0;
  for (const HttpRequest& request : m_camera.Requests()) {
    EXPECT_THAT(request.raw, Not(HasSubstr(kPassword)));
    if (request.method == "DESCRIBE" && !request.Header("Authorization").empty()) ++answers;
  }
  EXPECT_EQ(answers, 1);
}

TEST_F(Player, BasicIsNeverAnswered) {
  Refuse("401 Unauthorized", "WWW-Authenticate: Basic realm=\"c\"\r\n\r\n");
  const Playback playback = Play(Request());
  EXPECT_EQ(playback.result, PlayResult::Refused);
  for (const HttpRequest& request : m_camera.Requests()) EXPECT_EQ(request.Header("Authorization"), "");
}

TEST_F(Player, PortThatNothingListensAt) {
  PlayRequest request;
  {
    const ScriptedCamera camera;
    request = Request();
    request.port = camera.Port();
  }
  EXPECT_EQ(Play(request).result, PlayResult::NoConnection);
}

TEST_F(Player, SilentServerIsLeftAtThePatience) {
  m_camera.AnswerAll([](const HttpRequest&) { return Reply::Stall(); });
  PlayRequest request = Request();
  request.patience = std::chrono::milliseconds(300);
  EXPECT_EQ(Play(request).result, PlayResult::NoAnswer);
}

TEST_F(Player, ServerThatClosesAtOnceGivesNoAnswer) {
  m_camera.AnswerAll([](const HttpRequest&) { return Reply::Close(); });
  EXPECT_EQ(Play(Request()).result, PlayResult::NoAnswer);
}

TEST_F(Player, WhatIsNoRtspIsAFailure) {
  m_camera.AnswerAll([](const HttpRequest&) { return Reply::Raw("SSH-2.0-x\r\n\r\n"); });
  const PlayResult result = Play(Request()).result;
  EXPECT_TRUE(result == PlayResult::NoAnswer || result == PlayResult::Broken) << static_cast<int>(result);
}

TEST_F(Player, AccountIsNotTakenToAnotherHost) {
  ScriptedCamera other;
  other.AnswerAll([](const HttpRequest& request) {
    return Reply::Raw(Answer(request, "401 Unauthorized", "WWW-Authenticate: Digest realm=\"c\", nonce=\"n\"\r\n\r\n"),
                      Reply::End::kKeepOpen);
  });
  const std::string there = "rtsp://127.0.0.1:" + std::to_string(other.Port()) + "/x";
  Refuse("302 Moved", "Location: " + there + "\r\n\r\n");
  const Playback playback = Play(Request());
  EXPECT_EQ(playback.result, PlayResult::Redirected);
  EXPECT_EQ(playback.error, there);
  EXPECT_TRUE(other.Requests().empty());
}

TEST_F(Player, CodecThatIsNotKnownIsNamed) {
  const std::string sdp =
      std::string(kSession) + "m=video 0 RTP/AVP 96\r\na=rtpmap:96 VP8/90000\r\na=control:track1\r\n";
  m_camera.AnswerAll([sdp](const HttpRequest& request) { return Serve(request, sdp); });
  const Playback playback = Play(Request());
  EXPECT_EQ(playback.result, PlayResult::NoDecoder);
  EXPECT_EQ(playback.codec, "VP8");
}

TEST_F(Player, StreamOfSoundAloneHasNoVideo) {
  const std::string sdp = std::string(kSession) + "m=audio 0 RTP/AVP 0\r\na=rtpmap:0 PCMU/8000\r\na=control:track1\r\n";
  m_camera.AnswerAll([sdp](const HttpRequest& request) { return Serve(request, sdp); });
  const Playback playback = Play(Request());
  EXPECT_EQ(playback.result, PlayResult::NoVideo);
  ASSERT_TRUE(playback.audio);
  EXPECT_EQ(playback.audio->codec, "G711");
  EXPECT_EQ(playback.audio->rate, 8000);
}

TEST_F(Player, StreamWithoutPicturesIsLeftAtThePatience) {
  const std::string sdp = std::string(kSession) + kH264;
  m_camera.AnswerAll([sdp](const HttpRequest& request) { return Serve(request, sdp); });
  PlayRequest request = Request();
  request.patience = std::chrono::milliseconds(500);
  const auto begin = std::chrono::steady_clock::now();
  const Playback playback = Play(request);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_EQ(playback.result, PlayResult::NoPicture);
  EXPECT_EQ(playback.codec, "H264");
  EXPECT_EQ(playback.frames, 0U);
}

TEST_F(Player, ServerThatGoesAfterTheDescriptionEndedTheStream) {
  const std::string sdp = std::string(kSession) + kH264;
  m_camera.AnswerAll([sdp](const HttpRequest& request) {
    Reply reply = Serve(request, sdp);
    return request.method == "PLAY" ? reply.ThenClose() : reply;
  });
  EXPECT_EQ(Play(Request()).result, PlayResult::Ended);
}

TEST_F(Player, UserEndsIt) {
  const std::string sdp = std::string(kSession) + kH264;
  m_camera.AnswerAll([sdp](const HttpRequest& request) { return Serve(request, sdp); });
  PlayRequest request = Request();
  request.cancelled = [this] { return WasAsked("PLAY"); };
  EXPECT_EQ(Play(request).result, PlayResult::Interrupted);
}

TEST_F(Player, CodecsOfFixedPayloadTypesNeedNoName) {
  for (const char* sound : kPlainSound) {
    ServePictures(std::string(kSession) + kPlainJpeg + sound, 9000);
    PlayRequest request = Request();
    request.duration = std::chrono::milliseconds(200);
    const Playback playback = Play(request);
    EXPECT_EQ(playback.result, PlayResult::Played) << playback.error;
    EXPECT_EQ(playback.codec, "JPEG");
    EXPECT_EQ(playback.width, 16);
    EXPECT_NEAR(playback.Rate(), 10, 0.01);
    ASSERT_TRUE(playback.audio);
    EXPECT_EQ(playback.audio->codec, "G711") << sound;
    EXPECT_EQ(playback.audio->rate, 8000);
  }
}

TEST_F(Player, PicturesWhoseTimesStandStillAreLeftInTime) {
  ServePictures(std::string(kSession) + kPlainJpeg, 0);
  PlayRequest request = Request();
  request.duration = std::chrono::milliseconds(200);
  request.patience = std::chrono::milliseconds(2000);
  const auto begin = std::chrono::steady_clock::now();
  request.cancelled = [begin] { return std::chrono::steady_clock::now() - begin > std::chrono::seconds(30); };
  const Playback playback = Play(request);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
  EXPECT_EQ(playback.result, PlayResult::NoTime);
  EXPECT_GT(playback.frames, 1U);
}

TEST_F(Player, NamesAndTracksOfADescriptionAreBounded) {
  std::string sdp = kSession;
  for (int track = 0; track < 40; ++track) {
    sdp += "m=audio 0 RTP/AVP 97\r\na=rtpmap:97 " + std::string(500, 'X') + "/8000\r\na=control:t" +
           std::to_string(track) + "\r\n";
  }
  m_camera.AnswerAll([sdp](const HttpRequest& request) { return Serve(request, sdp); });
  PlayRequest request = Request();
  request.patience = std::chrono::milliseconds(1000);
  const Playback playback = Play(request);
  EXPECT_NE(playback.result, PlayResult::Played);
  ASSERT_TRUE(playback.audio);
  EXPECT_LE(playback.audio->codec.size(), 32U);
}

}  // namespace
}  // namespace camctl
