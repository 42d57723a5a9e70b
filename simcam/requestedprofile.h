// Which profile a request is about.
#pragma once

#include <string>
#include <vector>

#include "simcam/callrules.h"
#include "simcam/camerastate.h"
#include "simcam/soaprequest.h"

namespace simcam {

// The camera's own token of the profile that the element names. A token that no profile has comes back as one that no
// profile has.
std::string OwnProfileToken(const XmlElement& element, const CallRules& rules, const CameraState& state);

// `token` without the prefix that clients must send; empty, which no token is, when they did not.
std::string WithoutPrefix(const std::string& token, const std::string& prefix);

// The profiles as a list shows them: also the extra ones, and PTZ only where it works.
std::vector<Profile> ShownProfiles(const std::vector<Profile>& profiles, const CallRules& rules);

// Whether PTZ works with the profile, as far as the rules have a say.
bool MayMove(const std::string& token, const std::vector<Profile>& profiles, const CallRules& rules);

// The node without the moves that the rules take away.
PtzNode ShownNode(PtzNode node, const CallRules& rules);

}  // namespace simcam
