#include "camctl/nearest.h"

#include <gtest/gtest.h>

namespace camctl {
namespace {

const std::vector<std::string> kNames = {"test", "info", "paths", "tour"};

TEST(Nearest, SlipsOfTheFinger) {
  EXPECT_EQ(Nearest("tuor", kNames), "tour");
  EXPECT_EQ(Nearest("path", kNames), "paths");
  EXPECT_EQ(Nearest("inffo", kNames), "info");
}

TEST(Nearest, NothingForAWordOfItsOwn) {
  EXPECT_EQ(Nearest("reboot", kNames), "");
  EXPECT_EQ(Nearest(std::string(100000, 't'), kNames), "");
}

}  // namespace
}  // namespace camctl
