#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include "platform/devicepackowned.h"
#include "tests/support/test_locale.h"

namespace {

using DevicePackOwned::ftos;
using DevicePackOwned::itos;

TEST(Itos, WholeRange) {
  EXPECT_EQ(itos(0), "0");
  EXPECT_EQ(itos(12), "12");
  EXPECT_EQ(itos(-2), "-2");
  EXPECT_EQ(itos(std::numeric_limits<long long>::max()), "9223372036854775807");
  EXPECT_EQ(itos(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

TEST(Ftos, PlainShortestDecimals) {
  const struct {
    double value;
    const char* text;
  } kCases[] = {{0, "0"},
                {1, "1"},
                {-1, "-1"},
                {0.5, "0.5"},
                {0.0625, "0.0625"},
                {-0.0625, "-0.0625"},
                {0.1, "0.1"},
                {0.1 + 0.2, "0.30000000000000004"},
                {1.0 / 3, "0.3333333333333333"},
                {100, "100"},
                {1e15, "1000000000000000"},
                {1e21, "1000000000000000000000"},
                {0.0000001, "0.0000001"},
                {1.5e-10, "0.00000000015"},
                {std::numeric_limits<double>::infinity(), "INF"},
                {-std::numeric_limits<double>::infinity(), "-INF"},
                {std::numeric_limits<double>::quiet_NaN(), "NaN"}};
  for (const auto& c : kCases) EXPECT_EQ(ftos(c.value), c.text);
}

void ExpectReadsBack(double value) {
  const std::string text = ftos(value);
  ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
  ASSERT_EQ(text.find_first_not_of("-0123456789."), std::string::npos) << text;
}

TEST(Ftos, ExtremesReadBackWithoutExponent) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(), Limits::epsilon()}) {
    ExpectReadsBack(value);
  }
  EXPECT_TRUE(std::signbit(std::strtod(ftos(-0.0).c_str(), nullptr)));
}

TEST(Ftos, EveryDoubleReadsBackWithoutExponent) {
  std::mt19937_64 random(20240501);
  for (int i = 0; i < 100000; ++i) {
    const std::uint64_t bits = random();
    double value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    if (std::isfinite(value)) ExpectReadsBack(value);
  }
}

int SignificantDigits(const std::string& text) {
  std::string digits;
  for (const char c : text) {
    if (c >= '0' && c <= '9' && !(digits.empty() && c == '0')) digits += c;
  }
  return static_cast<int>(digits.size());
}

/// Digits of the shortest text that reads back, found by trying.
int FewestDigits(double value) {
  for (int digits = 1; digits < 17; ++digits) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.*e", digits - 1, value);
    if (std::strtod(text, nullptr) == value) return digits;
  }
  return 17;
}

TEST(Ftos, NoDigitTooMany) {
  std::mt19937_64 random(20240502);
  std::uniform_real_distribution<double> unit(-1, 1);
  for (int i = 0; i < 10000; ++i) {
    const double value = unit(random);
    ASSERT_EQ(SignificantDigits(ftos(value)), FewestDigits(value)) << ftos(value);
  }
  EXPECT_EQ(SignificantDigits(ftos(0.75)), 2);
}

TEST(Ftos, LocaleWithCommaChangesNothing) {
  const testsupport::CommaLocale locale;
  if (!locale.Reason().empty()) GTEST_SKIP() << locale.Reason();
  EXPECT_EQ(ftos(1234.5), "1234.5");
  EXPECT_EQ(itos(1234567), "1234567");
}

TEST(StripStr, WhiteSpaceAtBothEndsGoes) {
  const struct {
    const char* text;
    const char* stripped;
  } kCases[] = {{"", ""},
                {" ", ""},
                {" \t\r\n\v\f", ""},
                {"a", "a"},
                {" a", "a"},
                {"a ", "a"},
                {"\r\n a \t b \n", "a \t b"},
                {"\xc2\xa0 a", "\xc2\xa0 a"},
                {"\xe3\x80\x80", "\xe3\x80\x80"}};
  for (const auto& c : kCases) {
    std::string text = c.text;
    DevicePackOwned::StripStr(text);
    EXPECT_EQ(text, c.stripped);
  }
}

TEST(StripStr, ZeroByteIsNoWhiteSpace) {
  std::string text(" \0 ", 3);
  DevicePackOwned::StripStr(text);
  EXPECT_EQ(text, std::string(1, '\0'));
}

TEST(StringToLowerCase, AsciiLettersOnly) {
  std::string text = "AZaz09@[`{ \xc3\x84\xc4\xb0\xff";
  DevicePackOwned::StringToLowerCase(text);
  EXPECT_EQ(text, "azaz09@[`{ \xc3\x84\xc4\xb0\xff");
  std::string empty;
  DevicePackOwned::StringToLowerCase(empty);
  EXPECT_EQ(empty, "");
}

TEST(GetAudioType, KnownCodesAndNoOthers) {
  const struct {
    int code;
    const char* name;
  } kCases[] = {{1, "AAC"}, {2, "G711"}, {3, "G726"}, {0, ""}, {4, ""}, {-1, ""}};
  for (const auto& c : kCases) EXPECT_EQ(DevicePackOwned::GetAudioType(c.code), c.name) << c.code;
  EXPECT_EQ(DevicePackOwned::GetAudioType(std::numeric_limits<int>::max()), "");
  EXPECT_EQ(DevicePackOwned::GetAudioType(std::numeric_limits<int>::min()), "");
}

}  // namespace
