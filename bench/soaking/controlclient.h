// The control address of a simulated camera, from the other process.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace soak {

// The camera could not be told; what() says why.
class ControlError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Sends a request to the control address at 127.0.0.1, on a connection of its own, and waits for success, 10 seconds at
// most. Throws ControlError.
void Tell(std::uint16_t controlPort, const std::string& method, const std::string& target,
          const std::string& body = std::string());

}  // namespace soak
