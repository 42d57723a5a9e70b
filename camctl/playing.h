#pragma once

#include <chrono>
#include <string>

#include "camctl/interruption.h"
#include "camctl/player.h"
#include "camctl/session.h"
#include "camctl/steps.h"
#include "camctl/streams.h"

namespace camctl {

/// The recording or the live stream.
struct PlayableStream {
  const char* name;     ///< "recording" or "live"
  const char* step;     ///< name of the step that plays it
  const Step& address;  ///< the step that tells where it is
  int (ONVIFAPI::*find)(std::string& path, int& port);
  std::string (*profile)(const std::string& pair);
};
extern const PlayableStream kPlayRecording;
extern const PlayableStream kPlayLive;

/// How long a stream is played unless something else is asked for.
inline constexpr std::chrono::milliseconds kUsualPlayTime{3000};

enum class PlayPurpose {
  Measure,  ///< what was measured is the result; the user may end it early
  Check,    ///< what was measured must be what the camera says to have set
};

/// Plays the stream where the driver says it is, and puts what was measured into the session's report. The interruption
/// ends it, and must outlive the step.
Step PlayStream(const PlayableStream& stream, std::chrono::milliseconds duration, PlayPurpose purpose,
                Interruption& interruption);

/// What a playback means: result code, description, and cause and remedy of a failure.
/// \param request that was played
StepOutcome OutcomeOf(const Playback& playback, const PlayRequest& request, PlayPurpose purpose);

/// Where a complete playback differs from what the camera says to have set, both values told; empty: nowhere. Frame
/// rates may differ by 15 %: a busy machine plays some pictures late.
std::string Differences(const Playback& playback, const StreamState& set);

/// "H264 640x360, 10.0 frames/s measured over 3.0 s, AAC 16000 Hz"
std::string DescribePlayback(const Playback& playback);

/// "AAC 16000 Hz", or that there is no sound.
std::string DescribeAudio(const Playback& playback);

/// A number with one digit behind the point.
std::string OneDigit(double number);

}  // namespace camctl
