// A camera within the process, in place of the HTTP client below the driver.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace camapifuzz {

// While one lives, what the driver posts does not leave the process: every request is kept, and answered with the same
// text, as if it had come with the status 200. One at a time.
class InProcessCamera {
 public:
  explicit InProcessCamera(std::string_view answer);
  ~InProcessCamera();
  InProcessCamera(const InProcessCamera&) = delete;
  InProcessCamera& operator=(const InProcessCamera&) = delete;

  const std::vector<std::string>& Requests() const { return m_requests; }
  std::string_view Answer() const { return m_answer; }
  void Keep(std::string request) { m_requests.push_back(std::move(request)); }

 private:
  std::string_view m_answer;
  std::vector<std::string> m_requests;
};

}  // namespace camapifuzz
