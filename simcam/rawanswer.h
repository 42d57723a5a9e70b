// Answers that are sent past the HTTP library: their bytes, and the thread that sends them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "simcam/httpserver.h"
#include "simcam/wireplan.h"

namespace simcam {

constexpr std::size_t kMaxSendings = 64;              // at a time; one more cuts the oldest off
constexpr std::chrono::seconds kMaxSendingTime{120};  // the longest that one may take

// The bytes of an answer as its raw plan has them; all of them, or as many as the plan lets go.
std::string RenderRaw(const HttpAnswer& answer, const RawPlan& plan);

// Whether something planned happens: it can be called off until it has begun. Safe to use from several threads.
class Plan {
 public:
  bool Begin() { return Become(State::Begun); }        // false when it is called off
  bool CallOff() { return Become(State::CalledOff); }  // false when it has begun
  bool IsCalledOff() const { return m_state == State::CalledOff; }

 private:
  enum class State { Planned, Begun, CalledOff };

  bool Become(State next) {
    State previous = State::Planned;
    return m_state.compare_exchange_strong(previous, next) || previous == next;
  }

  std::atomic<State> m_state{State::Planned};
};

// What is to happen on a connection, in the order of the members.
struct Sending {
  int socket = -1;                     // stays the caller's; a duplicate of it is used
  std::chrono::milliseconds delay{0};  // first
  std::string bytes;
  std::chrono::milliseconds pausePerByte{0};
  bool endsConnection = true;  // else it is left as it is
  RawPlan::End end = RawPlan::End::Close;
  std::shared_ptr<Plan> plan;  // begins when the delay is over; may be null
  std::function<void()> done;  // called on the sender's thread at the end, whatever it was; may be null
};

// Sends on one thread of its own. Safe to use from several threads.
class RawSender {
 public:
  // Throws std::system_error when the system has no thread or descriptors left.
  RawSender();
  ~RawSender();

  RawSender(const RawSender&) = delete;
  RawSender& operator=(const RawSender&) = delete;

  // False after Stop(), or when no descriptor is left: nothing happens then, and `done` is not called.
  bool Take(Sending sending);

  // Ends all connections that are being sent to. Further calls do nothing.
  void Stop();

 private:
  class Worker;
  std::unique_ptr<Worker> m_worker;
};

}  // namespace simcam
