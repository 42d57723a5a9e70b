// Clients of RTSP streams for the tests: one that speaks single requests, one that plays.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/simcam/closing.h"

namespace simcamtest {

struct RtspReply {
  int status = 0;  // 0: the connection ended without an answer
  std::string head;
  std::string body;

  // The value of a header; empty when it is missing.
  std::string Header(const std::string& name) const;
};

// One connection to 127.0.0.1 that speaks RTSP by hand. Reading waits 30 seconds at most.
class RtspConnection {
 public:
  explicit RtspConnection(std::uint16_t port);
  ~RtspConnection();
  RtspConnection(RtspConnection&& other) noexcept;
  RtspConnection(const RtspConnection&) = delete;
  RtspConnection& operator=(const RtspConnection&) = delete;

  void Send(const std::string& bytes) const;
  RtspReply Ask(const std::string& method, const std::string& target, const std::string& headers = "");

  // SETUP of the first part of the stream inside the connection, and PLAY. Returns the status of the first request that
  // was refused, or 200.
  int Play(const std::string& target);

  // True when at least one byte comes.
  bool HasData() const;

  // True when the other side ends the connection within kLongest; what comes before is thrown away.
  bool IsClosedByPeer() const { return simcamtest::IsClosedByPeer(m_socket); }

 private:
  void SkipPacket() const;

  int m_socket = -1;
  std::uint16_t m_port;
  int m_sequence = 0;
};

// A decoded picture or piece of sound.
struct Sample {
  double time = 0;  // seconds by the stream's own stamps
  int width = 0;    // pixels; of pictures
  int height = 0;
  int rate = 0;                     // samples a second; of sound
  std::vector<std::uint8_t> bytes;  // BGRx rows without padding, or 16-bit samples

  // The largest of the 16-bit samples.
  int Loudness() const;
};

struct PlayerOptions {
  std::string user = "";
  std::string password = "";
  std::string protocol = "tcp";  // or "udp"
};

// Plays one medium of a stream. `chain` are the GStreamer elements from RTP to raw pictures or sound.
class Player {
 public:
  Player(std::uint16_t port, const std::string& target, const std::string& chain,
         const PlayerOptions& options = PlayerOptions());
  ~Player();

  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  // The next sample; nothing when the stream has ended or 30 seconds were not enough.
  std::optional<Sample> Next() const;

  std::vector<Sample> Take(std::size_t count) const;

  // What the player complained of; waits for it, 30 seconds at most.
  std::string Error() const;

 private:
  class Pipeline;
  std::unique_ptr<Pipeline> m_pipeline;
};

extern const char* const kPlayH264;
extern const char* const kPlayMpeg4;
extern const char* const kPlayJpeg;
extern const char* const kPlayG711;
extern const char* const kPlayG726;
extern const char* const kPlayAac;

}  // namespace simcamtest
