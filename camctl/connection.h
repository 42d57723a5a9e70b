#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simcam/simcamera.h"

namespace camctl {

/// Capability map as the driver reports it and a server stores it.
using Capabilities = std::map<std::string, std::string>;

/// A key of the map, and what it is called for users.
struct KeyLabel {
  const char* key;
  const char* label;
};

/// \return empty where the map does not have the key
std::string ValueOf(const Capabilities& capabilities, const std::string& key);

/// What a camera file holds.
struct CameraFile {
  std::optional<std::string> host;
  std::optional<int> port;
  std::optional<std::string> user;
  std::string profiles;
  Capabilities capabilities;
};

/// The connection options as they were typed.
struct ConnectionOptions {
  std::optional<std::string> host;
  std::optional<std::string> port;
  std::optional<std::string> user;
  std::optional<std::string> cameraFile;
  std::optional<std::string> profiles;
  std::optional<std::string> timeout;
  std::optional<std::string> passwordFile;
  std::optional<std::string> clock;
  std::optional<std::string> simulated;  ///< model; an empty text means the default one
  std::vector<std::string> quirks;       ///< of the simulated camera
  bool streams = false;                  ///< whether the simulated camera serves streams, where it can
};

/// How to reach one camera.
struct Connection {
  std::string host;
  int port = 80;
  std::string user;
  std::string password;
  std::string profiles;       ///< tokens of the recording and the live profile, joined by ","; empty: not known
  Capabilities capabilities;  ///< empty: not known
  bool cameraClock = false;   ///< requests carry the camera's time, not this machine's
  int timeoutSeconds = 0;     ///< longest wait for one answer; 0: as long as the driver waits
  std::string simulated;      ///< model of the simulated camera, empty for a real one
};

/// A connection, and the simulated camera that it leads to, if it does.
struct Target {
  Connection connection;
  std::unique_ptr<simcam::SimCamera> camera;
};

/// Turns options into a connection; reads the files they name, finds the password, starts the simulated camera.
/// Throws UsageError for everything that the caller can put right, simcam::CameraError when the camera cannot start.
Target OpenTarget(const ConnectionOptions& options);

}  // namespace camctl
