#pragma once

#include <list>
#include <string>
#include <vector>

#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// Reads the presets of the camera as they are; unlike the driver's listing it deletes none.
/// \param[out] presets filled in when the step is run; must outlive it
Step ReadPresets(std::list<OVF_PTZ_PRESET_POS>& presets);

/// Names of the presets that are not the server's own: the driver's listing would delete these.
std::vector<std::string> ForeignNames(const std::list<OVF_PTZ_PRESET_POS>& presets);

/// The highest number below `count` that no preset has; -1 when there is none.
int FreeNumber(const std::list<OVF_PTZ_PRESET_POS>& presets, int count);

/// The driver's listing, into the session's report. Deletes the foreign presets.
Step ListPresets();

Step StorePreset(int number);
Step VisitPreset(int number);

/// Deletes preset `number`, or, with -1, the one that the camera calls `name`.
Step DeletePreset(int number, const std::string& name);

}  // namespace camctl
