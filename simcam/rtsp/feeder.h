// Draws the pictures of one running stream and gives them to its encoder.
#pragma once

#include <memory>
#include <optional>
#include <shared_mutex>
#include <string>

#include "simcam/rtsp/handles.h"
#include "simcam/rtspserver.h"

namespace simcam {

// The server's source of moments, for streaming threads that may outlive what stands behind it.
class MomentGate {
 public:
  explicit MomentGate(RtspServer::MomentSource source) : m_source(std::move(source)) {}

  // Nothing after Close().
  std::optional<PictureMoment> Now(const std::string& profileToken) const;

  // Afterwards the source is not called any more, also not by a thread that is about to.
  void Close();

 private:
  mutable std::shared_mutex m_mutex;
  RtspServer::MomentSource m_source;
};

// Number of the frame to draw at `runningTime` (nanoseconds since the stream began), when `next` is its turn: a stream
// that cannot keep up leaves frames out instead of falling behind.
std::uint64_t FrameDue(std::uint64_t next, std::uint64_t runningTime, int frameRate);

// Feeds the pipeline (made from PipelineText of the same stream) until its end.
void FeedPictures(GstElement* pipeline, const StreamDescription& stream, const std::string& modelName,
                  const std::shared_ptr<const MomentGate>& gate);

// Lets the next frame be one that a decoder can begin with.
void AskForKeyFrame(GstElement* pipeline);

}  // namespace simcam
