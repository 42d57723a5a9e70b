// The addresses that a camera hands out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "simcam/model.h"

namespace simcam {

// Where the client reached the camera.
struct Endpoint {
  std::string host;        // name or address, IPv6 in brackets
  std::string authority;   // host with the port as the client wrote it
  std::uint16_t port = 0;  // where the camera listens
  std::string query = {};  // what stood behind the path and a question mark
};

// Takes the Host header of a request; 127.0.0.1 and `port` when it is missing or not a host and a port.
Endpoint EndpointOf(const std::string& hostHeader, std::uint16_t port);

std::string HttpUrl(const Endpoint& endpoint, const std::string& path);

// Path and query of the RTSP address of one profile.
std::string StreamTarget(const CameraModel& model, const std::string& profileToken);

// The RTSP address and the snapshot address of one profile.
std::string StreamUrl(const Endpoint& endpoint, const CameraModel& model, const std::string& profileToken);
std::string SnapshotUrl(const Endpoint& endpoint, const CameraModel& model, const std::string& profileToken);

// The profile that an address names: `target` is path and query as they were sent, `path` is the model's with
// {profile}. Nothing when the target is no such address.
std::optional<std::string> ProfileInTarget(const std::string& path, const std::string& target);

}  // namespace simcam
