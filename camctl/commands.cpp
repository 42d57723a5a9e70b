#include "camctl/commands.h"

#include <algorithm>

#include "camctl/arguments.h"
#include "camctl/cameraclock.h"
#include "camctl/cause.h"
#include "camctl/documents.h"

namespace camctl {

namespace {

const Command& FindCommand(const std::string& name) {
  return *std::find_if(Commands().begin(), Commands().end(),
                       [&](const Command& command) { return name == command.help.name; });
}

void ShowFailure(Console& console, const Report& report) {
  if (report.result == 0) return;
  console.Line("");
  console.Line("cause:  ", Colour::Bad, report.cause.cause);
  console.Line("remedy: ", Colour::Good, report.cause.remedy);
  console.Line("result: " + std::to_string(report.result) + ", " + MeaningOf(report.result));
}

// The exit status: the result, unless the result could not be told.
int Finished(const Console& console, int result) {
  if (console.WriteError().empty()) return result;
  PrintError("the output cannot be written: " + console.WriteError());
  return CAMERA_FAILED;
}

// A command that takes nothing but the connection.
template <void (*Run)(Runner&)>
Task Plain(const Request& /*request*/) {
  return Run;
}

const std::vector<OptionHelp> kCapsOptions = {
    {"--save", "FILE", "Write a camera file, which --camera takes: address, profiles, capabilities, no password"},
    {"--force", "", "Replace a file that is there"}};

const std::vector<OptionHelp> kStreamOptions = {
    {"--codec", "CODEC", "mjpeg, mpeg4 or h264, for both streams (what the recording stream has)"},
    {"--resolution", "WxH", "Size of the recording stream; what is not given stays"},
    {"--fps", "N", "Frames per second of the recording stream"},
    {"--quality", "1..5", "Quality level of the recording stream"},
    {"--live-resolution", "WxH", "Size of the live stream"},
    {"--live-fps", "N", "Frames per second of the live stream"},
    {"--live-quality", "1..5", "Quality level of the live stream"}};

const std::vector<OptionHelp> kPtzOptions = {
    {"--speed", "1..10", "Speed of start; 5 is the bound of the model's range (5)"},
    {"--for", "SECONDS", "How long start moves; without it until Ctrl-C. It stops in any case"}};

const std::vector<OptionHelp> kPresetOptions = {
    {"--yes", "", "Let list delete the presets that are not the server's without asking"}};

const std::vector<OptionHelp> kPlayOptions = {
    {"--stream", "STREAM", "main, which is recorded, or live (main)"},
    {"--seconds", "N", "How long it is measured, from the first picture on (3)"}};

const std::vector<OptionHelp> kTourOptions = {
    {"--snapshot", "FILE", "File that the snapshot is written to; replaces one that is there (snapshot.jpg)"},
    {"--seconds", "N", "How long each stream is played (3)"},
    {"--no-play", "", "Do not play the streams"}};

int RunCommand(const Arguments& arguments) {
  const Command& command = FindCommand(arguments.command);
  const Task task = command.prepare(arguments.request);
  Console console(arguments.json);
  ConnectionOptions connection = arguments.connection;
  connection.streams = command.plays && !arguments.request.Has("--no-play");
  const Target target = OpenTarget(connection);
  Session session(target.connection);
  Runner runner(session, console, command.show);
  if (!target.connection.cameraClock || runner.Run(kClock)) task(runner);
  const Report report = runner.Finish();
  ShowFailure(console, report);
  if (arguments.json) console.Document(JsonText(report));
  return Finished(console, report.result);
}

}  // namespace

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {{"test", "Test whether the camera answers and accepts the account", {}, {}},
       ShowSteps::All,
       false,
       &Plain<&RunTestCommand>},
      {{"info", "Show what the camera is", {}, {}}, ShowSteps::Failed, false, &Plain<&RunInfoCommand>},
      {{"caps", "Show what the camera can do, as a server would store it", {}, kCapsOptions},
       ShowSteps::Failed,
       false,
       &PrepareCaps},
      {{"paths", "Show where the streams and the snapshot are", {}, {}},
       ShowSteps::Failed,
       false,
       &Plain<&RunPathsCommand>},
      {{"play", "Play a stream, and measure what it carries", {}, kPlayOptions}, ShowSteps::Failed, true, &PreparePlay},
      {{"snapshot", "Fetch the camera's picture of now into a JPEG file; replaces one that is there", {"FILE"}, {}},
       ShowSteps::Failed,
       false,
       &PrepareSnapshot},
      {{"stream", "Set the recording and the live stream", {"set"}, kStreamOptions},
       ShowSteps::Failed,
       false,
       &PrepareStream},
      {{"audio", "Choose the audio codec of both streams", {"set AAC|G711|G726"}, {}},
       ShowSteps::All,
       false,
       &PrepareAudio},
      {{"ptz",
        "Move the lens: left, right, up, down, in, out, home, or a direction code",
        {"move DIRECTION", "start DIRECTION", "stop [DIRECTION]", "home"},
        kPtzOptions},
       ShowSteps::All,
       false,
       &PreparePtz},
      {{"preset",
        "List, store, visit and delete the server's presets, 0 to the camera's count less 1",
        {"list", "set NUMBER", "goto NUMBER", "delete NUMBER|NAME"},
        kPresetOptions},
       ShowSteps::Failed,
       false,
       &PreparePreset},
      {{"tour",
        "Live through a camera's whole life, step by step; Ctrl-C ends it and puts the camera back",
        {},
        kTourOptions},
       ShowSteps::All,
       true,
       &PrepareTour}};
  return commands;
}

int RunProgram(int argc, const char* const* argv) {
  std::vector<CommandHelp> help;
  for (const Command& command : Commands()) help.push_back(command.help);
  const Arguments arguments = ParseArguments(argc, argv, help);
  if (arguments.text.empty()) return RunCommand(arguments);
  Console console(false);
  console.Document(arguments.text);
  return Finished(console, CAMERA_OK);
}

}  // namespace camctl
