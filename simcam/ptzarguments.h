// Reads what a PTZ request asks for, and refuses what the lens cannot do. All functions throw SoapFault. The rules may
// bend what is asked for, and what is refused.
#pragma once

#include "simcam/callrules.h"
#include "simcam/lens.h"
#include "simcam/model.h"
#include "simcam/soaprequest.h"

namespace simcam {

// A velocity vector of ContinuousMove. Refuses one without any axis, values beyond -1 to 1 (ter:InvalidVelocity), and
// spaces other than the generic ones and axes that the node cannot move continuously (ter:SpaceNotSupported).
LensVelocity ReadVelocity(const XmlElement& element, const PtzNode& node, const CallRules& rules);

// A translation vector of RelativeMove; as above, with ter:InvalidTranslation.
LensVelocity ReadTranslation(const XmlElement& element, const PtzNode& node, const CallRules& rules);

// An optional speed: axes that the node lacks are ignored, axes that it leaves out go at `defaultSpeed`. Refuses values beyond 0 to 1 (ter:InvalidSpeed).
LensSpeed ReadSpeed(const XmlElement& element, double defaultSpeed, const CallRules& rules);

// An optional xs:duration, else the configuration's default. Refuses what is not a duration (ter:InvalidArgVal) or not
// within the configuration's range (ter:TimeoutNotSupported).
LensAxis::Duration ReadTimeout(const XmlElement& element, const PtzConfiguration& configuration,
                               const CallRules& rules);

}  // namespace simcam
