#include "simcam/clock.h"

#include <cstddef>
#include <ctime>

namespace simcam {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Compares with a pattern in which '0' stands for any digit.
bool Matches(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) {
    return false;
  }
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '0' ? !IsDigit(text[i]) : text[i] != pattern[i]) {
      return false;
    }
  }
  return true;
}

int Number(std::string_view digits) {
  int value = 0;
  for (const char c : digits) {
    value = value * 10 + (c - '0');
  }
  return value;
}

// Accepts "Z" or ".digitsZ"; the fraction counts down to microseconds.
bool ParseFraction(std::string_view text, std::chrono::microseconds& fraction) {
  fraction = std::chrono::microseconds(0);
  if (text == "Z") {
    return true;
  }
  if (text.size() < 3 || text.front() != '.' || text.back() != 'Z') {
    return false;
  }
  int scale = 100000;
  for (const char c : text.substr(1, text.size() - 2)) {
    if (!IsDigit(c)) {
      return false;
    }
    fraction += std::chrono::microseconds((c - '0') * scale);
    scale /= 10;
  }
  return true;
}

bool SameFields(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday && a.tm_hour == b.tm_hour &&
         a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

}  // namespace

std::chrono::system_clock::time_point Clock::UtcNow() const {
  return std::chrono::system_clock::now();
}

std::chrono::steady_clock::time_point Clock::SteadyNow() const {
  return std::chrono::steady_clock::now();
}

std::chrono::system_clock::time_point BentClock::UtcNow() const {
  using std::chrono::duration_cast;
  const auto running = m_right.UtcNow() - m_start;
  const double hours = std::chrono::duration<double, std::ratio<3600>>(running).count();
  const auto gain = duration_cast<std::chrono::milliseconds>(m_rules.gainPerHour * hours);
  const auto now = m_rules.restart.value_or(m_start) + running + m_rules.offset + gain;
  return m_rules.step.count() == 0 ? now : now - now.time_since_epoch() % m_rules.step;
}

bool ParseUtc(std::string_view text, std::chrono::system_clock::time_point& time) {
  constexpr std::size_t kWholeSeconds = 19;
  std::chrono::microseconds fraction{};
  if (text.size() <= kWholeSeconds || !Matches(text.substr(0, kWholeSeconds), "0000-00-00T00:00:00") ||
      !ParseFraction(text.substr(kWholeSeconds), fraction)) {
    return false;
  }
  std::tm fields{};
  fields.tm_year = Number(text.substr(0, 4)) - 1900;
  fields.tm_mon = Number(text.substr(5, 2)) - 1;
  fields.tm_mday = Number(text.substr(8, 2));
  fields.tm_hour = Number(text.substr(11, 2));
  fields.tm_min = Number(text.substr(14, 2));
  fields.tm_sec = Number(text.substr(17, 2));
  std::tm normal = fields;
  const std::time_t seconds = timegm(&normal);
  if (!SameFields(fields, normal)) {
    return false;  // timegm turned a 31st of February into a day in March
  }
  time = std::chrono::system_clock::from_time_t(seconds) + fraction;
  return true;
}

}  // namespace simcam
