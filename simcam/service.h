// One row for each operation: who may call it, and who answers it. A new operation is a handler function beside its
// likes and a row in the table of its service.
#pragma once

#include <vector>

#include "simcam/addresses.h"
#include "simcam/callrules.h"
#include "simcam/camerastate.h"
#include "simcam/clock.h"
#include "simcam/model.h"
#include "simcam/requestedprofile.h"
#include "simcam/soapfault.h"
#include "simcam/soaprequest.h"
#include "simcam/xmlwriter.h"

namespace simcam {

enum class Service { Device, Media, Ptz };

// Open operations answer without a token, as the standard's access class PRE_AUTH asks; a token that is sent is
// checked all the same.
enum class Access { Open, Authenticated };

// What a handler works with.
struct Call {
  const CameraModel& model;
  CameraState& state;
  const Clock& clock;
  const Endpoint& endpoint;
  const SoapRequest& request;
  const CallRules& rules;
};

// The camera's own token of the profile that an argument of the request names.
inline std::string ProfileArgument(const Call& call) {
  return OwnProfileToken(call.request.Argument("ProfileToken"), call.rules, call.state);
}

// Runs `use` on the PTZ unit of the profile that the request names, as CameraState::UsePtz does.
template <typename Use>
void WithPtz(const Call& call, Use use) {
  const std::string token = ProfileArgument(call);
  if (!MayMove(token, call.state.Profiles(), call.rules)) {
    throw InvalidArgument("NoPTZProfile", "the profile has no PTZ configuration");
  }
  call.state.UsePtz(token, [&](PtzTarget& target) {
    const PtzNode node = ShownNode(target.node, call.rules);
    PtzTarget shown{target.unit, target.configuration, node, target.now};
    use(shown);
  });
}

// Writes the content of the response element, or throws SoapFault; what was written is then dropped.
using Handler = void (*)(const Call& call, XmlWriter& response);

struct Operation {
  Service service;
  const char* name;
  Access access;
  int sinceMajor;  // cameras of an older ONVIF major version do not know the operation
  Handler handler;
};

// The tables of the services.
std::vector<Operation> DeviceOperations();
std::vector<Operation> MediaProfileOperations();
std::vector<Operation> MediaUriOperations();
std::vector<Operation> MediaSourceOperations();
std::vector<Operation> VideoEncoderOperations();
std::vector<Operation> AudioEncoderOperations();
std::vector<Operation> PtzOperations();
std::vector<Operation> PtzNodeOperations();
std::vector<Operation> PtzPresetOperations();

// The namespace of a service as the model speaks it, and the prefix that answers give it.
std::string NamespaceOf(Service service, const CameraModel& model);
const char* PrefixOf(Service service);

// The path of a service; empty when the model does not have the service.
const std::string& PathOf(Service service, const CameraModel& model);

// The Capabilities element of a service as GetServiceCapabilities and GetServices show it.
void WriteDeviceCapabilities(XmlWriter& writer);
void WriteMediaCapabilities(XmlWriter& writer, const CameraModel& model);
void WritePtzCapabilities(XmlWriter& writer);

}  // namespace simcam
