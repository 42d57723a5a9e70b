#include "simcam/encoderoptions.h"

#include <algorithm>
#include <iterator>

#include "simcam/bytoken.h"
#include "simcam/picture.h"

namespace simcam {

namespace {

struct SizeLimits {
  int largest;  // pixels of the longer side
  int step;     // pixels; a side that is no multiple would arrive cut or padded
};

// By codec. The header of RTP/JPEG counts blocks of 8 pixels in one byte.
constexpr SizeLimits kSizeLimits[kVideoCodecs] = {{2040, 8}, {kMaxPictureEdge, 1}, {kMaxPictureEdge, 2}};

// In the order of VideoCodec.
constexpr const char* kCodecNames[kVideoCodecs] = {"JPEG", "MPEG4", "H264"};

struct CodecProfile {
  VideoCodec codec;
  std::string_view name;
};

constexpr CodecProfile kCodecProfiles[] = {
    {VideoCodec::Mpeg4, "SP"},  {VideoCodec::Mpeg4, "ASP"},     {VideoCodec::H264, "Baseline"},
    {VideoCodec::H264, "Main"}, {VideoCodec::H264, "Extended"}, {VideoCodec::H264, "High"},
};

template <typename Value>
bool IsWithin(Value value, const WholeRange& range) {
  return value >= range.min && value <= range.max;
}

template <typename Item>
bool Contains(const std::vector<Item>& items, const Item& item) {
  return std::find(items.begin(), items.end(), item) != items.end();
}

std::string RangeText(const WholeRange& range) {
  return std::to_string(range.min) + " to " + std::to_string(range.max);
}

bool HasResolution(const VideoCodecOptions& options, int width, int height) {
  return std::any_of(options.resolutions.begin(), options.resolutions.end(), [=](const Resolution& resolution) {
    return resolution.width == width && resolution.height == height;
  });
}

void Widen(WholeRange& range, const WholeRange& other) {
  range.min = std::min(range.min, other.min);
  range.max = std::max(range.max, other.max);
}

void MergeCodec(VideoCodecOptions& merged, const VideoCodecOptions& codec) {
  Widen(merged.frameRate, codec.frameRate);
  Widen(merged.govLength, codec.govLength);
  std::copy_if(codec.resolutions.begin(), codec.resolutions.end(), std::back_inserter(merged.resolutions),
               [&](const Resolution& size) { return !HasResolution(merged, size.width, size.height); });
  std::copy_if(codec.codecProfiles.begin(), codec.codecProfiles.end(), std::back_inserter(merged.codecProfiles),
               [&](const std::string& profile) { return !Contains(merged.codecProfiles, profile); });
}

void Merge(VideoEncoderOptions& merged, const VideoEncoderOptions& options) {
  Widen(merged.quality, options.quality);
  Widen(merged.bitrate, options.bitrate);
  for (const VideoCodecOptions& codec : options.codecs) {
    const auto known = std::find_if(merged.codecs.begin(), merged.codecs.end(),
                                    [&codec](const VideoCodecOptions& other) { return other.codec == codec.codec; });
    if (known == merged.codecs.end()) {
      merged.codecs.push_back(codec);
    } else {
      MergeCodec(*known, codec);
    }
  }
}

}  // namespace

const char* NameOf(VideoCodec codec) {
  return kCodecNames[static_cast<std::size_t>(codec)];
}

std::optional<VideoCodec> CodecNamed(std::string_view name) {
  const auto* const found = std::find(std::begin(kCodecNames), std::end(kCodecNames), name);
  if (found == std::end(kCodecNames)) {
    return std::nullopt;
  }
  return static_cast<VideoCodec>(found - std::begin(kCodecNames));
}

bool IsProfileOf(VideoCodec codec, std::string_view profile) {
  return std::any_of(std::begin(kCodecProfiles), std::end(kCodecProfiles),
                     [&](const CodecProfile& row) { return row.codec == codec && row.name == profile; });
}

std::string WhyNotStreamable(VideoCodec codec, const Resolution& size) {
  const SizeLimits& limits = kSizeLimits[static_cast<std::size_t>(codec)];
  const auto [smaller, larger] = std::minmax(size.width, size.height);
  if (smaller < kMinPictureEdge || larger > limits.largest) {
    return std::string(NameOf(codec)) + " is sent from " + std::to_string(kMinPictureEdge) + " to " +
           std::to_string(limits.largest) + " pixels a side";
  }
  const bool isStepped = size.width % limits.step == 0 && size.height % limits.step == 0;
  return isStepped ? ""
                   : std::string(NameOf(codec)) + " has sides that are multiples of " + std::to_string(limits.step);
}

const VideoCodecOptions* FindCodec(const VideoEncoderOptions& options, VideoCodec codec) {
  const auto found = std::find_if(options.codecs.begin(), options.codecs.end(),
                                  [codec](const VideoCodecOptions& item) { return item.codec == codec; });
  return found == options.codecs.end() ? nullptr : &*found;
}

const VideoEncoderOptions& OptionsOf(const CameraModel& model, const VideoEncoderConfiguration& encoder) {
  return *FindByToken(model.videoEncoderOptions, encoder.options);
}

VideoEncoderOptions AllOptions(const CameraModel& model) {
  VideoEncoderOptions merged = model.videoEncoderOptions.front();
  for (const VideoEncoderOptions& options : model.videoEncoderOptions) {
    Merge(merged, options);
  }
  return merged;
}

std::string ProblemOf(const VideoEncoderConfiguration& encoder, const VideoEncoderOptions& options) {
  const VideoCodecOptions* const codec = FindCodec(options, encoder.codec);
  if (codec == nullptr) {
    return std::string("the encoder does not offer ") + NameOf(encoder.codec);
  }
  if (!HasResolution(*codec, encoder.width, encoder.height)) {
    return "the encoder does not offer " + std::to_string(encoder.width) + "x" + std::to_string(encoder.height);
  }
  if (!IsWithin(encoder.quality, options.quality)) {
    return "the quality is not within " + RangeText(options.quality);
  }
  if (!IsWithin(encoder.frameRate, codec->frameRate)) {
    return "the frame rate is not within " + RangeText(codec->frameRate);
  }
  if (!IsWithin(encoder.bitrate, options.bitrate)) {
    return "the bitrate is not within " + RangeText(options.bitrate);
  }
  if (encoder.codec == VideoCodec::Jpeg) {
    return std::string();
  }
  if (!IsWithin(encoder.govLength, codec->govLength)) {
    return "the length of a group of pictures is not within " + RangeText(codec->govLength);
  }
  return Contains(codec->codecProfiles, encoder.codecProfile)
             ? std::string()
             : "the encoder does not offer the profile " + encoder.codecProfile;
}

std::string ProblemOf(const AudioEncoderConfiguration& encoder, const std::vector<AudioCodecOptions>& codecs) {
  const auto codec = std::find_if(codecs.begin(), codecs.end(), [&encoder](const AudioCodecOptions& item) {
    return item.encoding == encoder.encoding;
  });
  if (codec == codecs.end()) {
    return "the encoder does not offer " + encoder.encoding;
  }
  if (!Contains(codec->bitrates, encoder.bitrate)) {
    return "the encoder does not offer " + std::to_string(encoder.bitrate) + " kbit/s";
  }
  return Contains(codec->sampleRates, encoder.sampleRate)
             ? std::string()
             : "the encoder does not offer " + std::to_string(encoder.sampleRate) + " kHz";
}

}  // namespace simcam
