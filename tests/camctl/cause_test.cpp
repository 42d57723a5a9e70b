#include "camctl/cause.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;

const Party kParty = {"10.0.0.9", 8080, "admin"};

Evidence Exchange(HTTP_POST_RESULT result, int status = 0, const std::string& error = "") {
  return {result, status, "/onvif/device_service", error, std::nullopt};
}

Evidence WithFault(const std::string& subcode, const std::string& reason) {
  return {HTTP_POST_ERROR_STATUS, 400, "/onvif/media", "", Fault{subcode, reason}};
}

TEST(FindCause, EveryHttpResultHasACauseAndARemedy) {
  for (int number = HTTP_POST_OK; number <= HTTP_POST_OUT_OF_RESOURCES; ++number) {
    const Cause cause = FindCause(Exchange(static_cast<HTTP_POST_RESULT>(number)), 4, kParty);
    EXPECT_STRNE(cause.cause.c_str(), MeaningOf(4)) << "HTTP result " << number << " has no row of its own";
    EXPECT_THAT(cause.cause, Not(HasSubstr("{"))) << number;
    EXPECT_FALSE(cause.remedy.empty()) << number;
  }
}

TEST(FindCause, RefusedConnection) {
  const Cause cause = FindCause(Exchange(HTTP_POST_NO_CONNECTION, 0, "Connection refused"), 4, kParty);
  EXPECT_EQ(cause.cause, "nothing listens at 10.0.0.9:8080: Connection refused");
  EXPECT_EQ(cause.remedy, "check address, port and power");
}

TEST(FindCause, AddressIsNotSaidTwice) {
  const std::string error = "Failed to connect to 10.0.0.9 port 8080 after 3 ms: Couldn't connect to server";
  EXPECT_EQ(FindCause(Exchange(HTTP_POST_NO_CONNECTION, 0, error), 4, kParty).cause,
            "nothing answers at 10.0.0.9:8080: Couldn't connect to server");
}

struct WaitRow {
  const char* error;
  int timeoutSeconds;
  bool helps;
};

// The driver connects for 10 seconds and waits for 120, whatever --timeout says beyond that.
TEST(FindCause, LongerTimeoutIsAdvisedOnlyWhereItHelps) {
  const WaitRow rows[] = {{"Operation timed out after 120001 milliseconds with 0 bytes received", 0, false},
                          {"Operation timed out after 120001 milliseconds with 0 bytes received", 300, false},
                          {"Operation timed out after 120001 milliseconds with 0 bytes received", 120, false},
                          {"Operation timed out after 5001 milliseconds with 0 bytes received", 5, true},
                          {"Connection timed out after 10001 milliseconds", 0, false},
                          {"Connection timeout after 10001 ms", 10, false},
                          {"Connection timeout after 10001 ms", 60, false},
                          {"Connection timeout after 5001 ms", 5, true},
                          {"Resolving timed out after 10001 milliseconds", 60, false},
                          {"Resolving timed out after 5001 milliseconds", 5, true}};
  for (const WaitRow& row : rows) {
    Party party = kParty;
    party.timeoutSeconds = row.timeoutSeconds;
    const Cause cause = FindCause(Exchange(HTTP_POST_TIMED_OUT, 0, row.error), 4, party);
    EXPECT_THAT(cause.cause, HasSubstr(row.error));
    EXPECT_EQ(cause.remedy.find("; a slow camera needs a longer --timeout") != std::string::npos, row.helps)
        << row.error << ", --timeout " << row.timeoutSeconds;
  }
}

TEST(FindCause, UnknownHost) {
  EXPECT_EQ(FindCause(Exchange(HTTP_POST_NO_CONNECTION, 0, "Could not resolve host: 10.0.0.9"), 4, kParty).cause,
            "unknown host '10.0.0.9'");
}

TEST(FindCause, WebPageInPlaceOfTheService) {
  EXPECT_EQ(FindCause(Exchange(HTTP_POST_NOT_XML, 200), 4, kParty).cause,
            "what 10.0.0.9:8080/onvif/device_service answered is no XML; is this the camera's web page?");
}

TEST(FindCause, MissingServiceIsToldFromOtherStatuses) {
  EXPECT_THAT(FindCause(Exchange(HTTP_POST_BARE_STATUS, 404), 4, kParty).cause, HasSubstr("there is no service at"));
  EXPECT_THAT(FindCause(Exchange(HTTP_POST_BARE_STATUS, 503), 4, kParty).cause, HasSubstr("HTTP 503 at"));
}

TEST(FindCause, RefusedAccountByFault) {
  const Cause cause = FindCause(WithFault("ter:NotAuthorized", "wrong digest"), 5, kParty);
  EXPECT_EQ(cause.cause, "the camera refused the account 'admin' (ter:NotAuthorized: wrong digest), tried once");
  EXPECT_THAT(cause.remedy, HasSubstr("clock"));
}

TEST(FindCause, RefusedAccountByStatusHasPrecedenceOverItsFault) {
  Evidence evidence = WithFault("ter:Other", "no");
  evidence.result = HTTP_POST_AUTH_REFUSED;
  evidence.status = 401;
  EXPECT_EQ(FindCause(evidence, 5, kParty).cause, "the camera refused the account 'admin' (HTTP 401), tried once");
}

TEST(FindCause, TriesWithHttpDigestAreCounted) {
  Evidence evidence = Exchange(HTTP_POST_AUTH_REFUSED, 401);
  evidence.challenges = "Digest SHA-256, Basic";
  evidence.digestTries = 1;
  EXPECT_THAT(FindCause(evidence, 5, kParty).cause, HasSubstr(", tried once with a token and once with HTTP Digest"));
  evidence.digestTries = 2;
  EXPECT_THAT(FindCause(evidence, 5, kParty).cause,
              HasSubstr(", tried once with a token and 2 times with HTTP Digest"));
}

TEST(FindCause, SeveralTriesWithTokensAreCounted) {
  Evidence evidence = WithFault("ter:NotAuthorized", "no");
  evidence.tokenTries = 2;
  EXPECT_THAT(FindCause(evidence, 5, kParty).cause, HasSubstr(", tried 2 times"));
}

TEST(FindCause, CameraThatWantsThePasswordOpenly) {
  Evidence evidence = Exchange(HTTP_POST_AUTH_REFUSED, 401);
  evidence.challenges = "Basic";
  const Cause cause = FindCause(evidence, 5, kParty);
  EXPECT_EQ(cause.cause, "the camera asks for HTTP Basic, which would send the password openly (tried once)");
  EXPECT_THAT(cause.remedy, HasSubstr("switch Digest or token authentication on"));
  EXPECT_FALSE(MayBeTheClock(cause));
  EXPECT_TRUE(MayBeTheClock(FindCause(Exchange(HTTP_POST_AUTH_REFUSED, 401), 5, kParty)));
}

TEST(FindCause, FaultInAnAnswerThatClaimsSuccess) {
  Evidence evidence = WithFault("ter:InvalidArgVal/ter:NoProfile", "");
  evidence.result = HTTP_POST_OK;
  EXPECT_EQ(FindCause(evidence, 6, kParty).cause,
            "the camera does not know the profile it was asked for (ter:InvalidArgVal/ter:NoProfile)");
}

TEST(FindCause, FaultWithoutSubcode) {
  EXPECT_EQ(FindCause(WithFault("", ""), 6, kParty).cause, "the camera answered with a fault (no subcode)");
}

TEST(FindCause, WithoutExchangeTheResultSpeaks) {
  EXPECT_EQ(FindCause(std::nullopt, 7, kParty).cause, "not supported by this camera or the driver");
}

TEST(FindCause, TextsOfTheCameraCannotSteerTheTerminal) {
  EXPECT_THAT(FindCause(WithFault("ter:X", "a\x1b[2Jb"), 6, kParty).cause, Not(HasSubstr("\x1b")));
}

TEST(MeaningOf, EveryServerCodeHasOne) {
  for (const int result : {0, 1, 3, 4, 5, 6, 7}) EXPECT_STRNE(MeaningOf(result), MeaningOf(99)) << result;
}

}  // namespace
}  // namespace camctl
