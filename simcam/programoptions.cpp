#include "simcam/programoptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace simcam {

namespace {

constexpr const char* kTitle = "A simulated ONVIF camera on 127.0.0.1";
constexpr const char* kFooter =
    "Exit status: 0 after a signal or a list, 1 when it cannot serve or the list cannot be written,\n"
    "2 for wrong usage, a wrong model or a wrong quirk.\n";
constexpr int kMaxPort = 65535;
constexpr int kMaxCameras = 200;                // each has a thread and some open files
constexpr std::size_t kMaxPasswordFile = 4096;  // bytes

struct Arguments {
  ProgramOptions options;
  std::optional<std::string> passwordFile;
  int port = 0;
  int controlPort = -1;  // none
  int rtspPort = 0;
  bool isWithoutStreams = false;
  int clockWindow = 300;  // seconds
};

void DeclareLists(CLI::App& app, Arguments& arguments) {
  app.set_version_flag("--version", std::string("simcam ") + SIMCAM_VERSION);
  app.add_flag("--list", arguments.options.isListAsked, "List the built-in models and exit");
  app.add_flag("--list-quirks", arguments.options.isQuirkListAsked, "List the quirks that a camera can have and exit");
}

void DeclareCamera(CLI::App& app, Arguments& arguments) {
  CameraOptions& camera = arguments.options.camera;
  app.add_option("--model", arguments.options.model, "Built-in model or path of a model file")
      ->type_name("MODEL")
      ->capture_default_str();
  app.add_option("--quirk", camera.quirks,
                 "NAME[=VALUE][@OPERATION][#NTH]: misbehave like this, always or for one operation or call; repeatable")
      ->type_name("QUIRK");
  app.add_option("--user", camera.user, "User name of the account")->type_name("USER")->capture_default_str();
  app.add_option("--password-file", arguments.passwordFile,
                 "File whose first line is the password; else SIMCAM_PASSWORD; else \"simcam\"")
      ->type_name("FILE");
  app.add_option("--clock-window", arguments.clockWindow, "Seconds that a token's time may be off, both ways")
      ->check(CLI::Range(1, 86400))
      ->capture_default_str();
}

void DeclarePorts(CLI::App& app, Arguments& arguments) {
  app.add_option("--port", arguments.port, "TCP port on 127.0.0.1; 0 picks a free one")
      ->check(CLI::Range(0, kMaxPort))
      ->capture_default_str();
  app.add_option("--control-port", arguments.controlPort,
                 "TCP port on 127.0.0.1 of the control address; 0 picks a free one; without it there is none")
      ->check(CLI::Range(0, kMaxPort));
  app.add_option("--rtsp-port", arguments.rtspPort, "TCP port on 127.0.0.1 for streams; 0 picks a free one")
      ->check(CLI::Range(0, kMaxPort))
      ->capture_default_str();
  app.add_flag("--no-rtsp", arguments.isWithoutStreams, "Serve no streams")->excludes("--rtsp-port");
  app.add_option("--count", arguments.options.count,
                 "Number of cameras, each on the next ports, or on free ones where a port is 0")
      ->check(CLI::Range(1, kMaxCameras))
      ->capture_default_str();
}

void Declare(CLI::App& app, Arguments& arguments) {
  DeclareLists(app, arguments);
  DeclareCamera(app, arguments);
  DeclarePorts(app, arguments);
}

std::string ReadPasswordFile(const std::string& path) {
  std::ifstream file(path);
  std::string text(kMaxPasswordFile + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.eof() && !file) {
    throw UsageError("cannot read the password file \"" + path + "\"");
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  std::string line = text.substr(0, text.find_first_of("\r\n"));
  if (line.empty() || text.size() > kMaxPasswordFile) {
    throw UsageError("the first line of " + path + " is not a password");
  }
  return line;
}

std::string PasswordOf(const Arguments& arguments) {
  if (arguments.passwordFile) {
    return ReadPasswordFile(*arguments.passwordFile);
  }
  const char* const fromEnvironment = std::getenv("SIMCAM_PASSWORD");
  return fromEnvironment == nullptr || *fromEnvironment == '\0' ? arguments.options.camera.password : fromEnvironment;
}

void CheckPort(const char* option, int first, int count) {
  if (first > 0 && first + count - 1 > kMaxPort) {
    throw UsageError(std::string(option) + ": " + std::to_string(count) + " ports from " + std::to_string(first) +
                     " on go beyond " + std::to_string(kMaxPort) + "; begin lower");
  }
}

ProgramOptions Finish(Arguments arguments) {
  CheckPort("--port", arguments.port, arguments.options.count);
  CheckPort("--control-port", arguments.controlPort, arguments.options.count);
  CheckPort("--rtsp-port", arguments.rtspPort, arguments.options.count);
  CameraOptions& camera = arguments.options.camera;
  camera.port = static_cast<std::uint16_t>(arguments.port);
  if (arguments.controlPort >= 0) {
    camera.controlPort = static_cast<std::uint16_t>(arguments.controlPort);
  }
  if (!arguments.isWithoutStreams) {
    camera.rtspPort = static_cast<std::uint16_t>(arguments.rtspPort);
  }
  camera.clockWindow = std::chrono::seconds(arguments.clockWindow);
  const bool isServing = !arguments.options.isListAsked && !arguments.options.isQuirkListAsked;
  if (isServing) {
    camera.password = PasswordOf(arguments);
  }
  return arguments.options;
}

}  // namespace

std::optional<ProgramOptions> ReadProgramOptions(int argc, char** argv) {
  CLI::App app(kTitle, "simcam");
  Arguments arguments;
  Declare(app, arguments);
  app.footer(kFooter);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& request) {
    app.exit(request);  // --help and --version
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  return Finish(std::move(arguments));
}

ProgramHelp DescribeProgram() {
  CLI::App app;
  Arguments arguments;
  Declare(app, arguments);
  ProgramHelp help{kTitle, {}, kFooter};
  for (const CLI::Option* option : app.get_options()) {
    const bool isSwitch = option->get_items_expected_max() == 0;
    // The type's name has the limits of the value behind it: "INT:INT in [0 - 65535]".
    const std::string type = isSwitch ? "" : option->get_type_name();
    const std::size_t end = std::min(type.find(':'), type.size());
    help.options.push_back({option->get_name(false, true), type.substr(0, end), option->get_description(),
                            type.substr(std::min(end + 1, type.size())), option->get_default_str()});
  }
  return help;
}

}  // namespace simcam
