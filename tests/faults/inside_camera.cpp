#include "tests/faults/inside_camera.h"

#include <chrono>

#include "tests/support/envelope.h"

namespace faults {
namespace {

// The same in every run, so that the same question has the same answer.
const simcam::Endpoint kEndpoint{"127.0.0.1", "127.0.0.1:8080", 8080, {}};

constexpr std::chrono::seconds kClockWindow{300};

}  // namespace

InsideCamera::InsideCamera(const simcam::CameraModel& model)
    : m_model(model),
      m_state(m_model, m_clock),
      m_tokens(kUser, kPassword, kClockWindow),
      m_dispatcher(m_model, m_state, m_tokens, m_clock, m_quirks) {}

testsupport::Reply InsideCamera::Answer(const testsupport::HttpRequest& request) const {
  if (!m_dispatcher.HasPath(request.target)) return testsupport::Reply::Status(404);
  const simcam::SoapAnswer answer = m_dispatcher.Answer(request.target, kEndpoint, request.body);
  return testsupport::Reply::Status(answer.httpStatus, answer.body);
}

std::string OperationOf(const testsupport::HttpRequest& request) {
  const std::string body = testsupport::BodyOf(request.body);
  return body.empty() ? body : body.substr(1, body.find_first_of(" />") - 1);
}

}  // namespace faults
