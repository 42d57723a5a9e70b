// Which challenges of HTTP Digest can be answered, and with what.
#include "platform/httpdigest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Headers = std::vector<std::string>;

constexpr HTTP_ACCOUNT kAccount{"user", "secret"};
constexpr HTTP_MESSAGE kMessage{"POST", "/onvif/x?a=b", "<q/>"};

DIGEST_CHALLENGE Challenge(const std::string& header) {
  const std::optional<DIGEST_CHALLENGE> found = FindDigestChallenge({header});
  EXPECT_TRUE(found) << header;
  return found.value_or(DIGEST_CHALLENGE{});
}

std::string Answer(const std::string& header) {
  constexpr std::uint32_t uses = 10;
  return AnswerChallenge(Challenge(header), kAccount, kMessage, uses, "0123");
}

// The examples of RFC 7616 (3.9.1) and RFC 2617 (3.5).
TEST(HttpDigest, AnswersOfTheStandardsExamples) {
  const std::string challenge =
      R"(Digest realm="http-auth@example.org", qop="auth, auth-int", )"
      R"(nonce="7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v", opaque="FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS")";
  const HTTP_MESSAGE get{"GET", "/dir/index.html", ""};
  const HTTP_ACCOUNT mufasa{"Mufasa", "Circle of Life"};
  const char* const clientNonce = "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ";
  EXPECT_EQ(AnswerChallenge(Challenge(challenge + ", algorithm=MD5"), mufasa, get, 1, clientNonce),
            R"(Digest username="Mufasa", realm="http-auth@example.org", )"
            R"(nonce="7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v", uri="/dir/index.html", )"
            R"(response="8ca523f5e9506fed4657c9700eebdbec", algorithm=MD5, )"
            R"(opaque="FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS", qop=auth, nc=00000001, )"
            R"(cnonce="f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ")");
  EXPECT_THAT(AnswerChallenge(Challenge(challenge + ", algorithm=SHA-256"), mufasa, get, 1, clientNonce),
              testing::HasSubstr("753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1"));
  const std::string older = R"(Digest realm="testrealm@host.com", qop="auth,auth-int", )"
                            R"(nonce="dcd98b7102dd2f0e8b11d0f600bfb0c093", opaque="5ccc069c403ebaf9f0171e9517f40e41")";
  EXPECT_THAT(AnswerChallenge(Challenge(older), {"Mufasa", "Circle Of Life"}, get, 1, "0a4f113b"),
              testing::HasSubstr("6629fae49393a05397450978507c4ef1"));
}

TEST(HttpDigest, EveryAlgorithmWithEveryProtection) {
  const struct {
    const char* algorithm;
    const char* qop;
    const char* response;
  } kCases[] = {
      {"MD5", "auth", "d8776193d1c09f700a2d9ea624ecde67"},
      {"MD5-sess", "auth", "a70fdd44f164e2cebc976ba045a40024"},
      {"MD5", "auth-int", "e5bd1f99f09bd9c5c75c94ac811f97ea"},
      {"MD5-sess", "auth-int", "e4e051b12d0a4cb672ed9134866b5fb7"},
      {"MD5", "", "cd48c18f59abf1e5575d01db7379ee79"},
      {"MD5-sess", "", "c22331b0d22c2e0d196cba1a2b6582e7"},
      {"SHA-256", "auth", "26de944a1933e56adaa79f556d012ff10497f4bef84695975d80a538581a02b5"},
      {"SHA-256-sess", "auth", "ed0af982bdc6ca1d2bbb230fb891fff0fedd779c48d24299d3ffc29e8d488b57"},
      {"SHA-256", "auth-int", "6aa78a13e1efbd1cc1b6c7555517e30b6e91535d3e9650c245d5cbc3ad70b6ae"},
      {"SHA-256-sess", "auth-int", "9a6c84e565c5d4528a8db2a85766382a8a16ecc10b6fac9cbe47b58795ad3953"},
      {"SHA-256", "", "65cca730e269ae7eb7f714c5e23832b808712370021412cfdda20fe76b53e371"},
      {"SHA-256-sess", "", "07cea53d2638feee86e181a046961935acecda09ac748039a2e45ecfc4a36010"},
      {"SHA-512-256", "auth", "a7d96f25567266050fe457fd80d8f9189ae5dadd7a8d6fb562349897ab0c3e7c"},
  };
  for (const auto& c : kCases) {
    std::string header = std::string(R"(Digest realm="cam", nonce="abc", algorithm=)") + c.algorithm;
    if (*c.qop != '\0') header += std::string(", qop=\"") + c.qop + "\"";
    const std::string answer = Answer(header);
    EXPECT_THAT(answer, testing::HasSubstr(std::string("response=\"") + c.response + "\"")) << header;
    EXPECT_THAT(answer, testing::HasSubstr(std::string("algorithm=") + c.algorithm)) << header;
    EXPECT_EQ(answer.find("qop=") == std::string::npos, *c.qop == '\0') << header;
  }
}

TEST(HttpDigest, AnswerHoldsOnlyWhatTheChallengeNamed) {
  EXPECT_EQ(Answer(R"(Digest realm="cam", nonce="abc")"),
            R"(Digest username="user", realm="cam", nonce="abc", uri="/onvif/x?a=b", )"
            R"(response="cd48c18f59abf1e5575d01db7379ee79")");
  EXPECT_THAT(Answer(R"(Digest realm="cam", nonce="abc", opaque="")"), testing::HasSubstr(", opaque=\"\""));
}

TEST(HttpDigest, ChallengesAsCamerasWriteThem) {
  for (const char* header : {R"(Digest realm="cam", nonce="abc", qop="auth")", R"(digest REALM=cam,NONCE=abc,QOP=auth)",
                             R"( Digest	realm = "cam" ,nonce = "abc",, qop="auth-conf, AUTH")",
                             R"(Digest realm="cam" nonce="abc" qop="auth")",
                             R"(Basic realm="cam", Digest realm="cam", nonce="abc", qop="auth")",
                             R"(Negotiate YWJj==, Digest qop="auth", nonce="abc", realm="cam", realm="other")",
                             R"(Digest realm="ca\m", nonce="abc", qop="auth)",
                             R"(Digest realm="cam", nonce="abc", qop="auth", algorithm=)"}) {
    EXPECT_THAT(Answer(header), testing::HasSubstr("d8776193d1c09f700a2d9ea624ecde67")) << header;
  }
}

TEST(HttpDigest, ChallengesThatCannotBeAnswered) {
  for (const Headers& headers :
       {Headers{}, Headers{""}, Headers{"Basic realm=\"cam\""}, Headers{"Digest"}, Headers{"Digest realm=\"cam\""},
        Headers{"Digest realm=\"cam\", nonce=\"\""}, Headers{"Digest realm=\"cam\", nonce=\"abc\", algorithm=TIGER"},
        Headers{"Digest realm=\"cam\", nonce=\"abc\", qop=\"auth-conf\""},
        Headers{"Digest realm=\"cam\", nonce=\"abc\", qop=\"\""}, Headers{"nonce=\"abc\", realm=\"cam\""},
        Headers{"=,=\"\"\"\\"}}) {
    EXPECT_FALSE(FindDigestChallenge(headers)) << testing::PrintToString(headers);
  }
}

TEST(HttpDigest, FirstChallengeThatCanBeAnsweredIsTaken) {
  const auto found =
      FindDigestChallenge({R"(Basic realm="a")", R"(Digest realm="b", nonce="1", algorithm=TIGER)",
                           R"(Digest realm="c", nonce="2", algorithm=SHA-256, Digest realm="d", nonce="3")"});
  ASSERT_TRUE(found);
  EXPECT_EQ(found->strRealm, "c");
}

TEST(HttpDigest, StaleIsReadInEveryForm) {
  EXPECT_TRUE(Challenge("Digest nonce=abc, stale=true").blStale);
  EXPECT_TRUE(Challenge("Digest nonce=abc, stale=\"TRUE\"").blStale);
  EXPECT_FALSE(Challenge("Digest nonce=abc, stale=false").blStale);
  EXPECT_FALSE(Challenge("Digest nonce=abc").blStale);
}

TEST(HttpDigest, QuotesOfNamesAreEscaped) {
  const std::string answer =
      AnswerChallenge(Challenge(R"(Digest realm="a\"b\\c", nonce="abc")"), {"us\"er\\", "secret"}, kMessage, 1, "0123");
  EXPECT_THAT(answer, testing::HasSubstr(R"(username="us\"er\\", realm="a\"b\\c", nonce="abc")"));
}

// A line feed would begin a header of its own.
TEST(HttpDigest, ControlCharactersCannotBeAnswered) {
  using std::string_literals::operator""s;
  for (const std::string& header : {"Digest realm=\"a\x01z\", nonce=abc"s, "Digest nonce=\"a\r\nX: y\""s,
                                    "Digest nonce=abc, opaque=\"\0\""s, "Digest nonce=a\x7f"s}) {
    EXPECT_FALSE(FindDigestChallenge({header})) << testing::PrintToString(header);
  }
}

TEST(HttpDigest, ChallengesAreDescribedForPeople) {
  EXPECT_EQ(DescribeChallenges({R"(Digest realm="x", nonce="1", algorithm=SHA-256, Digest realm="x", nonce="1")",
                                R"(Basic realm="x")"}),
            "Digest SHA-256, Digest MD5, Basic");
  EXPECT_EQ(DescribeChallenges({}), "");
}

}  // namespace
