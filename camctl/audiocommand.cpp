// camctl audio set: the audio codec of both streams.

#include <algorithm>

#include "camctl/audio.h"
#include "camctl/commands.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"
#include "platform/devicepackowned.h"

namespace camctl {

std::vector<std::string> AudioNames() {
  std::vector<std::string> names;
  for (int type = 1; !DevicePackOwned::GetAudioType(type).empty(); ++type) {
    names.push_back(DevicePackOwned::GetAudioType(type));
  }
  return names;
}

int AudioTypeOf(const std::string& codec) {
  const auto lower = [](std::string text) {
    DevicePackOwned::StringToLowerCase(text);
    return text;
  };
  const std::vector<std::string> names = AudioNames();
  const auto found =
      std::find_if(names.begin(), names.end(), [&](const std::string& name) { return lower(name) == lower(codec); });
  return found == names.end() ? 0 : static_cast<int>(found - names.begin()) + 1;
}

Step SetAudioCodec(int audioType) {
  return {"audio", "SetAudio", [audioType](Session& session) {
            return StepOutcome{session.Driver().SetAudio(audioType),
                               DevicePackOwned::GetAudioType(audioType) + " for both streams",
                               {}};
          }};
}

Task PrepareAudio(const Request& request) {
  if (request.words.size() != 2 || request.words.front() != "set") {
    throw UsageError("audio needs two words: set and a codec, " + Joined(AudioNames(), ", "));
  }
  const std::string& codec = request.words.back();
  const int type = AudioTypeOf(codec);
  if (type == 0) throw UsageError("'" + codec + "' is no audio codec; give one of " + Joined(AudioNames(), ", "));
  return [type](Runner& runner) {
    if (runner.Discover() && runner.LearnProfiles()) runner.Run(SetAudioCodec(type));
  };
}

}  // namespace camctl
