#include "camctl/values.h"

#include <gtest/gtest.h>

#include <functional>

#include "camctl/usageerror.h"

namespace camctl {
namespace {

std::string ErrorOf(const std::function<void()>& read) {
  try {
    read();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(ReadWhole, BoundsAreInside) {
  EXPECT_EQ(ReadWhole("1", 1, 5, "--q", "level"), 1);
  EXPECT_EQ(ReadWhole("5", 1, 5, "--q", "level"), 5);
  for (const char* text : {"0", "6", "", " 1", "1 ", "+1", "1.0", "0x1", "99999999999"}) {
    EXPECT_EQ(ErrorOf([&] { ReadWhole(text, 1, 5, "--q", "level"); }),
              std::string("--q '") + text + "' is no level; give a whole number from 1 to 5");
  }
}

TEST(ReadSeconds, WholeAndBrokenNumbers) {
  EXPECT_EQ(ReadSeconds("2", "--for").count(), 2000);
  EXPECT_EQ(ReadSeconds("0.25", "--for").count(), 250);
  EXPECT_EQ(ReadSeconds("3600", "--for").count(), 3600000);
  for (const char* text : {"0", "-1", "3600.1", "1s", "", "nan", "inf", "1e9"}) {
    EXPECT_NE(ErrorOf([&] { ReadSeconds(text, "--for"); }), "") << text;
  }
}

TEST(ReadSize, WidthAndHeight) {
  EXPECT_EQ(ReadSize("640x480", "--r"), "640x480");
  EXPECT_EQ(ReadSize("0640x0480", "--r"), "640x480");
  for (const char* text :
       {"", "x", "640", "640x", "x480", "640X480", "640x480x", "0x480", "640x65536", "-1x1", "6 x4"}) {
    EXPECT_EQ(ErrorOf([&] { ReadSize(text, "--r"); }),
              std::string("--r '") + text + "' is no size; give WIDTHxHEIGHT in pixels, 640x480 for example");
  }
}

}  // namespace
}  // namespace camctl
