#include "simcam/model.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "simcam/builtinmodels.h"
#include "simcam/modelreader.h"

namespace simcam {

namespace {

constexpr std::size_t kMaxModelFileSize = std::size_t{1024} * 1024;  // bytes

template <typename Item>
std::vector<std::string> Tokens(const std::vector<Item>& items) {
  std::vector<std::string> tokens;
  std::transform(items.begin(), items.end(), std::back_inserter(tokens), [](const Item& item) { return item.token; });
  return tokens;
}

std::string JoinedNames() {
  std::string joined;
  for (const std::string& name : ModelNames()) {
    joined += (joined.empty() ? "" : ", ") + name;
  }
  return joined;
}

// At most one byte more than the limit, so that a device file cannot fill the memory.
std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(kMaxModelFileSize + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.eof() && !file) {
    throw ModelError(path, "", "no such model and no readable file", "use a file or one of: " + JoinedNames());
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > kMaxModelFileSize) {
    throw ModelError(path, "", "the file is larger than 1 MiB", "is it a model file?");
  }
  return text;
}

}  // namespace

std::vector<std::string> CameraModel::ConfigurationTokens(ConfigurationKind kind) const {
  switch (kind) {
    case ConfigurationKind::VideoSource:
      return Tokens(videoSources);
    case ConfigurationKind::AudioSource:
      return Tokens(audioSources);
    case ConfigurationKind::VideoEncoder:
      return Tokens(videoEncoders);
    case ConfigurationKind::AudioEncoder:
      return Tokens(audioEncoders);
    case ConfigurationKind::Ptz:
      break;
  }
  return ptz ? Tokens(ptz->configurations) : std::vector<std::string>();
}

int CameraModel::RtspPort() const {
  const auto rtsp = std::find_if(protocols.begin(), protocols.end(),
                                 [](const NetworkProtocol& protocol) { return protocol.name == "RTSP"; });
  return rtsp == protocols.end() ? 0 : rtsp->port;
}

ModelError::ModelError(const std::string& source, const std::string& key, const std::string& reason,
                       const std::string& remedy)
    : std::runtime_error(source + ": " + (key.empty() ? std::string() : key + ": ") + reason + "; " + remedy) {}

std::vector<std::string> ModelNames() {
  std::vector<std::string> names;
  std::transform(kBuiltinModels, kBuiltinModels + kBuiltinModelsCount, std::back_inserter(names),
                 [](const EmbeddedFile& file) { return std::string(file.name); });
  std::sort(names.begin(), names.end());
  return names;
}

CameraModel LoadModel(const std::string& nameOrPath) {
  const auto* const end = kBuiltinModels + kBuiltinModelsCount;
  const auto* const builtin =
      std::find_if(kBuiltinModels, end, [&nameOrPath](const EmbeddedFile& file) { return file.name == nameOrPath; });
  return ParseModel(builtin == end ? ReadFile(nameOrPath) : std::string(builtin->text), nameOrPath);
}

CameraModel ParseModel(std::string_view json, const std::string& source) {
  CameraModel model = ReadModel(json, source);
  CheckModel(model, source);
  return model;
}

}  // namespace simcam
