#pragma once

#include <string>
#include <string_view>

#include "camctl/connection.h"
#include "camctl/report.h"

namespace camctl {

/// Reads what a server would have stored of a camera: a JSON object with "host", "port", "user", "profiles" (tokens of
/// the recording and the live profile, joined by ",") and "capabilities" (text keys and values, as the driver reports
/// them), all optional.
/// \param source name that errors carry
/// Throws UsageError: not JSON, an unknown key, a wrong type, a port that is none, a password.
CameraFile ParseCameraFile(std::string_view json, const std::string& source);

/// The camera file, as `ParseCameraFile` reads it: no password, several lines, ended by a line feed. Texts that are no
/// UTF-8 are mended.
std::string CameraFileText(const CameraFile& file);

/// The report as one JSON document of several lines, ended by a line feed. Texts that are no UTF-8 are mended.
std::string JsonText(const Report& report);

}  // namespace camctl
