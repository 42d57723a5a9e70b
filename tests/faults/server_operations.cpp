#include "tests/faults/server_operations.h"

#include <map>

#include "simcam/model.h"

namespace faults {
namespace {

constexpr char kDome[] = "ptz-dome";
constexpr char kBox[] = "fixed-box";  // its stream addresses name no port

using CallWithoutOutput = std::function<int(ONVIFAPI& driver)>;

std::function<int(ONVIFAPI&, std::string&)> Silent(CallWithoutOutput call) {
  return [call = std::move(call)](ONVIFAPI& driver, std::string&) { return call(driver); };
}

std::string TextOf(const std::map<std::string, std::string>& map) {
  std::string text;
  for (const auto& [key, value] : map) text += key + "=" + value + "\n";
  return text;
}

int TestConn(ONVIFAPI& driver, std::string&) {
  return driver.TestConn();
}

int GetDeviceInfo(ONVIFAPI& driver, std::string& output) {
  std::map<std::string, std::string> info;
  const int result = driver.GetDeviceInfo(info);
  output = TextOf(info);
  return result;
}

int GetCapability(ONVIFAPI& driver, std::string& output) {
  std::map<std::string, std::string> caps;
  const int result = driver.GetCapability(caps);
  output = TextOf(caps);
  return result;
}

int GetPathPort(ONVIFAPI& driver, std::string& output) {
  int port = 0;
  const int result = driver.GetPathPort(output, port);
  output += " " + std::to_string(port);
  return result;
}

int GetLivePathPort(ONVIFAPI& driver, std::string& output) {
  int port = 0;
  const int result = driver.GetLivePathPort(output, port);
  output += " " + std::to_string(port);
  return result;
}

int GetShotPathPort(ONVIFAPI& driver, std::string& output) {
  int port = 0;
  int flag = 0;
  const int result = driver.GetShotPathPort(output, port, flag);
  output += " " + std::to_string(port) + " " + std::to_string(flag);
  return result;
}

int GetRtspPort(ONVIFAPI& driver, std::string& output) {
  int port = 0;
  const int result = driver.GetRTSPPort(port);
  output = std::to_string(port);
  return result;
}

int GetPresets(ONVIFAPI& driver, std::string& output) {
  std::map<int, std::string> presets;
  const int result = driver.GetPresets(presets);
  for (const auto& [number, name] : presets) output += std::to_string(number) + "=" + name + "\n";
  return result;
}

/// A preset that is not the server's, and the server's number 1.
std::function<void(simcam::CameraState&)> PutPresets(const std::string& profile) {
  return [profile](simcam::CameraState& state) {
    state.UsePtz(profile, [](simcam::PtzTarget& target) {
      target.unit.presets = {{"preset_1", "Entrance", {}}, {"preset_2", "QARN1", {}}};
    });
  };
}

/// What an earlier connection test may have left.
void PutScratchProfile(simcam::CameraState& state) {
  for (const simcam::Profile& profile : state.Profiles()) {
    if (profile.name == "QarnTestProfile") return;
  }
  state.CreateProfile("QarnTestProfile", {});
}

/// The first step of a capability report. Without the media path, the next request goes nowhere.
const Rule kEntries{"GetCapabilities",
                    1,
                    kHandedOn,
                    kHandedOn,
                    4,
                    {{"missing */Capabilities", 4}, {"missing */Capabilities/Media", 4}, {"missing */Media/XAddr", 4}}};

/// The steps of a capability report on a camera with four encoder configurations and PTZ.
std::vector<Rule> ReportRules() {
  return {
      kEntries,
      {"GetProfiles", 1, kHandedOn, kHandedOn},
      // Without them, the options of all encoders are asked for.
      {"GetVideoEncoderConfigurations", 1, kSucceeds, kFails},
      {"GetVideoEncoderConfigurationOptions", 4, kFails, kFails},
      // From here to the identity, failures only leave keys out.
      {"GetVideoEncoderConfigurationOptions", 4, kSucceeds, kHandedOn},
      {"GetVideoSourceConfigurations", 1, kSucceeds, kHandedOn},
      {"GetGuaranteedNumberOfVideoEncoderInstances", 1, kSucceeds, kHandedOn},
      {"GetAudioEncoderConfigurationOptions", 1, kSucceeds, kHandedOn},
      {"GetDeviceInformation", 1, kHandedOn, kHandedOn},
      {"GetNetworkInterfaces", 1, kHandedOn, kHandedOn},
      {"GetConfigurations", 1, kSucceeds, kSucceeds},
      {"GetConfigurationOptions", 1, kSucceeds, kSucceeds},
      {"GetNodes", 1, kSucceeds, kSucceeds},
  };
}

/// The same on a camera that cannot list its encoder configurations, and has no PTZ.
std::vector<Rule> OldStyleReportRules() {
  return {
      kEntries,
      {"GetProfiles", 1, kHandedOn, kHandedOn},
      {"GetVideoEncoderConfigurations", 1, kSucceeds, kFails},
      {"GetVideoEncoderConfigurationOptions", 1, kFails, kFails},
      {"GetVideoSourceConfigurations", 1, kSucceeds, kHandedOn},
      {"GetGuaranteedNumberOfVideoEncoderInstances", 1, kSucceeds, kHandedOn},
      {"GetAudioEncoderConfigurationOptions", 1, kSucceeds, kHandedOn},
      {"GetDeviceInformation", 1, kHandedOn, kHandedOn},
      {"GetNetworkInterfaces", 1, kHandedOn, kHandedOn},
  };
}

std::vector<ServerOperation> IdentityOperations() {
  return {
      {"TestConn",
       kDome,
       "profile_1,profile_2",
       TestConn,
       {{"GetProfiles", 1, kHandedOn, kHandedOn},
        // A camera that refuses to create profiles passes. A profile without token cannot be deleted.
        {"CreateProfile", 1, {0, 5, 0}, {0, 5, 0}, 6, {{"missing */Profile", 6}}},
        {"DeleteProfile", 1, kHandedOn, kHandedOn}}},
      {"TestConnWithLeftOver",
       kDome,
       "profile_1,profile_2",
       TestConn,
       {{"GetProfiles", 1, kHandedOn, kHandedOn}, {"DeleteProfile", 1, kHandedOn, kHandedOn}},
       PutScratchProfile},
      {"GetDeviceInfo",
       kDome,
       "profile_1",
       GetDeviceInfo,
       {{"GetDeviceInformation", 1, kHandedOn, kHandedOn}, {"GetNetworkInterfaces", 1, kHandedOn, kHandedOn}}},
      {"GetCapability", kDome, "profile_1,profile_2", GetCapability, ReportRules()},
      {"GetCapabilityOldStyle", "old-style", "pr_a,pr_b", GetCapability, OldStyleReportRules()},
  };
}

std::vector<ServerOperation> PathOperations() {
  const Rule streamUri{"GetStreamUri", 1, kSucceeds, kFails};  // tried up to five times
  const Rule protocols{"GetNetworkProtocols", 1, kSucceeds, kSucceeds};
  return {
      {"GetPathPort", kDome, "profile_1,profile_2", GetPathPort, {streamUri}},
      {"GetPathPortWithoutPort", kBox, "Profile0,Profile1", GetPathPort, {streamUri, protocols}},
      {"GetLivePathPort", kDome, "profile_1,profile_2", GetLivePathPort, {streamUri}},
      {"GetLivePathPortWithoutPort", kBox, "Profile0,Profile1", GetLivePathPort, {streamUri, protocols}},
      {"GetShotPathPort",
       kDome,
       "profile_1,profile_2",
       GetShotPathPort,
       {{"GetSnapshotUri", 1, kFails, kFails, 1, {{"missing */MediaUri", 1}, {"missing */Uri", 1}}}}},
      {"GetRTSPPort", kDome, "profile_1", GetRtspPort, {protocols}},
  };
}

std::vector<ServerOperation> LensOperations() {
  const auto lens = [](const char* name, const char* request, CallWithoutOutput call) {
    return ServerOperation{name, kDome, "profile_1", Silent(std::move(call)), {{request, 1, kFails, kFails}}};
  };
  return {
      lens("LensPTZ", "RelativeMove", [](ONVIFAPI& driver) { return driver.LensPTZ(1); }),
      lens("LensPTZHome", "GotoHomePosition", [](ONVIFAPI& driver) { return driver.LensPTZ(33); }),
      lens("LensPTZStart", "ContinuousMove", [](ONVIFAPI& driver) { return driver.LensPTZStart(9); }),
      lens("LensPTZSpeedStart", "ContinuousMove", [](ONVIFAPI& driver) { return driver.LensPTZSpeedStart(34, 3); }),
      lens("LensPTZSpeedStartHome", "GotoHomePosition",
           [](ONVIFAPI& driver) { return driver.LensPTZSpeedStart(33, 3); }),
      lens("LensPTZStop", "ContinuousMove", [](ONVIFAPI& driver) { return driver.LensPTZStop(1); }),
  };
}

std::vector<ServerOperation> PresetOperations() {
  // A preset whose token is not found is asked for with an empty one, which the camera refuses.
  const Rule findForeign{"GetPresets", 1, kFails,
                         kFails,       1, {{"missing */Preset#1", 1}, {"missing */Preset#1/Name", 1}}};
  const Rule findOwn{"GetPresets", 1, kFails, kFails, 1, {{"missing */Preset#2", 1}, {"missing */Preset#2/Name", 1}}};
  return {
      {"GetPresets",
       kDome,
       "profile_1",
       GetPresets,
       // A foreign preset that is listed twice is not found when it is to be deleted for the second time.
       {{"GetPresets",
         1,
         kFails,
         kFails,
         0,
         {{"doubled GetPresetsResponse", 1}, {"doubled GetPresetsResponse/Preset#1", 1}}},
        findForeign,
        {"RemovePreset", 1, kFails, kFails}},
       PutPresets("profile_1")},
      {"SetPreset",
       kDome,
       "profile_1",
       Silent([](ONVIFAPI& driver) { return driver.SetPreset(7, "Gate"); }),
       {{"SetPreset", 1, kFails, kFails}},
       PutPresets("profile_1")},
      {"DelPreset",
       kDome,
       "profile_1",
       Silent([](ONVIFAPI& driver) { return driver.DelPreset(1, ""); }),
       {findOwn, {"RemovePreset", 1, kFails, kFails}},
       PutPresets("profile_1")},
      {"DelPresetByName",
       kDome,
       "profile_1",
       Silent([](ONVIFAPI& driver) { return driver.DelPreset(-1, "Entrance"); }),
       {findForeign, {"RemovePreset", 1, kFails, kFails}},
       PutPresets("profile_1")},
      // Version 1.0 names the element differently.
      {"DelPresetOfVersion10",
       "legacy-1-0",
       "stream0",
       Silent([](ONVIFAPI& driver) { return driver.DelPreset(1, ""); }),
       {{"GetPresets", 1, kFails, kFails, 1, {{"missing */PTZPreset#2", 1}, {"missing */PTZPreset#2/Name", 1}}},
        {"RemovePreset", 1, kFails, kFails}},
       PutPresets("stream0")},
      {"LensPreset",
       kDome,
       "profile_1",
       Silent([](ONVIFAPI& driver) { return driver.LensPreset(1, ""); }),
       {findOwn, {"GotoPreset", 1, kFails, kFails}},
       PutPresets("profile_1")},
  };
}

}  // namespace

void PrintTo(const ServerOperation& operation, std::ostream* out) {
  *out << operation.name;
}

const std::vector<ServerOperation>& ServerOperations() {
  static const std::vector<ServerOperation> operations = [] {
    std::vector<ServerOperation> all;
    for (const auto& some : {IdentityOperations(), PathOperations(), StreamOperations(), AudioOperations(),
                             LensOperations(), PresetOperations()}) {
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }();
  return operations;
}

CameraCap StoredCap(const std::string& model) {
  const simcam::CameraModel camera = simcam::LoadModel(model);
  const simcam::WholeRange quality = camera.videoEncoderOptions.at(0).quality;
  CameraCap::MAP caps{{"device_entry", camera.paths.device},
                      {"media_entry", camera.paths.media},
                      {"version_major", std::to_string(camera.versions.at(0).major)},
                      {"version_minor", std::to_string(camera.versions.at(0).minor)},
                      {"quality_min", std::to_string(quality.min)},
                      {"quality_max", std::to_string(quality.max)}};
  if (camera.ptz) {
    const CameraCap::MAP lens{{"ptz_entry", camera.paths.ptz},
                              {"pan", "continuous"},
                              {"tilt", "continuous"},
                              {"zoom", "continuous"},
                              {"home", "yes"},
                              {"preset", "64"},
                              {"ptz_xmin", "-1"},
                              {"ptz_xmax", "1"},
                              {"ptz_ymin", "-1"},
                              {"ptz_ymax", "1"},
                              {"ptz_zmin", "-1"},
                              {"ptz_zmax", "1"}};
    caps.insert(lens.begin(), lens.end());
  }
  return CameraCap(caps);
}

}  // namespace faults
