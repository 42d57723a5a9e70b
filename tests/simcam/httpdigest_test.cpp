#include "simcam/httpdigest.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "tests/simcam/bench.h"
#include "tests/simcam/digestclient.h"

namespace {

using simcam::DigestAlgorithm;
using simcam::DigestChecker;
using simcam::DigestVerdict;
using simcamtest::DigestHeader;
using simcamtest::DigestLogin;
using simcamtest::LoginFor;
using std::chrono::seconds;

constexpr const char* kUri = "/image.cgi?profile=1&size=\"big\"";

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '"' ? std::string("\\\"") : std::string(1, c);
  }
  return escaped;
}

class DigestCheck : public testing::Test {
 protected:
  DigestLogin Login() { return LoginFor(m_checker.Challenges(DigestVerdict::Missing).front(), "/image"); }

  DigestVerdict Check(const DigestLogin& login) { return m_checker.Check("GET", "/image", DigestHeader(login)); }

  simcamtest::ManualClock m_clock;
  DigestChecker m_checker{{"admin", "simcam", "the camera"}, {DigestAlgorithm::Md5}, m_clock};
};

// The examples of the standards hold the tests' own client to the mark.
TEST(DigestClient, AnswersLikeThePublishedExamples) {
  DigestLogin login{"GET",
                    "/dir/index.html",
                    "Mufasa",
                    "Circle of Life",
                    "http-auth@example.org",
                    "7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v",
                    "MD5",
                    "00000001",
                    "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ",
                    "auth"};
  EXPECT_EQ(simcamtest::DigestResponse(login), "8ca523f5e9506fed4657c9700eebdbec");
  login.algorithm = "SHA-256";
  EXPECT_EQ(simcamtest::DigestResponse(login), "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1");
}

TEST_F(DigestCheck, RightCredentialsAreAccepted) {
  EXPECT_EQ(Check(Login()), DigestVerdict::Accepted);
}

TEST_F(DigestCheck, ChallengeOffersWhatIsChecked) {
  const std::vector<std::string> challenges = m_checker.Challenges(DigestVerdict::Missing);
  ASSERT_EQ(challenges.size(), 1U);
  const std::string nonce = simcamtest::ChallengeValue(challenges[0], "nonce");
  EXPECT_EQ(challenges[0], "Digest realm=\"the camera\", qop=\"auth\", algorithm=MD5, nonce=\"" + nonce + "\"");
  std::set<std::string> nonces = {nonce};
  for (int i = 0; i < 20; ++i) {
    nonces.insert(Login().nonce);
  }
  EXPECT_EQ(nonces.size(), 21U) << "each challenge has a nonce of its own";
}

TEST(DigestAlgorithms, OnlyThoseOfTheChallengesAreAccepted) {
  struct Policy {
    std::vector<DigestAlgorithm> algorithms;
    std::vector<std::string> names;
  };
  const Policy policies[] = {
      {{DigestAlgorithm::Md5}, {"MD5"}},
      {{DigestAlgorithm::Sha256}, {"SHA-256"}},
      {{DigestAlgorithm::Sha256, DigestAlgorithm::Md5}, {"SHA-256", "MD5"}},
  };
  for (const Policy& policy : policies) {
    const simcamtest::ManualClock clock;
    DigestChecker checker({"admin", "simcam", "r"}, policy.algorithms, clock);
    std::vector<std::string> offered;
    for (const std::string& challenge : checker.Challenges(DigestVerdict::Missing)) {
      const DigestLogin login = LoginFor(challenge, "/");
      offered.push_back(login.algorithm);
      EXPECT_EQ(checker.Check("GET", "/", DigestHeader(login)), DigestVerdict::Accepted) << challenge;
    }
    EXPECT_EQ(offered, policy.names);
    for (const char* const name : {"MD5", "SHA-256"}) {
      DigestLogin login = LoginFor(checker.Challenges(DigestVerdict::Missing).front(), "/");
      login.algorithm = name;
      const bool isOffered = std::find(offered.begin(), offered.end(), name) != offered.end();
      EXPECT_EQ(checker.Check("GET", "/", DigestHeader(login)),
                isOffered ? DigestVerdict::Accepted : DigestVerdict::WrongAlgorithm)
          << name;
    }
  }
}

TEST_F(DigestCheck, AlgorithmThatIsNotNamedIsMd5) {
  std::string header = DigestHeader(Login());
  header.erase(header.find("algorithm=MD5, "), 15);
  EXPECT_EQ(m_checker.Check("GET", "/image", header), DigestVerdict::Accepted);
}

TEST_F(DigestCheck, WhatIsWrongIsToldApart) {
  struct Case {
    const char* what;
    std::function<void(DigestLogin&)> spoil;
    DigestVerdict verdict;
  };
  const Case cases[] = {
      {"password", [](DigestLogin& login) { login.password = "Simcam"; }, DigestVerdict::WrongResponse},
      {"user", [](DigestLogin& login) { login.user = "root"; }, DigestVerdict::WrongUser},
      {"realm", [](DigestLogin& login) { login.realm = "The camera"; }, DigestVerdict::WrongRealm},
      {"uri", [](DigestLogin& login) { login.uri = "/image2"; }, DigestVerdict::WrongUri},
      {"uri with a query", [](DigestLogin& login) { login.uri = "/image?a=b"; }, DigestVerdict::WrongUri},
      {"method", [](DigestLogin& login) { login.method = "HEAD"; }, DigestVerdict::WrongResponse},
      {"qop", [](DigestLogin& login) { login.qop = "auth-int"; }, DigestVerdict::WrongQop},
      {"algorithm", [](DigestLogin& login) { login.algorithm = "SHA-256"; }, DigestVerdict::WrongAlgorithm},
      {"nonce", [](DigestLogin& login) { login.nonce[20] ^= 1; }, DigestVerdict::Stale},
      {"seal", [](DigestLogin& login) { login.nonce.back() = login.nonce.back() == '0' ? '1' : '0'; },
       DigestVerdict::Stale},
      {"short nonce", [](DigestLogin& login) { login.nonce = "abc"; }, DigestVerdict::Stale},
      {"no count", [](DigestLogin& login) { login.count = "00000000"; }, DigestVerdict::Replayed},
      {"short count", [](DigestLogin& login) { login.count = "1"; }, DigestVerdict::Malformed},
      {"count with a letter", [](DigestLogin& login) { login.count = "0000000g"; }, DigestVerdict::Malformed},
      {"no cnonce", [](DigestLogin& login) { login.cnonce = ""; }, DigestVerdict::Malformed},
  };
  for (const Case& one : cases) {
    DigestLogin login = Login();
    one.spoil(login);
    EXPECT_EQ(Check(login), one.verdict) << one.what;
  }
  EXPECT_EQ(m_checker.RememberedNonces(), 1U) << "only the count of 0 came with right credentials";
}

TEST_F(DigestCheck, WrongPasswordWithAStaleNonceIsNotToldTheNonceAlone) {
  DigestLogin login = Login();
  login.password = "wrong";
  m_clock.Advance(seconds(3600));
  EXPECT_EQ(Check(login), DigestVerdict::WrongResponse);
}

TEST_F(DigestCheck, CountMustGrow) {
  DigestLogin login = Login();
  const std::pair<const char*, DigestVerdict> steps[] = {
      {"00000002", DigestVerdict::Accepted}, {"00000002", DigestVerdict::Replayed},
      {"00000001", DigestVerdict::Replayed}, {"00000003", DigestVerdict::Accepted},
      {"0000000A", DigestVerdict::Accepted}, {"0000000a", DigestVerdict::Replayed},
      {"ffffffff", DigestVerdict::Accepted}, {"00000004", DigestVerdict::Replayed},
  };
  for (const auto& [count, verdict] : steps) {
    login.count = count;
    EXPECT_EQ(Check(login), verdict) << count;
  }
  EXPECT_EQ(Check(Login()), DigestVerdict::Accepted) << "another nonce counts by itself";
}

TEST_F(DigestCheck, RefusedRequestDoesNotUseUpItsCount) {
  DigestLogin login = Login();
  login.password = "wrong";
  EXPECT_EQ(Check(login), DigestVerdict::WrongResponse);
  login.password = "simcam";
  EXPECT_EQ(Check(login), DigestVerdict::Accepted);
}

TEST_F(DigestCheck, NonceGetsStaleWithItsLifetime) {
  DigestLogin login = Login();
  m_clock.Advance(simcam::kDigestNonceLifetime);
  EXPECT_EQ(Check(login), DigestVerdict::Accepted);
  m_clock.Advance(std::chrono::milliseconds(1));
  login.count = "00000002";
  EXPECT_EQ(Check(login), DigestVerdict::Stale);
  const std::string challenge = m_checker.Challenges(DigestVerdict::Stale).front();
  EXPECT_EQ(simcamtest::ChallengeValue(challenge, "stale"), "true");
  EXPECT_EQ(Check(LoginFor(challenge, "/image")), DigestVerdict::Accepted);
  EXPECT_EQ(m_checker.RememberedNonces(), 1U) << "the stale one is forgotten";
}

TEST_F(DigestCheck, NonceThatWasNeverUsedGetsStaleToo) {
  const DigestLogin login = Login();
  m_clock.Advance(simcam::kDigestNonceLifetime + std::chrono::milliseconds(1));
  EXPECT_EQ(Check(login), DigestVerdict::Stale);
}

TEST_F(DigestCheck, RepeatedRequestIsNeverAcceptedAtAnyLaterTime) {
  const DigestLogin login = Login();
  ASSERT_EQ(Check(login), DigestVerdict::Accepted);
  for (int second = 0; second < 300; ++second) {
    m_clock.Advance(seconds(1));
    EXPECT_NE(Check(login), DigestVerdict::Accepted) << second << " seconds later";
  }
}

TEST_F(DigestCheck, NonceOfAnotherCameraIsStale) {
  DigestChecker other({"admin", "simcam", "the camera"}, {DigestAlgorithm::Md5}, m_clock);
  EXPECT_EQ(Check(LoginFor(other.Challenges(DigestVerdict::Missing).front(), "/image")), DigestVerdict::Stale);
}

TEST_F(DigestCheck, RememberedNoncesAreBoundedAndForgottenOnesStaleForGood) {
  const DigestLogin first = Login();
  ASSERT_EQ(Check(first), DigestVerdict::Accepted);
  for (std::size_t i = 0; i < simcam::kMaxDigestNonces - 1; ++i) {
    ASSERT_EQ(Check(Login()), DigestVerdict::Accepted);
  }
  EXPECT_EQ(m_checker.RememberedNonces(), simcam::kMaxDigestNonces);
  EXPECT_EQ(Check(first), DigestVerdict::Replayed) << "all are remembered still";
  ASSERT_EQ(Check(Login()), DigestVerdict::Accepted);
  EXPECT_EQ(m_checker.RememberedNonces(), simcam::kMaxDigestNonces);
  EXPECT_EQ(Check(first), DigestVerdict::Stale);
}

TEST_F(DigestCheck, QuotedTextsMayHoldEscapes) {
  DigestLogin login = Login();
  login.uri = kUri;
  const std::string response = simcamtest::DigestResponse(login);
  login.uri = Escaped(kUri);
  std::string header = DigestHeader(login);
  const std::size_t place = header.find("response=\"") + 10;
  header.replace(place, response.size(), response);
  EXPECT_EQ(m_checker.Check("GET", kUri, header), DigestVerdict::Accepted);
}

TEST(DigestRealm, IsQuotedInTheChallenge) {
  const simcamtest::ManualClock clock;
  DigestChecker checker({"admin", "simcam", "a \"b\" \\c"}, {DigestAlgorithm::Md5}, clock);
  EXPECT_EQ(checker.Challenges(DigestVerdict::Missing).front().find("Digest realm=\"a \\\"b\\\" \\\\c\", qop"), 0U);
}

TEST_F(DigestCheck, HeadersThatAreNoCredentialsAreToldApart) {
  const std::pair<std::string, DigestVerdict> cases[] = {
      {"", DigestVerdict::Missing},
      {"Basic YWRtaW46c2ltY2Ft", DigestVerdict::OtherScheme},
      {"Digestion a=b", DigestVerdict::OtherScheme},
      {"Digest", DigestVerdict::Incomplete},
      {"Digest   ", DigestVerdict::Incomplete},
      {"DIGEST username=\"admin\"", DigestVerdict::Incomplete},
      {"Digest username=admin", DigestVerdict::Malformed},
      {"Digest " + std::string(simcam::kMaxAuthorizationLength, ','), DigestVerdict::Malformed},
  };
  for (const auto& [header, verdict] : cases) {
    EXPECT_EQ(m_checker.Check("GET", "/image", header), verdict) << header.substr(0, 60);
  }
}

TEST_F(DigestCheck, EveryNeededParameterIsNeeded) {
  for (const char* const name : {"username", "realm", "nonce", "uri", "response", "qop", "nc", "cnonce"}) {
    std::string header = DigestHeader(Login()) + ", end=1";
    const std::size_t place = header.find(std::string(" ") + name + "=");
    ASSERT_NE(place, std::string::npos) << name;
    header.erase(place, header.find(',', place) - place + 1);
    EXPECT_EQ(m_checker.Check("GET", "/image", header), DigestVerdict::Incomplete) << header;
  }
}

TEST_F(DigestCheck, QuotesBelongWhereTheStandardPutsThem) {
  const std::pair<const char*, const char*> changes[] = {
      {"qop=auth", "qop=\"auth\""},
      {"nc=00000001", "nc=\"00000001\""},
      {"algorithm=MD5", "algorithm=\"MD5\""},
      {"username=\"admin\"", "username=admin"},
      {"cnonce=\"0a4f113b\"", "cnonce=0a4f113b"},
  };
  for (const auto& [right, wrong] : changes) {
    std::string header = DigestHeader(Login());
    const std::size_t place = header.find(right);
    ASSERT_NE(place, std::string::npos) << right;
    header.replace(place, std::string(right).size(), wrong);
    EXPECT_EQ(m_checker.Check("GET", "/image", header), DigestVerdict::Malformed) << header;
  }
}

TEST(DigestParameters, ListsAreRead) {
  struct Case {
    const char* list;
    std::vector<std::pair<std::string, std::string>> values;
  };
  const Case cases[] = {
      {"", {}},
      {"a=b", {{"a", "b"}}},
      {" a=b", {{"a", "b"}}},
      {"A=B , c = \"d\"", {{"a", "B"}, {"c", "d"}}},
      {"a=\"\"", {{"a", ""}}},
      {"a=\"x, y=\\\"z\\\" \\\\\"", {{"a", "x, y=\"z\" \\"}}},
      {",, a=b,,\tc=d, ,", {{"a", "b"}, {"c", "d"}}},
      {"a=\"\xC3\xA4\"", {{"a", "\xC3\xA4"}}},
  };
  for (const Case& one : cases) {
    const auto parameters = simcam::ParseDigestParameters(one.list);
    ASSERT_TRUE(parameters) << one.list;
    EXPECT_EQ(parameters->size(), one.values.size()) << one.list;
    for (const auto& [name, value] : one.values) {
      ASSERT_EQ(parameters->count(name), 1U) << one.list;
      EXPECT_EQ(parameters->at(name).value, value) << one.list;
    }
  }
}

TEST(DigestParameters, NearMissesAreRefused) {
  const char* const lists[] = {
      "a",        "a=",       "=b",    "a=b c=d", "a=\"b",       "a=\"b\\",    "a=\"b\\\"", "a=\"b\"c",
      "a=b, a=c", "a=b, A=c", "a==b",  "a=b;c=d", "a=\"b\" c=d", "a=\"\x01\"", "a=\"\n\"",  "a=\"\\\x7F\"",
      "a b=c",    "\"a\"=b",  "a=b,c", "a=b/c",   "a='b', c=\"", "a=\xC3\xA4",
  };
  for (const char* const list : lists) {
    EXPECT_FALSE(simcam::ParseDigestParameters(list)) << list;
  }
}

TEST(DigestVerdicts, HaveTheStatusThatTheStandardAsksFor) {
  EXPECT_EQ(simcam::StatusOf(DigestVerdict::Accepted), 200);
  for (const DigestVerdict verdict :
       {DigestVerdict::Malformed, DigestVerdict::Incomplete, DigestVerdict::WrongQop, DigestVerdict::WrongUri}) {
    EXPECT_EQ(simcam::StatusOf(verdict), 400) << simcam::Describe(verdict);
  }
  for (const DigestVerdict verdict :
       {DigestVerdict::Missing, DigestVerdict::OtherScheme, DigestVerdict::WrongAlgorithm, DigestVerdict::WrongRealm,
        DigestVerdict::WrongUser, DigestVerdict::WrongResponse, DigestVerdict::Stale, DigestVerdict::Replayed}) {
    EXPECT_EQ(simcam::StatusOf(verdict), 401) << simcam::Describe(verdict);
  }
  EXPECT_STREQ(simcam::Describe(DigestVerdict::WrongUser), simcam::Describe(DigestVerdict::WrongResponse))
      << "an answer must not tell which users there are";
}

}  // namespace
