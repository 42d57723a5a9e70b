// What encoders can be set to, and whether a configuration keeps to it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simcam/model.h"

namespace simcam {

// JPEG, MPEG4 or H264, and back; nothing for any other text.
const char* NameOf(VideoCodec codec);
std::optional<VideoCodec> CodecNamed(std::string_view name);

// True for the profiles that the standard knows of the codec; JPEG has none.
bool IsProfileOf(VideoCodec codec, std::string_view profile);

// Why pictures of that size cannot be streamed; empty when they can.
std::string WhyNotStreamable(VideoCodec codec, const Resolution& size);

// The options of one codec; null when there are none.
const VideoCodecOptions* FindCodec(const VideoEncoderOptions& options, VideoCodec codec);

// The options of the encoder; every encoder of a checked model has some.
const VideoEncoderOptions& OptionsOf(const CameraModel& model, const VideoEncoderConfiguration& encoder);

// What at least one encoder of the camera can do: all codecs and sizes, the widest ranges.
VideoEncoderOptions AllOptions(const CameraModel& model);

// Why the encoder cannot be set like this; empty when it can.
std::string ProblemOf(const VideoEncoderConfiguration& encoder, const VideoEncoderOptions& options);
std::string ProblemOf(const AudioEncoderConfiguration& encoder, const std::vector<AudioCodecOptions>& codecs);

}  // namespace simcam
