#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace camctl {

/// Which stream is played, and for how long.
struct PlayRequest {
  std::string host;
  int port = 0;
  std::string path;  ///< with query, as the driver tells it
  std::string user;  ///< empty: no account
  std::string password;
  std::chrono::milliseconds duration{3000};   ///< measured from the first picture on
  std::chrono::milliseconds patience{10000};  ///< longest wait for the first picture, and for each further one
  std::function<bool()> cancelled;            ///< asked some 20 times a second; may be empty
};

/// How playing ended.
enum class PlayResult {
  Played,        ///< all of it was measured
  NotAvailable,  ///< this program or machine cannot play
  NoConnection,  ///< nothing listens there, or the host is unknown
  NoAnswer,      ///< connected or not, no stream was described within the patience
  Refused,       ///< the account was refused
  NotFound,      ///< there is no such stream
  BadStatus,     ///< another refusal, its RTSP status is told
  Redirected,    ///< the camera sends to another host, which is never followed
  NoVideo,       ///< the stream carries no video
  NoDecoder,     ///< the codec is not known, or this machine has no decoder for it
  NoPicture,     ///< no picture came within the patience
  NoTime,        ///< pictures came, but their presentation times stand still
  Ended,         ///< the camera ended the stream before everything was measured
  Interrupted,   ///< by the user
  Broken,        ///< anything else: what came cannot be understood
};

/// The sound of a stream, as it is described; it is received, but not decoded.
struct AudioTrack {
  std::string codec;          ///< "AAC", "G711", "G726", or the name in the description
  int rate = 0;               ///< samples per second
  std::uint64_t packets = 0;  ///< received
};

/// What was measured. What is not known yet when playing ends is empty or 0.
struct Playback {
  PlayResult result = PlayResult::Played;
  std::string error;         ///< of the layers below, one line, without account
  int status = 0;            ///< RTSP status of a refusal
  std::string codec;         ///< "H264", "MPEG4", "JPEG", or the name in the description
  int width = 0;             ///< pixels of the decoded picture
  int height = 0;            ///< the same
  std::uint64_t frames = 0;  ///< pictures decoded
  std::uint64_t timed = 0;  ///< pictures up to the last one with a time of its own: of several in one packet one has it
  double span = 0;          ///< seconds from the first picture's presentation time to the last's
  std::chrono::milliseconds firstPicture{0};  ///< from the start to the first picture
  std::optional<AudioTrack> audio;

  /// Pictures per second by their presentation times; 0 when there were not two.
  double Rate() const { return span > 0 ? static_cast<double>(timed - 1) / span : 0; }
};

/// Whether streams can be played.
/// \param[out] reason why not, one line that names what to install
bool CanPlay(std::string& reason);

/// Plays a stream over RTSP, its data interleaved in the one TCP connection. Blocks; ends in any case within the
/// duration and two patiences. Credentials go to that host alone, once, to answer a Digest challenge, and stand in no
/// address. Nothing is shown, and nothing is printed.
Playback Play(const PlayRequest& request);

}  // namespace camctl
