// WS-Security UsernameToken with PasswordDigest, checked as strictly as the profile allows.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "simcam/soaprequest.h"

namespace simcam {

enum class TokenVerdict {
  Accepted,
  Missing,     // no security header, or no UsernameToken in it
  Incomplete,  // user name, password, nonce or time missing or empty
  WrongType,   // the password is not a digest
  BadNonce,    // the nonce is not Base64
  BadTime,     // the time is not UTC in the form that the profile asks for
  WrongUser,
  WrongDigest,
  Stale,          // older than the clock window
  Future,         // further ahead than the clock window
  RepeatedNonce,  // accepted before
  Unwanted,       // no token is accepted here
};

// What a verdict means, for the reason of a fault. Never holds a secret.
const char* Describe(TokenVerdict verdict);

// How tokens are checked.
struct TokenRules {
  enum class Fraction { Free, Wanted, Refused };

  std::optional<std::chrono::seconds> clockWindow;  // in place of the checker's own
  Fraction fraction = Fraction::Free;               // of the seconds in the token's time
  bool allowsRepeatedNonces = false;
  bool wantsPlainText = false;    // the password itself, of type PasswordText, and nothing else
  bool digestsNonceText = false;  // the digest goes over the nonce as it is written, not over its bytes
};

// Safe to use from several threads. The account is the camera's one.
class TokenChecker {
 public:
  using Time = std::chrono::system_clock::time_point;

  TokenChecker(std::string user, std::string password, std::chrono::seconds clockWindow);

  // Judges the security header of a request by a clock that says `now`. An accepted nonce is remembered until its time
  // has left the clock window, when the time alone refuses it.
  TokenVerdict Check(const XmlElement& security, Time now, const TokenRules& rules = TokenRules());

  struct Account {
    std::string user;
    std::string password;
  };

  Account CurrentAccount() const;

  // Tokens of the account before are not right any more.
  void ChangeAccount(Account account);

  // As a camera does that starts anew: a token that was used before is accepted once more.
  void ForgetNonces();

  std::size_t RememberedNonces() const;

 private:
  static TokenVerdict CheckPlainText(const Account& shown, const Account& account);
  static TokenVerdict CheckTime(Time created, Time now, std::chrono::seconds window);
  bool Remember(const std::string& nonce, Time created, Time now);

  const std::chrono::seconds m_clockWindow;
  mutable std::mutex m_mutex;
  Account m_account;
  std::set<std::string> m_nonces;
  std::set<std::pair<Time, std::string>> m_nonceTimes;
};

}  // namespace simcam
