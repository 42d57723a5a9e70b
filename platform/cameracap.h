#pragma once

#include <map>
#include <string>

/// Bounds of a camera's lens, as texts: a decimal number, or "-INF" / "INF" for a side without bound.
struct PTZ_RANGE {
  std::string strXMin;
  std::string strXMax;
  std::string strYMin;
  std::string strYMax;
  std::string strZoomMin;
  std::string strZoomMax;
};

/// Axes of `CameraCap::GetPtzCap`.
enum PTZ_AXIS : unsigned int { PTZ_AXIS_PAN = 1U, PTZ_AXIS_TILT = 2U, PTZ_AXIS_ZOOM = 4U };

/// What the server knows of a camera: the capability map that the driver reported, as it was stored.
class CameraCap {
 public:
  /// Text key to text value, as `CameraAPI::GetCapability` fills it.
  using MAP = std::map<std::string, std::string>;

  CameraCap() = default;
  explicit CameraCap(MAP mapCap);

  /// Reads a JSON object whose members are texts.
  /// \param strPath the file
  /// \param[out] cap the record; untouched on failure
  /// \param[out] strError one line that names the file, the key and the reason; untouched on success
  /// \return whether the file was read
  static bool LoadJson(const std::string& strPath, CameraCap& cap, std::string& strError);

  const MAP& Map() const { return m_mapCap; }

  /// Paths of the device, media and PTZ services ("device_entry", "media_entry", "ptz_entry"); empty when unknown.
  void GetServiceEnt(std::string& strDevice, std::string& strMedia, std::string& strPtz) const;

  /// ONVIF version ("version_major", "version_minor"); empty when unknown.
  void GetONVIFVersion(std::string& strMajor, std::string& strMinor) const;

  /// Lowest and highest quality value ("quality_min", "quality_max") as decimal text; "1" and "100" when unknown.
  std::string GetMinQual() const;
  std::string GetMaxQual() const;

  /// Axes that the camera has: PTZ_AXIS bits for the keys "pan", "tilt" and "zoom".
  unsigned int GetPtzCap() const;

  /// Bounds of the axes ("ptz_xmin" to "ptz_zmax"); a missing key is no bound.
  PTZ_RANGE GetPTZRange() const;

  /// Number of presets that the server manages ("preset"), at most 65535; 0 when there are none.
  int GetPresetCnt() const;

  /// Whether the camera can move in the direction `nCode`. 1 to 32 are points of a circle, counted from positive pan: 1
  /// and 17 need pan, 9 and 25 need tilt, the others both. 33 is the home position, 34 and 35 are zoom in and out.
  /// \return 1 when it can, else 0
  int IsPTZValid(int nCode) const;

 private:
  std::string Text(const char* pKey, const char* pDefault = "") const;
  bool Has(const char* pKey) const;

  MAP m_mapCap;
};
