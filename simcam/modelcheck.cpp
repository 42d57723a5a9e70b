#include <algorithm>
#include <set>
#include <utility>

#include "simcam/bytoken.h"
#include "simcam/dispatcher.h"
#include "simcam/encoderoptions.h"
#include "simcam/modelreader.h"
#include "simcam/namespaces.h"

namespace simcam {

namespace {

constexpr std::size_t kMaxTokenLength = 64;  // bytes; the schema allows 64 characters

// Where the parts of a model stand in its file, in the order of ConfigurationKind.
constexpr const char* kConfigurationKeys[kConfigurationKinds] = {
    "videoSourceConfigurations", "audioSourceConfigurations", "videoEncoderConfigurations",
    "audioEncoderConfigurations", "ptz.configurations"};

class Checker {
 public:
  explicit Checker(std::string source) : m_source(std::move(source)) {}

  void Require(bool isRight, const std::string& key, const std::string& reason, const std::string& remedy) const {
    if (!isRight) {
      throw ModelError(m_source, key, reason, remedy);
    }
  }

  void RequireTokens(const std::vector<std::string>& tokens, const std::string& key) const {
    std::set<std::string> seen;
    for (const std::string& token : tokens) {
      Require(token.size() <= kMaxTokenLength, key, "a token is longer than 64 bytes", "shorten it");
      Require(seen.insert(token).second, key, "the token \"" + token + "\" stands there twice", "rename one");
    }
  }

  void RequireName(const std::string& name, const std::string& key) const {
    Require(name.size() <= kMaxTokenLength, key, "a name is longer than 64 bytes", "shorten it");
  }

  void RequirePath(const std::string& path, const std::string& key) const {
    Require(path.front() == '/' && path.find_first_of(" \"<>\\^`") == std::string::npos, key, "not a path",
            "start it with / and percent-encode blanks");
  }

 private:
  std::string m_source;
};

template <typename Item>
std::vector<std::string> TokensOf(const std::vector<Item>& items) {
  std::vector<std::string> tokens;
  for (const Item& item : items) {
    tokens.push_back(item.token);
  }
  return tokens;
}

bool Contains(const std::vector<std::string>& tokens, const std::string& token) {
  return std::find(tokens.begin(), tokens.end(), token) != tokens.end();
}

bool IsMacAddress(const std::string& text) {
  constexpr std::size_t kLength = 17;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isRight =
        i % 3 == 2 ? text[i] == ':' : std::string("0123456789abcdefABCDEF").find(text[i]) != std::string::npos;
    if (!isRight) {
      return false;
    }
  }
  return text.size() == kLength;
}

void CheckNetwork(const Checker& check, const CameraModel& model) {
  check.Require(IsMacAddress(model.macAddress), "macAddress", "not a MAC address", "write it as 02:00:00:00:00:01");
  check.Require(!model.versions.empty(), "versions", "empty", "give at least one version, the newest first");
  const auto rtspEntries = std::count_if(model.protocols.begin(), model.protocols.end(),
                                         [](const NetworkProtocol& protocol) { return protocol.name == "RTSP"; });
  check.Require(rtspEntries == 1, "protocols", "not exactly one RTSP entry", "give one; its port is the streams' port");
}

void CheckPaths(const Checker& check, const CameraModel& model) {
  check.RequirePath(model.paths.device, "services.device");
  check.RequirePath(model.paths.media, "services.media");
  check.Require(model.paths.ptz.empty() != model.ptz.has_value(), "services.ptz",
                "a PTZ path and a ptz object belong together", "give both or neither");
  if (model.ptz) {
    check.RequirePath(model.paths.ptz, "services.ptz");
  }
  for (const auto& [path, key] :
       {std::pair(model.stream.path, "stream.path"), std::pair(model.snapshotPath, "snapshotPath")}) {
    check.RequirePath(path, key);
    check.Require(path.find("{profile}") != std::string::npos, key, "no {profile} in it",
                  "the address must tell profiles apart");
  }
}

// What a client can set must be what it can watch.
void CheckSizes(const Checker& check, const VideoEncoderOptions& options, const VideoCodecOptions& codec) {
  for (const Resolution& size : codec.resolutions) {
    const std::string problem = WhyNotStreamable(codec.codec, size);
    check.Require(problem.empty(), "videoEncoderOptions",
                  "\"" + options.token + "\" offers " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                      ", but " + problem,
                  "change the size");
  }
}

void CheckVideo(const Checker& check, const CameraModel& model) {
  check.Require(!model.videoEncoderOptions.empty(), "videoEncoderOptions", "empty", "give at least one set of options");
  check.RequireTokens(TokensOf(model.videoEncoderOptions), "videoEncoderOptions");
  for (const VideoEncoderOptions& options : model.videoEncoderOptions) {
    for (const VideoCodecOptions& codec : options.codecs) {
      check.Require(&codec == FindCodec(options, codec.codec), "videoEncoderOptions",
                    "\"" + options.token + "\" has a codec twice", "join them");
      const bool isWhole =
          !codec.resolutions.empty() && codec.codecProfiles.empty() == (codec.codec == VideoCodec::Jpeg);
      check.Require(isWhole, "videoEncoderOptions", "\"" + options.token + "\" has a codec without sizes or profiles",
                    "give at least one of each");
      CheckSizes(check, options, codec);
    }
  }
  for (const VideoEncoderConfiguration& encoder : model.videoEncoders) {
    const std::string key = "videoEncoderConfigurations";
    const VideoEncoderOptions* const options = FindByToken(model.videoEncoderOptions, encoder.options);
    check.Require(options != nullptr, key,
                  "\"" + encoder.token + "\" has the unknown options \"" + encoder.options + "\"",
                  "name one of videoEncoderOptions");
    const std::string problem = ProblemOf(encoder, *options);
    check.Require(problem.empty(), key, "\"" + encoder.token + "\": " + problem, "change it or its options");
  }
}

void CheckAudio(const Checker& check, const CameraModel& model) {
  for (const AudioCodecOptions& codec : model.audioCodecs) {
    check.Require(!codec.bitrates.empty() && !codec.sampleRates.empty(), "audioEncoderOptions",
                  codec.encoding + " has no bitrate or no sample rate", "give at least one of each");
  }
  for (const AudioEncoderConfiguration& encoder : model.audioEncoders) {
    const std::string problem = ProblemOf(encoder, model.audioCodecs);
    check.Require(problem.empty(), "audioEncoderConfigurations", "\"" + encoder.token + "\": " + problem,
                  "change it or audioEncoderOptions");
  }
}

void CheckOperations(const Checker& check, const CameraModel& model) {
  for (const std::string& name : model.unsupportedOperations) {
    const bool isKnown = std::any_of(AllOperations().begin(), AllOperations().end(),
                                     [&name](const Operation& operation) { return operation.name == name; });
    check.Require(isKnown, "unsupportedOperations", "no operation is called \"" + name + "\"", "correct its name");
  }
}

bool IsInside(const LensPosition& position, const PtzNode& node) {
  return position.pan >= node.pan.min && position.pan <= node.pan.max && position.tilt >= node.tilt.min &&
         position.tilt <= node.tilt.max && position.zoom >= node.zoom.min && position.zoom <= node.zoom.max;
}

void CheckNode(const Checker& check, const PtzNode& node) {
  const std::string key = "ptz.nodes";
  const std::string label = "\"" + node.token + "\"";
  check.Require(node.panTiltMoves.Any() || node.zoomMoves.Any(), key, label + " moves nothing", "give it a move");
  check.Require(!node.home || IsInside(*node.home, node), key, "the home of " + label + " is outside its limits",
                "move it inside");
  check.RequireTokens(TokensOf(node.presets), key + ".presets");
  check.Require(node.presets.size() <= static_cast<std::size_t>(node.maxPresets), key,
                label + " has more presets than maxPresets", "raise it");
  for (const Preset& preset : node.presets) {
    check.RequireName(preset.name, key + ".presets");
    check.Require(IsInside(preset.position, node), key,
                  "the preset \"" + preset.token + "\" of " + label + " is outside its limits", "move it inside");
  }
}

void CheckPtz(const Checker& check, const PtzModel& ptz, const OnvifVersion& newest) {
  const std::vector<std::string> nodes = TokensOf(ptz.nodes);
  check.RequireTokens(nodes, "ptz.nodes");
  for (const PtzConfiguration& configuration : ptz.configurations) {
    check.Require(Contains(nodes, configuration.node), "ptz.configurations",
                  "\"" + configuration.token + "\" drives the unknown node \"" + configuration.node + "\"",
                  "name a node of ptz.nodes");
  }
  for (const PtzNode& node : ptz.nodes) {
    CheckNode(check, node);
  }
  const bool isFirstRelease = newest.major == 1 && newest.minor == 0;
  check.Require(isFirstRelease == (ptz.serviceNamespace == ns::kPtz10), "ptz.namespace",
                "only cameras whose version is 1.0 speak the ver10 namespace", "change the namespace or the versions");
}

void CheckProfiles(const Checker& check, const CameraModel& model) {
  check.RequireTokens(TokensOf(model.profiles), "profiles");
  check.Require(model.profiles.size() <= model.maxProfiles, "maxProfiles", "fewer than there are profiles", "raise it");
  for (const Profile& profile : model.profiles) {
    check.RequireName(profile.name, "profiles");
    for (std::size_t kind = 0; kind < kConfigurationKinds; ++kind) {
      const std::string& token = profile.bindings.at(kind);
      const bool isKnown =
          token.empty() || Contains(model.ConfigurationTokens(static_cast<ConfigurationKind>(kind)), token);
      check.Require(isKnown, "profiles", "\"" + profile.token + "\" binds the unknown configuration \"" + token + "\"",
                    std::string("name one of ") + kConfigurationKeys[kind]);
    }
  }
}

void CheckQuirks(const Checker& check, const CameraModel& model) {
  for (std::size_t i = 0; i < model.quirks.size(); ++i) {
    try {
      ParseQuirk(model.quirks[i]);
    } catch (const QuirkError& error) {
      check.Require(false, "quirks[" + std::to_string(i) + "]", error.what(), "correct or remove it");
    }
  }
}

}  // namespace

void CheckModel(const CameraModel& model, const std::string& source) {
  const Checker check(source);
  CheckNetwork(check, model);
  CheckPaths(check, model);
  for (std::size_t kind = 0; kind < kConfigurationKinds; ++kind) {
    check.RequireTokens(model.ConfigurationTokens(static_cast<ConfigurationKind>(kind)), kConfigurationKeys[kind]);
  }
  CheckVideo(check, model);
  CheckAudio(check, model);
  CheckOperations(check, model);
  CheckQuirks(check, model);
  if (model.ptz) {
    CheckPtz(check, *model.ptz, model.versions.front());
  }
  CheckProfiles(check, model);
}

}  // namespace simcam
