#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace testsupport {

/// What a recorder would see of a camera, one text per topic; every text begins with the operation's result, of the
/// service clients a RET_ONVIF, of the driver a server code.
///
/// "entries", "media", "device", "ptz": the keys that this step of the capability report adds. "report": the whole.
/// "test": connection test. "profiles": token, encoding and size of each. "profile": what is bound to the first.
/// "video sources", "video encoders", "audio encoders": configurations. "video options", "audio options": per codec.
/// "protocols": network protocols with their ports.
/// "recording path", "live path", "snapshot path", "rtsp port": where the streams are.
/// "presets": how many the camera has, and the last. "presets by number": how many the server sees; asking deletes the
/// others. "spaces": the PTZ configuration and its coordinate spaces.
using CameraView = std::map<std::string, std::string>;

/// Asks the camera at a loopback port everything. The first two profiles become recording and live profile.
CameraView LookAt(std::uint16_t port);

}  // namespace testsupport
