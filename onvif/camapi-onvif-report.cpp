// The capability report: order of the steps, service entries, channels, PTZ.

#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "onvif/onvifnumber.h"
#include "platform/vexlib.h"

int ONVIFAPI::GetCapability(std::map<std::string, std::string>& mapCap) {
  return AtBoundary(__func__, [&]() -> int {
    int nRet = GetEntries(mapCap);
    if (nRet == CAMERA_OK) nRet = GetMediaCap(mapCap);
    if (nRet == CAMERA_OK) nRet = GetDeviceInfo(mapCap);
    if (nRet != CAMERA_OK) return nRet;
    if (m_PtzService.IsSupported()) GetPTZCap(mapCap);  // a camera whose PTZ unit does not answer is still reported
    mapCap.emplace("single_stream", "yes");
    return CAMERA_OK;
  });
}

int ONVIFAPI::GetEntries(std::map<std::string, std::string>& mapCap) {
  OVF_DEV_CAP cap;
  const RET_ONVIF eRet = m_DevService.GetCapabilities(cap);
  if (eRet != RET_ONVIF_OK) return ConvertOnvifRetToCamApiRet(eRet);
  InsertText(mapCap, "device_entry", cap.strDeviceXAddrPath);
  InsertText(mapCap, "media_entry", cap.strMediaXAddrPath);
  InsertText(mapCap, "ptz_entry", cap.strPtzXAddrPath);
  InsertText(mapCap, "version_major", cap.strVerMajor);
  InsertText(mapCap, "version_minor", cap.strVerMinor);
  // Not the path that the camera reports, which only goes into the report. This is meant.
  m_DevService.UpdateServiceParam(this, k_pDefaultDevicePath, cap.strVerMajor, cap.strVerMinor);
  m_MediaService.UpdateServiceParam(this, cap.strMediaXAddrPath, cap.strVerMajor, cap.strVerMinor);
  m_PtzService.UpdateServiceParam(this, cap.strPtzXAddrPath, cap.strVerMajor, cap.strVerMinor);
  return CAMERA_OK;
}

int ONVIFAPI::GetMediaCap(std::map<std::string, std::string>& mapCap) {
  std::list<OVF_MED_PROFILE> lstProfile;
  const RET_ONVIF eRet = m_MediaService.GetProfiles(lstProfile);
  if (eRet != RET_ONVIF_OK) return ConvertOnvifRetToCamApiRet(eRet);
  if (lstProfile.empty()) return CAMERA_OK;
  std::list<std::string> lstToken;
  for (const OVF_MED_PROFILE& profile : lstProfile) lstToken.push_back(profile.strToken);
  m_strCH = lstToken.front();
  mapCap.emplace("channel_list", lstToken.front());
  mapCap.emplace("default_channel", lstToken.front());
  mapCap.emplace("multi_channel_audio", ConvListToStr(lstToken, ","));
  const int nVideo = GetVdoEncoderCap(mapCap);
  if (nVideo != CAMERA_OK) return nVideo;
  GetAudEncoderCap(mapCap);  // a camera without audio is still reported
  return CAMERA_OK;
}

int ONVIFAPI::GetPTZCap(std::map<std::string, std::string>& mapCap) {
  OVF_PTZ_CONF conf;
  RET_ONVIF eRet = m_PtzService.GetConfigurations(conf);
  if (eRet != RET_ONVIF_OK) return ConvertOnvifRetToCamApiRet(eRet);
  OVF_PTZ_SPACE space;
  eRet = m_PtzService.GetConfigurationOptions(conf.strToken, space);
  if (eRet != RET_ONVIF_OK) return ConvertOnvifRetToCamApiRet(eRet);
  // One flag for both groups: a relative pan/tilt beside a continuous zoom is reported as continuous. This is meant.
  const char* const pMotion = space.blContinuous ? "continuous" : "step";
  if (!space.strPanTiltUri.empty()) {
    mapCap.emplace("pan", pMotion);
    mapCap.emplace("tilt", pMotion);
    if (space.blContinuous) mapCap.emplace("ptz_speed_max", "1");
    InsertText(mapCap, "ptz_xmin", space.strXMin);
    InsertText(mapCap, "ptz_xmax", space.strXMax);
    InsertText(mapCap, "ptz_ymin", space.strYMin);
    InsertText(mapCap, "ptz_ymax", space.strYMax);
    OVF_PTZ_NODES nodes;
    const RET_ONVIF eNodes = m_PtzService.GetNodes(nodes);
    if (eNodes != RET_ONVIF_OK) return ConvertOnvifRetToCamApiRet(eNodes);
    if (ReadDecimal(nodes.strMaxPresets) > 0) mapCap.emplace("preset", nodes.strMaxPresets);
    if (nodes.strHomeSupported == "true") mapCap.emplace("home", "yes");
  }
  if (!space.strZoomUri.empty()) {
    mapCap.emplace("zoom", pMotion);
    InsertText(mapCap, "ptz_zmin", space.strZMin);
    InsertText(mapCap, "ptz_zmax", space.strZMax);
  }
  return CAMERA_OK;
}
