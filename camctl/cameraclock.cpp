#include "camctl/cameraclock.h"

#include <algorithm>
#include <array>

namespace camctl {

namespace {

using std::chrono::milliseconds;

// Cameras allow from a few seconds to some minutes.
constexpr milliseconds kNoticeable(5000);

// Units of a difference, the largest first.
struct Unit {
  const char* name;
  long long milliseconds;
};
constexpr std::array<Unit, 4> kUnits = {{{" days", 86400000}, {" h", 3600000}, {" min", 60000}, {" s", 1000}}};

bool IsNoticeable(milliseconds ahead) {
  return std::chrono::abs(ahead) >= kNoticeable;
}

// The two largest units, rounded.
std::string Rough(long long difference) {
  std::size_t first = 0;
  while (first + 1 < kUnits.size() && difference < kUnits[first].milliseconds) ++first;
  difference += kUnits[std::min(first + 1, kUnits.size() - 1)].milliseconds / 2;
  std::string text;
  for (std::size_t at = first; at < kUnits.size() && at < first + 2; ++at) {
    text += (text.empty() ? "" : " ") + std::to_string(difference / kUnits[at].milliseconds) + kUnits[at].name;
    difference %= kUnits[at].milliseconds;
  }
  return text;
}

StepOutcome RunClock(Session& session) {
  const std::optional<milliseconds> ahead = MeasureClock(session);
  if (!ahead) {
    return {CAMERA_FAILED, "",
            Cause{"the camera does not tell its time to a client that has not signed in",
                  "leave out --clock camera and set the camera's clock, best by NTP"}};
  }
  session.UseClock(*ahead);
  session.Camera().clockAhead = *ahead;
  return {CAMERA_OK, DescribeClock(*ahead) + "; requests carry the camera's time", {}};
}

}  // namespace

std::optional<milliseconds> MeasureClock(Session& session) {
  const Connection& connection = session.GetConnection();
  CameraAPI stranger(connection.host, connection.port, "", "", "", true);
  stranger.SetTimeoutCap(connection.timeoutSeconds);
  OnvifDeviceService service;
  service.UpdateServiceParam(&stranger, kDevicePath, "", "");
  milliseconds ahead(0);
  if (service.MeasureClockOffset(ahead) != RET_ONVIF_OK) return std::nullopt;
  return ahead;
}

std::string DescribeClock(milliseconds ahead) {
  if (!IsNoticeable(ahead)) return "as this machine's";
  return Rough(std::chrono::abs(ahead).count()) + (ahead.count() > 0 ? " ahead of" : " behind") + " this machine's";
}

Cause WithClock(Cause cause, std::optional<milliseconds> ahead) {
  if (!ahead) return cause;
  if (!IsNoticeable(*ahead)) return {cause.cause, "check user and password; the camera's clock is right"};
  return {cause.cause + "; its clock is " + DescribeClock(*ahead),
          "add --clock camera, or set the camera's clock; a camera whose clock is off refuses right passwords too"};
}

const Step kClock = {"clock", "GetSystemDateAndTime", &RunClock, true};

}  // namespace camctl
