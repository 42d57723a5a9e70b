#pragma once

#include <map>
#include <string>

#include "onvif/onvifservice.h"
#include "platform/cameraresult.h"

// What the sources of the driver object share.

/// Source name in the log lines of the driver object, whichever source file they come from.
inline constexpr const char* k_pDriverSource = "onvif/camapi-onvif";

/// Device service path of a camera about which nothing is stored.
inline constexpr const char* k_pDefaultDevicePath = "/onvif/device_service";

/// Capability keys that name the codecs whose streams are independent of each other.
inline constexpr const char* k_rgIndependentKey[] = {"resolution_independent", "fps_independent",
                                                     "quality_independent"};

/// Adds the key to a capability map when the value is not empty; a key that the map holds already keeps its value.
inline void InsertText(std::map<std::string, std::string>& mapCap, const std::string& strKey,
                       const std::string& strValue) {
  if (!strValue.empty()) mapCap.emplace(strKey, strValue);
}

/// Server code of the operations that tell success from failure only.
inline int OkOrFailed(RET_ONVIF eRet) {
  return eRet == RET_ONVIF_OK ? CAMERA_OK : CAMERA_FAILED;
}
