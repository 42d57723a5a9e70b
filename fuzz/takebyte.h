#pragma once

#include <cstddef>
#include <string_view>

namespace camapifuzz {

// Takes the first byte off the input; 0 when there is none.
inline std::size_t TakeByte(std::string_view& input) {
  if (input.empty()) {
    return 0;
  }
  const auto byte = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  return byte;
}

}  // namespace camapifuzz
