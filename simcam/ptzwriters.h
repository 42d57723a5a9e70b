// How the parts of the PTZ service look in answers.
#pragma once

#include <string>
#include <vector>

#include "simcam/model.h"
#include "simcam/xmlwriter.h"

namespace simcam {

// Writes a configuration as an element called `name`. `profiles` are the camera's, for the use count.
void WritePtzConfiguration(XmlWriter& writer, const char* name, const PtzModel& ptz,
                           const PtzConfiguration& configuration, const std::vector<Profile>& profiles);

void WritePtzNode(XmlWriter& writer, const PtzNode& node);

// The PTZConfigurationOptions of a configuration.
void WritePtzOptions(XmlWriter& writer, const PtzNode& node, const PtzConfiguration& configuration);

// The axes that the node has, as an element called `name` with attributes.
void WritePosition(XmlWriter& writer, const char* name, const PtzNode& node, const LensPosition& position);

}  // namespace simcam
