// From the text of a request to the text of the answer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simcam/camerastate.h"
#include "simcam/quirks/quirkset.h"
#include "simcam/security.h"
#include "simcam/service.h"

namespace simcam {

struct SoapAnswer {
  int httpStatus = 200;
  std::string body;
  WirePlan wire;
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

  // True when a service of the camera lives at the path.
  bool HasPath(std::string_view path) const;

  // Answers a request that came to `path`. Whatever is wrong with it becomes a fault. The quirks that are switched on
  // for the operation bend the answer; a request without an operation counts as one with an empty name.
  SoapAnswer Answer(std::string_view path, const Endpoint& endpoint, std::string_view body) const;

 private:
  // A request that can be told apart, or what is wrong with it.
  struct Question;

  SoapAnswer Judge(const Question& question, const CallRules& rules) const;
  std::string Run(const Question& question, const CallRules& rules) const;
  const Operation& FindOperation(std::string_view path, const SoapRequest& request) const;
  void CheckAccess(const Operation& operation, const SoapRequest& request, const Clock& clock,
                   const AccessRules& rules) const;

  const CameraModel& m_model;
  CameraState& m_state;
  TokenChecker& m_tokens;
  const Clock& m_clock;
  QuirkSet& m_quirks;
  const std::chrono::system_clock::time_point m_start;
};

}  // namespace simcam
