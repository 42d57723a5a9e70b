#include "camctl/documents.h"

#include <nlohmann/json.hpp>

#include "camctl/usageerror.h"

namespace camctl {

namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

[[noreturn]] void Refuse(const std::string& source, const std::string& reason) {
  throw UsageError(source + ": " + reason);
}

std::string ReadText(const Json& value, const std::string& source, const std::string& key) {
  if (!value.is_string()) Refuse(source, "\"" + key + "\" must be a text, write it in quotes");
  return value.get<std::string>();
}

void ReadHost(const Json& value, const std::string& source, CameraFile& file) {
  file.host = ReadText(value, source, "host");
}

void ReadPort(const Json& value, const std::string& source, CameraFile& file) {
  constexpr std::uint64_t highest = 65535;
  if (!value.is_number_unsigned() || value.get<std::uint64_t>() == 0 || value.get<std::uint64_t>() > highest) {
    Refuse(source, "\"port\" must be a number from 1 to 65535, without quotes");
  }
  file.port = value.get<int>();
}

void ReadUser(const Json& value, const std::string& source, CameraFile& file) {
  file.user = ReadText(value, source, "user");
}

void ReadProfiles(const Json& value, const std::string& source, CameraFile& file) {
  file.profiles = ReadText(value, source, "profiles");
}

void ReadCapabilities(const Json& value, const std::string& source, CameraFile& file) {
  if (!value.is_object()) Refuse(source, "\"capabilities\" must be an object of texts");
  for (const auto& [key, text] : value.items()) {
    file.capabilities[key] = ReadText(text, source, "capabilities." + key);
  }
}

void RefusePassword(const Json&, const std::string& source, CameraFile&) {
  Refuse(source, "holds a \"password\"; take it out, use the prompt, CAMCTL_PASSWORD or --password-file");
}

struct KeyReader {
  const char* key;
  void (*read)(const Json& value, const std::string& source, CameraFile& file);
};

constexpr KeyReader kKeys[] = {{"host", &ReadHost},
                               {"port", &ReadPort},
                               {"user", &ReadUser},
                               {"profiles", &ReadProfiles},
                               {"capabilities", &ReadCapabilities},
                               {"password", &RefusePassword}};

void ReadKey(const std::string& key, const Json& value, const std::string& source, CameraFile& file) {
  for (const KeyReader& row : kKeys) {
    if (key == row.key) return row.read(value, source, file);
  }
  Refuse(source, "unknown key \"" + key + "\"; known are host, port, user, profiles, capabilities");
}

constexpr int kIndent = 2;

std::string Printed(const OrderedJson& json) {
  return json.dump(kIndent, ' ', false, OrderedJson::error_handler_t::replace) + "\n";
}

OrderedJson SettingJson(const Setting& setting) {
  return {{"stream", setting.stream}, {"setting", setting.name}, {"before", setting.before},
          {"asked", setting.asked},   {"after", setting.after},  {"taken", setting.Taken()}};
}

OrderedJson PlaybackJson(const Playback& playback) {
  OrderedJson json = {{"codec", playback.codec},
                      {"width", playback.width},
                      {"height", playback.height},
                      {"frames", playback.frames},
                      {"seconds", playback.span},
                      {"frames_per_second", playback.Rate()},
                      {"first_picture_ms", playback.firstPicture.count()}};
  if (!playback.audio) return json;
  const AudioTrack& audio = *playback.audio;
  json["audio"] = {{"codec", audio.codec}, {"rate", audio.rate}, {"packets", audio.packets}};
  return json;
}

void AddPictures(const CameraReport& camera, OrderedJson& json) {
  for (const auto& [name, playback] : camera.played) {
    if (playback.frames > 0) json["played"][name] = PlaybackJson(playback);
  }
  if (!camera.snapshot) return;
  const SnapshotFile& snapshot = *camera.snapshot;
  json["snapshot"] = {
      {"file", snapshot.path}, {"width", snapshot.width}, {"height", snapshot.height}, {"bytes", snapshot.bytes}};
}

void AddFound(const CameraReport& camera, OrderedJson& json) {
  if (!camera.profiles.empty()) json["profiles"] = camera.profiles;
  if (!camera.capabilities.empty()) json["capabilities"] = camera.capabilities;
  for (const Setting& setting : camera.streams) json["streams"].push_back(SettingJson(setting));
  if (!camera.presets) return;
  json["presets"] = OrderedJson::object();
  for (const auto& [number, name] : *camera.presets) json["presets"][std::to_string(number)] = name;
}

OrderedJson CameraJson(const CameraReport& camera) {
  OrderedJson json = {{"host", camera.host}, {"port", camera.port}};
  if (!camera.simulated.empty()) json["simulated"] = camera.simulated;
  if (camera.clockAhead) json["clock_ahead_ms"] = camera.clockAhead->count();
  for (const auto& [key, value] : camera.facts) json.emplace(key, value);
  for (const auto& [name, found] : camera.paths) {
    json["paths"][name] = {{"path", found.path}, {"port", found.port}, {"url", found.url}};
  }
  AddPictures(camera, json);
  AddFound(camera, json);
  return json;
}

OrderedJson StepJson(const StepReport& step) {
  return {{"step", step.step},
          {"operation", step.operation},
          {"result", step.result},
          {"ms", step.milliseconds},
          {"detail", step.detail}};
}

}  // namespace

CameraFile ParseCameraFile(std::string_view json, const std::string& source) {
  CameraFile file;
  try {
    const Json document = Json::parse(json);
    if (!document.is_object()) Refuse(source, "must hold one JSON object");
    for (const auto& [key, value] : document.items()) ReadKey(key, value, source, file);
  } catch (const Json::parse_error& error) {
    Refuse(source, "is no JSON: wrong at byte " + std::to_string(error.byte));
  } catch (const Json::out_of_range&) {
    Refuse(source, "holds a number that is too large");
  }
  return file;
}

std::string CameraFileText(const CameraFile& file) {
  OrderedJson json = OrderedJson::object();
  if (file.host) json["host"] = *file.host;
  if (file.port) json["port"] = *file.port;
  if (file.user) json["user"] = *file.user;
  if (!file.profiles.empty()) json["profiles"] = file.profiles;
  json["capabilities"] = file.capabilities;
  return Printed(json);
}

std::string JsonText(const Report& report) {
  OrderedJson json;
  json["camera"] = CameraJson(report.camera);
  json["steps"] = OrderedJson::array();
  for (const StepReport& step : report.steps) json["steps"].push_back(StepJson(step));
  json["result"] = report.result;
  return Printed(json);
}

}  // namespace camctl
