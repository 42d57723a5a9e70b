// What GStreamer is to do for a stream, as a text that it reads.
#pragma once

#include <string>

#include "simcam/rtspserver.h"

namespace simcam {

// Names of elements inside the pipeline.
constexpr char kPictureElement[] = "picture";  // an appsrc
constexpr char kSoundElement[] = "sound";
constexpr char kEncoderElement[] = "encoder";

// The pipeline of a stream. Its pictures are to be given to the appsrc in the format that its capabilities name.
std::string PipelineText(const StreamDescription& stream);

}  // namespace simcam
