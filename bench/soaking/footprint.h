// What this process holds of the system, and whether it grows.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace soak {

// One look at the process.
struct Footprint {
  long inUse = 0;        // bytes that were asked of malloc and not given back
  long resident = 0;     // bytes of physical memory
  long descriptors = 0;  // that are open
  long threads = 0;
};

// Of this process, now.
Footprint Measure();

// The greater of each.
Footprint Most(const Footprint& left, const Footprint& right);

// What may grow, and by how much.
struct Limit {
  const char* name;
  long Footprint::*value;
  long unit;      // the figure is shown in units of so much
  double part;    // of what it was
  long absolute;  // or at least this much
};

// All limits; the absolute one of descriptors grows with the number of cameras.
std::vector<Limit> LimitsFor(int cameras);

// Compares two looks; adds a line for each limit to `lines`. Returns whether all are kept.
bool IsWithin(const std::vector<Limit>& limits, const Footprint& before, const Footprint& after,
              std::vector<std::string>& lines);

}  // namespace soak
