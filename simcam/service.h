// One row for each operation: who may call it, and who answers it. A new operation is a handler function beside its
// likes and a row in the table of its service.
#pragma once

#include <vector>

#include "simcam/addresses.h"
#include "simcam/callrules.h"
#include "simcam/camerastate.h"
#include "simcam/clock.h"
#include "simcam/model.h"
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

// Runs `use` on the PTZ unit of the profile that the request names, as CameraState::UsePtz does.
template <typename Use>
void WithPtz(const Call& call, Use use) {
  call.state.UsePtz(call.request.Argument("ProfileToken").RawText(), use);
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
