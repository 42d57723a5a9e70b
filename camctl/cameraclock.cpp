#include "camctl/cameraclock.h"

#include <algorithm>
#include <array>

#include "camctl/cause.h"

namespace camctl {

namespace {

// Cameras allow from a few seconds to some minutes.
constexpr std::chrono::milliseconds kNoticeable(5000);

// Units of a difference, the largest first.
struct Unit {
  const char* name;
  long long milliseconds;
};
constexpr std::array<Unit, 4> kUnits = {{{" days", 86400000}, {" h", 3600000}, {" min", 60000}, {" s", 1000}}};

bool IsNoticeable(std::chrono::milliseconds ahead) {
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

// Whether the camera answered, but did not tell its time.
bool KeepsItsTime(const ClockReading& reading) {
  return reading.evidence && reading.evidence->status != 0;
}

StepOutcome RunClock(Session& session) {
  const ClockReading reading = ReadClock(session);
  if (reading.result == CAMERA_OK) {
    session.UseClock(reading.ahead);
    session.Camera().clockAhead = reading.ahead;
    return {CAMERA_OK, DescribeClock(reading.ahead) + "; requests carry the camera's time", {}};
  }
  if (KeepsItsTime(reading)) {
    return {reading.result, "",
            Cause{"the camera does not tell its time to a client that has not signed in",
                  "leave out --clock camera and set the camera's clock, best by NTP"}};
  }
  const Connection& connection = session.GetConnection();
  const Party party{connection.host, connection.port, connection.user, connection.timeoutSeconds};
  return {reading.result, "", FindCause(reading.evidence, reading.result, party)};
}

}  // namespace

ClockReading ReadClock(const Session& session) {
  const Connection& connection = session.GetConnection();
  CameraCap none;
  ONVIFAPI stranger(connection.host, connection.port, "", "", "", none);
  ClockReading reading;
  stranger.SetTimeoutCap(connection.timeoutSeconds);
  stranger.SetExchangeObserver(
      [&reading](const HTTP_EXCHANGE& exchange) { reading.evidence = MakeEvidence(exchange); });
  OnvifDeviceService service;
  service.UpdateServiceParam(&stranger, kDevicePath, "", "");
  reading.result = stranger.ConvertOnvifRetToCamApiRet(service.MeasureClockOffset(reading.ahead));
  return reading;
}

std::string DescribeClock(std::chrono::milliseconds ahead) {
  if (!IsNoticeable(ahead)) return "as this machine's";
  return Rough(std::chrono::abs(ahead).count()) + (ahead.count() > 0 ? " ahead of" : " behind") + " this machine's";
}

Cause WithClock(const Cause& cause, std::chrono::milliseconds ahead) {
  if (!IsNoticeable(ahead)) return {cause.cause, "check user and password; the camera's clock is right"};
  return {cause.cause + "; its clock is " + DescribeClock(ahead),
          "add --clock camera, or set the camera's clock; a camera whose clock is off refuses right passwords too"};
}

const Step kClock = {"clock", "GetSystemDateAndTime", &RunClock, true};

}  // namespace camctl
