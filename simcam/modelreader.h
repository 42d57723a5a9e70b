#pragma once

#include <string>
#include <string_view>

#include "simcam/model.h"

namespace simcam {

// Reads the keys of a model file, each with its type and range. References between them are CheckModel's.
CameraModel ReadModel(std::string_view json, const std::string& source);

// Checks what concerns more than one key: unique tokens, references, paths. Throws ModelError.
void CheckModel(const CameraModel& model, const std::string& source);

}  // namespace simcam
