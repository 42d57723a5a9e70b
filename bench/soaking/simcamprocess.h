// The simulated cameras of one model, in a process of their own.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/unique_fd.h"

namespace soak {

// The program could not be started, or is not ready in time; what() says why.
class SimcamError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr const char* kFirstPassword = "simcam";  // of the account when the program starts

struct CameraPorts {
  std::uint16_t service = 0;
  std::uint16_t control = 0;
};

// Runs from its construction to its end. It also ends when this process does, however that happens.
class SimcamProcess {
 public:
  // Starts `count` cameras, without streams, and waits until they serve. To be called on the main thread: the program
  // ends with the thread that started it.
  SimcamProcess(const std::string& program, const std::string& model, int count);

  // Ends the program and waits for its end.
  ~SimcamProcess();

  SimcamProcess(const SimcamProcess&) = delete;
  SimcamProcess& operator=(const SimcamProcess&) = delete;

  const std::vector<CameraPorts>& Cameras() const { return m_cameras; }

  // False when the program has ended by itself.
  bool IsRunning() const;

 private:
  std::string ReadLine();
  void ReadPorts(const std::string& program, int count);
  void End();

  testsupport::UniqueFd m_output;
  testsupport::UniqueFd m_process;
  pid_t m_pid = -1;
  std::string m_unread;
  std::vector<CameraPorts> m_cameras;
};

}  // namespace soak
