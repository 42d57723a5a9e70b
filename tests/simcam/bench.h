// A camera without its HTTP front, with clocks that stand still until a test moves them.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <utility>

#include "simcam/dispatcher.h"
#include "tests/simcam/client.h"

namespace simcamtest {

class ManualClock : public simcam::Clock {
 public:
  std::chrono::system_clock::time_point UtcNow() const override { return m_start + m_passed.load(); }
  std::chrono::steady_clock::time_point SteadyNow() const override {
    return std::chrono::steady_clock::time_point(std::chrono::hours(1)) + m_passed.load();
  }
  void Advance(std::chrono::milliseconds duration) { m_passed = m_passed.load() + duration; }

 private:
  // 2024-02-29T12:00:00Z
  std::chrono::system_clock::time_point m_start{std::chrono::seconds(1709208000)};
  std::atomic<std::chrono::milliseconds> m_passed{std::chrono::milliseconds(0)};  // a camera reads it on its own thread
};

// The account of the bench is admin with the password simcam.
class Bench {
 public:
  explicit Bench(const std::string& modelName) : Bench(simcam::LoadModel(modelName)) {}
  explicit Bench(simcam::CameraModel model)
      : m_model(std::move(model)),
        m_state(m_model, m_clock),
        m_tokens("admin", "simcam", std::chrono::seconds(300)),
        m_dispatcher(m_model, m_state, m_tokens, m_clock, m_quirks) {}

  ManualClock& Clock() { return m_clock; }
  simcam::TokenChecker& Tokens() { return m_tokens; }
  simcam::QuirkSet& Quirks() { return m_quirks; }
  const simcam::CameraState& State() const { return m_state; }
  const simcam::CameraModel& Model() const { return m_model; }

  simcam::SoapAnswer Send(const std::string& path, const std::string& message,
                          const std::string& authorization = "") const {
    return m_dispatcher.Answer(path, {"cam", "cam:8080", 8080, {}}, message, {path, authorization});
  }

  // Sends a signed operation; each call has a fresh token.
  simcam::SoapAnswer Call(const std::string& path, const std::string& body) const {
    return Send(path, Envelope(SecurityHeader(MakeToken("admin", "simcam", m_clock.UtcNow())), body));
  }

  simcam::SoapAnswer Device(const std::string& operation, const std::string& content = "") const {
    return Call(m_model.paths.device, Element(operation, kDeviceNs, content));
  }
  simcam::SoapAnswer Media(const std::string& operation, const std::string& content = "") const {
    return Call(m_model.paths.media, Element(operation, kMediaNs, content));
  }
  simcam::SoapAnswer Ptz(const std::string& operation, const std::string& content = "") const {
    return Call(m_model.paths.ptz, Element(operation, m_model.ptz->serviceNamespace, content));
  }

 private:
  ManualClock m_clock;
  simcam::CameraModel m_model;
  simcam::CameraState m_state;
  simcam::TokenChecker m_tokens;
  simcam::QuirkSet m_quirks;
  simcam::Dispatcher m_dispatcher;
};

// The codes of a fault from the outer to the inner one, as "env:Sender ter:InvalidArgVal ter:NoProfile"; empty when the
// answer is no fault.
inline std::string FaultCodes(const simcam::SoapAnswer& answer) {
  const std::string start = "<env:Value>";
  std::string codes;
  for (std::size_t place = answer.body.find(start); place != std::string::npos;
       place = answer.body.find(start, place + 1)) {
    const std::size_t text = place + start.size();
    codes += (codes.empty() ? "" : " ") + answer.body.substr(text, answer.body.find('<', text) - text);
  }
  return codes;
}

}  // namespace simcamtest
