// The program simcam: one simulated camera until SIGINT or SIGTERM.
#include <pthread.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "simcam/quirks/quirkset.h"
#include "simcam/rtspserver.h"
#include "simcam/simcamera.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kMaxPort = 65535;
constexpr std::size_t kMaxPasswordFile = 4096;  // bytes

// Wrong use of the program; what() is the line for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Arguments {
  bool isListAsked = false;
  bool isQuirkListAsked = false;
  std::string model = "ptz-dome";
  std::string passwordFile;
  int port = 0;
  int rtspPort = 0;
  bool isWithoutStreams = false;
  int clockWindow = 300;  // seconds
  simcam::CameraOptions camera;
};

void Declare(CLI::App& app, Arguments& arguments) {
  app.set_version_flag("--version", std::string("simcam ") + SIMCAM_VERSION);
  app.add_flag("--list", arguments.isListAsked, "List the built-in models and exit");
  app.add_flag("--list-quirks", arguments.isQuirkListAsked, "List the quirks that a camera can have and exit");
  app.add_option(
      "--quirk", arguments.camera.quirks,
      "NAME[=VALUE][@OPERATION][#NTH]: misbehave like this, always or for one operation or call; repeatable");
  app.add_option("--model", arguments.model, "Built-in model or path of a model file")->capture_default_str();
  app.add_option("--port", arguments.port, "TCP port on 127.0.0.1; 0 picks a free one")
      ->check(CLI::Range(0, kMaxPort))
      ->capture_default_str();
  app.add_option("--rtsp-port", arguments.rtspPort, "TCP port on 127.0.0.1 for streams; 0 picks a free one")
      ->check(CLI::Range(0, kMaxPort))
      ->capture_default_str();
  app.add_flag("--no-rtsp", arguments.isWithoutStreams, "Serve no streams")->excludes("--rtsp-port");
  app.add_option("--user", arguments.camera.user, "User name of the account")->capture_default_str();
  app.add_option("--password-file", arguments.passwordFile,
                 "File whose first line is the password; else SIMCAM_PASSWORD; else \"simcam\"");
  app.add_option("--clock-window", arguments.clockWindow, "Seconds that a token's time may be off, both ways")
      ->check(CLI::Range(1, 86400))
      ->capture_default_str();
}

std::string ReadPasswordFile(const std::string& path) {
  std::ifstream file(path);
  std::string text(kMaxPasswordFile + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.eof() && !file) {
    throw UsageError("cannot read the password file " + path);
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  std::string line = text.substr(0, text.find_first_of("\r\n"));
  if (line.empty() || text.size() > kMaxPasswordFile) {
    throw UsageError("the first line of " + path + " is not a password");
  }
  return line;
}

std::string PasswordOf(const Arguments& arguments) {
  if (!arguments.passwordFile.empty()) {
    return ReadPasswordFile(arguments.passwordFile);
  }
  const char* const fromEnvironment = std::getenv("SIMCAM_PASSWORD");
  return fromEnvironment == nullptr || *fromEnvironment == '\0' ? arguments.camera.password : fromEnvironment;
}

int PrintList() {
  for (const std::string& name : simcam::ModelNames()) {
    std::printf("%-15s %s\n", name.c_str(), simcam::LoadModel(name).title.c_str());
  }
  return 0;
}

std::string UsageOf(const simcam::Quirk& quirk) {
  const bool hasValue = quirk.parameter.kind != simcam::QuirkParameter::Kind::None;
  return std::string(quirk.name) + (hasValue ? std::string("=") + quirk.parameter.standard : "");
}

int PrintQuirks() {
  for (const simcam::QuirkGroup& group : simcam::AllQuirks()) {
    for (const simcam::Quirk& quirk : group.quirks) {
      std::printf("%-10s %-32s %s\n", group.name, UsageOf(quirk).c_str(), quirk.trouble);
    }
  }
  return 0;
}

// To be called before any thread starts, so that all threads inherit the mask.
sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

// Returns why there will be no streams; empty when there will be.
std::string DecideOnStreams(Arguments& arguments) {
  std::string reason = "switched off by --no-rtsp";
  if (!arguments.isWithoutStreams && simcam::RtspServer::IsAvailable(reason)) {
    arguments.camera.rtspPort = static_cast<std::uint16_t>(arguments.rtspPort);
  }
  return reason;
}

int Serve(Arguments arguments) {
  simcam::CameraModel model = simcam::LoadModel(arguments.model);
  simcam::QuirkSet(arguments.camera.quirks);  // wrong use is told before the camera starts
  arguments.camera.password = PasswordOf(arguments);
  arguments.camera.port = static_cast<std::uint16_t>(arguments.port);
  arguments.camera.clockWindow = std::chrono::seconds(arguments.clockWindow);
  const sigset_t signals = BlockEndSignals();
  const std::string noStreams = DecideOnStreams(arguments);
  const simcam::SimCamera camera(std::move(model), arguments.camera);
  std::printf("simcam: %s listening on http://127.0.0.1:%u%s (user %s)\n", camera.Model().name.c_str(),
              unsigned{camera.Port()}, camera.Model().paths.device.c_str(), arguments.camera.user.c_str());
  if (camera.StreamPort()) {
    std::printf("simcam: streams on rtsp://127.0.0.1:%u\n", unsigned{*camera.StreamPort()});
  } else {
    std::printf("simcam: no streams: %s\n", noStreams.c_str());
  }
  std::fflush(stdout);
  int signal = 0;
  sigwait(&signals, &signal);
  return 0;
}

int Fail(int status, const char* reason) {
  std::fprintf(stderr, "simcam: %s\n", reason);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("A simulated ONVIF camera on 127.0.0.1", "simcam");
  Arguments arguments;
  try {
    Declare(app, arguments);
    app.parse(argc, argv);
    if (arguments.isQuirkListAsked) {
      return PrintQuirks();
    }
    return arguments.isListAsked ? PrintList() : Serve(arguments);
  } catch (const CLI::Success& request) {
    return app.exit(request);  // --help and --version
  } catch (const CLI::ParseError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const UsageError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const simcam::QuirkError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const simcam::ModelError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const std::exception& error) {
    return Fail(kExitFailure, error.what());
  }
}
