#include "platform/cameracap.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

namespace {

// Direction codes: 32 points of a circle, then the three that are no direction.
constexpr int k_nCirclePoints = 32;
constexpr int k_nCodeHome = 33;
constexpr int k_nCodeZoomIn = 34;
constexpr int k_nCodeZoomOut = 35;

// Axes that a point of the circle needs.
unsigned int AxesOfPoint(int nCode) {
  switch (nCode) {
    case 1:
    case 17:
      return PTZ_AXIS_PAN;
    case 9:
    case 25:
      return PTZ_AXIS_TILT;
    default:
      return PTZ_AXIS_PAN | PTZ_AXIS_TILT;
  }
}

// Reads the members of `json` into `mapCap`; returns what is wrong with them, empty when nothing is.
std::string ReadMembers(const nlohmann::json& json, CameraCap::MAP& mapCap) {
  if (!json.is_object()) return "the file must hold one JSON object";
  for (const auto& [strKey, value] : json.items()) {
    if (!value.is_string()) return "key \"" + strKey + "\" must be a text, write it in quotes";
    mapCap.emplace(strKey, value.get<std::string>());
  }
  return {};
}

}  // namespace

CameraCap::CameraCap(MAP mapCap) : m_mapCap(std::move(mapCap)) {}

bool CameraCap::LoadJson(const std::string& strPath, CameraCap& cap, std::string& strError) {
  std::ifstream file(strPath);
  if (!file) {
    strError = strPath + ": cannot be read: " + std::strerror(errno);
    return false;
  }
  MAP mapCap;
  try {
    const std::string strReason = ReadMembers(nlohmann::json::parse(file), mapCap);
    if (!strReason.empty()) {
      strError = strPath + ": " + strReason;
      return false;
    }
  } catch (const nlohmann::json::exception& error) {
    strError = strPath + ": is no JSON: " + error.what();
    return false;
  } catch (const std::ios_base::failure& error) {  // a folder, for example
    strError = strPath + ": cannot be read: " + error.what();
    return false;
  }
  cap = CameraCap(std::move(mapCap));
  return true;
}

void CameraCap::GetServiceEnt(std::string& strDevice, std::string& strMedia, std::string& strPtz) const {
  strDevice = Text("device_entry");
  strMedia = Text("media_entry");
  strPtz = Text("ptz_entry");
}

void CameraCap::GetONVIFVersion(std::string& strMajor, std::string& strMinor) const {
  strMajor = Text("version_major");
  strMinor = Text("version_minor");
}

std::string CameraCap::GetMinQual() const {
  return Text("quality_min", "1");
}

std::string CameraCap::GetMaxQual() const {
  return Text("quality_max", "100");
}

unsigned int CameraCap::GetPtzCap() const {
  return (Has("pan") ? PTZ_AXIS_PAN : 0U) | (Has("tilt") ? PTZ_AXIS_TILT : 0U) | (Has("zoom") ? PTZ_AXIS_ZOOM : 0U);
}

PTZ_RANGE CameraCap::GetPTZRange() const {
  return {Text("ptz_xmin", "-INF"), Text("ptz_xmax", "INF"),  Text("ptz_ymin", "-INF"),
          Text("ptz_ymax", "INF"),  Text("ptz_zmin", "-INF"), Text("ptz_zmax", "INF")};
}

int CameraCap::GetPresetCnt() const {
  constexpr long nMost = 65535;
  const long nCount = std::strtol(Text("preset").c_str(), nullptr, 10);
  return nCount < 0 ? 0 : static_cast<int>(nCount > nMost ? nMost : nCount);
}

int CameraCap::IsPTZValid(int nCode) const {
  if (nCode == k_nCodeHome) return Has("home") ? 1 : 0;
  if (nCode == k_nCodeZoomIn || nCode == k_nCodeZoomOut) return Has("zoom") ? 1 : 0;
  if (nCode < 1 || nCode > k_nCirclePoints) return 0;
  const unsigned int nNeeded = AxesOfPoint(nCode);
  return (GetPtzCap() & nNeeded) == nNeeded ? 1 : 0;
}

std::string CameraCap::Text(const char* pKey, const char* pDefault) const {
  const auto itFound = m_mapCap.find(pKey);
  return itFound == m_mapCap.end() || itFound->second.empty() ? pDefault : itFound->second;
}

bool CameraCap::Has(const char* pKey) const {
  return !Text(pKey).empty();
}
