#include "camctl/playing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "camctl/text.h"

namespace camctl {

namespace {

constexpr double kRateTolerance = 0.15;  // of the frame rate that is set

// Placeholders of the texts: {address} host and port, {path}, {user}, {status}, {error}, {codec}, {patience} in seconds,
// {frames}.
struct PlayRow {
  PlayResult playResult;
  int result;
  const char* cause;
  const char* remedy;
};

constexpr const char* kCheckRtsp =
    "check that RTSP is switched on in the camera, and its port; a firewall may be between";
constexpr const char* kReadManual =
    "look for newer firmware, or whether the camera's manual names another stream address";

constexpr PlayRow kRows[] = {
    {PlayResult::NotAvailable, CAMERA_NOT_SUPPORTED, "streams cannot be played here: {error}",
     "install what is missing; all other commands work without it"},
    {PlayResult::NoConnection, CAMERA_UNREACHABLE, "nothing serves RTSP at {address}, or the host is unknown",
     kCheckRtsp},
    {PlayResult::NoAnswer, CAMERA_UNREACHABLE, "no description of the stream from {address} in {patience} s ({error})",
     kCheckRtsp},
    {PlayResult::Refused, CAMERA_NOT_AUTHORIZED,
     "the camera refused the account '{user}' for the stream (RTSP {status})",
     "check user and password; some cameras keep an account for streams of its own"},
    {PlayResult::NotFound, CAMERA_FAULT,
     "there is no stream at {address}{path}, where the camera says it is (RTSP {status})",
     "restart the camera, or look for newer firmware"},
    {PlayResult::BadStatus, CAMERA_FAULT, "the camera refused the stream {path}: RTSP {status}, {error}",
     "end other viewers and try again: many cameras serve few at a time"},
    {PlayResult::Redirected, CAMERA_FAULT, "{address} sends to {error}, which is never followed",
     "give the address of that camera itself"},
    {PlayResult::NoVideo, CAMERA_FAULT, "the stream {path} carries no video", kReadManual},
    {PlayResult::NoDecoder, CAMERA_NOT_SUPPORTED, "the stream is {codec}, for which this machine has no decoder",
     "install gstreamer1.0-libav and gstreamer1.0-plugins-good, or choose H264, MPEG4 or JPEG"},
    {PlayResult::NoPicture, CAMERA_FAULT, "the stream {path} is open, but no picture came in {patience} s",
     "restart the camera; when that does not help, choose another codec or size"},
    {PlayResult::NoTime, CAMERA_FAULT,
     "the times of the stream {path} stand still: {frames} pictures came, all of one time", kReadManual},
    {PlayResult::Ended, CAMERA_FAULT, "the camera ended the stream {path} after {frames} pictures",
     "end other viewers, and see whether somebody changes the camera's settings"},
    {PlayResult::Interrupted, CAMERA_FAILED, "playing was interrupted after {frames} pictures",
     "let it play to its end"},
    {PlayResult::Broken, CAMERA_FAULT, "the stream {path} cannot be understood: {error}", kReadManual},
};

std::string Filled(std::string text, const Playback& playback, const PlayRequest& request) {
  const std::pair<const char*, std::string> values[] = {
      {"{address}", HostPort(request.host, request.port)},
      {"{path}", request.path.empty() ? "/" : request.path},
      {"{user}", request.user},
      {"{status}", std::to_string(playback.status)},
      {"{error}", playback.error.empty() ? "no further detail" : playback.error},
      {"{codec}", playback.codec.empty() ? "of no known codec" : playback.codec},
      {"{patience}", OneDigit(static_cast<double>(request.patience.count()) / std::milli::den)},
      {"{frames}", std::to_string(playback.frames)}};
  for (const auto& [name, value] : values) text = ReplaceAll(std::move(text), name, value);
  return OneLine(text);
}

// The number that `text` begins with, 0 when there is none.
double RateOf(const std::string& text) {
  double rate = 0;
  std::from_chars(text.data(), text.data() + text.size(), rate);
  return rate;
}

PlayRequest RequestFor(const Session& session, const std::string& path, int port, std::chrono::milliseconds duration) {
  const Connection& connection = session.GetConnection();
  PlayRequest request;
  request.host = connection.host;
  request.port = port;
  request.path = path;
  request.user = connection.user;
  request.password = connection.password;
  request.duration = duration;
  if (connection.timeoutSeconds > 0) request.patience = std::chrono::seconds(connection.timeoutSeconds);
  return request;
}

Playback PlayInterruptibly(PlayRequest request, Interruption& interruption) {
  request.cancelled = [&interruption] { return interruption.Wait(std::chrono::milliseconds(0)); };
  return Play(request);
}

StepOutcome NoPath(const std::string& path) {
  return {CAMERA_FAULT, "",
          Cause{"what the camera tells as the stream's path is none: '" + OneLine(path) + "'", kReadManual}};
}

// The stream must be what the profile says.
StepOutcome Checked(Session& session, const PlayableStream& stream, const Playback& playback, StepOutcome outcome) {
  StreamState set;
  const int result = ReadStream(session, stream.profile(session.Profiles()), set);
  if (result != CAMERA_OK) return {result, "", {}};
  const std::string wrong = Differences(playback, set);
  if (wrong.empty()) return outcome;
  return {CAMERA_FAULT, "",
          Cause{"the " + std::string(stream.name) + " stream is not as it is set: " + wrong,
                "restart the camera, look for newer firmware, or set the stream in its own pages"}};
}

StepOutcome RunPlay(Session& session, const PlayableStream& stream, std::chrono::milliseconds duration,
                    PlayPurpose purpose, Interruption& interruption) {
  std::string path;
  int port = 0;
  const int found = (session.Driver().*stream.find)(path, port);
  if (found != CAMERA_OK) return {found, "", {}};
  if (!IsRequestTarget(path)) return NoPath(path);
  const PlayRequest request = RequestFor(session, path, port, duration);
  Playback playback = PlayInterruptibly(request, interruption);
  playback.error = session.WithoutPassword(playback.error);
  session.Camera().played[stream.name] = playback;
  StepOutcome outcome = OutcomeOf(playback, request, purpose);
  if (outcome.result != CAMERA_OK || purpose == PlayPurpose::Measure) return outcome;
  return Checked(session, stream, playback, std::move(outcome));
}

}  // namespace

const PlayableStream kPlayRecording = {"recording", "play recording", kRecordingStream, &ONVIFAPI::GetPathPort,
                                       &MainOf};
const PlayableStream kPlayLive = {"live", "play live", kLiveStream, &ONVIFAPI::GetLivePathPort, &LiveOf};

std::string OneDigit(double number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f", number);
  return text.data();
}

std::string DescribeAudio(const Playback& playback) {
  if (!playback.audio) return "no sound";
  const AudioTrack& audio = *playback.audio;
  const std::string name = audio.codec + " " + std::to_string(audio.rate) + " Hz";
  return audio.packets > 0 ? name : name + " (announced, but nothing came)";
}

std::string DescribePlayback(const Playback& playback) {
  return playback.codec + " " + std::to_string(playback.width) + "x" + std::to_string(playback.height) + ", " +
         OneDigit(playback.Rate()) + " frames/s measured over " + OneDigit(playback.span) + " s, " +
         DescribeAudio(playback);
}

std::string Differences(const Playback& playback, const StreamState& set) {
  std::vector<std::string> parts;
  const auto compare = [&parts](const std::string& played, const std::string& wanted) {
    if (!wanted.empty() && played != wanted) parts.push_back("plays " + played + ", set is " + wanted);
  };
  compare(playback.codec, set.codec);
  compare(std::to_string(playback.width) + "x" + std::to_string(playback.height), set.resolution);
  const double rate = RateOf(set.fps);
  if (rate > 0 && std::abs(playback.Rate() - rate) > rate * kRateTolerance) {
    compare(OneDigit(playback.Rate()) + " frames/s", set.fps + " frames/s");
  }
  compare(playback.audio ? playback.audio->codec : "no sound", set.audio);
  return Joined(parts, "; ");
}

StepOutcome OutcomeOf(const Playback& playback, const PlayRequest& request, PlayPurpose purpose) {
  const bool enough = playback.result == PlayResult::Interrupted && playback.Rate() > 0;
  if (playback.result == PlayResult::Played || (enough && purpose == PlayPurpose::Measure)) {
    return {CAMERA_OK, DescribePlayback(playback), {}};
  }
  const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [&](const PlayRow& candidate) {
    return candidate.playResult == playback.result;
  });
  return {row->result, "", Cause{Filled(row->cause, playback, request), row->remedy}};
}

Step PlayStream(const PlayableStream& stream, std::chrono::milliseconds duration, PlayPurpose purpose,
                Interruption& interruption) {
  return {stream.step, "RTSP",
          [&stream, duration, purpose, &interruption](Session& session) {
            return RunPlay(session, stream, duration, purpose, interruption);
          },
          true};
}

}  // namespace camctl
