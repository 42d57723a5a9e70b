// How profiles and their configurations look in answers of the media service.
#pragma once

#include <vector>

#include "simcam/camerastate.h"
#include "simcam/model.h"
#include "simcam/xmlwriter.h"

namespace simcam {

// Each writes an element called `name`. `profiles` are the camera's, for the use counts.
void WriteVideoSource(XmlWriter& writer, const char* name, const VideoSourceConfiguration& configuration,
                      const std::vector<Profile>& profiles);
void WriteAudioSource(XmlWriter& writer, const char* name, const AudioSourceConfiguration& configuration,
                      const std::vector<Profile>& profiles);
void WriteVideoEncoder(XmlWriter& writer, const char* name, const VideoEncoderConfiguration& configuration,
                       const std::vector<Profile>& profiles);
void WriteAudioEncoder(XmlWriter& writer, const char* name, const AudioEncoderConfiguration& configuration,
                       const std::vector<Profile>& profiles);

// A profile with all that it binds, as it is set in `media`.
void WriteProfile(XmlWriter& writer, const char* name, const CameraModel& model, const Profile& profile,
                  const MediaSnapshot& media);

// Local name of the element that holds a codec's profile; null for JPEG, which has none.
const char* ProfileElementOf(VideoCodec codec);

}  // namespace simcam
