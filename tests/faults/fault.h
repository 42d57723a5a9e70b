#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/scripted_camera.h"

namespace faults {

/// What a fault does to the exchange that it hits.
enum class FaultClass {
  kHarmless,       // nothing: the exchange succeeds, with the good answer
  kSendFailed,     // no answer that can be used
  kNotAuthorized,  // the camera refuses the account
  kSoapFault,      // the camera refuses the request
  kNothing,        // the exchange succeeds, but what is looked for in the answer is not there
  kDamaged,        // the exchange succeeds, but a part of the answer is missing, there twice, or not what it should be
};

/// What becomes of the connection on which the spoiled request would have come.
enum class Line {
  kAsItIs,
  kFresh,    // the request comes on a new connection
  kStale,    // the kept connection was closed, unannounced, after the answer before
  kResets,   // whoever connects is reset at once
  kRefused,  // nobody listens
};

/// One way in which an exchange goes wrong.
struct Fault {
  /// Makes the spoiled answer of the good one.
  using Spoiler = std::function<testsupport::Reply(const testsupport::Reply& good)>;

  std::string name;
  FaultClass kind = FaultClass::kSendFailed;
  Spoiler spoil;
  Line line = Line::kAsItIs;
  bool isSilent = false;       // the exchange ends at the client's deadline
  bool reachesCamera = false;  // the camera carries the request out; only its answer is spoiled
};

/// Body of an answer, without its HTTP header.
std::string BodyOf(const testsupport::Reply& reply);

/// Faults that any answer can have.
const std::vector<Fault>& GeneralFaults();

/// `body` cut off at every `step`th byte, as a whole answer and as a broken one.
std::vector<Fault> CutFaults(const std::string& body, std::size_t step);

/// Each element of the Body's content missing and doubled, and "abc" in the place of each number. The name says where,
/// as "missing GetProfilesResponse/Profiles#2/Name": "#2" for the second of its name.
std::vector<Fault> ElementFaults(const std::string& body);

}  // namespace faults
