#include "tests/support/sleep_counter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

namespace testsupport {
namespace {

// An hour: were it slept, the test would end by its time limit.
TEST(SleepCounter, CallsAreRecordedInOrderAndReturnAtOnce) {
  ClearSleeps();
  EXPECT_EQ(sleep(3600), 0u);
  EXPECT_EQ(sleep(2), 0u);
  std::thread([] { sleep(7); }).join();
  EXPECT_THAT(Sleeps(), testing::ElementsAre(3600, 2, 7));
}

TEST(SleepCounter, ClearedRecordIsEmpty) {
  sleep(1);
  ClearSleeps();
  EXPECT_THAT(Sleeps(), testing::IsEmpty());
}

}  // namespace
}  // namespace testsupport
