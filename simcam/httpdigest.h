// The server's side of HTTP Digest authentication: challenges, and the check of what clients answer to them.
// It is strict: only qop=auth, each parameter in the form that the standard gives it, and a count that grows with every
// request under one nonce.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simcam/clock.h"

namespace simcam {

constexpr std::size_t kMaxAuthorizationLength = 4096;  // bytes; a longer header is refused unread
constexpr std::size_t kMaxDigestNonces = 1024;         // with a remembered count; beyond this the oldest becomes stale
constexpr std::chrono::seconds kDigestNonceLifetime{120};

enum class DigestAlgorithm { Md5, Sha256 };

enum class DigestVerdict {
  Accepted,
  Missing,         // no Authorization header
  OtherScheme,     // not Digest
  Malformed,       // not a list of parameters, or one of them in a wrong form
  Incomplete,      // a parameter is missing
  WrongQop,        // not auth
  WrongUri,        // not the target of the request
  WrongAlgorithm,  // not one of the challenges
  WrongRealm,
  WrongUser,
  WrongResponse,
  Stale,     // all is right but the nonce, which is too old or not from this camera
  Replayed,  // all is right but the count, which was used before or is too low
};

// What a verdict means, for people. Never holds a secret.
const char* Describe(DigestVerdict verdict);

// The HTTP status that a verdict asks for: 200, 400 for a header that no client should send, 401.
int StatusOf(DigestVerdict verdict);

// The parameters of an Authorization header.
struct DigestParameter {
  std::string value;  // without quotes and escapes
  bool quoted = false;
};
using DigestParameters = std::map<std::string, DigestParameter>;  // names in lower case

// Reads the list behind the scheme's name. Nothing when it is not well-formed or names a parameter twice.
std::optional<DigestParameters> ParseDigestParameters(std::string_view list);

// Safe to use from several threads.
class DigestChecker {
 public:
  struct Account {
    std::string user;
    std::string password;
    std::string realm;
  };

  // `algorithms` are those that clients may choose from, the preferred one first. The clock must outlive the checker.
  // Throws std::runtime_error when the system has no random numbers.
  DigestChecker(Account account, std::vector<DigestAlgorithm> algorithms, const Clock& clock);

  // The values of the WWW-Authenticate headers of an answer with status 401, one for each algorithm, with a new nonce.
  // The verdict decides whether clients are told that only the nonce was stale.
  std::vector<std::string> Challenges(DigestVerdict verdict);

  // Judges the Authorization header of a request; `target` is the request's path and query as they were sent.
  DigestVerdict Check(const std::string& method, const std::string& target, const std::string& authorization);

  std::size_t RememberedNonces() const;

 private:
  using Time = std::chrono::steady_clock::time_point;

  // What a nonce says in itself.
  struct Nonce {
    std::uint64_t number = 0;
    std::chrono::milliseconds made{0};  // on the steady clock
  };
  struct Use {
    std::chrono::milliseconds made{0};
    std::uint64_t count = 0;  // the highest that was accepted
  };

  std::chrono::milliseconds Now() const;
  std::string WriteNonce(const Nonce& nonce) const;
  std::optional<Nonce> ReadNonce(const std::string& text) const;
  std::string Seal(const std::string& text) const;
  std::string ResponseTo(DigestAlgorithm algorithm, const std::string& method, DigestParameters& parameters) const;
  DigestVerdict CheckIdentity(const std::string& method, const std::string& target, DigestParameters& parameters) const;
  DigestVerdict CheckNonce(const std::string& nonce, std::uint64_t count);
  void ForgetOldest();

  const Account m_account;
  const std::vector<DigestAlgorithm> m_algorithms;
  const Clock& m_clock;
  std::array<unsigned char, 32> m_secret{};
  mutable std::mutex m_mutex;
  std::uint64_t m_lastNonce = 0;
  std::uint64_t m_staleUpTo = 0;        // nonces up to this number are not accepted any more
  std::map<std::uint64_t, Use> m_uses;  // by number
};

}  // namespace simcam
