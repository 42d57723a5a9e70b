#pragma once

#include <vector>

#include "simcam/camerastate.h"
#include "simcam/model.h"
#include "simcam/xmlwriter.h"

namespace simcam {

// RTSP sessions end after this time without a sign of life; it is the same for all and cannot be set.
constexpr const char* kSessionTimeout = "PT60S";

// Writes the part that all configurations share, and leaves the element `name` open.
template <typename Configuration>
void OpenConfiguration(XmlWriter& writer, const char* name, ConfigurationKind kind, const Configuration& configuration,
                       const std::vector<Profile>& profiles) {
  writer.Open(name).Attribute("token", configuration.token).Element("tt:Name", configuration.name);
  writer.Element("tt:UseCount", UseCount(profiles, kind, configuration.token));
}

}  // namespace simcam
