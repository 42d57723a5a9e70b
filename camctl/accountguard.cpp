#include "camctl/accountguard.h"

#include <algorithm>

namespace camctl {

namespace {

constexpr int kRefusalsOfGoodAccounts = 2;  // in a row

// What the standard lets everybody ask, as far as it is asked here: an answer says nothing about the account.
constexpr const char* kOpenAnswers[] = {"GetCapabilitiesResponse", "GetSystemDateAndTimeResponse"};

bool Proves(const Evidence& evidence) {
  const bool open = std::any_of(std::begin(kOpenAnswers), std::end(kOpenAnswers),
                                [&](const char* name) { return evidence.answer == name; });
  return evidence.result == HTTP_POST_OK && !evidence.fault && !evidence.answer.empty() && !open;
}

}  // namespace

void AccountGuard::Observe(Evidence& evidence) {
  m_proven = m_proven || Proves(evidence);
  const bool refused = IsRefusal(evidence);
  m_refusals = refused ? m_refusals + 1 : 0;
  m_digestTries = refused ? m_digestTries + evidence.digestTries : 0;
  if (!refused) return;
  evidence.tokenTries = m_refusals;
  evidence.digestTries = m_digestTries;
  if (m_refusals >= (m_proven ? kRefusalsOfGoodAccounts : 1)) m_refusal = evidence;
}

}  // namespace camctl
