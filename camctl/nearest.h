#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace camctl {

/// The candidate that `typed` was most likely meant to be: the one with the fewest changed, missing or additional
/// characters, at most a third of its length and one more. Empty when none is that near.
std::string Nearest(std::string_view typed, const std::vector<std::string>& candidates);

}  // namespace camctl
