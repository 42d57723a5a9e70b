// Presets: the server's numbers become names on the camera.

#include <limits>

#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "platform/devicepackowned.h"
#include "platform/vexlib.h"

namespace {

constexpr int k_nByName = -1;  // number of a preset that is told by its name

std::string PresetName(int nPreset) {
  return "QARN" + DevicePackOwned::itos(nPreset);
}

// 0 when the model has a preset of that number.
int CheckNumber(int nPreset, int nCount, int nLeast) {
  if (nCount < 1) return CAMERA_NOT_SUPPORTED;
  return nPreset < nLeast || nPreset >= nCount ? CAMERA_PRESET_RANGE : CAMERA_OK;
}

}  // namespace

std::string ONVIFAPI::GetPresetToken(std::string strName) {
  std::list<OVF_PTZ_PRESET_POS> lstPreset;
  if (m_PtzService.GetPresets(m_strRecProfileToken, lstPreset) != RET_ONVIF_OK) return {};
  for (const OVF_PTZ_PRESET_POS& preset : lstPreset) {
    std::string strStripped = preset.strName;
    DevicePackOwned::StripStr(strStripped);
    if (strStripped == strName) return preset.strToken;
  }
  return {};
}

int ONVIFAPI::GetPresets(std::map<int, std::string>& mapPreset) {
  return AtBoundary(__func__, [&]() -> int {
    if (m_CamCap.GetPresetCnt() < 1) return CAMERA_NOT_SUPPORTED;
    std::list<OVF_PTZ_PRESET_POS> lstPreset;
    if (m_PtzService.GetPresets(m_strRecProfileToken, lstPreset) != RET_ONVIF_OK) return CAMERA_FAILED;
    for (const OVF_PTZ_PRESET_POS& preset : lstPreset) {
      std::string strLower = preset.strName;
      DevicePackOwned::StringToLowerCase(strLower);
      int nPreset = 0;
      if (VexlibUnicodeIsUTF8(strLower.c_str()) != 0 && IsQarnPreset(strLower, nPreset) != 0) {
        mapPreset[nPreset] = strLower;
        continue;
      }
      // Presets that are not the server's are deleted: the camera's slots are kept for the server's own. This is meant.
      const int nDeleted = DelPreset(k_nByName, preset.strName);
      if (nDeleted != CAMERA_OK) return nDeleted;
    }
    return CAMERA_OK;
  });
}

int ONVIFAPI::SetPreset(int nPreset, std::string /*strName*/) {
  return AtBoundary(__func__, [&]() -> int {
    const int nCheck = CheckNumber(nPreset, m_CamCap.GetPresetCnt(), 0);
    if (nCheck != CAMERA_OK) return nCheck;
    OVF_PTZ_PRESET_POS preset{PresetName(nPreset), ""};
    return OkOrFailed(m_PtzService.SetPreset(m_strRecProfileToken, preset));
  });
}

int ONVIFAPI::DelPreset(int nPreset, std::string strName) {
  return AtBoundary(__func__, [&]() -> int {
    const int nCheck = CheckNumber(nPreset, m_CamCap.GetPresetCnt(), std::numeric_limits<int>::min());
    if (nCheck != CAMERA_OK) return nCheck;
    if (nPreset != k_nByName) strName = PresetName(nPreset);
    OVF_PTZ_PRESET_POS preset{strName, GetPresetToken(strName)};
    return OkOrFailed(m_PtzService.RemovePreset(m_strRecProfileToken, preset));
  });
}

int ONVIFAPI::LensPreset(int nPreset, std::string /*strName*/) {
  return AtBoundary(__func__, [&]() -> int {
    const int nCheck = CheckNumber(nPreset, m_CamCap.GetPresetCnt(), 0);
    if (nCheck != CAMERA_OK) return nCheck;
    OVF_PTZ_PRESET_POS preset{PresetName(nPreset), GetPresetToken(PresetName(nPreset))};
    return OkOrFailed(m_PtzService.GotoPreset(m_strRecProfileToken, preset));
  });
}
