// Who may call what, and how a caller proves who it is. The rules of a good camera are the defaults.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simcam/clock.h"
#include "simcam/httpdigest.h"
#include "simcam/security.h"
#include "simcam/soapfault.h"

namespace simcam {

struct Operation;

// What the camera's one account may do. An operator changes no media configuration; a user only asks.
enum class Role { Administrator, Operator, User };

// How a refused call is answered.
struct RefusalRules {
  enum class Body { Fault, Empty, Page };

  std::optional<int> status;  // the HTTP status, in place of the fault's own
  Body body = Body::Fault;
};

// What callers must show.
enum class Proof { Token, Digest, TokenOrDigest, TokenAndDigest };

// How HTTP Digest is asked for.
struct DigestRules {
  std::vector<DigestAlgorithm> algorithms{DigestAlgorithm::Md5};
  std::string realm = "camera";
  bool isAlwaysStale = false;      // every nonce is stale as soon as it comes back
  bool beginsWithUnknown = false;  // the first challenge is of an algorithm that nobody knows
  bool endsWithBasic = false;      // the last challenge is Basic
  bool wantsOpaque = false;        // a text that must come back as it is
};

// What an HTTP request shows of its caller.
struct HttpProof {
  std::string target;         // path and query
  std::string authorization;  // the header; empty when missing
};

// A call that is refused, with the challenges that invite to try HTTP Digest.
class AccessRefusal : public SoapFault {
 public:
  explicit AccessRefusal(const SoapFault& fault, std::vector<std::string> challenges = {})
      : SoapFault(fault), m_challenges(std::move(challenges)) {}

  const std::vector<std::string>& Challenges() const { return m_challenges; }

 private:
  std::vector<std::string> m_challenges;
};

struct AccessRules {
  Proof proof = Proof::Token;
  TokenRules token;
  DigestRules digest;
  RefusalRules refusal;
  Role role = Role::Administrator;
  unsigned triesUntilLock = 0;    // wrong tries in a row that lock the account; 0: it is never locked
  bool isOpenToAll = false;       // nobody is asked who he is
  bool refusesTokens = false;     // also right ones
  bool opensNothing = false;      // operations that are open to all ask for credentials as well
  bool overlooksOpen = false;     // open operations do not look at tokens
  bool refusesTokenOpen = false;  // open operations refuse every token
};

// Decides about calls, and remembers the wrong tries and the nonces. Safe to use from several threads.
class AccessGuard {
 public:
  static constexpr std::chrono::seconds kLockTime{300};

  // What a caller is.
  struct Caller {
    XmlElement security;  // the header of the message
    HttpProof http;
  };

  // Checker and clock must outlive the guard. The account is the checker's.
  AccessGuard(TokenChecker& tokens, const Clock& clock) : m_tokens(tokens), m_clock(clock) {}

  // Throws AccessRefusal (ter:NotAuthorized) when the caller may not call the operation; `now` is what the camera takes for
  // the time of day.
  void Check(const Operation& operation, const Caller& caller, std::chrono::system_clock::time_point now,
             const AccessRules& rules);

  // As a camera does that starts anew, or whose account was changed: it knows neither the wrong tries nor the nonces of
  // HTTP Digest.
  void Forget();

  // All since the camera started: tokens that were not right.
  std::uint64_t WrongTries() const { return m_allWrong; }

 private:
  using Time = std::chrono::steady_clock::time_point;

  // What the camera thinks of a proof.
  struct Opinion {
    enum class Kind { Missing, Wrong, Outdated, Right };

    Kind kind = Kind::Missing;
    std::string reason;
    std::vector<std::string> challenges;
  };

  Opinion Judge(const Caller& caller, std::chrono::system_clock::time_point now, bool isOpen, const AccessRules& rules);
  Opinion JudgeToken(const XmlElement& security, std::chrono::system_clock::time_point now, bool isOpen,
                     const AccessRules& rules);
  Opinion JudgeDigest(const HttpProof& http, const DigestRules& rules);
  DigestChecker& CheckerFor(const DigestRules& rules);
  void CheckLock();
  std::string CountWrong(unsigned triesUntilLock);
  void ForgetWrong();

  TokenChecker& m_tokens;
  const Clock& m_clock;
  std::atomic<std::uint64_t> m_allWrong{0};
  std::mutex m_mutex;
  unsigned m_wrongInARow = 0;
  std::optional<Time> m_lockedUntil;
  std::map<std::pair<std::string, std::vector<DigestAlgorithm>>, DigestChecker> m_digests;  // by what rules ask for
};

// The subcode of all refusals.
constexpr const char* kNotAuthorized = "NotAuthorized";

}  // namespace simcam
