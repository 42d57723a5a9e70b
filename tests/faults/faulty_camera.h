#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "tests/faults/fault.h"
#include "tests/faults/inside_camera.h"
#include "tests/support/scripted_camera.h"

namespace faults {

/// How often a fault comes.
enum class Lasting {
  kOnce,     // at one request
  kFromNow,  // at that request and every later one
};

/// A camera that answers well over real HTTP, but for the requests that it is told to spoil.
class FaultyCamera {
 public:
  /// One request as it was answered.
  struct Exchange {
    std::string operation;
    testsupport::Reply good;  // what a good camera answers; empty where the request did not reach it
  };

  /// A fault that lasts ends after that many requests, so that a client that never gives up is seen to do so.
  static constexpr int kMostSpoiled = 60;

  explicit FaultyCamera(const simcam::CameraModel& model);

  std::uint16_t Port() const { return m_front.Port(); }
  simcam::CameraState& State() { return m_inside.State(); }

  /// Spoils the `nth` request from now, counted from 1; forgets what was asked before.
  void Spoil(int nth, const Fault& fault, Lasting lasting);

  /// Answers well from now on; forgets what was asked before.
  void Recover();

  /// What was asked since then, oldest first.
  std::vector<Exchange> Asked() const;

 private:
  testsupport::Reply Answer(const testsupport::HttpRequest& request);
  testsupport::Reply AnswerGood(const testsupport::HttpRequest& request, bool isLastBefore);
  void OpenDoorFor(const Fault* fault);

  InsideCamera m_inside;
  mutable std::mutex m_mutex;
  std::vector<Exchange> m_asked;
  const Fault* m_fault = nullptr;
  int m_nth = 0;
  Lasting m_lasting = Lasting::kOnce;
  testsupport::ScriptedCamera m_front;  // last: its thread uses the others
};

}  // namespace faults
