#include "tests/onvif/operations.h"

namespace testsupport {
namespace {

using Call = std::function<RET_ONVIF(ServiceClients&, const std::string&)>;
using Bind = RET_ONVIF (OnvifMediaService::*)(std::string, std::string);

const std::string kDevice = R"( xmlns="http://www.onvif.org/ver10/device/wsdl")";
const std::string kMedia = R"( xmlns="http://www.onvif.org/ver10/media/wsdl")";
const std::string kPtz = R"( xmlns="http://www.onvif.org/ver20/ptz/wsdl")";
const std::string kSchema = R"( xmlns="http://www.onvif.org/ver10/schema")";
const std::string kVector = "<PanTilt x=\"1\" y=\"1\"" + kSchema + "/><Zoom x=\"1\"" + kSchema + "/>";

std::string Element(const std::string& name, const std::string& nsAttr, const std::string& content) {
  return "<" + name + nsAttr + ">" + content + "</" + name + ">";
}

const std::string kProfileToken = "<ProfileToken>$</ProfileToken>";

Operation BindOf(const std::string& name, Bind bind) {
  return {name,
          [bind](ServiceClients& clients, const std::string& token) { return (clients.media.*bind)(token, token); },
          Element(name, kMedia, kProfileToken + "<ConfigurationToken>$</ConfigurationToken>")};
}

/// An operation of the device service that fills a record and takes no argument.
template <typename Record>
Operation Query(const std::string& name, RET_ONVIF (OnvifDeviceService::*query)(Record&), const std::string& body) {
  const auto call = [query](ServiceClients& clients, const std::string&) {
    Record record;
    return (clients.device.*query)(record);
  };
  return {name, call, body};
}

/// An operation of the media service that fills a record for a token or a name.
template <typename Record>
Operation Read(const std::string& name, RET_ONVIF (OnvifMediaService::*read)(std::string, Record&),
               const std::string& content, RET_ONVIF resultOfEmptyAnswer = RET_ONVIF_OK) {
  const auto call = [read](ServiceClients& clients, const std::string& token) {
    Record record;
    return (clients.media.*read)(token, record);
  };
  return {name, call, Element(name, kMedia, content), resultOfEmptyAnswer};
}

void AddDevice(std::vector<Operation>& all) {
  all.push_back(Query("GetCapabilities", &OnvifDeviceService::GetCapabilities,
                      Element("GetCapabilities", kDevice, "<Category>All</Category>")));
  all.push_back(Query("GetDeviceInformation", &OnvifDeviceService::GetDeviceInformation,
                      "<GetDeviceInformation" + kDevice + " />"));
  all.push_back(Query("GetNetworkInterfaces", &OnvifDeviceService::GetNetworkInterfaces,
                      "<GetNetworkInterfaces" + kDevice + " />"));
  all.push_back(
      Query("GetNetworkProtocols", &OnvifDeviceService::GetNetworkProtocols, "<GetNetworkProtocols" + kDevice + " />"));
}

void AddMedia(std::vector<Operation>& all) {
  const Call getProfiles = [](ServiceClients& clients, const std::string&) {
    std::list<OVF_MED_PROFILE> list;
    return clients.media.GetProfiles(list);
  };
  const Call deleteProfile = [](ServiceClients& clients, const std::string& token) {
    return clients.media.DeleteProfile(token);
  };
  const std::string streamSetup = "<StreamSetup><Stream" + kSchema + ">RTP-Unicast</Stream><Transport" + kSchema +
                                  "><Protocol>RTSP</Protocol></Transport></StreamSetup>";
  all.push_back({"GetProfiles", getProfiles, "<GetProfiles" + kMedia + " />"});
  all.push_back({"DeleteProfile", deleteProfile, Element("DeleteProfile", kMedia, kProfileToken)});
  all.push_back(Read("GetProfile", &OnvifMediaService::GetProfile, kProfileToken));
  all.push_back(Read("CreateProfile", &OnvifMediaService::CreateProfile, "<Name>$</Name>"));
  all.push_back(Read("GetCompatibleAudioSourceConfigurations",
                     &OnvifMediaService::GetCompatibleAudioSourceConfigurations, kProfileToken));
  all.push_back(Read("GetStreamUri", &OnvifMediaService::GetStreamUri, streamSetup + kProfileToken));
  all.push_back(Read("GetSnapshotUri", &OnvifMediaService::GetSnapshotUri, kProfileToken, RET_ONVIF_XML_FAIL));
  all.push_back(BindOf("AddPTZConfiguration", &OnvifMediaService::AddPTZConfiguration));
  all.push_back(BindOf("AddVideoEncoderConfiguration", &OnvifMediaService::AddVideoEncoderConfiguration));
  all.push_back(BindOf("AddAudioEncoderConfiguration", &OnvifMediaService::AddAudioEncoderConfiguration));
  all.push_back(BindOf("AddAudioSourceConfiguration", &OnvifMediaService::AddAudioSourceConfiguration));
  all.push_back(BindOf("AddVideoSourceConfiguration", &OnvifMediaService::AddVideoSourceConfiguration));
}

/// A query of a service client that fills a record or a list and takes no argument.
template <typename Service, typename Output>
Operation Ask(const std::string& name, Service ServiceClients::*service, RET_ONVIF (Service::*ask)(Output&),
              const std::string& nsAttr, RET_ONVIF resultOfEmptyAnswer = RET_ONVIF_OK) {
  const auto call = [service, ask](ServiceClients& clients, const std::string&) {
    Output output;
    return ((clients.*service).*ask)(output);
  };
  return {name, call, "<" + name + nsAttr + " />", resultOfEmptyAnswer};
}

void AddConfigurations(std::vector<Operation>& all) {
  const auto media = &ServiceClients::media;
  const std::string token = "<ConfigurationToken>$</ConfigurationToken>";
  all.push_back(Ask("GetVideoSourceConfigurations", media, &OnvifMediaService::GetVideoSourceConfigurations, kMedia));
  all.push_back(Ask("GetVideoEncoderConfigurations", media, &OnvifMediaService::GetVideoEncoderConfigurations, kMedia));
  all.push_back(Ask("GetAudioEncoderConfigurations", media, &OnvifMediaService::GetAudioEncoderConfigurations, kMedia));
  all.push_back(Read("GetVideoEncoderConfigurationOptions", &OnvifMediaService::GetVideoEncoderConfigurationOptions,
                     "<ConfigurationToken" + kMedia + ">$</ConfigurationToken>"));
  all.back().bodyWithoutToken = Element("GetVideoEncoderConfigurationOptions", kMedia, "");
  all.push_back(Read("GetGuaranteedNumberOfVideoEncoderInstances",
                     &OnvifMediaService::GetGuaranteedNumberOfVideoEncoderInstances, token));
  const Call audioOptions = [](ServiceClients& clients, const std::string& configuration) {
    std::list<OVF_MED_AUD_CODEC> list;
    return clients.media.GetAudioEncoderConfigurationOptions(configuration, list);
  };
  all.push_back(
      {"GetAudioEncoderConfigurationOptions", audioOptions, "<GetAudioEncoderConfigurationOptions" + kMedia + " />"});
}

void AddPresets(std::vector<Operation>& all) {
  using Preset = RET_ONVIF (OnvifPtzService::*)(std::string, OVF_PTZ_PRESET_POS&);
  const auto add = [&all](const std::string& name, Preset preset, const std::string& content) {
    const Call call = [preset](ServiceClients& clients, const std::string& token) {
      OVF_PTZ_PRESET_POS position{token, token};
      return (clients.ptz.*preset)(token, position);
    };
    all.push_back({name, call, Element(name, kPtz, kProfileToken + content)});
  };
  const std::string token = "<PresetToken>$</PresetToken>";
  const std::string speed =
      "<Speed><PanTilt x=\"1\" y=\"1\"" + kSchema + "></PanTilt><Zoom x=\"1\"" + kSchema + "></Zoom></Speed>";
  add("SetPreset", &OnvifPtzService::SetPreset, "<PresetName>$</PresetName>");
  add("RemovePreset", &OnvifPtzService::RemovePreset, token);
  all.back().namesPreset10 = true;
  add("GotoPreset", &OnvifPtzService::GotoPreset, token + speed);
  all.back().namesPreset10 = true;
  const Call list = [](ServiceClients& clients, const std::string& profile) {
    std::list<OVF_PTZ_PRESET_POS> presets;
    return clients.ptz.GetPresets(profile, presets);
  };
  all.push_back({"GetPresets", list, Element("GetPresets", kPtz, kProfileToken)});
}

void AddNodes(std::vector<Operation>& all) {
  const auto ptz = &ServiceClients::ptz;
  all.push_back(Ask("GetNodes", ptz, &OnvifPtzService::GetNodes, kPtz));
  all.push_back(Ask("GetConfigurations", ptz, &OnvifPtzService::GetConfigurations, kPtz, RET_ONVIF_INVALID_ARG));
  const Call options = [](ServiceClients& clients, const std::string& configuration) {
    OVF_PTZ_SPACE space;
    return clients.ptz.GetConfigurationOptions(configuration, space);
  };
  all.push_back({"GetConfigurationOptions", options,
                 Element("GetConfigurationOptions", kPtz, "<ConfigurationToken>$</ConfigurationToken>")});
}

void AddPtz(std::vector<Operation>& all) {
  const Call continuous = [](ServiceClients& clients, const std::string& token) {
    OVF_PTZ_MOVE_PARAM velocity{1, 1, 1};
    return clients.ptz.ContinuousMove(token, velocity, 7);
  };
  const Call relative = [](ServiceClients& clients, const std::string& token) {
    OVF_PTZ_MOVE_PARAM vector{1, 1, 1};
    return clients.ptz.RelativeMove(token, vector, vector);
  };
  const Call home = [](ServiceClients& clients, const std::string& token) {
    return clients.ptz.GotoHomePosition(token);
  };
  const Call stop = [](ServiceClients& clients, const std::string& token) { return clients.ptz.Stop(token); };
  const std::string speed = Element("Speed", "", kVector);
  all.push_back({"ContinuousMove", continuous,
                 Element("ContinuousMove", kPtz, kProfileToken + Element("Velocity", "", kVector))});
  all.push_back({"RelativeMove", relative,
                 Element("RelativeMove", kPtz, kProfileToken + Element("Translation", "", kVector) + speed)});
  all.push_back({"GotoHomePosition", home, Element("GotoHomePosition", kPtz, kProfileToken + speed)});
  all.push_back({"Stop", stop, Element("Stop", kPtz, kProfileToken)});
}

std::vector<Operation> MakeAll() {
  std::vector<Operation> all;
  AddDevice(all);
  AddMedia(all);
  AddConfigurations(all);
  AddPtz(all);
  AddPresets(all);
  AddNodes(all);
  return all;
}

}  // namespace

void ServiceClients::Attach(CameraAPI& driver, const std::string& path) {
  device.UpdateServiceParam(&driver, path, "2", "0");
  media.UpdateServiceParam(&driver, path, "2", "0");
  ptz.UpdateServiceParam(&driver, path, "2", "0");
}

std::string Operation::BodyFor(const std::string& token) const {
  if (token.empty() && !bodyWithoutToken.empty()) return bodyWithoutToken;
  std::string sent;
  for (const char c : body) {
    if (c == '$') {
      sent += token;
    } else {
      sent += c;
    }
  }
  return sent;
}

const std::vector<Operation>& AllOperations() {
  static const std::vector<Operation> all = MakeAll();
  return all;
}

}  // namespace testsupport
