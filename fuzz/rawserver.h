// A server that answers every connection with the same bytes.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/unique_fd.h"

namespace camapifuzz {

// Listens on a loopback port. Of each connection it reads one request, up to `requestEnd`, sends the answer, and says
// that there is no more.
class RawServer {
 public:
  explicit RawServer(std::string requestEnd);
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  std::uint16_t Port() const { return m_port; }
  void SetAnswer(std::string_view bytes);

 private:
  void Serve() const;
  void Converse(int connection) const;

  const std::string m_requestEnd;
  testsupport::UniqueFd m_listener;
  std::uint16_t m_port = 0;
  mutable std::mutex m_mutex;
  std::string m_answer;
  std::thread m_thread;
};

}  // namespace camapifuzz
