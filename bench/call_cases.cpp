#include "bench/call_cases.h"

#include <cstring>
#include <list>
#include <map>
#include <stdexcept>

namespace bench {
namespace {

constexpr char kHost[] = "127.0.0.1";
constexpr char kUser[] = "admin";
constexpr char kPassword[] = "password12";
constexpr char kServicePath[] = "/onvif/service";
constexpr char kMajor[] = "2";
constexpr char kMinor[] = "40";
constexpr char kStreamUriXPath[] = "//trt:GetStreamUriResponse//trt:MediaUri//tt:Uri";
constexpr unsigned kPanTiltZoom = 7;
constexpr int kToTheRight = 1;

CameraCap& Stored() {
  static CameraCap cap(std::map<std::string, std::string>{
      {"media_entry", kServicePath}, {"ptz_entry", kServicePath}, {"preset", "63"}, {"pan", "yes"}, {"tilt", "yes"}});
  return cap;
}

void Require(bool isRight, const char* what) {
  if (!isRight) throw std::runtime_error(what);
}

void GetDeviceInformation(Callers& callers) {
  OVF_DEV_INFO info;
  Require(callers.device.GetDeviceInformation(info) == RET_ONVIF_OK && !info.strModel.empty(), "no identity");
}

void GetCapabilities(Callers& callers) {
  OVF_DEV_CAP cap;
  Require(callers.device.GetCapabilities(cap) == RET_ONVIF_OK, "no capabilities");
}

void GetNetworkInterfaces(Callers& callers) {
  OVF_DEV_NET_INTER interfaces;
  Require(callers.device.GetNetworkInterfaces(interfaces) == RET_ONVIF_OK, "no interfaces");
}

void GetProfiles(Callers& callers) {
  std::list<OVF_MED_PROFILE> profiles;
  Require(callers.media.GetProfiles(profiles) == RET_ONVIF_OK && profiles.size() > 1, "no profiles");
}

void GetVideoEncoderConfigurations(Callers& callers) {
  std::list<OVF_MED_VDO_CONF> configurations;
  Require(callers.media.GetVideoEncoderConfigurations(configurations) == RET_ONVIF_OK && configurations.size() > 1,
          "no configurations");
}

void GetVideoEncoderConfigurationOptions(Callers& callers) {
  OVF_MED_VDO_ENC_OPT options;
  Require(callers.media.GetVideoEncoderConfigurationOptions("v0", options) == RET_ONVIF_OK, "no options");
}

void GetStreamUri(Callers& callers) {
  OVF_MED_URI uri;
  Require(callers.media.GetStreamUri("p0", uri) == RET_ONVIF_OK && !uri.strUri.empty(), "no stream address");
}

void GetSnapshotUri(Callers& callers) {
  OVF_MED_URI uri;
  Require(callers.media.GetSnapshotUri("p0", uri) == RET_ONVIF_OK && !uri.strUri.empty(), "no snapshot address");
}

void GetPresets(Callers& callers) {
  std::list<OVF_PTZ_PRESET_POS> presets;
  Require(callers.ptz.GetPresets("p0", presets) == RET_ONVIF_OK && presets.size() > 1, "no presets");
}

void ContinuousMove(Callers& callers) {
  OVF_PTZ_MOVE_PARAM velocity{0.5, 0, 0};
  Require(callers.ptz.ContinuousMove("p0", velocity, kPanTiltZoom) == RET_ONVIF_OK, "no move");
}

const char* BodyOf(const char* operation) {
  for (const Operation& candidate : TenCalls()) {
    if (std::strcmp(candidate.name, operation) == 0) return candidate.body;
  }
  throw std::logic_error(operation);
}

/// A signed envelope that stays the same: a floor need not make one for each call.
const std::string& StreamUriEnvelope(Callers& callers) {
  static const std::string envelope = callers.media.GenSOAPMsg(BodyOf("GetStreamUri"));
  return envelope;
}

void FindStreamUri(Callers& callers) {
  Require(callers.floor.Find(kStreamUriXPath).find("rtsp://") == 0, "no stream address");
}

void PostAndFind(Callers& callers, FloorClient::Reuse reuse) {
  callers.floor.Post(StreamUriEnvelope(callers), reuse);
  FindStreamUri(callers);
}

void Driver(Callers& callers) {
  std::string path;
  int port = 0;
  Require(callers.driver.GetLivePathPort(path, port) == CAMERA_OK && !path.empty(), "no stream path");
}

void DriverInfo(Callers& callers) {
  std::map<std::string, std::string> info;
  Require(callers.driver.GetDeviceInfo(info) == CAMERA_OK && !info.empty(), "no identity");
}

void DriverPath(Callers& callers) {
  std::string path;
  int port = 0;
  Require(callers.driver.GetPathPort(path, port) == CAMERA_OK && !path.empty(), "no stream path");
}

void DriverShotPath(Callers& callers) {
  std::string path;
  int port = 0;
  int flag = 0;
  Require(callers.driver.GetShotPathPort(path, port, flag) == CAMERA_OK && !path.empty(), "no snapshot path");
}

void DriverPresets(Callers& callers) {
  std::map<int, std::string> presets;
  Require(callers.driver.GetPresets(presets) == CAMERA_OK && !presets.empty(), "no presets");
}

void DriverMove(Callers& callers) {
  Require(callers.driver.LensPTZStart(kToTheRight) == CAMERA_OK, "no move");
}

void DriverStop(Callers& callers) {
  Require(callers.driver.LensPTZStop(kToTheRight) == CAMERA_OK, "no stop");
}

void ParseTen(Callers& callers) {
  for (const Operation& operation : TenCalls()) {
    callers.floor.Post(callers.media.GenSOAPMsg(operation.body));
    callers.floor.Parse();
  }
}

void CallTen(Callers& callers) {
  for (const Operation& operation : TenCalls()) operation.call(callers);
}

}  // namespace

Callers::Callers(const CameraSize& size)
    : camera(MakeAnswers(size)),
      floor(camera.Port()),
      driver(kHost, camera.Port(), kUser, kPassword, "p0,p1", Stored()) {
  for (OnvifServiceBase* service : std::initializer_list<OnvifServiceBase*>{&device, &media, &ptz}) {
    service->UpdateServiceParam(&driver, kServicePath, kMajor, kMinor);
  }
}

const std::vector<Operation>& TenCalls() {
  static const std::vector<Operation> calls{
      {"GetDeviceInformation", "<GetDeviceInformation xmlns=\"http://www.onvif.org/ver10/device/wsdl\"/>",
       GetDeviceInformation},
      {"GetCapabilities",
       "<GetCapabilities xmlns=\"http://www.onvif.org/ver10/device/wsdl\"><Category>All</Category></GetCapabilities>",
       GetCapabilities},
      {"GetNetworkInterfaces", "<GetNetworkInterfaces xmlns=\"http://www.onvif.org/ver10/device/wsdl\"/>",
       GetNetworkInterfaces},
      {"GetProfiles", "<GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\"/>", GetProfiles},
      {"GetVideoEncoderConfigurations",
       "<GetVideoEncoderConfigurations xmlns=\"http://www.onvif.org/ver10/media/wsdl\"/>",
       GetVideoEncoderConfigurations},
      {"GetVideoEncoderConfigurationOptions",
       "<GetVideoEncoderConfigurationOptions xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ConfigurationToken>v0"
       "</ConfigurationToken></GetVideoEncoderConfigurationOptions>",
       GetVideoEncoderConfigurationOptions},
      {"GetStreamUri",
       "<GetStreamUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><StreamSetup>"
       "<Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream>"
       "<Transport xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol></Transport></StreamSetup>"
       "<ProfileToken>p0</ProfileToken></GetStreamUri>",
       GetStreamUri},
      {"GetSnapshotUri",
       "<GetSnapshotUri "
       "xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>p0</ProfileToken></GetSnapshotUri>",
       GetSnapshotUri},
      {"GetPresets",
       "<GetPresets xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\"><ProfileToken>p0</ProfileToken></GetPresets>",
       GetPresets},
      {"ContinuousMove",
       "<ContinuousMove xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\"><ProfileToken>p0</ProfileToken><Velocity>"
       "<PanTilt x=\"0.5\" y=\"0\" xmlns=\"http://www.onvif.org/ver10/schema\"/></Velocity></ContinuousMove>",
       ContinuousMove},
  };
  return calls;
}

const std::vector<Case>& StreamUriCases() {
  static const std::vector<Case> cases{
      {"envelope", [](Callers& callers) { callers.media.GenSOAPMsg(BodyOf("GetStreamUri")); }},
      {"exchange", [](Callers& callers) { callers.floor.Post(StreamUriEnvelope(callers)); }},
      {"floor", [](Callers& callers) { PostAndFind(callers, FloorClient::Reuse::kAll); }},
      {"new-connection", [](Callers& callers) { PostAndFind(callers, FloorClient::Reuse::kHandle); }},
      {"new-handle", [](Callers& callers) { PostAndFind(callers, FloorClient::Reuse::kNothing); }},
      {"service", GetStreamUri},
      {"driver", Driver},
  };
  return cases;
}

const std::vector<Case>& OperationCases() {
  static const std::vector<Case> cases = [] {
    std::vector<Case> all;
    for (const Operation& operation : TenCalls()) all.push_back({operation.name, operation.call});
    all.insert(all.end(), {{"ONVIFAPI::GetDeviceInfo", DriverInfo},
                           {"ONVIFAPI::GetPathPort", DriverPath},
                           {"ONVIFAPI::GetLivePathPort", Driver},
                           {"ONVIFAPI::GetShotPathPort", DriverShotPath},
                           {"ONVIFAPI::GetPresets", DriverPresets},
                           {"ONVIFAPI::LensPTZStart", DriverMove},
                           {"ONVIFAPI::LensPTZStop", DriverStop}});
    return all;
  }();
  return cases;
}

const std::vector<Case>& TenCallCases() {
  static const std::vector<Case> cases{{"parse-only", ParseTen}, {"services", CallTen}};
  return cases;
}

}  // namespace bench
