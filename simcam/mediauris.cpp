// The media service: where the streams and snapshots are, and what the service can do.
#include "simcam/namespaces.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

// A picture comes from a source through an encoder: without one of them there is nothing to fetch.
Profile CompleteProfile(const Call& call) {
  Profile profile = call.state.FindProfile(ProfileArgument(call));
  if (profile.Binding(ConfigurationKind::VideoSource).empty() ||
      profile.Binding(ConfigurationKind::VideoEncoder).empty()) {
    throw ActionFailed("IncompleteConfiguration", "the profile lacks a video source or a video encoder");
  }
  return profile;
}

void CheckStreamSetup(const XmlElement& setup) {
  const std::string stream = setup.Child(ns::kSchema, "Stream").Text();
  const std::string protocol = setup.Child(ns::kSchema, "Transport").Child(ns::kSchema, "Protocol").Text();
  if (stream != "RTP-Unicast" || (protocol != "UDP" && protocol != "RTSP")) {
    throw InvalidArgument("InvalidStreamSetup",
                          "only unicast over UDP or RTSP is served, not \"" + stream + "\" over \"" + protocol + "\"");
  }
}

void WriteMediaUri(XmlWriter& response, const std::string& uri) {
  response.Open("trt:MediaUri").Element("tt:Uri", uri).Element("tt:InvalidAfterConnect", false);
  response.Element("tt:InvalidAfterReboot", false).Element("tt:Timeout", "PT0S").Close();
}

void GetStreamUri(const Call& call, XmlWriter& response) {
  CheckStreamSetup(call.request.Argument("StreamSetup"));
  WriteMediaUri(response, StreamUrl(call.endpoint, call.model, CompleteProfile(call).token));
}

void GetSnapshotUri(const Call& call, XmlWriter& response) {
  WriteMediaUri(response, SnapshotUrl(call.endpoint, call.model, CompleteProfile(call).token));
}

void GetMediaServiceCapabilities(const Call& call, XmlWriter& response) {
  WriteMediaCapabilities(response, call.model);
}

}  // namespace

void WriteMediaCapabilities(XmlWriter& writer, const CameraModel& model) {
  writer.Open("trt:Capabilities").Attribute("SnapshotUri", true).Attribute("Rotation", false);
  writer.Open("trt:ProfileCapabilities");
  writer.Attribute("MaximumNumberOfProfiles", static_cast<int>(model.maxProfiles)).Close();
  writer.Open("trt:StreamingCapabilities").Attribute("RTPMulticast", false).Attribute("RTP_TCP", false);
  writer.Attribute("RTP_RTSP_TCP", true).Close();
  writer.Close();
}

std::vector<Operation> MediaUriOperations() {
  constexpr Service kHere = Service::Media;
  return {
      {kHere, "GetServiceCapabilities", Access::Open, 2, GetMediaServiceCapabilities},
      {kHere, "GetStreamUri", Access::Authenticated, 1, GetStreamUri},
      {kHere, "GetSnapshotUri", Access::Authenticated, 1, GetSnapshotUri},
  };
}

}  // namespace simcam
