#include "bench/soaking/pool.h"

#include <algorithm>
#include <utility>

namespace soak {

Pool::Pool(const std::vector<std::unique_ptr<Camera>>& cameras, int threads, std::function<void()> after)
    : m_after(std::move(after)) {
  for (const auto& camera : cameras) m_waiting.push_back(camera.get());
  for (int i = 0; i < threads; ++i) m_threads.emplace_back([this] { Work(); });
}

Pool::~Pool() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ends = true;
  }
  m_changed.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void Pool::AtRest(const std::function<void()>& look) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_rests = true;
  m_changed.wait(lock, [this] { return m_working == 0; });
  look();
  m_rests = false;
  m_changed.notify_all();
}

// Waits for the camera that is due next; null at the end.
Camera* Pool::Take(std::unique_lock<std::mutex>& lock) {
  while (!m_ends) {
    const auto first =
        std::min_element(m_waiting.begin(), m_waiting.end(),
                         [](const Camera* left, const Camera* right) { return left->Due() < right->Due(); });
    if (m_rests || first == m_waiting.end()) {
      m_changed.wait(lock);
    } else if ((*first)->Due() > std::chrono::steady_clock::now()) {
      m_changed.wait_until(lock, (*first)->Due());
    } else {
      Camera* const camera = *first;
      m_waiting.erase(first);
      return camera;
    }
  }
  return nullptr;
}

void Pool::Work() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (Camera* const camera = Take(lock)) {
    ++m_working;
    lock.unlock();
    camera->Round();
    camera->Postpone();
    m_after();
    lock.lock();
    --m_working;
    m_waiting.push_back(camera);
    m_changed.notify_all();
  }
}

}  // namespace soak
