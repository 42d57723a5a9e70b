#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace bench {

/// How much a camera has of what grows.
struct CameraSize {
  std::int64_t profiles = 2;
  std::int64_t encoderConfigurations = 2;
  std::int64_t resolutions = 12;  // of each of the codecs JPEG, MPEG4 and H264
  std::int64_t presets = 4;
  bool isH264Only = false;  // of the codecs, and no Extension: as many sizes as an answer may hold
};

/// Whole SOAP envelopes by the name of the operation that they answer.
using Answers = std::map<std::string, std::string>;

/// What a camera with the usual prefixes answers to whatever the driver asks for. Each codec of the encoder options
/// stands twice, the second time in an Extension, as cameras have it.
Answers MakeAnswers(const CameraSize& size);

}  // namespace bench
