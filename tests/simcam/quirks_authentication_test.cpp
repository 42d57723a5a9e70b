// The quirks of authentication, as a client meets them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simcam/simcamera.h"
#include "tests/simcam/bench.h"
#include "tests/simcam/digestclient.h"
#include "tests/simcam/messages.h"

namespace {

using simcam::SoapAnswer;
using simcamtest::Bench;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::FaultCodes;
using simcamtest::kDevicePath;
using simcamtest::kNotAuthorized;
using simcamtest::MakeToken;
using simcamtest::SecurityHeader;
using simcamtest::Token;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

const std::string kMove = simcamtest::kFirstProfile + "<Velocity>" + simcamtest::PanTilt("0.5", "0") + "</Velocity>";

class AuthenticationQuirk : public testing::Test {
 protected:
  void SwitchOn(const std::string& quirk) { m_bench.Quirks().SwitchOn(simcam::ParseQuirk(quirk)); }

  SoapAnswer Ask(const std::string& header, const std::string& operation = "GetDeviceInformation") const {
    return m_bench.Send(kDevicePath, Envelope(header, Element(operation, simcamtest::kDeviceNs)));
  }

  Token RightToken() { return MakeToken("admin", "simcam", m_bench.Clock().UtcNow()); }
  Token WrongToken() { return MakeToken("admin", "wrong", m_bench.Clock().UtcNow()); }

  std::string CodesOf(const Token& token, const std::string& operation = "GetDeviceInformation") const {
    return FaultCodes(Ask(SecurityHeader(token), operation));
  }

  // An answer to a wrong password.
  SoapAnswer Refusal() { return Ask(SecurityHeader(WrongToken())); }

  Bench m_bench{"ptz-dome"};
};

TEST_F(AuthenticationQuirk, WithoutQuirksOnlyRightTokensAreAccepted) {
  EXPECT_EQ(CodesOf(RightToken()), "");
  EXPECT_EQ(CodesOf(WrongToken()), kNotAuthorized);
  EXPECT_EQ(CodesOf(WrongToken(), "GetCapabilities"), kNotAuthorized);
  EXPECT_EQ(CodesOf(RightToken(), "GetCapabilities"), "");
  EXPECT_EQ(FaultCodes(Ask("", "GetCapabilities")), "");
  EXPECT_EQ(Refusal().httpStatus, 400);
}

TEST_F(AuthenticationQuirk, NoneAsksNobody) {
  SwitchOn("auth-none");
  EXPECT_EQ(FaultCodes(Ask("")), "");
  EXPECT_EQ(CodesOf(WrongToken()), "");
}

TEST_F(AuthenticationQuirk, AllAsksAlsoForOpenOperations) {
  SwitchOn("auth-all");
  EXPECT_EQ(FaultCodes(Ask("", "GetCapabilities")), kNotAuthorized);
  EXPECT_EQ(CodesOf(RightToken(), "GetCapabilities"), "");
}

TEST_F(AuthenticationQuirk, OpenOverlooksWrongTokens) {
  SwitchOn("auth-open-overlooks");
  EXPECT_EQ(CodesOf(WrongToken(), "GetCapabilities"), "");
  EXPECT_EQ(CodesOf(WrongToken()), kNotAuthorized);
}

TEST_F(AuthenticationQuirk, OpenRefusesRightTokens) {
  SwitchOn("auth-open-refuses");
  EXPECT_EQ(CodesOf(RightToken(), "GetCapabilities"), kNotAuthorized);
  EXPECT_EQ(FaultCodes(Ask("", "GetCapabilities")), "");
  EXPECT_EQ(CodesOf(RightToken()), "");
}

TEST_F(AuthenticationQuirk, LockoutCountsDownAndHoldsForTheRightPasswordToo) {
  SwitchOn("auth-lockout=3");
  EXPECT_THAT(Refusal().body, HasSubstr("wrong user name or password, 2 tries left"));
  EXPECT_THAT(Refusal().body, HasSubstr(", 1 tries left"));
  EXPECT_THAT(Refusal().body, HasSubstr(", the account is locked now for 300 seconds"));
  m_bench.Clock().Advance(seconds(100));
  EXPECT_THAT(Ask(SecurityHeader(RightToken())).body, HasSubstr("is locked, try again in 200 seconds"));
  m_bench.Clock().Advance(seconds(199));
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  m_bench.Clock().Advance(seconds(1));
  EXPECT_EQ(CodesOf(RightToken()), "");
}

TEST_F(AuthenticationQuirk, LockoutForgetsWrongTriesAfterARightOne) {
  SwitchOn("auth-lockout=2");
  for (int i = 0; i < 3; ++i) {
    EXPECT_THAT(Refusal().body, HasSubstr(", 1 tries left"));
    EXPECT_EQ(CodesOf(RightToken()), "");
  }
}

TEST_F(AuthenticationQuirk, LockoutDoesNotCountCallsWithoutToken) {
  SwitchOn("auth-lockout=1");
  EXPECT_EQ(FaultCodes(Ask("")), kNotAuthorized);
  EXPECT_EQ(CodesOf(RightToken()), "");
}

TEST_F(AuthenticationQuirk, RoleOfAnOperatorMovesTheLensAndChangesNoProfile) {
  SwitchOn("auth-role=operator");
  EXPECT_EQ(FaultCodes(m_bench.Media("GetProfiles")), "");
  EXPECT_EQ(FaultCodes(m_bench.Ptz("ContinuousMove", kMove)), "");
  EXPECT_EQ(FaultCodes(m_bench.Media("CreateProfile", "<Name>New</Name>")),
            kNotAuthorized + std::string(" ter:OperationProhibited"));
  EXPECT_EQ(m_bench.State().Profiles().size(), m_bench.Model().profiles.size());
}

TEST_F(AuthenticationQuirk, RoleOfAUserOnlyAsks) {
  SwitchOn("auth-role=user");
  EXPECT_EQ(FaultCodes(m_bench.Media("GetProfiles")), "");
  EXPECT_EQ(FaultCodes(m_bench.Ptz("ContinuousMove", kMove)), kNotAuthorized + std::string(" ter:OperationProhibited"));
}

TEST_F(AuthenticationQuirk, TokenRefusedHoldsForRightOnes) {
  SwitchOn("auth-token-refused");
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  EXPECT_EQ(FaultCodes(Ask("", "GetCapabilities")), "");
}

TEST_F(AuthenticationQuirk, TokenPlainWantsThePasswordItself) {
  SwitchOn("auth-token-plain");
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  Token token;
  token.user = "admin";
  token.type = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordText";
  for (const char* const wrong : {"simcan", "simca", "simcamm"}) {
    token.password = wrong;
    EXPECT_EQ(CodesOf(token), kNotAuthorized) << wrong;
  }
  token.password = "simcam";
  EXPECT_EQ(CodesOf(token), "");
  token.user = "root";
  EXPECT_EQ(CodesOf(token), kNotAuthorized);
}

TEST_F(AuthenticationQuirk, TokenNonceTextIsDigestedAsWritten) {
  SwitchOn("auth-token-nonce-text");
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  EXPECT_EQ(CodesOf(simcamtest::MakeTokenOverNonceText("admin", "simcam", m_bench.Clock().UtcNow())), "");
  m_bench.Quirks().SwitchAllOff();
  EXPECT_EQ(CodesOf(simcamtest::MakeTokenOverNonceText("admin", "simcam", m_bench.Clock().UtcNow())), kNotAuthorized);
}

TEST_F(AuthenticationQuirk, TokenReplayIsLetPass) {
  const Token token = RightToken();
  EXPECT_EQ(CodesOf(token), "");
  EXPECT_EQ(CodesOf(token), kNotAuthorized);
  SwitchOn("auth-token-replay");
  EXPECT_EQ(CodesOf(token), "");
  EXPECT_EQ(CodesOf(token), "");
}

TEST_F(AuthenticationQuirk, CreatedWithFractionIsAMatterOfTaste) {
  const auto whole = [this] { return simcamtest::MakeTokenOf("admin", "simcam", "2024-02-29T12:00:00Z"); };
  EXPECT_EQ(CodesOf(whole()), "");
  EXPECT_EQ(CodesOf(RightToken()), "");
  SwitchOn("auth-created-whole");
  EXPECT_EQ(CodesOf(whole()), "");
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  m_bench.Quirks().SwitchAllOff();
  SwitchOn("auth-created-fraction");
  EXPECT_EQ(CodesOf(whole()), kNotAuthorized);
  EXPECT_EQ(CodesOf(RightToken()), "");
}

TEST_F(AuthenticationQuirk, StatusOfARefusalIsAsWished) {
  SwitchOn("auth-fault-status=200");
  const SoapAnswer answer = Refusal();
  EXPECT_EQ(answer.httpStatus, 200);
  EXPECT_EQ(FaultCodes(answer), kNotAuthorized);
  EXPECT_EQ(m_bench.Media("GetProfile", "<ProfileToken>none</ProfileToken>").httpStatus, 400) << "no refusal";
}

TEST_F(AuthenticationQuirk, EmptyRefusalHasNoBody) {
  SwitchOn("auth-empty-refusal");
  EXPECT_EQ(Refusal().httpStatus, 401);
  EXPECT_EQ(Refusal().body, "");
}

TEST_F(AuthenticationQuirk, HtmlRefusalIsAPage) {
  SwitchOn("auth-html-refusal");
  SwitchOn("auth-fault-receiver");  // what changes faults must not read a page
  const SoapAnswer answer = Refusal();
  EXPECT_EQ(answer.httpStatus, 401);
  EXPECT_EQ(answer.contentType, "text/html");
  EXPECT_THAT(answer.body, HasSubstr("<html>"));
  EXPECT_EQ(CodesOf(RightToken()), "");
}

struct Look {
  const char* quirk;
  const char* codes;  // of a refusal
};

class AuthenticationQuirkLook : public AuthenticationQuirk, public testing::WithParamInterface<Look> {};

TEST_P(AuthenticationQuirkLook, ChangesTheCodesOfRefusalsOnly) {
  SwitchOn(GetParam().quirk);
  EXPECT_EQ(FaultCodes(Refusal()), GetParam().codes);
  EXPECT_EQ(Refusal().httpStatus, 400);
  EXPECT_EQ(CodesOf(RightToken()), "");
  EXPECT_EQ(FaultCodes(m_bench.Media("GetProfile", "<ProfileToken>none</ProfileToken>")),
            "env:Sender ter:InvalidArgVal ter:NoProfile");
}

constexpr Look kLooks[] = {{"auth-fault-subcode", "env:Sender ter:FailedAuthentication"},
                           {"auth-fault-subcode=ter:OperationProhibited", "env:Sender ter:OperationProhibited"},
                           {"auth-fault-subcode=ter:Password", "env:Sender ter:Password"},
                           {"auth-fault-subcode=NotAuthorized", "env:Sender NotAuthorized"},
                           {"auth-fault-nested", "env:Sender ter:Action ter:AccessDenied ter:NotAuthorized"},
                           {"auth-fault-without-subcode", "env:Sender"},
                           {"auth-fault-receiver", "env:Receiver ter:NotAuthorized"}};
INSTANTIATE_TEST_SUITE_P(Rows, AuthenticationQuirkLook, testing::ValuesIn(kLooks));

TEST_F(AuthenticationQuirk, SubcodeOfAnotherPrefixIsDeclared) {
  SwitchOn("auth-fault-subcode=wsse:FailedAuthentication");
  EXPECT_THAT(Refusal().body,
              HasSubstr("<env:Value xmlns:wsse=\"http://docs.oasis-open.org/wss/2004/01/"
                        "oasis-200401-wss-wssecurity-secext-1.0.xsd\">wsse:FailedAuthentication</env:Value>"));
  SwitchOn("auth-fault-subcode=ns1:NotAuthorized");
  EXPECT_THAT(Refusal().body,
              HasSubstr("<env:Value xmlns:ns1=\"http://www.onvif.org/ver10/error\">ns1:NotAuthorized<"));
}

TEST_F(AuthenticationQuirk, ReasonIsEmptyOrForeign) {
  EXPECT_THAT(Refusal().body, HasSubstr("<env:Text xml:lang=\"en\">Sender not authorized"));
  SwitchOn("auth-fault-language=de");
  EXPECT_THAT(Refusal().body,
              HasSubstr("<env:Text xml:lang=\"de\">Benutzername oder Kennwort ung\xC3\xBCltig</env:Text>"));
  SwitchOn("auth-fault-without-reason");
  EXPECT_THAT(Refusal().body, HasSubstr("<env:Text xml:lang=\"de\"/>"));
  EXPECT_THAT(Refusal().body, Not(HasSubstr("Sender not authorized")));
}

TEST_F(AuthenticationQuirk, NthCallAloneIsRefused) {
  SwitchOn("auth-token-refused@GetDeviceInformation#2");
  EXPECT_EQ(CodesOf(RightToken()), "");
  EXPECT_EQ(CodesOf(RightToken()), kNotAuthorized);
  EXPECT_EQ(CodesOf(RightToken()), "");
}

// The challenges of an answer.
std::vector<std::string> Challenges(const SoapAnswer& answer) {
  std::vector<std::string> challenges;
  for (const auto& [name, value] : answer.headers) {
    EXPECT_EQ(name, "WWW-Authenticate");
    challenges.push_back(value);
  }
  return challenges;
}

class DigestQuirk : public AuthenticationQuirk {
 protected:
  SoapAnswer Send(const std::string& authorization, const std::string& header = "") const {
    return m_bench.Send(kDevicePath, Envelope(header, Element("GetDeviceInformation", simcamtest::kDeviceNs)),
                        authorization);
  }

  // The first challenge of a call without credentials, answered with that password.
  std::string Login(const std::string& password = "simcam", std::size_t which = 0) const {
    const std::vector<std::string> challenges = Challenges(Send(""));
    if (which >= challenges.size()) {
      ADD_FAILURE() << "no challenge " << which;
      return std::string();
    }
    simcamtest::DigestLogin login = simcamtest::LoginFor(challenges[which], kDevicePath);
    login.method = "POST";
    login.password = password;
    return simcamtest::DigestHeader(login);
  }

  std::string RightHeader() { return SecurityHeader(RightToken()); }
};

TEST_F(DigestQuirk, WithoutQuirksNobodyIsChallenged) {
  EXPECT_EQ(Send("").httpStatus, 400);
  EXPECT_TRUE(Challenges(Send("")).empty());
}

TEST_F(DigestQuirk, WantedAcceptsDigestAndNoToken) {
  SwitchOn("digest-wanted");
  const SoapAnswer refused = Send("", RightHeader());
  EXPECT_EQ(refused.httpStatus, 401);
  EXPECT_EQ(FaultCodes(refused), kNotAuthorized);
  ASSERT_EQ(Challenges(refused).size(), 1U);
  EXPECT_EQ(simcamtest::ChallengeValue(Challenges(refused).front(), "algorithm"), "MD5");
  EXPECT_EQ(Send(Login()).httpStatus, 200);
  EXPECT_EQ(Send(Login("wrong")).httpStatus, 401);
  EXPECT_EQ(FaultCodes(Ask("", "GetCapabilities")), "") << "open operations stay open";
}

TEST_F(DigestQuirk, WantedRefusesARepeatedCountAsStale) {
  SwitchOn("digest-wanted");
  const std::string login = Login();
  EXPECT_EQ(Send(login).httpStatus, 200);
  EXPECT_EQ(Send(login).httpStatus, 401);
}

TEST_F(DigestQuirk, WantedWithOtherAlgorithms) {
  SwitchOn("digest-wanted=sha-256");
  ASSERT_EQ(Challenges(Send("")).size(), 1U);
  EXPECT_EQ(simcamtest::ChallengeValue(Challenges(Send("")).front(), "algorithm"), "SHA-256");
  EXPECT_EQ(Send(Login()).httpStatus, 200);
  SwitchOn("digest-wanted=both");
  ASSERT_EQ(Challenges(Send("")).size(), 2U);
  EXPECT_EQ(Send(Login("simcam", 0)).httpStatus, 200);
  EXPECT_EQ(Send(Login("simcam", 1)).httpStatus, 200);
}

TEST_F(DigestQuirk, OrTokenAcceptsEither) {
  SwitchOn("digest-or-token");
  EXPECT_EQ(Send("").httpStatus, 401);
  EXPECT_EQ(Send(Login()).httpStatus, 200);
  EXPECT_EQ(Send("", RightHeader()).httpStatus, 200);
  EXPECT_EQ(Send("", SecurityHeader(WrongToken())).httpStatus, 400);
  EXPECT_EQ(Send(Login("wrong")).httpStatus, 401);
}

TEST_F(DigestQuirk, AndTokenWantsBothAndLeavesTheTokenGoodForTheSecondTry) {
  SwitchOn("digest-and-token");
  EXPECT_EQ(Send(Login()).httpStatus, 400) << "no token";
  const std::string token = RightHeader();
  EXPECT_EQ(Send("", token).httpStatus, 401);
  EXPECT_EQ(Send(Login(), token).httpStatus, 200);
  EXPECT_EQ(Send(Login(), SecurityHeader(WrongToken())).httpStatus, 400);
}

TEST_F(DigestQuirk, StaleAlwaysNeverEnds) {
  SwitchOn("digest-stale-always");
  for (int i = 0; i < 3; ++i) {
    const SoapAnswer answer = Send(Login());
    EXPECT_EQ(answer.httpStatus, 401);
    EXPECT_THAT(Challenges(answer).front(), HasSubstr("stale=true"));
  }
  EXPECT_THAT(Challenges(Send(Login("wrong"))).front(), Not(HasSubstr("stale")));
}

TEST_F(DigestQuirk, UnknownFirstLeavesTheSecondChallengeGood) {
  SwitchOn("digest-unknown-first");
  ASSERT_EQ(Challenges(Send("")).size(), 2U);
  EXPECT_EQ(simcamtest::ChallengeValue(Challenges(Send("")).front(), "algorithm"), "SHA3-1024");
  EXPECT_EQ(Send(Login("simcam", 1)).httpStatus, 200);
}

TEST_F(DigestQuirk, BasicBesideIsOfferedAndNotAccepted) {
  SwitchOn("digest-basic-beside");
  ASSERT_EQ(Challenges(Send("")).size(), 2U);
  EXPECT_THAT(Challenges(Send("")).back(), testing::StartsWith("Basic realm="));
  EXPECT_EQ(Send(Login()).httpStatus, 200);
  EXPECT_EQ(Send("Basic " + simcamtest::Base64("admin:simcam")).httpStatus, 401);
}

TEST_F(DigestQuirk, OpaqueMustComeBack) {
  SwitchOn("digest-opaque");
  const std::string opaque = simcamtest::ChallengeValue(Challenges(Send("")).front(), "opaque");
  ASSERT_FALSE(opaque.empty());
  EXPECT_EQ(Send(Login()).httpStatus, 401);
  EXPECT_EQ(Send(Login() + ", opaque=\"" + opaque + "\"").httpStatus, 200);
}

TEST_F(DigestQuirk, RealmIsQuotedAndEscaped) {
  SwitchOn("digest-realm");
  EXPECT_THAT(Challenges(Send("")).front(), HasSubstr("realm=\"Camera \\\"Yard\\\", \\\\north\""));
  SwitchOn("digest-realm=Yard 7");
  EXPECT_THAT(Challenges(Send("")).front(), HasSubstr("realm=\"Yard 7\""));
  EXPECT_EQ(Send(Login()).httpStatus, 200);
}

TEST_F(DigestQuirk, LockoutCountsWrongDigestsToo) {
  SwitchOn("digest-wanted");
  SwitchOn("auth-lockout=2");
  EXPECT_THAT(Send(Login("wrong")).body, HasSubstr("1 tries left"));
  EXPECT_THAT(Send(Login("wrong")).body, HasSubstr("locked now"));
  EXPECT_THAT(Send(Login()).body, HasSubstr("is locked"));
}

TEST(DigestOverHttp, ChallengeAndAnswerTravelInHeaders) {
  simcam::CameraOptions options;
  options.quirks = {"digest-wanted=both"};
  const simcam::SimCamera camera(simcam::LoadModel("ptz-dome"), options);
  const simcamtest::HttpConnection connection(camera.Port());
  const std::string body = Envelope("", Element("GetDeviceInformation", simcamtest::kDeviceNs));
  const simcamtest::HttpReply refused = connection.Post(kDevicePath, body);
  EXPECT_EQ(refused.status, 401);
  const std::string name = "WWW-Authenticate: ";
  const std::size_t first = refused.head.find(name);
  ASSERT_NE(refused.head.find(name, first + 1), std::string::npos) << refused.head;
  const std::size_t begin = first + name.size();
  simcamtest::DigestLogin login =
      simcamtest::LoginFor(refused.head.substr(begin, refused.head.find("\r\n", begin) - begin), kDevicePath);
  login.method = "POST";
  std::string request = simcamtest::PostRequest(kDevicePath, body);
  request.insert(request.find("Content-Length"), "Authorization: " + simcamtest::DigestHeader(login) + "\r\n");
  connection.Send(request);
  EXPECT_EQ(connection.Receive().status, 200);
}

}  // namespace
