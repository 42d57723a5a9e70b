#include "tests/memory/learning_camera.h"

#include "tests/support/envelope.h"

namespace testsupport {
namespace {

Reply Fault() {
  return Reply::Status(500, FaultEnvelope("ter:ActionNotSupported", "Not here"));
}

}  // namespace

LearningCamera::LearningCamera(const std::string& model, Refusal refusal) : m_refusal(refusal), m_bench(model) {
  m_camera.AnswerAll([this](const HttpRequest& request) { return ReplyTo(request); });
}

bool LearningCamera::Accepts(const std::string& body) const {
  const auto& paths = m_bench.Model().paths;
  for (const std::string& path : {paths.device, paths.media, paths.ptz}) {
    if (m_bench.Call(path, body).httpStatus == 200) return true;
  }
  return false;
}

void LearningCamera::Refuse(const std::string& operation) {
  const std::lock_guard lock(m_mutex);
  m_refused = operation;
}

void LearningCamera::StopLearning() {
  const std::lock_guard lock(m_mutex);
  m_learning = false;
}

std::vector<std::string> LearningCamera::Unlearnt() const {
  const std::lock_guard lock(m_mutex);
  return m_unlearnt;
}

Reply LearningCamera::ReplyTo(const HttpRequest& request) {
  const std::lock_guard lock(m_mutex);
  const std::string body = BodyOf(request.body);
  if (!m_refused.empty() && body.rfind("<" + m_refused + " ", 0) == 0) return Fault();
  const auto known = m_answers.find(body);
  if (known != m_answers.end()) return known->second;
  if (m_learning) return m_answers[body] = ReplyOfSimulatedCamera(request, body);
  m_unlearnt.push_back(body);
  return Fault();
}

Reply LearningCamera::ReplyOfSimulatedCamera(const HttpRequest& request, const std::string& body) const {
  const simcam::SoapAnswer answer = m_bench.Call(request.target, body);
  const bool isEmptied = answer.httpStatus != 200 && m_refusal == Refusal::kBecomesEmptySuccess;
  return isEmptied ? Reply::Ok(Envelope("")) : Reply::Status(answer.httpStatus, answer.body);
}

}  // namespace testsupport
