#pragma once

#include <list>
#include <string>

#include "onvif/onvifservice.h"

/// A pan/tilt/zoom vector: velocity, translation or speed, in the units of the camera's coordinate spaces.
struct OVF_PTZ_MOVE_PARAM {
  double dbX;     ///< pan, positive to the right
  double dbY;     ///< tilt, positive upwards
  double dbZoom;  ///< zoom, positive into the picture
};

/// A preset of the camera.
struct OVF_PTZ_PRESET_POS {
  std::string strName;
  std::string strToken;  ///< the camera's own
};

/// What the PTZ unit can do, texts as the camera writes them; empty when it does not say.
struct OVF_PTZ_NODES {
  std::string strMaxPresets;
  std::string strHomeSupported;  ///< "true" or "false"
};

/// The camera's first PTZ configuration.
struct OVF_PTZ_CONF {
  std::string strToken;
};

/// The coordinate spaces in which the PTZ unit is driven. Numbers are texts as the camera writes them.
struct OVF_PTZ_SPACE {
  bool blContinuous = false;  ///< at least one of the two spaces is a velocity space
  std::string strPanTiltUri;  ///< empty when there is none
  std::string strXMin;
  std::string strXMax;
  std::string strYMin;
  std::string strYMax;
  std::string strZoomUri;  ///< empty when there is none
  std::string strZMin;
  std::string strZMax;
};

/// Client of the ONVIF PTZ service.
///
/// Every operation returns the result of `SendSOAPMsg`. Tokens go into the request unescaped, empty ones too. Nothing
/// is logged here.
class CAMAPI_ONVIF_EXPORT OnvifPtzService : public OnvifServiceBase {
 public:
  /// As that of the base, and chooses the namespace of all requests: the ver10 PTZ namespace for a device that reports
  /// exactly version 1.0, the ver20 one for every other, also for empty texts. That the test is so narrow is meant.
  void UpdateServiceParam(CameraAPI* pCamApi, std::string strServicePath, std::string strVerMajor,
                          std::string strVerMinor);

  /// Moves at `velocity` until told otherwise.
  /// \param strToken the media profile
  /// \param velocity speed of each axis
  /// \param nAxes axes that the camera has: bit 0 pan, bit 1 tilt, bit 2 zoom. Pan and tilt travel together; without
  /// any axis the velocity is sent empty.
  RET_ONVIF ContinuousMove(std::string strToken, OVF_PTZ_MOVE_PARAM& velocity, unsigned int nAxes);

  /// Moves by `translation` at `speed`; both are sent whole.
  RET_ONVIF RelativeMove(std::string strToken, OVF_PTZ_MOVE_PARAM& translation, OVF_PTZ_MOVE_PARAM& speed);

  /// Moves to the home position at full speed.
  RET_ONVIF GotoHomePosition(std::string strToken);

  /// Stops all motion. The driver itself stops by a `ContinuousMove` with velocity zero.
  RET_ONVIF Stop(std::string strToken);

  // Presets. The first argument is the media profile's token.

  /// Stores the position under `preset.strName`; the camera gives it a token, which is not read.
  RET_ONVIF SetPreset(std::string strToken, OVF_PTZ_PRESET_POS& preset);

  /// The camera's presets; those without token or name are left out. A device of version 1.0 is expected to answer with
  /// "PTZPreset" elements, every other with "Preset".
  /// \param strToken the media profile
  /// \param[out] lstPreset added to
  RET_ONVIF GetPresets(std::string strToken, std::list<OVF_PTZ_PRESET_POS>& lstPreset);

  /// Deletes the preset `preset.strToken`. A device of version 1.0 is told the name as well.
  RET_ONVIF RemovePreset(std::string strToken, OVF_PTZ_PRESET_POS& preset);

  /// Moves to the preset `preset.strToken` at full speed. A device of version 1.0 is told the name as well.
  RET_ONVIF GotoPreset(std::string strToken, OVF_PTZ_PRESET_POS& preset);

  // What the PTZ unit can do.

  /// \param[out] nodes untouched when the exchange fails
  RET_ONVIF GetNodes(OVF_PTZ_NODES& nodes);

  /// \param[out] conf untouched unless the result is 0
  /// \return also RET_ONVIF_INVALID_ARG when the answer names no configuration
  RET_ONVIF GetConfigurations(OVF_PTZ_CONF& conf);

  /// Chooses a pan/tilt and a zoom space, a velocity space before a relative one.
  /// \param strConfToken the PTZ configuration
  /// \param[out] space untouched when the exchange fails; the ranges of a space that was not found keep what they hold
  RET_ONVIF GetConfigurationOptions(std::string strConfToken, OVF_PTZ_SPACE& space);

 private:
  std::string PresetName10(const OVF_PTZ_PRESET_POS& preset) const;
  std::string ChooseSpace(_xmlDoc* pDoc, const char* const (&rgName)[2], OVF_PTZ_SPACE& space, std::string& strUri);
  void ReadRange(_xmlDoc* pDoc, const std::string& strSpace, const char* pRange, std::string& strMin,
                 std::string& strMax);

  std::string m_strNsAttr;
};
