#include "camctl/nearest.h"

#include <algorithm>
#include <numeric>

namespace camctl {

namespace {

// How many characters must be changed, added or removed to make `right` of `left`.
std::size_t Distance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < right.size(); ++j) {
      const std::size_t changed = diagonal + (left[i] == right[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string Nearest(std::string_view typed, const std::vector<std::string>& candidates) {
  constexpr std::size_t longest = 64;  // nothing that long is a slip of the finger
  if (typed.size() > longest) return {};
  std::string best;
  std::size_t fewest = longest;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = Distance(typed, candidate);
    if (distance <= candidate.size() / 3 + 1 && distance < fewest) {
      fewest = distance;
      best = candidate;
    }
  }
  return best;
}

}  // namespace camctl
