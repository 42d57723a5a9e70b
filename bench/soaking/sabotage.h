// What a soak must catch, done on purpose.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "bench/soaking/options.h"

namespace soak {

// Safe to use from several threads.
class Sabotage {
 public:
  explicit Sabotage(SelfCheck what) : m_what(what) {}
  ~Sabotage();

  Sabotage(const Sabotage&) = delete;
  Sabotage& operator=(const Sabotage&) = delete;

  // Loses one thing of the kind; nothing for other self-checks, or after very many times.
  void Act();

 private:
  void StartThread();

  const SelfCheck m_what;
  std::mutex m_mutex;
  std::condition_variable m_end;
  bool m_ends = false;
  int m_times = 0;
  void* volatile m_lost = nullptr;  // the latest block, until the next takes its place
  std::vector<std::thread> m_threads;
};

}  // namespace soak
