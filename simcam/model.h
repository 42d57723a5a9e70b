// What a simulated camera is made of: plain data, read from a JSON file, checked as a whole before it is used.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

// An ONVIF version as the camera reports it: 2.60 is {2, 60}.
struct OnvifVersion {
  int major = 0;
  int minor = 0;
};

struct Identity {
  std::string manufacturer;
  std::string model;
  std::string firmware;
  std::string serial;
  std::string hardwareId;
};

// HTTP paths of the services. Several services may share one path.
struct ServicePaths {
  std::string device;
  std::string media;
  std::string ptz;  // empty: the camera has no PTZ service
};

struct NetworkProtocol {
  std::string name;  // HTTP, HTTPS or RTSP
  bool enabled = false;
  int port = 0;  // 0 (HTTP only): the port that the simulated camera listens on
};

// Where the streams are. Paths hold the placeholder {profile}, replaced by the percent-encoded profile token.
struct StreamStyle {
  std::string path;
  bool portInUri = false;  // false: clients learn the RTSP port from the network protocols
};

// What a client must show before it gets a snapshot: nothing, or HTTP Digest with MD5, with SHA-256, with either.
enum class HttpAuthentication { None, Digest, DigestSha256, DigestBoth };

struct VideoSourceConfiguration {
  std::string token;
  std::string name;
  std::string source;  // token of the physical source
  int width = 0;       // pixels
  int height = 0;      // pixels
};

struct AudioSourceConfiguration {
  std::string token;
  std::string name;
  std::string source;
};

enum class VideoCodec { Jpeg, Mpeg4, H264 };
constexpr std::size_t kVideoCodecs = 3;

struct Resolution {
  int width = 0;   // pixels
  int height = 0;  // pixels
};

struct WholeRange {
  int min = 0;
  int max = 0;
};

// What an encoder can do with one codec.
struct VideoCodecOptions {
  VideoCodec codec = VideoCodec::H264;
  std::vector<Resolution> resolutions;
  WholeRange frameRate;                    // frames per second
  WholeRange govLength;                    // frames; not for JPEG
  std::vector<std::string> codecProfiles;  // empty for JPEG
};

// What an encoder can be set to. Several encoders may share one set of options.
struct VideoEncoderOptions {
  std::string token;
  WholeRange quality;
  WholeRange bitrate;  // kbit/s
  std::vector<VideoCodecOptions> codecs;
};

struct VideoEncoderConfiguration {
  std::string token;
  std::string name;
  VideoCodec codec = VideoCodec::H264;
  int width = 0;   // pixels
  int height = 0;  // pixels
  double quality = 0;
  int frameRate = 0;         // frames per second, at most
  int bitrate = 0;           // kbit/s, at most
  int govLength = 0;         // frames from one key frame to the next; 0 for JPEG
  std::string codecProfile;  // Baseline, Main, SP ...; empty for JPEG
  std::string options;       // token of its options
};

// How many encoders can run at the same time, in all and of each codec; without a number the codec is not told.
struct GuaranteedInstances {
  int total = 0;
  std::array<std::optional<int>, kVideoCodecs> ofCodec;
};

struct AudioEncoderConfiguration {
  std::string token;
  std::string name;
  std::string encoding;  // G711, G726 or AAC
  int bitrate = 0;       // kbit/s
  int sampleRate = 0;    // kHz
};

// What every audio encoder of the camera can do with one encoding.
struct AudioCodecOptions {
  std::string encoding;
  std::vector<int> bitrates;     // kbit/s
  std::vector<int> sampleRates;  // kHz
};

struct Range {
  double min = 0;
  double max = 0;
};

// A place of the lens in the generic position spaces: pan and tilt -1 to 1, zoom 0 to 1.
struct LensPosition {
  double pan = 0;
  double tilt = 0;
  double zoom = 0;
};

// How the axes of a group can be moved by a client; a group that cannot be moved in any way does not exist.
struct AxisMoves {
  bool relative = false;
  bool continuous = false;

  bool Any() const { return relative || continuous; }
};

struct Preset {
  std::string token;
  std::string name;  // empty: none
  LensPosition position;
};

struct PtzNode {
  std::string token;
  std::string name;
  AxisMoves panTiltMoves;
  AxisMoves zoomMoves;
  Range pan;
  Range tilt;
  Range zoom;
  double panTiltRate = 0;  // position units per second at speed 1
  double zoomRate = 0;     // position units per second at speed 1
  std::optional<LensPosition> home;
  bool fixedHome = false;  // the home position cannot be set
  int maxPresets = 0;
  std::string presetTokenPrefix;  // the camera's own tokens are this and a number
  std::vector<Preset> presets;    // those that the camera is delivered with
};

struct PtzConfiguration {
  std::string token;
  std::string name;
  std::string node;           // token of the node it drives
  double defaultSpeed = 0;    // 0 to 1, for moves that name no speed
  double defaultTimeout = 0;  // seconds, for continuous moves that name no timeout
  Range timeout;              // seconds that a continuous move may ask for
};

struct PtzModel {
  std::string serviceNamespace;       // the ver10 or ver20 PTZ namespace
  std::string configurationsElement;  // name of an item in the list of configurations
  std::vector<PtzNode> nodes;
  std::vector<PtzConfiguration> configurations;
};

// The kinds of configuration that a profile binds, in the order in which the schema lists them inside a profile.
enum class ConfigurationKind : std::size_t { VideoSource, AudioSource, VideoEncoder, AudioEncoder, Ptz };
constexpr std::size_t kConfigurationKinds = 5;

constexpr std::size_t IndexOf(ConfigurationKind kind) {
  return static_cast<std::size_t>(kind);
}

// A media profile. `bindings` holds one configuration token for each kind, empty where nothing is bound.
struct Profile {
  std::string token;
  std::string name;
  bool fixed = false;
  std::array<std::string, kConfigurationKinds> bindings;

  const std::string& Binding(ConfigurationKind kind) const { return bindings.at(IndexOf(kind)); }
};

struct CameraModel {
  std::string name;
  std::string title;  // one line for a list of models
  Identity identity;
  std::string macAddress;
  std::vector<OnvifVersion> versions;  // newest first
  ServicePaths paths;
  std::vector<NetworkProtocol> protocols;
  StreamStyle stream;
  std::string snapshotPath;  // with {profile}, as in StreamStyle
  HttpAuthentication snapshotAuthentication = HttpAuthentication::None;
  std::vector<VideoSourceConfiguration> videoSources;
  std::vector<AudioSourceConfiguration> audioSources;
  std::vector<VideoEncoderOptions> videoEncoderOptions;
  std::vector<VideoEncoderConfiguration> videoEncoders;
  GuaranteedInstances guaranteedInstances;
  std::vector<AudioCodecOptions> audioCodecs;
  std::vector<AudioEncoderConfiguration> audioEncoders;
  std::optional<PtzModel> ptz;
  std::vector<Profile> profiles;
  std::size_t maxProfiles = 0;
  bool createsProfiles = true;  // false: CreateProfile is refused
  std::vector<std::string> unsupportedOperations;
  std::vector<std::string> quirks;  // NAME[=VALUE][@OPERATION][#NTH], on from the start

  // The tokens of all configurations of one kind, in model order.
  std::vector<std::string> ConfigurationTokens(ConfigurationKind kind) const;

  // The RTSP port among the network protocols; every checked model has one.
  int RtspPort() const;
};

// A model that cannot be used. what() names the source, the key, the reason and the remedy.
class ModelError : public std::runtime_error {
 public:
  ModelError(const std::string& source, const std::string& key, const std::string& reason, const std::string& remedy);
};

// Names of the built-in models, sorted.
std::vector<std::string> ModelNames();

// Reads a built-in model by its name, or a model file by its path. A built-in name wins over a file of the same name.
// Throws ModelError: no such model or file, not JSON, or anything that ParseModel refuses.
CameraModel LoadModel(const std::string& nameOrPath);

// Reads a model from JSON text; `source` is the name that errors carry. Every key is checked: unknown keys, missing
// keys, wrong types, impossible values and references to nothing throw ModelError.
CameraModel ParseModel(std::string_view json, const std::string& source);

}  // namespace simcam
