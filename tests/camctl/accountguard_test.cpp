#include "camctl/accountguard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

Evidence Answered(const std::string& name) {
  Evidence evidence;
  evidence.answer = name;
  return evidence;
}

Evidence WithFault(const std::string& subcode) {
  Evidence evidence{HTTP_POST_ERROR_STATUS, 400, "/", "", Fault{subcode, ""}};
  evidence.answer = "Fault";
  return evidence;
}

Evidence Unauthorized() {
  return {HTTP_POST_AUTH_REFUSED, 401, "/", "", {}};
}

bool MayAskAfter(const std::vector<Evidence>& seen) {
  AccountGuard guard;
  for (Evidence evidence : seen) guard.Observe(evidence);
  EXPECT_EQ(guard.Refusal().has_value(), !guard.MayAsk());
  return guard.MayAsk();
}

TEST(AccountGuard, EveryFormOfARefusalEndsTheAsking) {
  for (const Evidence& refusal :
       {Unauthorized(), WithFault("ter:NotAuthorized"), WithFault("ter:InvalidArgVal/ter:NotAuthorized"),
        WithFault("wsse:FailedAuthentication")}) {
    EXPECT_FALSE(MayAskAfter({refusal}));
  }
}

TEST(AccountGuard, OtherFailuresDoNot) {
  EXPECT_TRUE(MayAskAfter({WithFault("ter:NoProfile"), {HTTP_POST_TIMED_OUT, 0, "/", "", {}}, WithFault("")}));
}

// The answers that everybody gets say nothing about the account.
TEST(AccountGuard, AnswersToOperationsOpenToAllProveNothing) {
  EXPECT_FALSE(MayAskAfter({Answered("GetCapabilitiesResponse"), Answered("GetSystemDateAndTimeResponse"), Answered(""),
                            WithFault("ter:NoProfile"), Unauthorized()}));
}

// An account without the right for a single operation.
TEST(AccountGuard, ProvenAccountMayBeRefusedOnceInBetween) {
  EXPECT_TRUE(MayAskAfter({Answered("GetStreamUriResponse"), Unauthorized(), Answered("GetStreamUriResponse"),
                           WithFault("ter:NotAuthorized"), Answered("GetCapabilitiesResponse")}));
  EXPECT_FALSE(MayAskAfter({Answered("GetStreamUriResponse"), Unauthorized(), Unauthorized()}));
}

TEST(AccountGuard, RefusalIsKeptForTheReport) {
  AccountGuard guard;
  Evidence refusal = WithFault("ter:NotAuthorized");
  guard.Observe(refusal);
  Evidence later = Answered("GetProfilesResponse");
  guard.Observe(later);
  ASSERT_TRUE(guard.Refusal());
  EXPECT_EQ(guard.Refusal()->fault->subcode, "ter:NotAuthorized");
  EXPECT_FALSE(guard.MayAsk());
}

TEST(AccountGuard, TriesInARowAreAddedUp) {
  AccountGuard guard;
  Evidence proof = Answered("GetProfilesResponse");
  guard.Observe(proof);
  for (int tries = 1; tries <= 2; ++tries) {
    Evidence refusal = Unauthorized();
    refusal.digestTries = 1;
    guard.Observe(refusal);
    EXPECT_EQ(refusal.tokenTries, tries);
    EXPECT_EQ(refusal.digestTries, tries);
  }
  EXPECT_EQ(guard.Refusal()->tokenTries, 2);
}

}  // namespace
}  // namespace camctl
