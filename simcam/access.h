// Who may call what, and how a caller proves who it is. The rules of a good camera are the defaults.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "simcam/clock.h"
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

struct AccessRules {
  TokenRules token;
  RefusalRules refusal;
  Role role = Role::Administrator;
  unsigned triesUntilLock = 0;    // wrong tries in a row that lock the account; 0: it is never locked
  bool isOpenToAll = false;       // nobody is asked who he is
  bool refusesTokens = false;     // also right ones
  bool opensNothing = false;      // operations that are open to all ask for credentials as well
  bool overlooksOpen = false;     // open operations do not look at tokens
  bool refusesTokenOpen = false;  // open operations refuse every token
};

// Decides about calls, and remembers the wrong tries. Safe to use from several threads.
class AccessGuard {
 public:
  static constexpr std::chrono::seconds kLockTime{300};

  // The checker must outlive the guard.
  explicit AccessGuard(TokenChecker& tokens) : m_tokens(tokens) {}

  // Throws the SoapFault of a refusal (ter:NotAuthorized) when the caller may not call the operation.
  void Check(const Operation& operation, const XmlElement& security, const Clock& clock, const AccessRules& rules);

  // All since the camera started: tokens that were not right.
  std::uint64_t WrongTries() const { return m_allWrong; }

 private:
  using Time = std::chrono::steady_clock::time_point;

  void CheckLock(Time now);
  std::string CountWrong(Time now, unsigned triesUntilLock);
  void ForgetWrong();

  TokenChecker& m_tokens;
  std::atomic<std::uint64_t> m_allWrong{0};
  std::mutex m_mutex;
  unsigned m_wrongInARow = 0;
  std::optional<Time> m_lockedUntil;
};

// The subcode of all refusals.
constexpr const char* kNotAuthorized = "NotAuthorized";

}  // namespace simcam
