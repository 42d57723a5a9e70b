// The streams of a simulated camera: a real RTSP server whose pictures are drawn, encoded and sent while somebody
// watches. It can be left out of a build; then IsAvailable() says so, and everything else works without it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simcam/model.h"
#include "simcam/picture.h"

namespace simcam {

constexpr std::size_t kMaxRtspConnections = 128;

// What one profile streams.
struct StreamDescription {
  std::string profileToken;
  std::string profileName;
  std::string target;  // path and query as in the stream address: "/media/profile_1", "/live/main?audio=0"
  VideoEncoderConfiguration video;
  int jpegQuality = 75;  // 1 to 100, for JPEG
  std::optional<AudioEncoderConfiguration> audio;
};

// True when the two look and sound the same to a viewer; names of configurations do not count.
bool IsSameStream(const StreamDescription& left, const StreamDescription& right);

struct RtspOptions {
  std::uint16_t port = 0;  // 0: the system picks one
  std::string user;        // user and password both empty: no authentication
  std::string password;
  // A connection that says nothing for so long is closed, unless it has a session: that one ends after 60 seconds
  // without a sign of life.
  std::chrono::milliseconds silenceLimit{15000};
  // Asked for each new connection, on any thread: false closes it at once.
  std::function<bool()> admits = [] { return true; };
};

// Listens on 127.0.0.1. All operations are safe to call from any thread, but the end of the object.
// A stream is encoded once for all of its viewers, over UDP or inside the RTSP connection; with an account, Digest
// authentication is asked for.
class RtspServer {
 public:
  // Tells the camera's time and where the lens is, for a profile token; the frame number is filled in by the server.
  // Called on streaming threads, several at once; never after Stop().
  using MomentSource = std::function<PictureMoment(const std::string& profileToken)>;

  // Whether streams can be served here; if not, `reason` says what is missing and where it comes from.
  static bool IsAvailable(std::string& reason);

  // Serves nothing until Update(). `modelName` stands in the picture. Throws std::runtime_error: not available, or the
  // port is in use or not permitted.
  RtspServer(const RtspOptions& options, const std::string& modelName, MomentSource source);

  // Stops.
  ~RtspServer();

  RtspServer(const RtspServer&) = delete;
  RtspServer& operator=(const RtspServer&) = delete;

  // The port it listens on, also after Stop().
  std::uint16_t Port() const;

  // From now on these are the streams. The connections that use a stream that changed or went are closed, as a camera
  // does; those of the others go on undisturbed.
  void Update(const std::vector<StreamDescription>& streams);

  // Closes all connections and ends all sessions; new ones are welcome.
  void DropConnections();

  // From now on this is the account. Those who are connected stay.
  void ChangeAccount(const std::string& user, const std::string& password);

  // How many sessions play now.
  std::size_t Viewers() const;

  // Closes the port and all connections. Returns within half a second. Call it once or often, from one thread.
  void Stop();

 private:
  class Core;
  std::shared_ptr<Core> m_core;
};

}  // namespace simcam
