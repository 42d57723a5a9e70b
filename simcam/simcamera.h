// A simulated camera as one object: it serves from its construction to its end.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simcam/clock.h"
#include "simcam/model.h"

namespace simcam {

struct CameraOptions {
  std::string user = "admin";
  std::string password = "simcam";
  std::uint16_t port = 0;                    // 0: the system picks one
  std::chrono::seconds clockWindow{300};     // how far a token's time may be off, both ways
  std::shared_ptr<const Clock> clock;        // null: the system's clock
  std::optional<std::uint16_t> rtspPort;     // where streams are served; 0: the system picks one; nothing: no streams
  std::vector<std::string> quirks;           // NAME[=VALUE][@OPERATION][#NTH], switched on besides those of the model
  std::optional<std::uint16_t> controlPort;  // of the control address (see control.h), 0: the system picks one
};

// The camera could not start; what() says why.
class CameraError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// All operations are safe to call from any thread, but the end of the object.
class SimCamera {
 public:
  // Starts serving on 127.0.0.1. Throws CameraError: a port is in use or not permitted, a quirk is not right, streams
  // are asked for and cannot be served here (see RtspServer::IsAvailable).
  explicit SimCamera(CameraModel model, CameraOptions options = CameraOptions());

  // Stops serving.
  ~SimCamera();

  SimCamera(const SimCamera&) = delete;
  SimCamera& operator=(const SimCamera&) = delete;

  // The port it listens on, also after Stop().
  std::uint16_t Port() const;

  // The port of the control address; 0 when there is none.
  std::uint16_t ControlPort() const;

  // The port it streams on, also after Stop(); nothing when it serves no streams. It is also the port that the camera
  // tells its clients, in place of its model's.
  std::optional<std::uint16_t> StreamPort() const;

  // How many clients watch streams now.
  std::size_t Viewers() const;

  // Closes the ports and all connections; answers nothing any more. Returns within 0.2 seconds, with streams 0.7. Call it once or often,
  // from one thread.
  void Stop();

  const CameraModel& Model() const;

  // The camera starts anew, as after a power cut of `down`: connections, moves of the lens, nonces, wrong tries and what
  // quirks of the clock had reached are gone; profiles, encoders, presets, account and quirks stay. Until `down` has
  // passed on its clock, every connection ends without an answer.
  void Reboot(std::chrono::milliseconds down);

  // Ends the connections of all clients, also in the middle of an answer; new ones are welcome. Returns how many those
  // of HTTP were.
  std::size_t DropConnections();

  // From now on this is the account, of services, snapshots and streams. Viewers go on.
  void ChangeAccount(const std::string& user, const std::string& password);

  // Switches a quirk on, in the form of CameraOptions::quirks. Throws CameraError: see ParseQuirk in quirks/quirkset.h.
  void SwitchOn(const std::string& quirk);

  // Switches a quirk off; false when it was not on.
  bool SwitchOff(const std::string& name);

  // The profiles as they are now, in the order of their creation.
  std::vector<Profile> Profiles() const;
  std::vector<std::string> ProfileTokens() const;

  // Where the lens of a PTZ node is now; nothing when the model has no such node.
  std::optional<LensPosition> PositionOf(const std::string& nodeToken) const;

 private:
  class Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace simcam
