#include "simcam/modelreader.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "simcam/encoderoptions.h"
#include "simcam/namespaces.h"
#include "simcam/objectreader.h"
#include "simcam/picture.h"

namespace simcam {

namespace {

constexpr int kMaxPixels = 16384;
constexpr int kMaxPort = 65535;
constexpr int kMaxFrameRate = 240;
constexpr int kMaxBitrate = 1000000;  // kbit/s
constexpr int kMaxGovLength = 1000;
constexpr int kMaxQuality = 100;
constexpr int kMaxAudioBitrate = 1024;  // kbit/s
constexpr int kMaxSampleRate = 192;     // kHz

Range ReadRange(ObjectReader object, double min, double max) {
  Range range;
  range.min = object.Number("min", min, max);
  range.max = object.Number("max", min, max);
  object.Finish();
  if (range.min > range.max) {
    throw object.Error("min", "greater than max", "exchange them");
  }
  return range;
}

Identity ReadIdentity(ObjectReader object) {
  Identity identity;
  identity.manufacturer = object.Text("manufacturer");
  identity.model = object.Text("model");
  identity.firmware = object.Text("firmware");
  identity.serial = object.Text("serial");
  identity.hardwareId = object.Text("hardwareId");
  object.Finish();
  return identity;
}

OnvifVersion ReadVersion(ObjectReader& object) {
  return {object.Integer("major", 1, 99), object.Integer("minor", 0, 99)};
}

ServicePaths ReadPaths(ObjectReader object) {
  ServicePaths paths;
  paths.device = object.Text("device");
  paths.media = object.Text("media");
  paths.ptz = object.Has("ptz") ? object.Text("ptz") : std::string();
  object.Finish();
  return paths;
}

NetworkProtocol ReadProtocol(ObjectReader& object) {
  NetworkProtocol protocol;
  protocol.name = object.OneOf("name", {"HTTP", "HTTPS", "RTSP"});
  protocol.enabled = object.Boolean("enabled");
  protocol.port = object.Integer("port", protocol.name == "HTTP" ? 0 : 1, kMaxPort);
  return protocol;
}

StreamStyle ReadStream(ObjectReader object) {
  StreamStyle stream;
  stream.path = object.Text("path");
  stream.portInUri = object.Boolean("portInUri");
  object.Finish();
  return stream;
}

HttpAuthentication ReadAuthentication(ObjectReader& object, const char* key) {
  if (!object.Has(key)) {
    return HttpAuthentication::None;
  }
  const std::pair<const char*, HttpAuthentication> names[] = {{"none", HttpAuthentication::None},
                                                              {"digest", HttpAuthentication::Digest},
                                                              {"digestSha256", HttpAuthentication::DigestSha256},
                                                              {"digestBoth", HttpAuthentication::DigestBoth}};
  const std::string name = object.OneOf(key, {names[0].first, names[1].first, names[2].first, names[3].first});
  return std::find_if(std::begin(names), std::end(names), [&name](const auto& row) { return row.first == name; })
      ->second;
}

VideoSourceConfiguration ReadVideoSource(ObjectReader& object) {
  VideoSourceConfiguration source;
  source.token = object.Text("token");
  source.name = object.Text("name");
  source.source = object.Text("source");
  source.width = object.Integer("width", 1, kMaxPixels);
  source.height = object.Integer("height", 1, kMaxPixels);
  return source;
}

AudioSourceConfiguration ReadAudioSource(ObjectReader& object) {
  return {object.Text("token"), object.Text("name"), object.Text("source")};
}

WholeRange ReadWholeRange(ObjectReader object, int min, int max) {
  WholeRange range;
  range.min = object.Integer("min", min, max);
  range.max = object.Integer("max", min, max);
  object.Finish();
  if (range.min > range.max) {
    throw object.Error("min", "greater than max", "exchange them");
  }
  return range;
}

VideoCodec ReadCodec(ObjectReader& object) {
  return *CodecNamed(object.OneOf("encoding", {"JPEG", "MPEG4", "H264"}));
}

// Of an encoder, whose pictures are drawn.
Resolution ReadResolution(ObjectReader& object) {
  return {object.Integer("width", kMinPictureEdge, kMaxPictureEdge),
          object.Integer("height", kMinPictureEdge, kMaxPictureEdge)};
}

void RequireCodecProfile(const ObjectReader& object, const char* key, VideoCodec codec, const std::string& profile) {
  if (!IsProfileOf(codec, profile)) {
    throw object.Error(key, "\"" + profile + "\" is not known", "use a profile of " + std::string(NameOf(codec)));
  }
}

VideoCodecOptions ReadCodecOptions(ObjectReader& object) {
  VideoCodecOptions options;
  options.codec = ReadCodec(object);
  options.resolutions = object.List("resolutions", ReadResolution);
  options.frameRate = ReadWholeRange(object.Object("frameRate"), 1, kMaxFrameRate);
  if (options.codec != VideoCodec::Jpeg) {
    options.govLength = ReadWholeRange(object.Object("govLength"), 1, kMaxGovLength);
    options.codecProfiles = object.Texts("codecProfiles");
    for (const std::string& profile : options.codecProfiles) {
      RequireCodecProfile(object, "codecProfiles", options.codec, profile);
    }
  }
  return options;
}

VideoEncoderOptions ReadVideoEncoderOptions(ObjectReader& object) {
  VideoEncoderOptions options;
  options.token = object.Text("token");
  options.quality = ReadWholeRange(object.Object("quality"), 0, kMaxQuality);
  options.bitrate = ReadWholeRange(object.Object("bitrateKbit"), 1, kMaxBitrate);
  options.codecs = object.List("codecs", ReadCodecOptions);
  return options;
}

VideoEncoderConfiguration ReadVideoEncoder(ObjectReader& object) {
  VideoEncoderConfiguration encoder;
  encoder.token = object.Text("token");
  encoder.name = object.Text("name");
  encoder.options = object.Text("options");
  encoder.codec = ReadCodec(object);
  if (encoder.codec != VideoCodec::Jpeg) {
    encoder.govLength = object.Integer("govLength", 1, kMaxGovLength);
    encoder.codecProfile = object.Text("codecProfile");
    RequireCodecProfile(object, "codecProfile", encoder.codec, encoder.codecProfile);
  }
  const Resolution size = ReadResolution(object);
  encoder.width = size.width;
  encoder.height = size.height;
  encoder.quality = object.Number("quality", 0, kMaxQuality);
  encoder.frameRate = object.Integer("frameRate", 1, kMaxFrameRate);
  encoder.bitrate = object.Integer("bitrateKbit", 1, kMaxBitrate);
  return encoder;
}

GuaranteedInstances ReadInstances(ObjectReader object) {
  constexpr int kMaxInstances = 64;
  GuaranteedInstances instances;
  instances.total = object.Integer("total", 1, kMaxInstances);
  for (std::size_t codec = 0; codec < kVideoCodecs; ++codec) {
    const char* const name = NameOf(static_cast<VideoCodec>(codec));
    if (object.Has(name)) {
      instances.ofCodec.at(codec) = object.Integer(name, 0, instances.total);
    }
  }
  object.Finish();
  return instances;
}

std::string ReadAudioEncoding(ObjectReader& object) {
  return object.OneOf("encoding", {"G711", "G726", "AAC"});
}

AudioCodecOptions ReadAudioCodec(ObjectReader& object) {
  return {ReadAudioEncoding(object), object.Integers("bitratesKbit", 1, kMaxAudioBitrate),
          object.Integers("sampleRatesKhz", 1, kMaxSampleRate)};
}

AudioEncoderConfiguration ReadAudioEncoder(ObjectReader& object) {
  AudioEncoderConfiguration encoder;
  encoder.token = object.Text("token");
  encoder.name = object.Text("name");
  encoder.encoding = ReadAudioEncoding(object);
  encoder.bitrate = object.Integer("bitrateKbit", 1, kMaxAudioBitrate);
  encoder.sampleRate = object.Integer("sampleRateKhz", 1, kMaxSampleRate);
  return encoder;
}

// The keys of a position, inside an object that has others too.
LensPosition ReadPositionKeys(ObjectReader& object) {
  return {object.Number("pan", -1, 1), object.Number("tilt", -1, 1), object.Number("zoom", 0, 1)};
}

LensPosition ReadPosition(ObjectReader object) {
  const LensPosition position = ReadPositionKeys(object);
  object.Finish();
  return position;
}

Preset ReadPreset(ObjectReader& object) {
  Preset preset;
  preset.token = object.Text("token");
  preset.name = object.Has("name") ? object.Text("name") : std::string();
  preset.position = ReadPositionKeys(object);
  return preset;
}

AxisMoves ReadMoves(ObjectReader& object, const char* key) {
  AxisMoves moves;
  for (const std::string& move : object.Texts(key)) {
    if (move != "relative" && move != "continuous") {
      throw object.Error(key, "\"" + move + "\" is not known", "use one of: relative, continuous");
    }
    (move == "relative" ? moves.relative : moves.continuous) = true;
  }
  return moves;
}

void ReadAxes(ObjectReader& object, PtzNode& node) {
  constexpr double kMinRate = 0.001;
  constexpr double kMaxRate = 10;
  node.panTiltMoves = ReadMoves(object, "panTiltMoves");
  if (node.panTiltMoves.Any()) {
    node.pan = ReadRange(object.Object("pan"), -1, 1);
    node.tilt = ReadRange(object.Object("tilt"), -1, 1);
    node.panTiltRate = object.Number("panTiltPerSecond", kMinRate, kMaxRate);
  }
  node.zoomMoves = ReadMoves(object, "zoomMoves");
  if (node.zoomMoves.Any()) {
    node.zoom = ReadRange(object.Object("zoom"), 0, 1);
    node.zoomRate = object.Number("zoomPerSecond", kMinRate, kMaxRate);
  }
}

PtzNode ReadNode(ObjectReader& object) {
  constexpr int kMaxPresets = 512;
  PtzNode node;
  node.token = object.Text("token");
  node.name = object.Text("name");
  ReadAxes(object, node);
  if (object.Has("home")) {
    node.home = ReadPosition(object.Object("home"));
    node.fixedHome = object.Boolean("fixedHome");
  }
  node.maxPresets = object.Integer("maxPresets", 0, kMaxPresets);
  if (node.maxPresets > 0) {
    node.presetTokenPrefix = object.Text("presetTokenPrefix");
    node.presets = object.List("presets", ReadPreset);
  }
  return node;
}

PtzConfiguration ReadPtzConfiguration(ObjectReader& object) {
  constexpr double kMaxTimeout = 3600;
  PtzConfiguration configuration;
  configuration.token = object.Text("token");
  configuration.name = object.Text("name");
  configuration.node = object.Text("node");
  configuration.defaultSpeed = object.Number("defaultSpeed", 0.001, 1);
  configuration.timeout = ReadRange(object.Object("timeoutSeconds"), 0, kMaxTimeout);
  configuration.defaultTimeout =
      object.Number("defaultTimeoutSeconds", configuration.timeout.min, configuration.timeout.max);
  return configuration;
}

PtzModel ReadPtz(ObjectReader object) {
  PtzModel ptz;
  ptz.serviceNamespace = object.OneOf("namespace", {ns::kPtz10, ns::kPtz20});
  ptz.configurationsElement = object.OneOf("configurationsElement", {"PTZConfiguration", "PTZConfigurations"});
  ptz.nodes = object.List("nodes", ReadNode);
  ptz.configurations = object.List("configurations", ReadPtzConfiguration);
  object.Finish();
  return ptz;
}

Profile ReadProfile(ObjectReader& object) {
  // In the order of ConfigurationKind.
  constexpr const char* kKeys[kConfigurationKinds] = {"videoSource", "audioSource", "videoEncoder", "audioEncoder",
                                                      "ptz"};
  Profile profile;
  profile.token = object.Text("token");
  profile.name = object.Text("name");
  profile.fixed = object.Boolean("fixed");
  for (std::size_t kind = 0; kind < kConfigurationKinds; ++kind) {
    if (object.Has(kKeys[kind])) {
      profile.bindings.at(kind) = object.Text(kKeys[kind]);
    }
  }
  return profile;
}

void ReadConfigurations(ObjectReader& object, CameraModel& model) {
  constexpr int kMaxProfiles = 256;
  model.videoSources = object.List("videoSourceConfigurations", ReadVideoSource);
  model.audioSources = object.List("audioSourceConfigurations", ReadAudioSource);
  model.videoEncoderOptions = object.List("videoEncoderOptions", ReadVideoEncoderOptions);
  model.videoEncoders = object.List("videoEncoderConfigurations", ReadVideoEncoder);
  model.guaranteedInstances = ReadInstances(object.Object("guaranteedInstances"));
  model.audioCodecs = object.List("audioEncoderOptions", ReadAudioCodec);
  model.audioEncoders = object.List("audioEncoderConfigurations", ReadAudioEncoder);
  if (object.Has("ptz")) {
    model.ptz = ReadPtz(object.Object("ptz"));
  }
  model.profiles = object.List("profiles", ReadProfile);
  model.maxProfiles = static_cast<std::size_t>(object.Integer("maxProfiles", 1, kMaxProfiles));
  model.createsProfiles = object.Boolean("createsProfiles");
  if (object.Has("unsupportedOperations")) {
    model.unsupportedOperations = object.Texts("unsupportedOperations");
  }
  if (object.Has("quirks")) {
    model.quirks = object.Texts("quirks");
  }
}

}  // namespace

CameraModel ReadModel(std::string_view json, const std::string& source) {
  const nlohmann::json document = nlohmann::json::parse(json.begin(), json.end(), nullptr, false);
  if (document.is_discarded()) {
    throw ModelError(source, "", "not JSON", "check it with a JSON tool");
  }
  ObjectReader object(document, source, "");
  CameraModel model;
  model.name = object.Text("name");
  model.title = object.Text("title");
  model.identity = ReadIdentity(object.Object("identity"));
  model.macAddress = object.Text("macAddress");
  model.versions = object.List("versions", ReadVersion);
  model.paths = ReadPaths(object.Object("services"));
  model.protocols = object.List("protocols", ReadProtocol);
  model.stream = ReadStream(object.Object("stream"));
  model.snapshotPath = object.Text("snapshotPath");
  model.snapshotAuthentication = ReadAuthentication(object, "snapshotAuthentication");
  ReadConfigurations(object, model);
  object.Finish();
  return model;
}

}  // namespace simcam
