#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/bench.h"

namespace {

using simcam::TokenVerdict;
using simcamtest::Bench;
using simcamtest::MakeToken;
using simcamtest::Token;
using std::chrono::milliseconds;
using std::chrono::seconds;

class TokenCheck : public testing::Test {
 protected:
  Token RightToken() { return MakeToken("admin", "simcam", m_bench.Clock().UtcNow()); }

  Token TokenOf(seconds age) { return MakeToken("admin", "simcam", m_bench.Clock().UtcNow() - age); }

  TokenVerdict Check(const Token& token) { return CheckHeader(simcamtest::SecurityHeader(token)); }

  TokenVerdict CheckHeader(const std::string& header) {
    const simcam::SoapRequest request(simcamtest::Envelope(header, "<x/>"));
    return m_bench.Tokens().Check(request.Security(), m_bench.Clock().UtcNow());
  }

  Bench m_bench{"fixed-box"};
};

TEST_F(TokenCheck, RightTokenIsAccepted) {
  EXPECT_EQ(Check(RightToken()), TokenVerdict::Accepted);
}

TEST_F(TokenCheck, DigestOfTheStandardsExampleIsAccepted) {
  // The example that the standard's application notes work through: nonce, time and password give this digest.
  simcamtest::ManualClock clock;
  simcam::TokenChecker checker("user", "userpassword", std::chrono::hours(24 * 365 * 50));
  Token token;
  token.user = "user";
  token.nonce = "LKqI6G/AikKCQrN0zqZFlg==";
  token.created = "2010-09-16T07:50:45Z";
  token.password = "tuOSpGlFlIXsozq4HFNeeGeFLEI=";
  const simcam::SoapRequest request(simcamtest::Envelope(simcamtest::SecurityHeader(token), "<x/>"));
  EXPECT_EQ(checker.Check(request.Security(), clock.UtcNow()), TokenVerdict::Accepted);
}

TEST_F(TokenCheck, WrongPasswordIsRefused) {
  EXPECT_EQ(Check(MakeToken("admin", "Simcam", m_bench.Clock().UtcNow())), TokenVerdict::WrongDigest);
}

TEST_F(TokenCheck, WrongUserIsRefusedEvenWithTheRightPassword) {
  EXPECT_EQ(Check(MakeToken("root", "simcam", m_bench.Clock().UtcNow())), TokenVerdict::WrongUser);
}

TEST_F(TokenCheck, TokenOnTheEdgeOfTheClockWindowIsAccepted) {
  EXPECT_EQ(Check(TokenOf(seconds(300))), TokenVerdict::Accepted);
  EXPECT_EQ(Check(TokenOf(seconds(-300))), TokenVerdict::Accepted);
}

TEST_F(TokenCheck, StaleTokenIsRefused) {
  EXPECT_EQ(Check(TokenOf(seconds(301))), TokenVerdict::Stale);
}

TEST_F(TokenCheck, TokenOfTheFutureIsRefused) {
  EXPECT_EQ(Check(TokenOf(seconds(-301))), TokenVerdict::Future);
}

TEST_F(TokenCheck, RepeatedNonceIsRefused) {
  const Token token = RightToken();
  EXPECT_EQ(Check(token), TokenVerdict::Accepted);
  EXPECT_EQ(Check(token), TokenVerdict::RepeatedNonce);
}

TEST_F(TokenCheck, RepeatedTokenIsNeverAcceptedAtAnyLaterTime) {
  const Token token = TokenOf(seconds(-300));
  ASSERT_EQ(Check(token), TokenVerdict::Accepted);
  for (int second = 0; second < 700; ++second) {
    m_bench.Clock().Advance(seconds(1));
    EXPECT_NE(Check(token), TokenVerdict::Accepted) << second << " seconds later";
  }
}

TEST_F(TokenCheck, RefusedTokenDoesNotUseUpItsNonce) {
  Token token = RightToken();
  const std::string digest = token.password;
  token.password = simcamtest::Base64(std::string(20, 'x'));
  EXPECT_EQ(Check(token), TokenVerdict::WrongDigest);
  token.password = digest;
  EXPECT_EQ(Check(token), TokenVerdict::Accepted);
}

TEST_F(TokenCheck, NoncesAreForgottenWhenTheirTimeHasLeftTheWindow) {
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(Check(RightToken()), TokenVerdict::Accepted);
  }
  EXPECT_EQ(m_bench.Tokens().RememberedNonces(), 50U);
  m_bench.Clock().Advance(seconds(301));
  ASSERT_EQ(Check(RightToken()), TokenVerdict::Accepted);
  EXPECT_EQ(m_bench.Tokens().RememberedNonces(), 1U);
}

TEST_F(TokenCheck, PlainTextPasswordIsRefusedEvenWhenItIsRight) {
  Token token = RightToken();
  token.password = "simcam";
  token.type = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordText";
  EXPECT_EQ(Check(token), TokenVerdict::WrongType);
}

TEST_F(TokenCheck, MissingPartsAreRefused) {
  for (std::string Token::*part : {&Token::user, &Token::password, &Token::nonce, &Token::created}) {
    Token token = RightToken();
    (token.*part).clear();
    EXPECT_EQ(Check(token), TokenVerdict::Incomplete) << simcamtest::SecurityHeader(token);
  }
}

TEST_F(TokenCheck, HeaderWithoutTokenCountsAsMissing) {
  EXPECT_EQ(CheckHeader(""), TokenVerdict::Missing);
}

TEST_F(TokenCheck, NonceThatIsNotBase64IsRefused) {
  for (const char* const nonce : {"a", "abc", "ab=c", "a===", "====", "ab c",
                                  "\xC3\xA4"
                                  "ab",
                                  "abcd="}) {
    Token token = RightToken();
    token.nonce = nonce;
    EXPECT_EQ(Check(token), TokenVerdict::BadNonce) << nonce;
  }
}

TEST_F(TokenCheck, DigestThatIsNotADigestIsRefused) {
  for (const std::string& digest :
       {std::string("!!!!"), std::string("AAAA"), simcamtest::Base64(std::string(21, 'x')), std::string(2000, 'A')}) {
    Token token = RightToken();
    token.password = digest;
    EXPECT_EQ(Check(token), TokenVerdict::WrongDigest) << digest;
  }
}

TEST_F(TokenCheck, TimeThatIsNotUtcIsRefused) {
  for (const char* const created :
       {"now", "2024-02-29", "2024-02-29T12:00:00", "2024-02-29T12:00:00+01:00", "2024-02-29T12:00:00.Z",
        "2023-02-29T12:00:00Z", "2024-02-29T24:00:01Z", "2024-02-29 12:00:00Z", "2024-02-29T12:00:00.1x2Z"}) {
    Token token = RightToken();
    token.created = created;
    EXPECT_EQ(Check(token), TokenVerdict::BadTime) << created;
  }
}

TEST(ParseUtc, ReadsWholeAndBrokenSeconds) {
  std::chrono::system_clock::time_point time;
  ASSERT_TRUE(simcam::ParseUtc("2024-02-29T12:00:00Z", time));
  EXPECT_EQ(time.time_since_epoch(), seconds(1709208000));
  ASSERT_TRUE(simcam::ParseUtc("2024-02-29T12:00:00.25Z", time));
  EXPECT_EQ(time.time_since_epoch(), seconds(1709208000) + milliseconds(250));
}

TEST(Access, OperationWithoutTokenIsNotAuthorized) {
  const Bench bench("ptz-dome");
  const auto answer = bench.Send("/onvif/media_service",
                                 simcamtest::Envelope("", simcamtest::Element("GetProfiles", simcamtest::kMediaNs)));
  EXPECT_EQ(answer.httpStatus, 400);
  EXPECT_EQ(simcamtest::FaultCodes(answer), "env:Sender ter:NotAuthorized");
}

TEST(Access, OpenOperationAnswersWithoutToken) {
  const Bench bench("ptz-dome");
  const auto answer =
      bench.Send("/onvif/device_service",
                 simcamtest::Envelope("", simcamtest::Element("GetSystemDateAndTime", simcamtest::kDeviceNs)));
  EXPECT_EQ(answer.httpStatus, 200) << answer.body;
  EXPECT_THAT(answer.body, testing::HasSubstr("<tt:Year>2024</tt:Year><tt:Month>2</tt:Month><tt:Day>29</tt:Day>"));
}

TEST(Access, OpenOperationRefusesAWrongToken) {
  Bench bench("ptz-dome");
  const Token token = MakeToken("admin", "wrong", bench.Clock().UtcNow());
  const auto answer =
      bench.Send("/onvif/device_service",
                 simcamtest::Envelope(simcamtest::SecurityHeader(token),
                                      simcamtest::Element("GetSystemDateAndTime", simcamtest::kDeviceNs)));
  EXPECT_EQ(simcamtest::FaultCodes(answer), "env:Sender ter:NotAuthorized");
}

TEST(Access, RefusalNamesTheCauseButNoSecret) {
  Bench bench("ptz-dome");
  const Token token = MakeToken("admin", "simcam", bench.Clock().UtcNow() - seconds(4000));
  const auto answer = bench.Send("/onvif/media_service",
                                 simcamtest::Envelope(simcamtest::SecurityHeader(token),
                                                      simcamtest::Element("GetProfiles", simcamtest::kMediaNs)));
  EXPECT_THAT(answer.body, testing::HasSubstr("the token's time is too old"));
  EXPECT_THAT(answer.body, testing::Not(testing::HasSubstr(token.password)));
}

}  // namespace
