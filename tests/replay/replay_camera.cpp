#include "tests/replay/replay_camera.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include "tests/support/envelope.h"

namespace testsupport {

std::string OperationOf(const HttpRequest& request) {
  const std::string body = BodyOf(request.body);
  if (body.empty() || body.front() != '<') return {};
  return body.substr(1, body.find_first_of(" />") - 1);
}

ReplayCamera::ReplayCamera(std::filesystem::path folder, std::map<std::string, std::string> otherFiles)
    : m_folder(std::move(folder)), m_otherFiles(std::move(otherFiles)) {
  m_camera.AnswerAll([this](const HttpRequest& request) { return ReplyTo(request); });
}

std::set<std::string> ReplayCamera::Unrecorded() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_unrecorded;
}

std::size_t ReplayCamera::Count(const std::string& operation) const {
  const std::vector<HttpRequest> requests = m_camera.Requests();
  return static_cast<std::size_t>(std::count_if(
      requests.begin(), requests.end(), [&](const HttpRequest& request) { return OperationOf(request) == operation; }));
}

Reply ReplayCamera::ReplyTo(const HttpRequest& request) {
  const std::string operation = OperationOf(request);
  const auto other = m_otherFiles.find(operation);
  const std::string stem = other == m_otherFiles.end() ? operation : other->second;
  std::ifstream file(m_folder / (stem + ".xml"), std::ios::binary);
  if (!file) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_unrecorded.insert(operation);
    return Reply::Status(400, FaultEnvelope("ter:ActionNotSupported", "Not recorded"));
  }
  return Reply::Ok(std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace testsupport
