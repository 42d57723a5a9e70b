// What is fuzzed: functions that take any bytes. They end the process when something is wrong.
#pragma once

#include <string>
#include <string_view>

namespace camapifuzz {

// A request to a simulated camera. The first byte chooses a model, the second how the rest is used:
//   0  as the body of a request, as it stands
//   1  as the content of an operation that the third byte chooses, in a right envelope, signed
//   2  like 1, with a quirk that the fourth byte chooses
// Whatever comes, the answer is a whole envelope, unless a quirk bends it.
void SimcamRequest(std::string_view input);

// The text form of a quirk: what is accepted reads back as the same.
void SimcamQuirk(std::string_view input);

// A model file: what is accepted is a camera that answers.
void SimcamModel(std::string_view input);

struct Target {
  const char* name;  // as the folder of its corpus
  void (*run)(std::string_view input);
};

inline constexpr Target kTargets[] = {
    {"simcam_request", SimcamRequest},
    {"simcam_quirk", SimcamQuirk},
    {"simcam_model", SimcamModel},
};

}  // namespace camapifuzz
