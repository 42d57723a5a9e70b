#include "bench/soaking/tally.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <numeric>

namespace soak {

namespace {

constexpr std::uint64_t kMostTold = 20;  // wrong results that are shown one by one

std::string Joined(const std::map<std::string, std::uint64_t>& counts) {
  std::string text;
  for (const auto& [name, count] : counts) {
    text += (text.empty() ? "" : ", ") + name + ": " + std::to_string(count);
  }
  return text;
}

}  // namespace

void Tally::CountResult(int result) {
  const bool isKnown = result >= 0 && static_cast<std::size_t>(result) < kCodes - 1;
  ++m_results.at(isKnown ? static_cast<std::size_t>(result) : kCodes - 1);
}

void Tally::CountWrong(const std::string& text) {
  if (m_isClosed) return;
  const std::uint64_t count = ++m_wrong;
  const std::lock_guard<std::mutex> lock(m_output);
  if (count <= kMostTold) std::fprintf(stderr, "WRONG: %s\n", text.c_str());
  if (count == kMostTold) std::fprintf(stderr, "(further ones are only counted)\n");
}

std::uint64_t Tally::Calls() const {
  return std::accumulate(m_results.begin(), m_results.end(), std::uint64_t{0});
}

std::uint64_t Tally::Troubles() const {
  return std::accumulate(m_troubles.begin(), m_troubles.end(), std::uint64_t{0});
}

std::string Tally::ResultText() const {
  std::map<std::string, std::uint64_t> counts;
  for (std::size_t code = 0; code < kCodes; ++code) {
    if (m_results.at(code) > 0) counts[code + 1 < kCodes ? std::to_string(code) : "others"] = m_results.at(code);
  }
  return Joined(counts);
}

std::string Tally::TroubleText() const {
  std::map<std::string, std::uint64_t> counts;
  for (std::size_t index = 0; index < kTroubleCount; ++index) counts[TroubleAt(index).name] += m_troubles.at(index);
  return Joined(counts);
}

}  // namespace soak
