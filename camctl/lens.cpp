#include "camctl/lens.h"

#include <algorithm>
#include <vector>

#include "camctl/text.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"

namespace camctl {

namespace {

struct Direction {
  int code;
  const char* name;
};

constexpr Direction kDirections[] = {{1, "right"}, {9, "up"},   {17, "left"},   {25, "down"},
                                     {34, "in"},   {35, "out"}, {kHome, "home"}};

constexpr int kStopTries = 3;

int Stop(ONVIFAPI& driver, int code) {
  int result = driver.LensPTZStop(code);
  for (int tries = 1; result == CAMERA_FAILED && tries < kStopTries; ++tries) result = driver.LensPTZStop(code);
  return result;
}

}  // namespace

int ReadDirection(const std::string& text) {
  constexpr int highest = 99;
  std::vector<std::string> names;
  for (const Direction& row : kDirections) {
    if (text == row.name) return row.code;
    names.emplace_back(row.name);
  }
  const bool number =
      !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!number) throw UsageError("'" + text + "' is no direction; give " + Joined(names, ", ") + " or a code");
  return ReadWhole(text, 0, highest, "direction", "code");
}

std::string NameOfDirection(int code) {
  const auto* const found = std::find_if(std::begin(kDirections), std::end(kDirections),
                                         [code](const Direction& row) { return row.code == code; });
  return found == std::end(kDirections) ? std::to_string(code) : found->name;
}

int FirstDirection(const CameraCap& cap) {
  constexpr int candidates[] = {1, 9, 34};
  const auto* const found = std::find_if(std::begin(candidates), std::end(candidates),
                                         [&cap](int code) { return cap.IsPTZValid(code) == 1; });
  return found == std::end(candidates) ? candidates[0] : *found;
}

Step MoveLens(int code) {
  return {code == kHome ? "ptz home" : "ptz move", "LensPTZ", [code](Session& session) {
            return StepOutcome{session.Driver().LensPTZ(code),
                               code == kHome ? "to the home position" : "one step " + NameOfDirection(code),
                               {}};
          }};
}

Step StartLens(int code, int speed) {
  return {"ptz start", speed == kUsualSpeed ? "LensPTZStart" : "LensPTZSpeedStart", [code, speed](Session& session) {
            ONVIFAPI& driver = session.Driver();
            const int result = speed == kUsualSpeed ? driver.LensPTZStart(code) : driver.LensPTZSpeedStart(code, speed);
            return StepOutcome{result, NameOfDirection(code) + ", speed " + std::to_string(speed), {}};
          }};
}

Step StopLens(int code) {
  return {"ptz stop", "LensPTZStop", [code](Session& session) {
            return StepOutcome{Stop(session.Driver(), code), "stopped", {}};
          }};
}

}  // namespace camctl
