#include "simcam/access.h"

#include <string_view>

#include "simcam/service.h"

namespace simcam {

namespace {

SoapFault Refusal(const std::string& reason) {
  return SoapFault("Sender", {kNotAuthorized}, "Sender not authorized: " + reason);
}

bool IsAllowed(Role role, const Operation& operation) {
  const bool isQuestion = std::string_view(operation.name).substr(0, 3) == "Get";
  switch (role) {
    case Role::Administrator:
      return true;
    case Role::Operator:
      return isQuestion || operation.service == Service::Ptz;
    case Role::User:
      break;
  }
  return isQuestion;
}

TokenVerdict VerdictOf(TokenVerdict verdict, bool isOpen, const AccessRules& rules) {
  const bool isUnwanted = rules.refusesTokens || (isOpen && rules.refusesTokenOpen);
  return isUnwanted && verdict != TokenVerdict::Missing ? TokenVerdict::Unwanted : verdict;
}

}  // namespace

void AccessGuard::Check(const Operation& operation, const XmlElement& security, const Clock& clock,
                        const AccessRules& rules) {
  const bool isOpen = operation.access == Access::Open && !rules.opensNothing;
  if (rules.isOpenToAll || (isOpen && rules.overlooksOpen)) {
    return;
  }
  const TokenVerdict verdict = VerdictOf(m_tokens.Check(security, clock.UtcNow(), rules.token), isOpen, rules);
  if (verdict == TokenVerdict::Missing) {
    if (!isOpen) {
      throw Refusal(Describe(verdict));
    }
    return;
  }
  if (rules.triesUntilLock > 0) {
    CheckLock(clock.SteadyNow());
  }
  if (verdict != TokenVerdict::Accepted) {
    throw Refusal(Describe(verdict) + CountWrong(clock.SteadyNow(), rules.triesUntilLock));
  }
  ForgetWrong();
  if (!IsAllowed(rules.role, operation)) {
    throw SoapFault("Sender", {kNotAuthorized, "OperationProhibited"}, "the account may not do this");
  }
}

void AccessGuard::CheckLock(Time now) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_lockedUntil) {
    return;
  }
  if (now < *m_lockedUntil) {
    const auto left = std::chrono::ceil<std::chrono::seconds>(*m_lockedUntil - now);
    throw Refusal("the account is locked, try again in " + std::to_string(left.count()) + " seconds");
  }
  m_lockedUntil.reset();
}

// Returns what the reason says about it.
std::string AccessGuard::CountWrong(Time now, unsigned triesUntilLock) {
  ++m_allWrong;
  if (triesUntilLock == 0) {
    return std::string();
  }
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (++m_wrongInARow < triesUntilLock) {
    return ", " + std::to_string(triesUntilLock - m_wrongInARow) + " tries left";
  }
  m_wrongInARow = 0;
  m_lockedUntil = now + kLockTime;
  return ", the account is locked now for " + std::to_string(kLockTime.count()) + " seconds";
}

void AccessGuard::ForgetWrong() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_wrongInARow = 0;
}

}  // namespace simcam
