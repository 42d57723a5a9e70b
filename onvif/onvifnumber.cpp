#include "onvif/onvifnumber.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

int ReadDecimal(const std::string& strText) {
  constexpr long nLeast = std::numeric_limits<int>::min();
  constexpr long nMost = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(std::strtol(strText.c_str(), nullptr, 10), nLeast, nMost));
}
