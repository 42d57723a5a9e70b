#include "tests/replay/camera_view.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <memory>
#include <regex>

#include "onvif/camapi-onvif.h"

namespace testsupport {
namespace {

using Keys = std::map<std::string, std::string>;

constexpr char kUser[] = "operator";
constexpr char kPassword[] = "not the camera's";

/// What the server holds once it has stored the report's entries.
struct Recorder {
  std::unique_ptr<ONVIFAPI> driver;
  OnvifDeviceService device;
  OnvifMediaService media;
  OnvifPtzService ptz;
};

std::unique_ptr<ONVIFAPI> MakeDriver(std::uint16_t port, const std::string& profilePair, CameraCap cap) {
  return std::make_unique<ONVIFAPI>("127.0.0.1", port, kUser, kPassword, profilePair, cap);
}

std::string Text(int result, const Keys& keys) {
  std::string text = std::to_string(result);
  for (const auto& [key, value] : keys) text += " " + key + "=" + value;
  return text;
}

/// A text of the camera; one of blanks alone could not be seen.
std::string Visible(const std::string& text) {
  const bool blank = !text.empty() && text.find_first_not_of(" \t\r\n") == std::string::npos;
  return blank ? "(blanks)" : text;
}

std::string Text(const OVF_MED_VDO_CONF& conf) {
  return conf.strEncoding + " " + Visible(conf.strWidth) + "x" + Visible(conf.strHeight);
}

template <typename Item>
std::string Text(int result, const std::list<Item>& items, std::string (*write)(const Item&)) {
  std::string text = std::to_string(result);
  for (const Item& item : items) text += " " + write(item);
  return text;
}

/// The pair of tokens as the server would store it, from the first two profiles; fills "profiles".
std::string ReadProfiles(Recorder& recorder, CameraView& view) {
  std::list<OVF_MED_PROFILE> profiles;
  const int result = recorder.media.GetProfiles(profiles);
  view["profiles"] = Text<OVF_MED_PROFILE>(
      result, profiles, [](const OVF_MED_PROFILE& profile) { return profile.strToken + ":" + Text(profile.VdoConf); });
  if (profiles.empty()) return {};
  const std::string& second = profiles.size() > 1 ? std::next(profiles.begin())->strToken : profiles.front().strToken;
  return profiles.front().strToken + "," + second;
}

std::string ReadProfile(Recorder& recorder, const std::string& token) {
  OVF_MED_PROFILE profile;
  const int result = recorder.media.GetProfile(token, profile);
  const OVF_MED_VDO_CONF& video = profile.VdoConf;
  return Text(result, {{"video source", video.strSourceToken},
                       {"video",
                        video.strToken + ":" + Text(video) + " " + video.strFrameRateLimit + "/s q" + video.strQuality},
                       {"audio source", profile.AudConf.strSourceToken},
                       {"audio", profile.AudConf.strToken + ":" + profile.AudConf.strEncoding},
                       {"ptz", profile.strPtzToken}});
}

std::string TextOfCodec(const OVF_MED_VDO_CODEC& codec) {
  std::string text = codec.strName + " " + codec.strFpsMin + ".." + codec.strFpsMax + "/s";
  for (const OVF_MED_VDO_RESO& size : codec.lstReso) {
    text += " " + std::to_string(size.nWidth) + "x" + std::to_string(size.nHeight);
  }
  return text;
}

void ReadOptions(Recorder& recorder, CameraView& view) {
  OVF_MED_VDO_ENC_OPT video;
  const int videoResult = recorder.media.GetVideoEncoderConfigurationOptions("", video);
  view["video options"] = Text<OVF_MED_VDO_CODEC>(videoResult, video.lstCodec, TextOfCodec) + " quality " +
                          video.strQualMin + ".." + video.strQualMax;
  std::list<OVF_MED_AUD_CODEC> audio;
  const int audioResult = recorder.media.GetAudioEncoderConfigurationOptions("", audio);
  view["audio options"] = Text<OVF_MED_AUD_CODEC>(audioResult, audio, [](const OVF_MED_AUD_CODEC& codec) {
    return codec.strEncoding + " " + codec.strBitrate + " kbit/s " + codec.strSampleRate + " kHz";
  });
}

std::string ReadProtocols(Recorder& recorder) {
  std::list<OVF_DEV_NET_PROT> protocols;
  const int result = recorder.device.GetNetworkProtocols(protocols);
  return Text<OVF_DEV_NET_PROT>(result, protocols, [](const OVF_DEV_NET_PROT& protocol) {
    return protocol.strName + ":" + std::to_string(protocol.nPort) + (protocol.blEnabled ? "" : " (off)");
  });
}

void ReadConfigurations(Recorder& recorder, CameraView& view) {
  std::list<OVF_MED_VDO_SRC> sources;
  const int sourcesResult = recorder.media.GetVideoSourceConfigurations(sources);
  view["video sources"] =
      Text<OVF_MED_VDO_SRC>(sourcesResult, sources, [](const OVF_MED_VDO_SRC& source) { return source.strToken; });
  std::list<OVF_MED_VDO_CONF> video;
  const int videoResult = recorder.media.GetVideoEncoderConfigurations(video);
  view["video encoders"] = Text<OVF_MED_VDO_CONF>(
      videoResult, video, [](const OVF_MED_VDO_CONF& conf) { return conf.strToken + ":" + conf.strEncoding; });
  std::list<OVF_MED_AUD_CONF> audio;
  const int audioResult = recorder.media.GetAudioEncoderConfigurations(audio);
  view["audio encoders"] = Text<OVF_MED_AUD_CONF>(
      audioResult, audio, [](const OVF_MED_AUD_CONF& conf) { return conf.strToken + ":" + conf.strEncoding; });
}

/// Addresses of snapshots can hold a password.
std::string WithoutPassword(const std::string& path) {
  return std::regex_replace(path, std::regex("password=[^& ]*"), "password=...");
}

void ReadPaths(ONVIFAPI& driver, CameraView& view) {
  const auto write = [&](const char* topic, int result, const std::string& path, int port) {
    const std::string portText = port == driver.GetPort() ? "the HTTP port" : std::to_string(port);
    view[topic] =
        std::to_string(result) + (result == 0 ? " \"" + WithoutPassword(path) + "\" at " + portText : std::string());
  };
  std::string path;
  int port = 0;
  int flag = 0;
  int result = driver.GetPathPort(path, port);
  write("recording path", result, path, port);
  result = driver.GetLivePathPort(path, port);
  write("live path", result, path, port);
  result = driver.GetShotPathPort(path, port, flag);
  write("snapshot path", result, path, port);
  result = driver.GetRTSPPort(port);
  view["rtsp port"] = std::to_string(result) + " " + std::to_string(port);
}

std::string ReadPresets(Recorder& recorder, const std::string& token) {
  std::list<OVF_PTZ_PRESET_POS> presets;
  const int result = recorder.ptz.GetPresets(token, presets);
  std::string text = std::to_string(result) + " " + std::to_string(presets.size());
  if (!presets.empty()) text += ", the last is " + presets.back().strToken + ":" + presets.back().strName;
  return text;
}

std::string Bounds(const std::string& min, const std::string& max) {
  return " " + min + ".." + max;
}

std::string ReadSpaces(Recorder& recorder) {
  OVF_PTZ_CONF configuration;
  const int configured = recorder.ptz.GetConfigurations(configuration);
  if (configured != 0) return std::to_string(configured);
  OVF_PTZ_SPACE space;
  const int result = recorder.ptz.GetConfigurationOptions(configuration.strToken, space);
  const auto lastPart = [](const std::string& uri) { return uri.substr(uri.rfind('/') + 1); };
  return std::to_string(result) + " of " + configuration.strToken + ", pan/tilt " + lastPart(space.strPanTiltUri) +
         Bounds(space.strXMin, space.strXMax) + Bounds(space.strYMin, space.strYMax) + ", zoom " +
         lastPart(space.strZoomUri) + Bounds(space.strZMin, space.strZMax);
}

/// The steps of the report, each with a map of its own.
/// \return what the server would store of them: the entries and the PTZ keys
CameraCap ReadReport(std::uint16_t port, CameraView& view) {
  const auto driver = MakeDriver(port, "", CameraCap());
  Keys stored;
  Keys media;
  Keys device;
  Keys ptz;
  view["entries"] = Text(driver->GetEntries(stored), stored);
  view["media"] = Text(driver->GetMediaCap(media), media);
  view["device"] = Text(driver->GetDeviceInfo(device), device);
  view["ptz"] = Text(driver->GetPTZCap(ptz), ptz);
  Keys whole;
  view["report"] = std::to_string(driver->GetCapability(whole));
  stored.insert(ptz.begin(), ptz.end());
  return CameraCap(stored);
}

Recorder MakeRecorder(std::uint16_t port, const CameraCap& cap) {
  Recorder recorder;
  recorder.driver = MakeDriver(port, "", cap);
  std::string device;
  std::string media;
  std::string ptz;
  cap.GetServiceEnt(device, media, ptz);
  std::string major;
  std::string minor;
  cap.GetONVIFVersion(major, minor);
  recorder.device.UpdateServiceParam(recorder.driver.get(), device, major, minor);
  recorder.media.UpdateServiceParam(recorder.driver.get(), media, major, minor);
  recorder.ptz.UpdateServiceParam(recorder.driver.get(), ptz, major, minor);
  return recorder;
}

}  // namespace

CameraView LookAt(std::uint16_t port) {
  CameraView view;
  const CameraCap cap = ReadReport(port, view);
  Recorder recorder = MakeRecorder(port, cap);
  const std::string pair = ReadProfiles(recorder, view);
  const std::string firstToken = pair.substr(0, pair.find(','));
  view["protocols"] = ReadProtocols(recorder);
  view["profile"] = ReadProfile(recorder, firstToken);
  ReadConfigurations(recorder, view);
  ReadOptions(recorder, view);
  view["presets"] = ReadPresets(recorder, firstToken);
  view["spaces"] = ReadSpaces(recorder);
  const auto driver = MakeDriver(port, pair, cap);
  view["test"] = std::to_string(driver->TestConn());
  ReadPaths(*driver, view);
  std::map<int, std::string> presets;
  const int listed = driver->GetPresets(presets);
  view["presets by number"] = std::to_string(listed) + " " + std::to_string(presets.size());
  return view;
}

}  // namespace testsupport
