#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "onvif/camapi-onvif.h"
#include "simcam/camerastate.h"

namespace faults {

/// Server code of an operation, by the way in which one of its requests fails.
struct Results {
  int sendFailed;
  int notAuthorized;
  int soapFault;
};

/// What the operation hands on: the converted code of the request.
inline constexpr Results kHandedOn{4, 5, 6};
/// The failure does not matter, or another way is found.
inline constexpr Results kSucceeds{0, 0, 0};
/// Every failure is the same one.
inline constexpr Results kFails{1, 1, 1};

/// Where a fault has other results than its class. The first whose pattern (fnmatch) fits the name of the fault counts.
struct Exception {
  const char* pattern;
  int result;
  int next = 0;  // of the same operation, called again with good answers
};

/// One request of an operation, and what becomes of the operation when it goes wrong.
struct Rule {
  const char* request;                     // its ONVIF operation
  int times;                               // how often it is made in a row
  Results once;                            // it fails
  Results lasting;                         // it fails, and every later request with it
  int nothing = 0;                         // it succeeds with an answer in which nothing is found
  std::vector<Exception> exceptions = {};  // others: an answer that is damaged leaves the operation a success
};

/// One operation that the server calls. The rules are its requests, in their order, when all goes well; it returns 0
/// then.
struct ServerOperation {
  const char* name;
  const char* model;        // the simulated camera
  const char* profilePair;  // of the driver
  std::function<int(ONVIFAPI& driver, std::string& output)> call;
  std::vector<Rule> rules;
  std::function<void(simcam::CameraState& state)> prepare = {};  // what the camera must hold before each call
};

void PrintTo(const ServerOperation& operation, std::ostream* out);

/// Every operation, some of them in several shapes.
const std::vector<ServerOperation>& ServerOperations();

/// Those that set streams.
std::vector<ServerOperation> StreamOperations();

/// Those that set the audio codec.
std::vector<ServerOperation> AudioOperations();

/// What the server has stored about a model.
CameraCap StoredCap(const std::string& model);

}  // namespace faults
