#include "bench/soaking/sabotage.h"

#include <fcntl.h>

#include <cstdlib>

namespace soak {

namespace {

constexpr int kMostTimes = 500;
constexpr std::size_t kLeak = 1024;  // bytes

}  // namespace

Sabotage::~Sabotage() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ends = true;
  }
  m_end.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void Sabotage::Act() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (m_what == SelfCheck::None || m_what == SelfCheck::Code || m_times >= kMostTimes) return;
  ++m_times;
  if (m_what == SelfCheck::Threads) {
    StartThread();
  } else if (m_what == SelfCheck::Descriptors) {
    static_cast<void>(open("/dev/null", O_RDONLY | O_CLOEXEC));
  } else {
    m_lost = std::malloc(kLeak);
  }
}

void Sabotage::StartThread() {
  m_threads.emplace_back([this] {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_end.wait(lock, [this] { return m_ends; });
  });
}

}  // namespace soak
