// Single settings of encoders, for cameras that do not take all of them as they are asked.
#pragma once

#include <string>
#include <vector>

#include "simcam/model.h"

namespace simcam {

// codec, resolution, quality, frame-rate, bitrate
std::vector<const char*> EncoderSettingNames();

// Gives the settings of those names back the values they had before.
void KeepSettings(const std::vector<std::string>& names, const VideoEncoderConfiguration& before,
                  VideoEncoderConfiguration& encoder);

// Brings every setting to the nearest that the encoder offers; a codec that it does not offer stays.
void Clamp(VideoEncoderConfiguration& encoder, const VideoEncoderOptions& options);
void Clamp(AudioEncoderConfiguration& encoder, const std::vector<AudioCodecOptions>& codecs);

}  // namespace simcam
