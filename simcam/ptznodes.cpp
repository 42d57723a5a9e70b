// The PTZ service: what can be moved, and how.
#include "simcam/bytoken.h"
#include "simcam/ptzwriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

const PtzConfiguration& FindConfiguration(const Call& call, const char* argument) {
  const std::string token = call.request.Argument(argument).RawText();
  const PtzConfiguration* const found = FindByToken(call.model.ptz->configurations, token);
  if (found == nullptr) {
    throw InvalidArgument("NoConfig", "no PTZ configuration has the token " + token);
  }
  return *found;
}

void GetNodes(const Call& call, XmlWriter& response) {
  for (const PtzNode& node : call.model.ptz->nodes) {
    WritePtzNode(response, node);
  }
}

void GetNode(const Call& call, XmlWriter& response) {
  const std::string token = call.request.Argument("NodeToken").RawText();
  const PtzNode* const node = FindByToken(call.model.ptz->nodes, token);
  if (node == nullptr) {
    throw InvalidArgument("NoEntity", "no PTZ node has the token " + token);
  }
  WritePtzNode(response, *node);
}

void GetConfigurations(const Call& call, XmlWriter& response) {
  const std::vector<Profile> profiles = call.state.Profiles();
  const std::string name = "tptz:" + call.model.ptz->configurationsElement;
  for (const PtzConfiguration& configuration : call.model.ptz->configurations) {
    WritePtzConfiguration(response, name.c_str(), *call.model.ptz, configuration, profiles);
  }
}

void GetConfiguration(const Call& call, XmlWriter& response) {
  WritePtzConfiguration(response, "tptz:PTZConfiguration", *call.model.ptz,
                        FindConfiguration(call, "PTZConfigurationToken"), call.state.Profiles());
}

void GetConfigurationOptions(const Call& call, XmlWriter& response) {
  const PtzConfiguration& configuration = FindConfiguration(call, "ConfigurationToken");
  WritePtzOptions(response, *FindByToken(call.model.ptz->nodes, configuration.node), configuration);
}

}  // namespace

std::vector<Operation> PtzNodeOperations() {
  constexpr Service kHere = Service::Ptz;
  constexpr Access kAccess = Access::Authenticated;
  return {
      {kHere, "GetNodes", kAccess, 1, GetNodes},
      {kHere, "GetNode", kAccess, 1, GetNode},
      {kHere, "GetConfigurations", kAccess, 1, GetConfigurations},
      {kHere, "GetConfiguration", kAccess, 1, GetConfiguration},
      {kHere, "GetConfigurationOptions", kAccess, 1, GetConfigurationOptions},
  };
}

}  // namespace simcam
