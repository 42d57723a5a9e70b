#include "simcam/encodersettings.h"

#include <algorithm>
#include <cstdlib>

#include "simcam/encoderoptions.h"

namespace simcam {

namespace {

using Encoder = VideoEncoderConfiguration;

void KeepCodec(const Encoder& before, Encoder& encoder) {
  encoder.codec = before.codec;
  encoder.govLength = before.govLength;
  encoder.codecProfile = before.codecProfile;
}

void KeepResolution(const Encoder& before, Encoder& encoder) {
  encoder.width = before.width;
  encoder.height = before.height;
}

void KeepQuality(const Encoder& before, Encoder& encoder) {
  encoder.quality = before.quality;
}

void KeepFrameRate(const Encoder& before, Encoder& encoder) {
  encoder.frameRate = before.frameRate;
}

void KeepBitrate(const Encoder& before, Encoder& encoder) {
  encoder.bitrate = before.bitrate;
}

struct Setting {
  const char* name;
  void (*keep)(const Encoder& before, Encoder& encoder);
};

constexpr Setting kSettings[] = {{"codec", KeepCodec},
                                 {"resolution", KeepResolution},
                                 {"quality", KeepQuality},
                                 {"frame-rate", KeepFrameRate},
                                 {"bitrate", KeepBitrate}};

int Within(int value, const WholeRange& range) {
  return std::clamp(value, range.min, range.max);
}

// The nearest of some; `value` itself when there are none.
int Nearest(int value, const std::vector<int>& offered) {
  const auto nearest = std::min_element(offered.begin(), offered.end(), [value](int left, int right) {
    return std::abs(left - value) < std::abs(right - value);
  });
  return nearest == offered.end() ? value : *nearest;
}

// Every codec of a checked model has a resolution.
Resolution NearestResolution(const Encoder& encoder, const VideoCodecOptions& codec) {
  const auto distance = [&encoder](const Resolution& size) {
    return std::abs(size.width - encoder.width) + std::abs(size.height - encoder.height);
  };
  return *std::min_element(
      codec.resolutions.begin(), codec.resolutions.end(),
      [&distance](const Resolution& left, const Resolution& right) { return distance(left) < distance(right); });
}

}  // namespace

std::vector<const char*> EncoderSettingNames() {
  std::vector<const char*> names;
  for (const Setting& setting : kSettings) {
    names.push_back(setting.name);
  }
  return names;
}

void KeepSettings(const std::vector<std::string>& names, const Encoder& before, Encoder& encoder) {
  for (const Setting& setting : kSettings) {
    if (std::find(names.begin(), names.end(), setting.name) != names.end()) {
      setting.keep(before, encoder);
    }
  }
}

void Clamp(Encoder& encoder, const VideoEncoderOptions& options) {
  const VideoCodecOptions* const codec = FindCodec(options, encoder.codec);
  if (codec == nullptr) {
    return;
  }
  const Resolution size = NearestResolution(encoder, *codec);
  encoder.width = size.width;
  encoder.height = size.height;
  encoder.quality = std::clamp(encoder.quality, double{1} * options.quality.min, double{1} * options.quality.max);
  encoder.frameRate = Within(encoder.frameRate, codec->frameRate);
  encoder.bitrate = Within(encoder.bitrate, options.bitrate);
  const std::vector<std::string>& profiles = codec->codecProfiles;
  if (profiles.empty()) {
    return;
  }
  encoder.govLength = Within(encoder.govLength, codec->govLength);
  if (std::find(profiles.begin(), profiles.end(), encoder.codecProfile) == profiles.end()) {
    encoder.codecProfile = profiles.front();
  }
}

void Clamp(AudioEncoderConfiguration& encoder, const std::vector<AudioCodecOptions>& codecs) {
  for (const AudioCodecOptions& codec : codecs) {
    if (codec.encoding == encoder.encoding) {
      encoder.bitrate = Nearest(encoder.bitrate, codec.bitrates);
      encoder.sampleRate = Nearest(encoder.sampleRate, codec.sampleRates);
    }
  }
}

}  // namespace simcam
