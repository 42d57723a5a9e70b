#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tests/simcam/bench.h"
#include "tests/support/scripted_camera.h"

namespace testsupport {

/// A camera that answers over HTTP what the simulated one answers, and always the same to the same request: it learns
/// answers until it is told to stop, and from then on only repeats them.
class LearningCamera {
 public:
  /// What becomes of a request that the simulated camera refuses.
  enum class Refusal { kStays, kBecomesEmptySuccess };

  LearningCamera(const std::string& model, Refusal refusal);

  std::uint16_t Port() const { return m_camera.Port(); }

  /// Whether one of the camera's services accepts this Body. The camera may change by it.
  bool Accepts(const std::string& body) const;

  /// From now on answers this operation by a fault; none for an empty name.
  void Refuse(const std::string& operation);

  /// Ends the learning. Later requests with another Body are answered by a fault and kept.
  void StopLearning();

  /// Bodies of the requests that were not learnt, oldest first.
  std::vector<std::string> Unlearnt() const;

 private:
  Reply ReplyTo(const HttpRequest& request);
  Reply ReplyOfSimulatedCamera(const HttpRequest& request, const std::string& body) const;

  const Refusal m_refusal;
  simcamtest::Bench m_bench;
  mutable std::mutex m_mutex;
  std::map<std::string, Reply> m_answers;  // by the Body of the request
  std::vector<std::string> m_unlearnt;
  std::string m_refused;
  bool m_learning = true;
  ScriptedCamera m_camera;  // last: its thread uses the others
};

}  // namespace testsupport
