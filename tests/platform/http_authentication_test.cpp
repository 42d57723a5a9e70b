// When a request is sent with HTTP credentials, and when it never is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "tests/platform/http_client_fixture.h"
#include "tests/support/child_process.h"

namespace {

using testsupport::HttpRequest;
using testsupport::Reply;

constexpr char kChallenge[] = R"(Digest realm="cam", nonce="n1", qop="auth", algorithm=SHA-256)";

Reply Unauthorized(const std::string& challenge) {
  return Reply::Status(401, "", "WWW-Authenticate: " + challenge + "\r\n");
}

Reply Challenged(const std::string& nonce, bool stale = false) {
  return Unauthorized(R"(Digest realm="cam", nonce=")" + nonce + R"(", qop="auth")" + (stale ? ", stale=true" : ""));
}

/// What the requests were authorised with: nonce and count of each, "-" for one that carried nothing.
class HttpAuthentication : public HttpClientTest {
 protected:
  HttpAuthentication() {
    m_client.SetExchangeObserver([this](const HTTP_EXCHANGE& exchange) {
      m_tries = exchange.nDigestTries;
      m_challenges = exchange.strChallenges;
    });
  }

  void TearDown() override { EXPECT_EQ(m_camera.Unused(), 0) << "requests that were not sent"; }

  void Answer(const std::vector<Reply>& replies) {
    for (const Reply& reply : replies) m_camera.Answer(reply);
  }

  /// Posts once and checks the result and what the requests since the last time carried.
  void ExpectPost(int result, const std::vector<std::string>& carried) {
    const std::size_t before = m_camera.Requests().size();
    EXPECT_EQ(m_client.Post().result, result);
    std::vector<std::string> seen;
    for (std::size_t i = before; i < m_camera.Requests().size(); ++i) seen.push_back(Carried(m_camera.Requests()[i]));
    EXPECT_EQ(seen, carried);
  }

  static std::string Carried(const HttpRequest& request) {
    EXPECT_EQ(request.body, "<q/>") << "every request carries the whole body";
    const std::string header = request.Header("Authorization");
    return header.empty() ? "-" : Between(header, "nonce=\"", "\"") + " " + Between(header, "nc=", ",");
  }

  static std::string Between(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t from = text.find(begin);
    if (from == std::string::npos) return "";
    const std::size_t start = from + begin.size();
    return text.substr(start, text.find(end, start) - start);
  }

  int m_tries = -1;
  std::string m_challenges;
};

TEST_F(HttpAuthentication, FirstRequestGoesWithoutAndTheChallengeIsAnswered) {
  Answer({Challenged("n1"), Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  EXPECT_EQ(m_tries, 1);
  EXPECT_EQ(m_challenges, "");
  EXPECT_EQ(m_camera.Connections(), 1);
  const std::string header = m_camera.Requests().at(1).Header("Authorization");
  EXPECT_EQ(header.substr(0, header.find(", response")),
            R"(Digest username="user", realm="cam", nonce="n1", uri="/onvif/x")");
}

TEST_F(HttpAuthentication, AddressIsThatOfTheRequestLine) {
  Answer({Challenged("n1"), Reply::Ok("<a/>")});
  m_client.Post("/a%2Fb\xc3\xb6?c=\xc3\xb6");
  const HttpRequest request = m_camera.Requests().at(1);
  EXPECT_EQ(Between(request.Header("Authorization"), "uri=\"", "\""), request.target);
}

// Otherwise a camera that writes a wrong length is sent the wrong password again and again.
TEST_F(HttpAuthentication, RefusalCountsAlsoWhenItsAnswerBreaksOff) {
  const Reply broken =
      Reply::Raw("HTTP/1.1 401 No\r\nWWW-Authenticate: Digest nonce=\"n2\"\r\nContent-Length: 10\r\n\r\nabc");
  Answer({Challenged("n1"), broken, broken, Challenged("n3")});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-", "n1 00000001"});
  EXPECT_EQ(m_challenges, "Digest MD5");
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
}

TEST_F(HttpAuthentication, ChallengeThatBreaksOffIsAnsweredAtTheNextCall) {
  const Reply broken =
      Reply::Raw("HTTP/1.1 401 No\r\nWWW-Authenticate: Digest nonce=\"n1\", qop=auth\r\nContent-Length: 10\r\n\r\nabc");
  Answer({broken, Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
  ExpectPost(HTTP_POST_OK, {"n1 00000001"});
}

// As where cryptography is regulated.
TEST_F(HttpAuthentication, AlgorithmThatTheSystemLacksIsNotTried) {
  Answer({Challenged("n1")});
  const int port = m_camera.Port();
  const auto post = [port] {
    EVP_set_default_properties(nullptr, "provider=none");
    HttpClient client(kLoopback, port);
    const HTTP_EXCHANGE exchange = client.Post("/", "<q/>", {"user", "secret"}, kTimeout_s);
    return exchange.nDigestTries == 0 ? static_cast<int>(exchange.eResult) : -1;
  };
  EXPECT_EQ(testsupport::RunInChild(post), HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(m_camera.Requests().size(), 1u);
}

TEST_F(HttpAuthentication, AcceptedNonceIsUsedForTheNextCalls) {
  Answer({Challenged("n1"), Reply::Ok("<a/>"), Reply::Ok("<a/>"), Reply::Status(400, "<a/>"), Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_OK, {"n1 00000002"});
  ExpectPost(HTTP_POST_ERROR_STATUS, {"n1 00000003"});
  ExpectPost(HTTP_POST_OK, {"n1 00000004"});
}

TEST_F(HttpAuthentication, ClientNonceIsAnotherEachTime) {
  Answer({Challenged("n1"), Reply::Ok("<a/>"), Reply::Ok("<a/>")});
  m_client.Post();
  m_client.Post();
  const auto nonce = [this](std::size_t i) {
    return Between(m_camera.Requests().at(i).Header("Authorization"), "cnonce=\"", "\"");
  };
  EXPECT_THAT(nonce(1), testing::MatchesRegex("[0-9a-f]{32}"));
  EXPECT_NE(nonce(1), nonce(2));
}

TEST_F(HttpAuthentication, StaleNonceIsReplacedWithinTheCall) {
  Answer({Challenged("n1"), Reply::Ok("<a/>"), Challenged("n2", true), Reply::Ok("<a/>"), Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_OK, {"n1 00000002", "n2 00000001"});
  ExpectPost(HTTP_POST_OK, {"n2 00000002"});
}

TEST_F(HttpAuthentication, NonceThatIsAlwaysStaleMakesNoLoop) {
  Answer({Challenged("n1"), Challenged("n2", true), Challenged("n3", true), Challenged("n4", true)});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"n2 00000001"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"n3 00000001"});
}

// Cameras lock accounts: the request itself is still sent, the credentials never again.
TEST_F(HttpAuthentication, RefusedAccountIsTriedOnceInTheLifeOfTheClient) {
  Answer({Challenged("n1"), Challenged("n2"), Challenged("n3"), Challenged("n4"), Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-", "n1 00000001"});
  EXPECT_EQ(m_tries, 1);
  EXPECT_EQ(m_challenges, "Digest MD5");
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
  EXPECT_EQ(m_tries, 0);
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
  ExpectPost(HTTP_POST_OK, {"-"});
}

TEST_F(HttpAuthentication, AnotherAccountIsTriedAgain) {
  HttpClient client(kLoopback, m_camera.Port());
  Answer({Challenged("n1"), Challenged("n2"), Challenged("n3"), Reply::Ok("<a/>")});
  EXPECT_EQ(client.Post("/", "<q/>", {"user", "old"}, kTimeout_s).eResult, HTTP_POST_AUTH_REFUSED);
  const HTTP_EXCHANGE exchange = client.Post("/", "<q/>", {"user", "new"}, kTimeout_s);
  EXPECT_EQ(exchange.eResult, HTTP_POST_OK);
  EXPECT_EQ(exchange.nDigestTries, 1);
}

// Its refusal says nothing of the account: the camera has restarted, or takes a nonce once and does not say so.
TEST_F(HttpAuthentication, AcceptedNonceThatIsRefusedLaterIsForgotten) {
  Answer({Challenged("n1"), Reply::Ok("<a/>"), Challenged("n2"), Challenged("n3"), Reply::Ok("<a/>"), Challenged("n4"),
          Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"n1 00000002"});
  ExpectPost(HTTP_POST_OK, {"-", "n3 00000001"});
  ExpectPost(HTTP_POST_OK, {"-", "n4 00000001"});
}

TEST_F(HttpAuthentication, ChangedPasswordIsRefusedTwiceAndThenNeverTried) {
  Answer({Challenged("n1"), Reply::Ok("<a/>"), Challenged("n2"), Challenged("n3"), Challenged("n4"), Challenged("n5")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"n1 00000002"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-", "n3 00000001"});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
}

TEST_F(HttpAuthentication, BasicIsNeverUsed) {
  Answer({Unauthorized("Basic realm=\"cam\"")});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
  EXPECT_EQ(m_tries, 0);
  EXPECT_EQ(m_challenges, "Basic");
}

TEST_F(HttpAuthentication, DigestIsTakenOutOfSeveralChallenges) {
  const std::string others = "Basic realm=\"cam\"\r\nWWW-Authenticate: Digest nonce=\"x\", algorithm=TIGER\r\n";
  for (const std::string& headers :
       {others + "www-authenticate:" + kChallenge, "Basic realm=\"cam\", " + std::string(kChallenge),
        others + "WWW-Authenticate: Digest realm=\"cam\",\r\n\tnonce=\"n1\", qop=\"auth\""}) {
    PlainCamera client(m_camera.Port());
    Answer({Unauthorized(headers), Reply::Ok("<a/>")});
    EXPECT_EQ(client.Post().result, HTTP_POST_OK) << headers;
    EXPECT_EQ(Carried(m_camera.Requests().back()), "n1 00000001") << headers;
  }
}

TEST_F(HttpAuthentication, OtherHeadersThatLookAlikeAreNoChallenge) {
  const std::string lookAlikes = "X-WWW-Authenticate: " + std::string(kChallenge) +
                                 "\r\nWWW-Authenticate2: " + kChallenge +
                                 "\r\nX: y\r\n WWW-Authenticate: " + kChallenge + "\r\n";
  Answer({Reply::Status(401, "", lookAlikes)});
  ExpectPost(HTTP_POST_AUTH_REFUSED, {"-"});
}

TEST_F(HttpAuthentication, WithoutUserNothingIsTried) {
  HttpClient client(kLoopback, m_camera.Port());
  Answer({Challenged("n1")});
  EXPECT_EQ(client.Post("/", "<q/>", {"", ""}, kTimeout_s).nDigestTries, 0);
}

TEST_F(HttpAuthentication, NameThatCannotBeSentIsNotTried) {
  HttpClient client(kLoopback, m_camera.Port());
  Answer({Challenged("n1")});
  const HTTP_EXCHANGE exchange = client.Post("/", "<q/>", {"us\r\ner", "secret"}, kTimeout_s);
  EXPECT_EQ(exchange.eResult, HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(exchange.nDigestTries, 0);
}

TEST_F(HttpAuthentication, WorksWhereEveryAnswerEndsTheConnection) {
  Answer({Challenged("n1").ThenClose(), Reply::Ok("<a/>", "Connection: close\r\n").ThenClose(), Reply::Ok("<a/>")});
  ExpectPost(HTTP_POST_OK, {"-", "n1 00000001"});
  ExpectPost(HTTP_POST_OK, {"n1 00000002"});
}

TEST_F(HttpAuthentication, TimeoutIsThatOfBothRequestsTogether) {
  Answer({Challenged("n1"), Reply::Stall()});
  EXPECT_EQ(m_client.Post("/", "<q/>", 1).result, HTTP_POST_TIMED_OUT);
  EXPECT_EQ(m_tries, 1);
}

TEST_F(HttpAuthentication, RedirectGetsNoCredentials) {
  testsupport::ScriptedCamera elsewhere;
  const std::string location = "Location: http://127.0.0.1:" + std::to_string(elsewhere.Port()) + "/\r\n";
  Answer({Challenged("n1"), Reply::Status(302, "", location)});
  ExpectPost(HTTP_POST_REDIRECTED, {"-", "n1 00000001"});
  EXPECT_EQ(elsewhere.Connections(), 0);
}

TEST_F(HttpAuthentication, CredentialsAreInNoReportOfTheExchange) {
  std::string report;
  m_client.SetExchangeObserver([&report](const HTTP_EXCHANGE& exchange) {
    report += exchange.strPath + exchange.strError + exchange.strChallenges;
  });
  Answer({Challenged("n1"), Challenged("n2"), Challenged("n3"), Reply::Reset()});
  for (int i = 0; i < 3; ++i) m_client.Post();
  EXPECT_THAT(report, testing::Not(testing::HasSubstr("s3cret")));
  EXPECT_THAT(report, testing::Not(testing::HasSubstr("n1")));
}

}  // namespace
