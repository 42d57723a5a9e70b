#include "tests/faults/faulty_camera.h"

namespace faults {

using testsupport::HttpRequest;
using testsupport::Reply;
using testsupport::ScriptedCamera;

FaultyCamera::FaultyCamera(const simcam::CameraModel& model) : m_inside(model) {
  m_front.AnswerAll([this](const HttpRequest& request) { return Answer(request); });
}

void FaultyCamera::Spoil(int nth, const Fault& fault, Lasting lasting) {
  {
    const std::lock_guard lock(m_mutex);
    m_asked.clear();
    m_fault = &fault;
    m_nth = nth;
    m_lasting = lasting;
  }
  if (nth == 1) OpenDoorFor(&fault);
}

void FaultyCamera::Recover() {
  {
    const std::lock_guard lock(m_mutex);
    m_asked.clear();
    m_fault = nullptr;
  }
  OpenDoorFor(nullptr);
}

std::vector<FaultyCamera::Exchange> FaultyCamera::Asked() const {
  const std::lock_guard lock(m_mutex);
  return m_asked;
}

void FaultyCamera::OpenDoorFor(const Fault* fault) {
  const Line line = fault == nullptr ? Line::kAsItIs : fault->line;
  m_front.SetDoor(line == Line::kResets    ? ScriptedCamera::Door::kResets
                  : line == Line::kRefused ? ScriptedCamera::Door::kClosed
                                           : ScriptedCamera::Door::kOpen);
}

Reply FaultyCamera::Answer(const HttpRequest& request) {
  const std::lock_guard lock(m_mutex);
  const int number = static_cast<int>(m_asked.size()) + 1;
  m_asked.push_back({OperationOf(request), {}});
  const int last = m_lasting == Lasting::kOnce ? m_nth : m_nth + kMostSpoiled;
  if (m_fault == nullptr || number < m_nth || number > last) {
    return AnswerGood(request, m_fault != nullptr && number == m_nth - 1);
  }
  const Reply good = m_fault->reachesCamera ? m_inside.Answer(request) : Reply();
  m_asked.back().good = good;
  return m_fault->spoil(good);
}

Reply FaultyCamera::AnswerGood(const HttpRequest& request, bool isLastBefore) {
  Reply reply = m_inside.Answer(request);
  m_asked.back().good = reply;
  if (!isLastBefore || m_fault->line == Line::kAsItIs) return reply;
  OpenDoorFor(m_fault);
  return m_fault->line == Line::kStale ? reply.ThenClose() : LastOnConnection(reply).ThenClose();
}

}  // namespace faults
