// camctl stream set: what the two streams are, before and after, as the camera tells it.

#include "camctl/commands.h"
#include "camctl/streams.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"

namespace camctl {

namespace {

// Options of one stream and the fields that they fill.
struct StreamOption {
  const char* name;
  std::string STM_PROFILE::*field;
  std::string (*read)(const std::string& text, const std::string& source);
};

std::string ReadRate(const std::string& text, const std::string& source) {
  constexpr int highest = 1000;
  return std::to_string(ReadWhole(text, 1, highest, source, "frame rate"));
}

std::string ReadLevel(const std::string& text, const std::string& source) {
  constexpr int highest = 5;
  return std::to_string(ReadWhole(text, 1, highest, source, "quality level"));
}

constexpr StreamOption kFields[] = {
    {"--resolution", &STM_PROFILE::strReso, &ReadSize},  {"--fps", &STM_PROFILE::strFps, &ReadRate},
    {"--quality", &STM_PROFILE::strQual, &ReadLevel},    {"--live-resolution", &STM_PROFILE::strLiveReso, &ReadSize},
    {"--live-fps", &STM_PROFILE::strLiveFps, &ReadRate}, {"--live-quality", &STM_PROFILE::strLiveQual, &ReadLevel}};

STM_PROFILE ReadWish(const Request& request) {
  STM_PROFILE wish;
  for (const StreamOption& row : kFields) {
    const std::optional<std::string> text = request.Option(row.name);
    if (text) wish.*row.field = row.read(*text, row.name);
  }
  const std::optional<std::string> codec = request.Option("--codec");
  if (!codec) return wish;
  wish.nVdoType = VideoTypeOf(*codec);
  if (wish.nVdoType == 0) throw UsageError("--codec '" + *codec + "' is no codec; give mjpeg, mpeg4 or h264");
  return wish;
}

void ShowRow(Console& console, const Setting& row, bool taken) {
  constexpr std::size_t nameColumns = 22;
  constexpr std::size_t valueColumns = 14;
  const std::string cells = PaddedRight(row.stream + " " + row.name, nameColumns) +
                            PaddedRight(row.before, valueColumns) + PaddedRight(row.asked, valueColumns) + row.after;
  console.Line(taken ? "  " : "! ", Colour::Bad, cells + (taken ? "" : "   not taken"));
}

void ShowSettings(Console& console, const std::vector<Setting>& settings) {
  ShowRow(console, {"", "", "before", "asked", "after"}, true);
  for (const Setting& row : settings) ShowRow(console, row, row.Taken());
}

void RunSetCommand(Runner& runner, STM_PROFILE wish) {
  if (!runner.LearnAll()) return;
  Session& session = runner.GetSession();
  StreamStates before;
  if (!runner.Run(ReadStreams(before))) return;
  if (wish.nVdoType == 0) wish.nVdoType = VideoTypeOf(before.recording.codec);
  const bool set = runner.Run(SetStreams("streams", wish));
  StreamStates after;
  if (!runner.Run(ReadStreams(after))) return;
  CameraReport& camera = session.Camera();
  camera.profiles = session.Profiles();
  camera.streams = Compare(session, wish, before, after);
  ShowSettings(runner.GetConsole(), camera.streams);
  if (set && !NotTaken(camera.streams).empty()) {
    runner.GetConsole().Line("The camera answered with success, and took not everything.");
  }
}

}  // namespace

Task PrepareStream(const Request& request) {
  if (request.words.size() != 1 || request.words.front() != "set") throw UsageError("stream needs the word set");
  if (request.options.empty()) throw UsageError("stream set needs something to set; see camctl --help");
  return [wish = ReadWish(request)](Runner& runner) { RunSetCommand(runner, wish); };
}

}  // namespace camctl
