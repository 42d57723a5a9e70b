#include "camctl/report.h"

#include <charconv>

namespace camctl {

namespace {

// The whole number that `text` begins with; only a fraction may stand behind it.
bool ReadWholeNumber(const std::string& text, long& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && (stop == end || *stop == '.');
}

}  // namespace

bool Setting::Taken() const {
  long wanted = 0;
  long found = 0;
  const bool numbers = ReadWholeNumber(asked, wanted) && ReadWholeNumber(after, found);
  return asked.empty() || (numbers ? wanted == found : asked == after);
}

}  // namespace camctl
