// From the text of a request to the text of the answer.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simcam/access.h"
#include "simcam/camerastate.h"
#include "simcam/quirks/quirkset.h"
#include "simcam/security.h"
#include "simcam/service.h"

namespace simcam {

constexpr const char* kSoapType = "application/soap+xml; charset=utf-8";

struct SoapAnswer {
  int httpStatus = 200;
  std::string body;
  WirePlan wire;
  std::string contentType = kSoapType;
  std::vector<std::pair<std::string, std::string>> headers{};  // of HTTP, besides type and length
};

// Since the camera started.
struct CallCounts {
  std::uint64_t requests = 0;
  std::uint64_t refused = 0;     // of the requests, for want of right credentials
  std::uint64_t faults = 0;      // of the requests, for another reason
  std::uint64_t wrongTries = 0;  // credentials that were sent and not right
};

// All operations that the simulated camera knows, whatever the model.
const std::vector<Operation>& AllOperations();

// False when the camera is too old for the operation, or its model leaves the operation out.
bool Supports(const CameraModel& model, const Operation& operation);

// Safe to use from several threads.
class Dispatcher {
 public:
  // The references must outlive the dispatcher.
  Dispatcher(const CameraModel& model, CameraState& state, TokenChecker& tokens, const Clock& clock, QuirkSet& quirks);

  // True when a service of the camera lives at the path, or a quirk has one answer there.
  bool HasPath(std::string_view path) const;

  CallCounts Counts() const;

  // The camera starts anew: its clock begins where it begins (see ClockRules), and it knows no nonce and no wrong try
  // any more. The counts go on.
  void Restart();

  // Nobody is let in with what the account before had.
  void ChangeAccount(TokenChecker::Account account);

  // Answers a request that came to `path`. Whatever is wrong with it becomes a fault. The quirks that are switched on
  // for the operation bend the answer; a request without an operation counts as one with an empty name.
  SoapAnswer Answer(std::string_view path, const Endpoint& endpoint, std::string_view body,
                    const HttpProof& proof = HttpProof()) const;

 private:
  // A request that can be told apart, or what is wrong with it.
  struct Question;

  SoapAnswer Judge(const Question& question, const CallRules& rules) const;
  static SoapAnswer AnswerRefusal(const AccessRefusal& refusal, const RefusalRules& rules);
  std::string Run(const Question& question, const CallRules& rules) const;
  const Operation& FindOperation(std::string_view path, const SoapRequest& request, const CallRules& rules) const;

  const CameraModel& m_model;
  CameraState& m_state;
  TokenChecker& m_tokens;
  const Clock& m_clock;
  QuirkSet& m_quirks;
  std::atomic<std::chrono::system_clock::time_point> m_start;
  mutable AccessGuard m_guard;
  mutable std::atomic<std::uint64_t> m_requests{0};
  mutable std::atomic<std::uint64_t> m_refused{0};
  mutable std::atomic<std::uint64_t> m_faults{0};
};

}  // namespace simcam
