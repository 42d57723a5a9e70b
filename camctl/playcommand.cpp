// camctl play: what a stream really carries.

#include "camctl/commands.h"
#include "camctl/interruption.h"
#include "camctl/playing.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"

namespace camctl {

namespace {

void ShowRow(Console& console, const char* label, const std::string& value) {
  constexpr std::size_t columns = 15;
  console.Line(PaddedRight(label, columns), Colour::Faint, value);
}

void ShowPlayback(Console& console, const std::string& url, const Playback& playback) {
  ShowRow(console, "Stream", url);
  ShowRow(console, "Codec", playback.codec);
  ShowRow(console, "Size", std::to_string(playback.width) + "x" + std::to_string(playback.height));
  ShowRow(console, "Frame rate",
          OneDigit(playback.Rate()) + " frames/s, " + std::to_string(playback.frames) + " pictures measured over " +
              OneDigit(playback.span) + " s");
  ShowRow(console, "First picture", "after " + Duration(static_cast<double>(playback.firstPicture.count())));
  ShowRow(console, "Sound", DescribeAudio(playback));
}

void RunPlayCommand(Runner& runner, const PlayableStream& stream, std::chrono::milliseconds duration) {
  if (!runner.Discover() || !runner.LearnProfiles() || !runner.Run(stream.address)) return;
  Interruption interruption;  // before it is promised: from when the step is shown, Ctrl-C ends it
  runner.GetConsole().Progress(std::string("  playing ") + stream.name + ", Ctrl-C ends it ...");
  if (!runner.Run(PlayStream(stream, duration, PlayPurpose::Measure, interruption))) return;
  const CameraReport& camera = runner.GetSession().Camera();
  ShowPlayback(runner.GetConsole(), camera.paths.at(stream.name).url, camera.played.at(stream.name));
}

const PlayableStream& StreamOf(const std::string& name) {
  if (name == "main") return kPlayRecording;
  if (name == "live") return kPlayLive;
  throw UsageError("--stream '" + name + "' is no stream; give main or live");
}

}  // namespace

std::chrono::milliseconds ReadPlayTime(const Request& request) {
  const std::optional<std::string> seconds = request.Option("--seconds");
  return seconds ? ReadSeconds(*seconds, "--seconds") : kUsualPlayTime;
}

Task PreparePlay(const Request& request) {
  const PlayableStream& stream = StreamOf(request.Option("--stream").value_or("main"));
  const std::chrono::milliseconds duration = ReadPlayTime(request);
  return [&stream, duration](Runner& runner) { RunPlayCommand(runner, stream, duration); };
}

}  // namespace camctl
