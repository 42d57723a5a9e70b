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

// Like a nonce, but it is always the same.
constexpr const char* kOpaque = "5ccc069c403ebaf9f0171e9517f40e41";

bool ReturnsOpaque(const std::string& authorization) {
  return authorization.find(std::string("opaque=\"") + kOpaque + "\"") != std::string::npos;
}

std::vector<std::string> ChallengesOf(const DigestRules& rules, std::vector<std::string> challenges) {
  if (rules.wantsOpaque) {
    for (std::string& challenge : challenges) {
      challenge += std::string(", opaque=\"") + kOpaque + "\"";
    }
  }
  if (rules.beginsWithUnknown) {
    challenges.insert(challenges.begin(),
                      "Digest realm=\"camera\", qop=\"auth\", algorithm=SHA3-1024, nonce=\"00000000\"");
  }
  if (rules.endsWithBasic) {
    challenges.emplace_back("Basic realm=\"camera\"");
  }
  return challenges;
}

}  // namespace

void AccessGuard::Check(const Operation& operation, const Caller& caller, std::chrono::system_clock::time_point now,
                        const AccessRules& rules) {
  const bool isOpen = operation.access == Access::Open && !rules.opensNothing;
  if (rules.isOpenToAll || (isOpen && rules.overlooksOpen)) {
    return;
  }
  const Opinion opinion = Judge(caller, now, isOpen, rules);
  if (opinion.kind == Opinion::Kind::Missing && isOpen) {
    return;
  }
  if (opinion.kind == Opinion::Kind::Missing || opinion.kind == Opinion::Kind::Outdated) {
    throw AccessRefusal(Refusal(opinion.reason), opinion.challenges);
  }
  if (rules.triesUntilLock > 0) {
    CheckLock();
  }
  if (opinion.kind == Opinion::Kind::Wrong) {
    throw AccessRefusal(Refusal(opinion.reason + CountWrong(rules.triesUntilLock)), opinion.challenges);
  }
  ForgetWrong();
  if (!IsAllowed(rules.role, operation)) {
    throw AccessRefusal(SoapFault("Sender", {kNotAuthorized, "OperationProhibited"}, "the account may not do this"));
  }
}

AccessGuard::Opinion AccessGuard::Judge(const Caller& caller, std::chrono::system_clock::time_point now, bool isOpen,
                                        const AccessRules& rules) {
  // The nonce of a token is used up when it is right, so that what else must be right is looked at before.
  Opinion opinion;
  if (rules.proof == Proof::Digest || rules.proof == Proof::TokenAndDigest) {
    opinion = JudgeDigest(caller.http, rules.digest);
    if (rules.proof == Proof::Digest || opinion.kind != Opinion::Kind::Right) {
      return opinion;
    }
  }
  opinion = JudgeToken(caller.security, now, isOpen, rules);
  return rules.proof == Proof::TokenOrDigest && opinion.kind == Opinion::Kind::Missing
             ? JudgeDigest(caller.http, rules.digest)
             : opinion;
}

AccessGuard::Opinion AccessGuard::JudgeToken(const XmlElement& security, std::chrono::system_clock::time_point now,
                                             bool isOpen, const AccessRules& rules) {
  const TokenVerdict verdict = VerdictOf(m_tokens.Check(security, now, rules.token), isOpen, rules);
  switch (verdict) {
    case TokenVerdict::Missing:
      return {Opinion::Kind::Missing, Describe(verdict), {}};
    case TokenVerdict::Accepted:
      return {Opinion::Kind::Right, Describe(verdict), {}};
    default:
      return {Opinion::Kind::Wrong, Describe(verdict), {}};
  }
}

AccessGuard::Opinion AccessGuard::JudgeDigest(const HttpProof& http, const DigestRules& rules) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  DigestChecker& checker = CheckerFor(rules);
  DigestVerdict verdict = checker.Check("POST", http.target, http.authorization);
  if (verdict == DigestVerdict::Accepted && rules.isAlwaysStale) {
    verdict = DigestVerdict::Stale;
  }
  if (verdict == DigestVerdict::Accepted && rules.wantsOpaque && !ReturnsOpaque(http.authorization)) {
    verdict = DigestVerdict::WrongResponse;
  }
  Opinion opinion;
  const bool isOutdated = verdict == DigestVerdict::Stale || verdict == DigestVerdict::Replayed;
  opinion.kind = verdict == DigestVerdict::Accepted  ? Opinion::Kind::Right
                 : verdict == DigestVerdict::Missing ? Opinion::Kind::Missing
                 : isOutdated                        ? Opinion::Kind::Outdated
                                                     : Opinion::Kind::Wrong;
  opinion.reason = Describe(verdict);
  if (verdict != DigestVerdict::Accepted) {
    opinion.challenges = ChallengesOf(rules, checker.Challenges(verdict));
  }
  return opinion;
}

// To be called with the lock held.
DigestChecker& AccessGuard::CheckerFor(const DigestRules& rules) {
  const auto key = std::make_pair(rules.realm, rules.algorithms);
  const auto found = m_digests.find(key);
  if (found != m_digests.end()) {
    return found->second;
  }
  TokenChecker::Account account = m_tokens.CurrentAccount();
  return m_digests
      .try_emplace(key, DigestChecker::Account{std::move(account.user), std::move(account.password), rules.realm},
                   rules.algorithms, m_clock)
      .first->second;
}

void AccessGuard::CheckLock() {
  const Time now = m_clock.SteadyNow();
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_lockedUntil) {
    return;
  }
  if (now < *m_lockedUntil) {
    const auto left = std::chrono::ceil<std::chrono::seconds>(*m_lockedUntil - now);
    throw AccessRefusal(Refusal("the account is locked, try again in " + std::to_string(left.count()) + " seconds"));
  }
  m_lockedUntil.reset();
}

// Returns what the reason says about it.
std::string AccessGuard::CountWrong(unsigned triesUntilLock) {
  ++m_allWrong;
  if (triesUntilLock == 0) {
    return std::string();
  }
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (++m_wrongInARow < triesUntilLock) {
    return ", " + std::to_string(triesUntilLock - m_wrongInARow) + " tries left";
  }
  m_wrongInARow = 0;
  m_lockedUntil = m_clock.SteadyNow() + kLockTime;
  return ", the account is locked now for " + std::to_string(kLockTime.count()) + " seconds";
}

void AccessGuard::Forget() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_wrongInARow = 0;
  m_lockedUntil.reset();
  m_digests.clear();
}

void AccessGuard::ForgetWrong() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_wrongInARow = 0;
}

}  // namespace simcam
