#include "simcam/camerastreams.h"

#include <utility>

#include "simcam/addresses.h"
#include "simcam/bytoken.h"
#include "simcam/snapshots.h"

namespace simcam {

namespace {

int JpegQuality(const CameraModel& model, const VideoEncoderConfiguration& video) {
  const VideoEncoderOptions* const options = FindByToken(model.videoEncoderOptions, video.options);
  return JpegQualityOf(video.quality, options == nullptr ? WholeRange() : options->quality);
}

}  // namespace

std::vector<StreamDescription> StreamsOf(const CameraModel& model, const MediaSnapshot& media) {
  std::vector<StreamDescription> streams;
  for (const Profile& profile : media.profiles) {
    const auto* const video = FindByToken(media.videoEncoders, profile.Binding(ConfigurationKind::VideoEncoder));
    if (profile.Binding(ConfigurationKind::VideoSource).empty() || video == nullptr) {
      continue;
    }
    StreamDescription stream;
    stream.profileToken = profile.token;
    stream.profileName = profile.name;
    stream.target = StreamTarget(model, profile.token);
    stream.video = *video;
    stream.jpegQuality = JpegQuality(model, *video);
    const auto* const audio = FindByToken(media.audioEncoders, profile.Binding(ConfigurationKind::AudioEncoder));
    if (audio != nullptr && !profile.Binding(ConfigurationKind::AudioSource).empty()) {
      stream.audio = *audio;
    }
    streams.push_back(std::move(stream));
  }
  return streams;
}

void CameraStreams::Refresh(RtspServer& server, const CameraModel& model, const CameraState& state) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const MediaSnapshot media = state.Media();
  if (media.generation != m_generation) {
    m_generation = media.generation;
    server.Update(StreamsOf(model, media));
  }
}

PictureMoment MomentOf(const CameraModel& model, const CameraState& state, const Clock& clock,
                       const std::string& profileToken) {
  const std::vector<Profile> profiles = state.Profiles();
  const Profile* const profile = FindByToken(profiles, profileToken);
  PictureMoment moment;
  moment.time = clock.UtcNow();
  // A profile that was just deleted streams some frames more.
  moment.lens = profile == nullptr ? std::nullopt : LensOf(model, state, *profile);
  return moment;
}

}  // namespace simcam
