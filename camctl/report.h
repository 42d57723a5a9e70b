#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "camctl/player.h"

namespace camctl {

/// Why something failed, and what to do about it; one line each.
struct Cause {
  std::string cause;
  std::string remedy;
};

/// Where a stream or a snapshot is.
struct MediaPath {
  std::string path;  ///< with query
  int port = 0;
  std::string url;  ///< all of it, without account
};

/// One step of a run.
struct StepReport {
  std::string step;
  std::string operation;
  int result = 0;           ///< result code of the server
  double milliseconds = 0;  ///< time that the step took
  std::string detail;       ///< what was found, or the cause of the failure
};

/// One setting of a stream, as the camera told it before and after it was asked for.
struct Setting {
  std::string stream;  ///< "recording" or "live"
  std::string name;    ///< "profile", "codec", "resolution", "fps", "quality"
  std::string before;
  std::string asked;  ///< empty: nothing was asked for
  std::string after;

  /// Whether the camera has what was asked for. Whole numbers are compared as numbers.
  bool Taken() const;
};

/// A snapshot that was fetched and written.
struct SnapshotFile {
  std::string path;
  int width = 0;  ///< pixels
  int height = 0;
  std::size_t bytes = 0;
};

/// What the run learned about the camera.
struct CameraReport {
  std::string host;
  int port = 0;
  std::optional<std::chrono::milliseconds> clockAhead;  ///< of this machine's clock, when requests carry its time
  std::string simulated;                                ///< model of the simulated camera, empty for a real one
  std::map<std::string, std::string> facts;  ///< as the driver reports them: "vendor", "model", "mac_address" ...
  std::map<std::string, MediaPath> paths;    ///< "recording", "live", "snapshot"
  std::string profiles;                      ///< tokens of the recording and the live profile; empty: not told
  std::map<std::string, std::string> capabilities;    ///< of the capability report; empty: not told
  std::vector<Setting> streams;                       ///< what was asked of the streams; empty: nothing
  std::map<std::string, Playback> played;             ///< "recording", "live": what was measured of them
  std::optional<SnapshotFile> snapshot;               ///< when one was written
  std::optional<std::map<int, std::string>> presets;  ///< numbers and names, when they were listed
};

struct Report {
  CameraReport camera;
  std::vector<StepReport> steps;
  int result = 0;  ///< that of the step that ended the run, 0 when all passed
  Cause cause;     ///< of a failed run
};

}  // namespace camctl
