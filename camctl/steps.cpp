#include "camctl/steps.h"

#include <algorithm>

#include "camctl/text.h"

namespace camctl {

namespace {

// The record that a driver object is made from; what the camera does not offer has no key.
Capabilities RecordOf(const OVF_DEV_CAP& cap) {
  const std::pair<const char*, std::string> fields[] = {{"device_entry", cap.strDeviceXAddrPath},
                                                        {"media_entry", cap.strMediaXAddrPath},
                                                        {"ptz_entry", cap.strPtzXAddrPath},
                                                        {"version_major", cap.strVerMajor},
                                                        {"version_minor", cap.strVerMinor}};
  Capabilities record;
  for (const auto& [key, value] : fields) {
    if (!value.empty()) record[key] = value;
  }
  return record;
}

std::string DescribeServices(const OVF_DEV_CAP& cap) {
  std::vector<std::string> parts;
  if (!cap.strVerMajor.empty()) parts.push_back("ONVIF " + cap.strVerMajor + "." + cap.strVerMinor);
  parts.push_back("media " + cap.strMediaXAddrPath);
  parts.push_back(cap.strPtzXAddrPath.empty() ? "no PTZ" : "PTZ " + cap.strPtzXAddrPath);
  return Joined(parts, ", ");
}

StepOutcome RunServices(Session& session) {
  ONVIFAPI& driver = session.Driver();
  OnvifDeviceService service;
  service.UpdateServiceParam(&driver, kDevicePath, "", "");
  OVF_DEV_CAP cap;
  const int result = driver.ConvertOnvifRetToCamApiRet(service.GetCapabilities(cap));
  if (result != CAMERA_OK) return {result, "", {}};
  if (cap.strMediaXAddrPath.empty()) {
    return {
        CAMERA_NOT_SUPPORTED, "",
        Cause{"the camera names no media service", "switch ONVIF on in the camera's settings, or use another camera"}};
  }
  session.Remember(RecordOf(cap));
  return {result, DescribeServices(cap), {}};
}

StepOutcome RunTest(Session& session) {
  return {session.Driver().TestConn(), "the camera answers and accepts the account", {}};
}

std::string FactOf(const CameraReport& camera, const char* key) {
  const auto found = camera.facts.find(key);
  return found == camera.facts.end() ? std::string() : found->second;
}

std::string DescribeIdentity(const CameraReport& camera) {
  std::vector<std::string> parts;
  const std::string vendor = FactOf(camera, "vendor");
  const std::string model = FactOf(camera, "model");
  parts.push_back(vendor + (vendor.empty() || model.empty() ? "" : " ") + model);
  const std::pair<const char*, const char*> others[] = {{"firmware ", "firmware_version"}, {"MAC ", "mac_address"}};
  for (const auto& [label, key] : others) {
    const std::string value = FactOf(camera, key);
    if (!value.empty()) parts.push_back(label + value);
  }
  return Joined(parts, ", ");
}

StepOutcome RunIdentity(Session& session) {
  CameraReport& camera = session.Camera();
  const int result = session.Driver().GetDeviceInfo(camera.facts);
  for (auto& [key, value] : camera.facts) value = session.WithoutPassword(value);
  return {result, DescribeIdentity(camera), {}};
}

std::string DescribeProfile(const OVF_MED_PROFILE& profile) {
  const OVF_MED_VDO_CONF& video = profile.VdoConf;
  std::string text = profile.strToken;
  if (!video.strEncoding.empty()) text += " (" + video.strEncoding + " " + video.strWidth + "x" + video.strHeight + ")";
  return text;
}

using Profiles = std::list<OVF_MED_PROFILE>;

std::string FirstTwo(const Profiles& profiles) {
  const std::string& first = profiles.front().strToken;
  return profiles.size() == 1 ? first : first + "," + std::next(profiles.begin())->strToken;
}

StepOutcome UnknownProfile(const Profiles& profiles, const std::string& token) {
  std::vector<std::string> tokens;
  for (const OVF_MED_PROFILE& profile : profiles) tokens.push_back(profile.strToken);
  return {CAMERA_FAULT, "", Cause{"the camera has no profile '" + token + "'", "choose of " + Joined(tokens, ", ")}};
}

StepOutcome ChooseProfiles(Session& session, const Profiles& profiles) {
  const std::string pair = session.Profiles().empty() ? FirstTwo(profiles) : session.Profiles();
  const OVF_MED_PROFILE* const main = FindProfile(profiles, MainOf(pair));
  const OVF_MED_PROFILE* const live = FindProfile(profiles, LiveOf(pair));
  if (main == nullptr) return UnknownProfile(profiles, MainOf(pair));
  if (live == nullptr) return UnknownProfile(profiles, LiveOf(pair));
  session.UseProfiles(pair);
  return {CAMERA_OK,
          std::to_string(profiles.size()) + " profiles; main " + DescribeProfile(*main) + ", live " +
              DescribeProfile(*live),
          {}};
}

StepOutcome RunProfiles(Session& session) {
  OnvifMediaService service = session.MediaClient();
  Profiles profiles;
  const int result = session.Driver().ConvertOnvifRetToCamApiRet(service.GetProfiles(profiles));
  if (result != CAMERA_OK) return {result, "", {}};
  if (profiles.empty()) {
    return {CAMERA_FAILED, "", Cause{"the camera lists no media profile", "make one in the camera's settings"}};
  }
  return ChooseProfiles(session, profiles);
}

StepOutcome Found(Session& session, int result, const char* name, const char* scheme, const std::string& path,
                  int port) {
  if (result != CAMERA_OK) return {result, "", {}};
  MediaPath found;
  found.path = session.WithoutPassword(path);
  found.port = port;
  found.url = std::string(scheme) + "://" + HostPort(session.GetConnection().host, port) + found.path;
  session.Camera().paths[name] = found;
  return {result, path.empty() ? "the camera gives no path" : found.url, {}};
}

StepOutcome RunRecordingStream(Session& session) {
  std::string path;
  int port = 0;
  const int result = session.Driver().GetPathPort(path, port);
  return Found(session, result, "recording", "rtsp", path, port);
}

StepOutcome RunLiveStream(Session& session) {
  std::string path;
  int port = 0;
  const int result = session.Driver().GetLivePathPort(path, port);
  return Found(session, result, "live", "rtsp", path, port);
}

StepOutcome RunSnapshot(Session& session) {
  std::string path;
  int port = 0;
  int flag = 0;
  const int result = session.Driver().GetShotPathPort(path, port, flag);
  return Found(session, result, "snapshot", "http", path, port);
}

std::string DescribeReport(const Capabilities& report) {
  std::vector<std::string> parts = {std::to_string(report.size()) + " keys"};
  for (const std::string& codec : ONVIFAPI::m_rgstrLwrCodec) {
    if (report.count(codec) > 0) parts.push_back(codec);
  }
  const std::pair<const char*, const char*> others[] = {{"audio_format", "audio "}, {"pan", "pan "}, {"zoom", "zoom "}};
  for (const auto& [key, label] : others) {
    const auto found = report.find(key);
    if (found != report.end()) parts.push_back(label + found->second);
  }
  return Joined(parts, ", ");
}

StepOutcome RunReport(Session& session) {
  Capabilities report;
  const int result = session.Driver().GetCapability(report);
  if (result != CAMERA_OK) return {result, "", {}};
  session.Remember(report);  // as it is: the driver asks at the addresses in it
  for (auto& [key, value] : report) value = session.WithoutPassword(value);
  session.Camera().capabilities = report;
  return {result, DescribeReport(report), {}};
}

}  // namespace

const OVF_MED_PROFILE* FindProfile(const std::list<OVF_MED_PROFILE>& profiles, const std::string& token) {
  const auto found = std::find_if(profiles.begin(), profiles.end(),
                                  [&](const OVF_MED_PROFILE& profile) { return profile.strToken == token; });
  return found == profiles.end() ? nullptr : &*found;
}

std::string MainOf(const std::string& pair) {
  return pair.substr(0, pair.find(','));
}

std::string LiveOf(const std::string& pair) {
  const std::size_t comma = pair.find(',');
  return comma == std::string::npos ? pair : pair.substr(comma + 1);
}

const Step kServices = {"services", "GetCapabilities", &RunServices};
const Step kTest = {"test", "TestConn", &RunTest};
const Step kIdentity = {"identity", "GetDeviceInfo", &RunIdentity};
const Step kProfiles = {"profiles", "GetProfiles", &RunProfiles};
const Step kReport = {"report", "GetCapability", &RunReport};
const Step kRecordingStream = {"recording stream", "GetPathPort", &RunRecordingStream};
const Step kLiveStream = {"live stream", "GetLivePathPort", &RunLiveStream};
const Step kSnapshot = {"snapshot", "GetShotPathPort", &RunSnapshot};
const Step kDiagnosis = {"diagnosis", "TestConn", &RunTest};

}  // namespace camctl
