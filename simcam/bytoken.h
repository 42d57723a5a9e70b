#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace simcam {

// The item that has the token; null when none has.
template <typename Item>
const Item* FindByToken(const std::vector<Item>& items, const std::string& token) {
  const auto found =
      std::find_if(items.begin(), items.end(), [&token](const Item& item) { return item.token == token; });
  return found == items.end() ? nullptr : &*found;
}

template <typename Item>
Item* FindByToken(std::vector<Item>& items, const std::string& token) {
  const auto found =
      std::find_if(items.begin(), items.end(), [&token](const Item& item) { return item.token == token; });
  return found == items.end() ? nullptr : &*found;
}

}  // namespace simcam
