// camctl caps: what the camera can do, as the driver reports it and a server stores it.

#include <algorithm>

#include "camctl/camerafile.h"
#include "camctl/commands.h"
#include "camctl/documents.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"

namespace camctl {

namespace {

constexpr KeyLabel kServiceKeys[] = {{"device_entry", "Device service"},
                                     {"media_entry", "Media service"},
                                     {"ptz_entry", "PTZ service"},
                                     {"channel_list", "First profile"},
                                     {"multi_channel_audio", "All profiles"}};

constexpr KeyLabel kVideoKeys[] = {{"quality_min", "Lowest quality"},          {"quality_max", "Highest quality"},
                                   {"default_image_quality", "Default level"}, {"resolution_independent", "Own size"},
                                   {"fps_independent", "Own frame rate"},      {"quality_independent", "Own quality"}};

constexpr KeyLabel kAudioKeys[] = {{"audio_format", "Codecs"}, {"default_audio_format", "Default"}};

constexpr KeyLabel kPtzKeys[] = {
    {"pan", "Pan"},          {"tilt", "Tilt"},           {"zoom", "Zoom"},        {"ptz_xmin", "Pan from"},
    {"ptz_xmax", "Pan to"},  {"ptz_ymin", "Tilt from"},  {"ptz_ymax", "Tilt to"}, {"ptz_zmin", "Zoom from"},
    {"ptz_zmax", "Zoom to"}, {"ptz_speed_max", "Speed"}, {"preset", "Presets"},   {"home", "Home position"}};

void ShowCapability(Console& console, const std::string& label, const std::string& value) {
  constexpr std::size_t columns = 18;
  console.Line("  " + PaddedRight(label, columns), Colour::Faint, value);
}

template <std::size_t Size>
void ShowGroup(Console& console, const char* heading, const KeyLabel (&labels)[Size], const Capabilities& report) {
  const bool any =
      std::any_of(std::begin(labels), std::end(labels), [&](const KeyLabel& row) { return report.count(row.key) > 0; });
  console.Line(any ? std::string(heading) : std::string(heading) + ": none");
  for (const KeyLabel& row : labels) {
    if (report.count(row.key) > 0) ShowCapability(console, row.label, ValueOf(report, row.key));
  }
}

// "1 to 30" for a list of frame rates.
std::string Span(const std::string& list) {
  const std::size_t last = list.rfind(',');
  return last == std::string::npos ? list : list.substr(0, list.find(',')) + " to " + list.substr(last + 1);
}

void ShowCodec(Console& console, const std::string& codec, const Capabilities& report) {
  if (report.count(codec) == 0) return;
  console.Line("Video " + codec);
  const std::string usual = ValueOf(report, "default_resolution_" + codec);
  for (const std::string& size : Split(ValueOf(report, "resolutions_" + codec))) {
    const std::string key = codec + "_" + size;
    ShowCapability(console, size,
                   Span(ValueOf(report, "fps_" + key)) + " frames/s, default " + ValueOf(report, "default_fps_" + key) +
                       (size == usual ? ", default size" : ""));
  }
}

void ShowReport(Console& console, const CameraReport& camera) {
  const Capabilities& report = camera.capabilities;
  ShowCapability(console, "Address", HostPort(camera.host, camera.port));
  ShowCapability(console, "ONVIF version", ValueOf(report, "version_major") + "." + ValueOf(report, "version_minor"));
  ShowCapability(console, "Camera", ValueOf(report, "vendor") + " " + ValueOf(report, "model"));
  ShowGroup(console, "Services", kServiceKeys, report);
  for (const std::string& codec : ONVIFAPI::m_rgstrLwrCodec) ShowCodec(console, codec, report);
  ShowGroup(console, "Video of all codecs", kVideoKeys, report);
  ShowGroup(console, "Audio", kAudioKeys, report);
  ShowGroup(console, "PTZ", kPtzKeys, report);
}

constexpr const char* kWithoutCapabilities = "without the capabilities, one of which holds the password";

// Whether the password, or a word like it, stands in the report, which then shows it as what it is not.
bool HoldsPassword(Session& session) {
  const Capabilities& shown = session.Camera().capabilities;
  return std::any_of(shown.begin(), shown.end(),
                     [&](const auto& entry) { return ValueOf(session.Record(), entry.first) != entry.second; });
}

// What a server would have stored of the camera. No password is written, and no address that was made unreadable and
// would not work: for what is left out the camera is asked each time.
CameraFile FileOf(Session& session) {
  const Connection& connection = session.GetConnection();
  CameraFile file;
  file.host = connection.host;
  file.port = connection.port;
  if (!connection.user.empty()) file.user = connection.user;
  if (session.WithoutPassword(session.Profiles()) == session.Profiles()) file.profiles = session.Profiles();
  if (!HoldsPassword(session)) file.capabilities = session.Camera().capabilities;
  return file;
}

Step Save(const std::string& path, bool replace) {
  return {"save", "none",
          [path, replace](Session& session) {
            const std::string error = WriteWhole(path, CameraFileText(FileOf(session)), replace);
            if (!error.empty()) {
              return StepOutcome{
                  CAMERA_FAILED, "",
                  Cause{path + " cannot be written: " + error, "give another FILE, or --force to replace one"}};
            }
            return StepOutcome{CAMERA_OK, HoldsPassword(session) ? path + ", " + kWithoutCapabilities : path, {}};
          },
          true};
}

void RunCaps(Runner& runner, const std::optional<std::string>& path, bool replace) {
  if (!runner.Discover() || !runner.Run(kReport)) return;
  Session& session = runner.GetSession();
  ShowReport(runner.GetConsole(), session.Camera());
  if (!path || !runner.LearnProfiles() || !runner.Run(Save(*path, replace))) return;
  session.Camera().profiles = session.WithoutPassword(session.Profiles());
  runner.GetConsole().Line("");
  const std::string saved = HoldsPassword(session) ? std::string("Saved ") + kWithoutCapabilities : "Saved";
  runner.GetConsole().Line(saved + "; use it with --camera " + *path);
}

}  // namespace

Task PrepareCaps(const Request& request) {
  const std::optional<std::string> path = request.Option("--save");
  const bool replace = request.Has("--force");
  if (replace && !path) throw UsageError("--force goes with --save FILE");
  if (path && path->empty()) throw UsageError("--save needs the name of a file");
  return [path, replace](Runner& runner) { RunCaps(runner, path, replace); };
}

}  // namespace camctl
