#include "camctl/values.h"

#include <charconv>
#include <cmath>

#include "camctl/usageerror.h"

namespace camctl {

namespace {

// Whether all of `text` is one number, which is then in `number`.
template <typename NUMBER>
bool IsNumber(const std::string& text, NUMBER& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

}  // namespace

int ReadWhole(const std::string& text, int lowest, int highest, const std::string& source, const std::string& what) {
  int number = 0;
  if (!IsNumber(text, number) || number < lowest || number > highest) {
    throw UsageError(source + " '" + text + "' is no " + what + "; give a whole number from " + std::to_string(lowest) +
                     " to " + std::to_string(highest));
  }
  return number;
}

std::chrono::milliseconds ReadSeconds(const std::string& text, const std::string& source) {
  constexpr double longest = 3600;
  double seconds = 0;
  if (!IsNumber(text, seconds) || !(seconds > 0 && seconds <= longest)) {
    throw UsageError(source + " '" + text + "' is no time; give seconds, more than 0 and at most 3600");
  }
  return std::chrono::milliseconds(std::lround(seconds * std::milli::den));
}

std::string ReadSize(const std::string& text, const std::string& source) {
  constexpr int largest = 65535;
  const std::size_t cross = text.find('x');
  int width = 0;
  int height = 0;
  const bool complete =
      cross != std::string::npos && IsNumber(text.substr(0, cross), width) && IsNumber(text.substr(cross + 1), height);
  if (!complete || width < 1 || width > largest || height < 1 || height > largest) {
    throw UsageError(source + " '" + text + "' is no size; give WIDTHxHEIGHT in pixels, 640x480 for example");
  }
  return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace camctl
