#include "platform/devicepackowned.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace DevicePackOwned {

std::string itos(long long nValue) {
  return std::to_string(nValue);
}

std::string ftos(double dbValue) {
  if (std::isnan(dbValue)) return "NaN";
  if (std::isinf(dbValue)) return dbValue < 0 ? "-INF" : "INF";
  std::array<char, 400> rgText;  // the smallest denormal takes 343 characters, the largest double 310
  const auto end = std::to_chars(rgText.data(), rgText.data() + rgText.size(), dbValue, std::chars_format::fixed).ptr;
  return {rgText.data(), end};
}

void StripStr(std::string& strText) {
  constexpr std::string_view strBlanks = " \t\n\r\v\f";
  const std::size_t nFirst = strText.find_first_not_of(strBlanks);
  if (nFirst == std::string::npos) {
    strText.clear();
    return;
  }
  strText.erase(strText.find_last_not_of(strBlanks) + 1);
  strText.erase(0, nFirst);
}

void StringToLowerCase(std::string& strText) {
  for (char& cByte : strText) {
    if (cByte >= 'A' && cByte <= 'Z') cByte = static_cast<char>(cByte - 'A' + 'a');
  }
}

std::string GetAudioType(int nCode) {
  static constexpr const char* rgName[] = {"", "AAC", "G711", "G726"};
  constexpr int nNames = static_cast<int>(std::size(rgName));
  return nCode > 0 && nCode < nNames ? rgName[nCode] : "";
}

}  // namespace DevicePackOwned
