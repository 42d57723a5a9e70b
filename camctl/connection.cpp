#include "camctl/connection.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "camctl/documents.h"
#include "camctl/secrets.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"
#include "simcam/quirks/quirkset.h"
#include "simcam/rtspserver.h"

namespace camctl {

namespace {

constexpr const char* kDefaultModel = "ptz-dome";
constexpr std::size_t kLargestCameraFile = std::size_t{1024} * 1024;  // bytes

int ReadPort(const std::string& text) {
  constexpr int highest = 65535;
  return ReadWhole(text, 1, highest, "--port", "port");
}

int ReadTimeout(const std::string& text) {
  constexpr int highest = 3600;
  return ReadWhole(text, 1, highest, "--timeout", "time in seconds");
}

bool WantsCameraClock(const std::string& text) {
  if (text != "camera" && text != "here") throw UsageError("--clock '" + text + "' is no clock; give camera or here");
  return text == "camera";
}

std::string CheckedProfiles(const std::string& pair, const std::string& source) {
  const std::size_t comma = pair.find(',');
  const bool complete = !pair.empty() && comma != 0 && comma != pair.size() - 1;
  if (!complete || pair.find(',', comma == std::string::npos ? comma : comma + 1) != std::string::npos) {
    throw UsageError(source + " '" + pair + "' names no profiles; give MAIN or MAIN,LIVE");
  }
  return pair;
}

CameraFile ReadCameraFile(const std::string& path) {
  const std::string source = "--camera " + path;
  std::ifstream file(path, std::ios::binary);
  std::string text(kLargestCameraFile + 1, '\0');
  if (file) file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad() || !file.is_open()) throw UsageError(source + ": cannot be read: " + std::strerror(errno));
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > kLargestCameraFile) throw UsageError(source + ": is no camera file: larger than 1 MiB");
  return ParseCameraFile(text, source);
}

// A password that was handed over, which is better than asking for one.
std::optional<std::string> GivenPassword(const ConnectionOptions& options) {
  std::optional<std::string> environment = TakeEnvironmentPassword();
  if (options.passwordFile) return ReadPasswordFile(*options.passwordFile);
  return environment;
}

std::string FindPassword(const ConnectionOptions& options, const std::string& user) {
  std::optional<std::string> password = GivenPassword(options);
  if (!password && !user.empty()) password = PromptPassword(user);
  if (!password && !user.empty()) {
    throw UsageError("no password for '" + user + "': set " + kPasswordVariable +
                     ", give --password-file, or run on a terminal");
  }
  return password.value_or("");
}

void RefuseBesideSim(const ConnectionOptions& options) {
  const std::pair<bool, const char*> others[] = {{options.host.has_value(), "--host"},
                                                 {options.port.has_value(), "--port"},
                                                 {options.cameraFile.has_value(), "--camera"}};
  for (const auto& [given, name] : others) {
    if (given) throw UsageError(std::string("--sim starts a camera of its own; leave out ") + name);
  }
}

void CheckQuirks(const std::vector<std::string>& quirks) {
  try {
    const simcam::QuirkSet checked(quirks);
  } catch (const simcam::QuirkError& error) {
    throw UsageError("--quirk: " + std::string(error.what()));
  }
}

std::unique_ptr<simcam::SimCamera> StartCamera(const std::string& model, const simcam::CameraOptions& options) {
  try {
    return std::make_unique<simcam::SimCamera>(simcam::LoadModel(model), options);
  } catch (const simcam::ModelError& error) {
    throw UsageError("--sim: " + std::string(error.what()));
  }
}

Target SimulatedTarget(const ConnectionOptions& options) {
  RefuseBesideSim(options);
  CheckQuirks(options.quirks);
  simcam::CameraOptions camera;
  camera.quirks = options.quirks;
  std::string reason;
  if (options.streams && simcam::RtspServer::IsAvailable(reason)) camera.rtspPort = 0;
  const std::string model = options.simulated->empty() ? kDefaultModel : *options.simulated;
  Target target;
  target.connection.simulated = model;
  target.connection.user = options.user.value_or(camera.user);
  target.connection.password = GivenPassword(options).value_or(camera.password);
  target.camera = StartCamera(model, camera);
  target.connection.host = "127.0.0.1";
  target.connection.port = target.camera->Port();
  return target;
}

Target RealTarget(const ConnectionOptions& options) {
  constexpr int httpPort = 80;
  const CameraFile file = options.cameraFile ? ReadCameraFile(*options.cameraFile) : CameraFile();
  Target target;
  Connection& connection = target.connection;
  connection.host = options.host.value_or(file.host.value_or(""));
  if (!options.quirks.empty()) throw UsageError("--quirk is for simulated cameras; add --sim");
  if (connection.host.empty()) throw UsageError("no camera given: use --host HOST, --camera FILE or --sim");
  connection.port = options.port ? ReadPort(*options.port) : file.port.value_or(httpPort);
  connection.user = options.user.value_or(file.user.value_or(""));
  connection.capabilities = file.capabilities;
  if (!file.profiles.empty())
    connection.profiles = CheckedProfiles(file.profiles, *options.cameraFile + ": \"profiles\"");
  connection.password = FindPassword(options, connection.user);
  return target;
}

}  // namespace

std::string ValueOf(const Capabilities& capabilities, const std::string& key) {
  const auto found = capabilities.find(key);
  return found == capabilities.end() ? std::string() : found->second;
}

Target OpenTarget(const ConnectionOptions& options) {
  const int timeout = options.timeout ? ReadTimeout(*options.timeout) : 0;
  const bool cameraClock = options.clock && WantsCameraClock(*options.clock);
  const std::string profiles = options.profiles ? CheckedProfiles(*options.profiles, "--profiles") : "";
  Target target = options.simulated ? SimulatedTarget(options) : RealTarget(options);
  target.connection.timeoutSeconds = timeout;
  target.connection.cameraClock = cameraClock;
  if (!profiles.empty()) target.connection.profiles = profiles;
  return target;
}

}  // namespace camctl
