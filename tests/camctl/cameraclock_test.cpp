#include "camctl/cameraclock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

TEST(DescribeClock, TwoLargestUnits) {
  const std::pair<milliseconds, const char*> kCases[] = {
      {milliseconds(0), "as this machine's"},
      {milliseconds(4999), "as this machine's"},
      {milliseconds(-4999), "as this machine's"},
      {seconds(5), "5 s ahead of this machine's"},
      {milliseconds(-61200), "1 min 1 s behind this machine's"},
      {hours(3) - milliseconds(400), "3 h 0 min ahead of this machine's"},
      {hours(3) + milliseconds(400), "3 h 0 min ahead of this machine's"},
      {-hours(26) - minutes(40), "1 days 3 h behind this machine's"},
      {hours(24 * 400), "400 days 0 h ahead of this machine's"},
  };
  for (const auto& [ahead, text] : kCases) EXPECT_EQ(DescribeClock(ahead), text) << ahead.count();
}

TEST(WithClock, OnlyANoticeableDifferenceIsBlamed) {
  const Cause refused = {"the camera refused the account 'admin'", "check user and password"};
  EXPECT_EQ(WithClock(refused, seconds(1)).cause, refused.cause);
  EXPECT_EQ(WithClock(refused, seconds(1)).remedy, "check user and password; the camera's clock is right");
  const Cause off = WithClock(refused, hours(3));
  EXPECT_EQ(off.cause, "the camera refused the account 'admin'; its clock is 3 h 0 min ahead of this machine's");
  EXPECT_THAT(off.remedy, testing::HasSubstr("--clock camera"));
}

}  // namespace
}  // namespace camctl
