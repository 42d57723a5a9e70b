#include "camctl/httpget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/scripted_camera.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testsupport::HttpRequest;
using testsupport::Reply;
using testsupport::ScriptedCamera;

constexpr const char* kDigest = "WWW-Authenticate: Digest realm=\"cam\", nonce=\"n1\", qop=\"auth\"\r\n";

FetchRequest RequestTo(const ScriptedCamera& camera) {
  FetchRequest request;
  request.host = "127.0.0.1";
  request.port = camera.Port();
  request.path = "/shot?profile=1";
  request.user = "admin";
  request.password = "secret-word";
  return request;
}

TEST(HttpGet, BodyOfASuccessIsTheResult) {
  ScriptedCamera camera;
  const std::string body("pic\0ture", 8);
  camera.Answer(Reply::Ok(body));
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_OK);
  EXPECT_EQ(fetched.status, 200);
  EXPECT_EQ(fetched.body, body);
  ASSERT_EQ(camera.Requests().size(), 1U);
  const HttpRequest request = camera.Requests().front();
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.target, "/shot?profile=1");
  EXPECT_EQ(request.Header("Authorization"), "") << "unasked";
}

TEST(HttpGet, DigestChallengeIsAnsweredOnce) {
  ScriptedCamera camera;
  camera.Answer(Reply::Status(401, "no", kDigest));
  camera.Answer(Reply::Ok("picture"));
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_OK);
  EXPECT_EQ(fetched.body, "picture") << "the body of the refusal is not part of it";
  ASSERT_EQ(camera.Requests().size(), 2U);
  EXPECT_THAT(camera.Requests().back().Header("Authorization"), HasSubstr("Digest username=\"admin\""));
  EXPECT_THAT(camera.Requests().back().raw, Not(HasSubstr("secret-word")));
}

TEST(HttpGet, RefusedAnswerIsNotRepeated) {
  ScriptedCamera camera;
  camera.AnswerAll([](const HttpRequest&) { return Reply::Status(401, "no", kDigest); });
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(fetched.status, 401);
  EXPECT_FALSE(fetched.basicOnly);
  EXPECT_THAT(fetched.body, IsEmpty());
  EXPECT_EQ(camera.Requests().size(), 2U);
}

TEST(HttpGet, BasicIsNeverAnswered) {
  ScriptedCamera camera;
  camera.AnswerAll(
      [](const HttpRequest&) { return Reply::Status(401, "", "WWW-Authenticate: Basic realm=\"c\"\r\n"); });
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_AUTH_REFUSED);
  EXPECT_TRUE(fetched.basicOnly);
  for (const HttpRequest& request : camera.Requests()) EXPECT_EQ(request.Header("Authorization"), "");
}

TEST(HttpGet, DigestIsChosenWhereBothAreOffered) {
  ScriptedCamera camera;
  camera.Answer(Reply::Status(401, "", std::string("WWW-Authenticate: Basic realm=\"c\"\r\n") + kDigest));
  camera.Answer(Reply::Ok("picture"));
  EXPECT_EQ(HttpGet(RequestTo(camera)).result, HTTP_POST_OK);
  EXPECT_THAT(camera.Requests().back().Header("Authorization"), HasSubstr("Digest "));
}

TEST(HttpGet, WithoutAccountAChallengeIsARefusal) {
  ScriptedCamera camera;
  camera.Answer(Reply::Status(401, "", kDigest));
  FetchRequest request = RequestTo(camera);
  request.user.clear();
  EXPECT_EQ(HttpGet(request).result, HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(camera.Requests().size(), 1U);
}

TEST(HttpGet, RedirectsAreNotFollowed) {
  ScriptedCamera other;
  ScriptedCamera camera;
  camera.Answer(Reply::Status(302, "", "Location: http://127.0.0.1:" + std::to_string(other.Port()) + "/\r\n"));
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_REDIRECTED);
  EXPECT_EQ(fetched.status, 302);
  EXPECT_EQ(other.Connections(), 0);
}

TEST(HttpGet, OtherStatusIsToldWithoutBody) {
  ScriptedCamera camera;
  camera.Answer(Reply::Status(503, "busy"));
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_BARE_STATUS);
  EXPECT_EQ(fetched.status, 503);
  EXPECT_THAT(fetched.body, IsEmpty());
}

TEST(HttpGet, BodyOfExactlyTheCeilingIsTakenAndOneByteMoreIsNot) {
  ScriptedCamera camera;
  camera.Answer(Reply::Ok(std::string(kLargestFetch, 'x')));
  camera.Answer(Reply::Ok(std::string(kLargestFetch + 1, 'x')));
  EXPECT_EQ(HttpGet(RequestTo(camera)).body.size(), kLargestFetch);
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_TOO_LARGE);
  EXPECT_THAT(fetched.body, IsEmpty());
}

TEST(HttpGet, EndlessHeaderIsRefused) {
  ScriptedCamera camera;
  std::string head = "HTTP/1.1 200 OK\r\n";
  while (head.size() < std::size_t{70} * 1024) head += "X-Filler: " + std::string(1000, 'x') + "\r\n";
  camera.Answer(Reply::Raw(head + "Content-Length: 1\r\n\r\nx"));
  EXPECT_EQ(HttpGet(RequestTo(camera)).result, HTTP_POST_TOO_LARGE);
}

TEST(HttpGet, AnswerThatIsCutOffIsNoSuccess) {
  ScriptedCamera camera;
  camera.Answer(Reply::Raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"));
  const Fetched fetched = HttpGet(RequestTo(camera));
  EXPECT_EQ(fetched.result, HTTP_POST_CONNECTION_LOST);
  EXPECT_THAT(fetched.body, IsEmpty());
  EXPECT_THAT(fetched.error, Not(IsEmpty()));
}

TEST(HttpGet, CameraThatFallsSilentIsLeftAtTheDeadline) {
  ScriptedCamera camera;
  camera.Answer(Reply::StallAfter("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"));
  FetchRequest request = RequestTo(camera);
  request.deadline = std::chrono::milliseconds(100);
  EXPECT_EQ(HttpGet(request).result, HTTP_POST_TIMED_OUT);
}

TEST(HttpGet, WhatIsNoHttpIsALostConnection) {
  ScriptedCamera camera;
  camera.Answer(Reply::Raw("SSH-2.0-x\r\n\r\n"));
  EXPECT_EQ(HttpGet(RequestTo(camera)).result, HTTP_POST_CONNECTION_LOST);
}

TEST(HttpGet, PortThatNothingListensAt) {
  FetchRequest request;
  {
    const ScriptedCamera camera;
    request = RequestTo(camera);
  }
  const Fetched fetched = HttpGet(request);
  EXPECT_EQ(fetched.result, HTTP_POST_NO_CONNECTION);
  EXPECT_THAT(fetched.error, HasSubstr("refused"));
}

TEST(HttpGet, PathsThatWouldEndTheRequestLineAreNotSent) {
  ScriptedCamera camera;
  for (const char* path : {"", "/a b", "/a\r\nHost: other", "/a\x7f", "/\t"}) {
    FetchRequest request = RequestTo(camera);
    request.path = path;
    EXPECT_EQ(HttpGet(request).result, HTTP_POST_NO_CONNECTION) << path;
  }
  EXPECT_EQ(camera.Connections(), 0);
}

}  // namespace
}  // namespace camctl
