#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>

#include "bench/answers.h"

namespace bench {

struct CannedCounts;

/// A camera in a process of its own on the loopback interface, whose answers are made beforehand: what it costs is not
/// part of this process's time. It keeps connections open and is on the processors that this process may use.
class CannedCamera {
 public:
  /// Make it before there are threads. Throws std::system_error when the system has no process or socket left.
  explicit CannedCamera(const Answers& answers);
  ~CannedCamera();
  CannedCamera(const CannedCamera&) = delete;
  CannedCamera& operator=(const CannedCamera&) = delete;

  int Port() const { return m_port; }

  /// How many TCP connections were made to it so far, how many requests it has answered, and with how many bytes: head
  /// and body, counted before they are sent.
  long Connections() const;
  long Requests() const;
  long AnswerBytes() const;

 private:
  struct Unmap {
    void operator()(CannedCounts* counts) const;
  };

  std::unique_ptr<CannedCounts, Unmap> m_counts;  // shared with the process
  int m_port = 0;
  pid_t m_process = -1;
};

}  // namespace bench
