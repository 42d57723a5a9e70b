// The server's threads: each takes the camera whose turn it is, and gives it back.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "bench/soaking/camera.h"

namespace soak {

// Works from its construction to its end. A camera is with one thread at a time.
class Pool {
 public:
  // The cameras must outlive the pool. `after` is called after each round, by the thread that ran it.
  Pool(const std::vector<std::unique_ptr<Camera>>& cameras, int threads, std::function<void()> after);
  ~Pool();

  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // Calls `look` while no camera is asked anything: what is held then is held for good.
  void AtRest(const std::function<void()>& look);

 private:
  void Work();
  Camera* Take(std::unique_lock<std::mutex>& lock);

  const std::function<void()> m_after;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<Camera*> m_waiting;
  int m_working = 0;
  bool m_rests = false;
  bool m_ends = false;
  std::vector<std::thread> m_threads;
};

}  // namespace soak
