#pragma once

#include <string>
#include <vector>

#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// Code of an audio codec, as `DevicePackOwned::GetAudioType` names it, by its name in any case; 0 for any other text.
int AudioTypeOf(const std::string& codec);

/// Names of all audio codecs that have a code.
std::vector<std::string> AudioNames();

/// Chooses the audio codec of both streams.
Step SetAudioCodec(int audioType);

}  // namespace camctl
