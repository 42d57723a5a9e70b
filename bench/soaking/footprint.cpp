#include "bench/soaking/footprint.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <string_view>

#include "tests/support/process_figures.h"

namespace soak {

namespace {

constexpr long kKibibyte = 1024;

// The number of a row "NAME:   123 kB" of a process's status; 0 when it is not there.
long StatusOf(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.size() > name.size() && line.compare(0, name.size(), name) == 0 && line[name.size()] == ':') {
      return std::stol(line.substr(name.size() + 1));
    }
  }
  return 0;
}

}  // namespace

Footprint Measure() {
  Footprint footprint;
  footprint.inUse = testsupport::HeapBytes();
  footprint.resident = StatusOf("VmRSS") * kKibibyte;
  footprint.descriptors = testsupport::OpenDescriptors();
  footprint.threads = StatusOf("Threads");
  return footprint;
}

Footprint Most(const Footprint& left, const Footprint& right) {
  return {std::max(left.inUse, right.inUse), std::max(left.resident, right.resident),
          std::max(left.descriptors, right.descriptors), std::max(left.threads, right.threads)};
}

std::vector<Limit> LimitsFor(int cameras) {
  // A camera whose connection was closed at one look and is open at the next one is no growth.
  const long connections = 4 + cameras / 10;
  return {{"memory in use, KiB", &Footprint::inUse, kKibibyte, 0.01, 64 * kKibibyte},
          {"resident memory, KiB", &Footprint::resident, kKibibyte, 0.05, 2048 * kKibibyte},
          {"descriptors", &Footprint::descriptors, 1, 0, connections},
          {"threads", &Footprint::threads, 1, 0, 1}};
}

bool IsWithin(const std::vector<Limit>& limits, const Footprint& before, const Footprint& after,
              std::vector<std::string>& lines) {
  bool isWithin = true;
  for (const Limit& limit : limits) {
    const long was = before.*limit.value;
    const long growth = after.*limit.value - was;
    const long allowed = std::max(limit.absolute, static_cast<long>(static_cast<double>(was) * limit.part));
    const bool isKept = growth <= allowed;
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(), "%-6s %-22s %8ld in the second tenth, %8ld in the last: %+ld (limit %+ld)",
                  isKept ? "ok" : "GROWTH", limit.name, was / limit.unit, after.*limit.value / limit.unit,
                  growth / limit.unit, allowed / limit.unit);
    lines.emplace_back(line.data());
    isWithin = isWithin && isKept;
  }
  return isWithin;
}

}  // namespace soak
