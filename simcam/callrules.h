// How a camera treats one call. The rules of a good camera are the defaults; quirks bend them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simcam/access.h"
#include "simcam/clock.h"
#include "simcam/soapfault.h"

namespace simcam {

struct CallRules {
  ClockRules clock;
  AccessRules access;

  // Addresses.
  std::string neededQuery;  // media and PTZ answer only at addresses with this query; empty: at any
  std::string otherPath;    // all services answer here too; empty: nowhere else

  // Media.
  std::string profilePrefix;                 // stands before every profile token that clients see and send
  int extraProfiles = 0;                     // copies of the first profile, with tokens of their own
  bool clampsEncoders = false;               // values that the encoder does not offer become the nearest that it does
  std::vector<std::string> ignoredSettings;  // names of encodersettings.h that a Set leaves as they are

  // PTZ.
  bool onlySecondProfileMoves = false;
  bool hasNoPanTilt = false;
  bool hasNoRelativeMoves = false;
  bool movesBackwards = false;
  bool movesAtFullSpeed = false;  // the direction counts, the velocity does not
  bool ignoresZoom = false;
  bool ignoresTimeout = false;  // continuous moves end at the limit
  bool needsTimeout = false;    // a continuous move without one is refused
  bool refusesZeroVelocity = false;
  bool stopNeedsBothAxes = false;  // a Stop that does not name both groups is refused
  bool ignoresSpaceCase = false;   // URIs of spaces may be written in any case
  double vectorScale = 1;          // what clients see and send as this is 1 to the lens

  // Presets.
  std::string presetPrefix;          // stands before every preset token that clients see and send
  int factoryPresets = 0;            // more presets that cannot be changed
  bool ignoresPresetNames = false;   // a preset that is set keeps its name, or has none
  bool goesNowhereSilently = false;  // going to an unknown preset is answered with success

  // What happens instead of the operation.
  std::optional<SoapFault> fault;  // the call is accepted, and then refused with this
  bool isIdle = false;             // the answer says success, and nothing has changed
};

}  // namespace simcam
