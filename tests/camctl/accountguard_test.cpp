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
  for (const Evidence& evidence : seen) guard.Observe(evidence);
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
  guard.Observe(WithFault("ter:NotAuthorized"));
  guard.Observe(Answered("GetProfilesResponse"));
  ASSERT_TRUE(guard.Refusal());
  EXPECT_EQ(guard.Refusal()->fault->subcode, "ter:NotAuthorized");
  EXPECT_FALSE(guard.MayAsk());
}

}  // namespace
}  // namespace camctl
