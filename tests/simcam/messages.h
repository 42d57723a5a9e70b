// What tests of the simulated camera send again and again, and how it refuses.
#pragma once

#include <chrono>
#include <string>

#include "tests/simcam/client.h"
#include "tests/simcam/closing.h"

namespace simcamtest {

constexpr const char* kDevicePath = "/onvif/device_service";

constexpr const char* kTtNamespace = " xmlns=\"http://www.onvif.org/ver10/schema\"";

// As FaultCodes tells them.
constexpr const char* kNotAuthorized = "env:Sender ter:NotAuthorized";
constexpr const char* kNoToken = "env:Sender ter:InvalidArgVal ter:NoToken";

// The envelope of the question that every camera answers without credentials.
inline std::string DateRequest() {
  return Envelope("", Element("GetSystemDateAndTime", kDeviceNs));
}

inline std::string ProfileToken(const std::string& token) {
  return "<ProfileToken>" + token + "</ProfileToken>";
}

// Of the ptz-dome.
inline const std::string kFirstProfile = ProfileToken("profile_1");

inline std::string PresetToken(const std::string& token) {
  return "<PresetToken>" + token + "</PresetToken>";
}

inline std::string PanTilt(const std::string& x, const std::string& y) {
  return "<PanTilt x=\"" + x + "\" y=\"" + y + "\"" + kTtNamespace + "/>";
}

inline std::string Zoom(const std::string& x) {
  return "<Zoom x=\"" + x + "\"" + kTtNamespace + "/>";
}

}  // namespace simcamtest
