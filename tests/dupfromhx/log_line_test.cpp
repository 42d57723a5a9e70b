#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "dupfromhx/hxdebuglog.h"
#include "tests/dupfromhx/log_fixture.h"
#include "tests/support/process_figures.h"
#include "tests/support/test_locale.h"

namespace {

using DevicePackOwned::HxPrintf;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::LogText;

// Test zone: five and a half hours ahead of UTC.
TEST_F(HxLog, LineIsLocalTimeBlankAndMessage) {
  const FakeTime now(kFifthOfNovember);
  HxPrintf("%s:%d:%s(): GetProfiles failed.\n", "onvif/camapi-onvif", 120, "TestConn");
  EXPECT_EQ(LogText(), "Nov  5 18:37:42 onvif/camapi-onvif:120:TestConn(): GetProfiles failed.\n");
}

TEST_F(HxLog, TwoDigitDayAndOneDigitTimes) {
  const FakeTime now(1704042305 - 5 * 3600 - 30 * 60);
  HxPrintf("x\n");
  EXPECT_EQ(LogText(), "Dec 31 17:05:05 x\n");
}

TEST_F(HxLog, StampFollowsTheZone) {
  const FakeTime now(kFifthOfNovember);
  const FakeZone zone("XYZ9:45");
  HxPrintf("x\n");
  EXPECT_EQ(LogText(), "Nov  5 03:22:42 x\n");
}

TEST_F(HxLog, StampHasTheMonthOfTheLocale) {
  const testsupport::CommaLocale locale;
  if (!locale.Reason().empty()) GTEST_SKIP() << locale.Reason();
  const FakeTime now(kFifthOfNovember);
  HxPrintf("%.1f\n", 0.5);
  EXPECT_EQ(LogText(), "marras  5 18:37:42 0,5\n");
}

TEST_F(HxLog, TimeThatCannotBeComputedGivesALineThatStartsWithTheBlank) {
  const FakeTime now(std::numeric_limits<std::time_t>::max());
  HxPrintf("x\n");
  EXPECT_EQ(LogText(), " x\n");
}

// A stamp left from an earlier call must not stand in for the one that failed.
TEST_F(HxLog, StampIsClearedBeforeEachMessage) {
  {
    const FakeTime now(kFifthOfNovember);
    HxPrintf("x\n");
  }
  const FakeTime now(std::numeric_limits<std::time_t>::max());
  EXPECT_STREQ(DevicePackOwned::HxTimeStamp(), "");
}

TEST_F(HxLog, RealTimeIsTheClocks) {
  const std::time_t before = std::time(nullptr);
  const std::string stamp = DevicePackOwned::HxTimeStamp();
  const std::time_t after = std::time(nullptr);
  bool found = false;
  for (std::time_t second = before; second <= after; ++second) {
    const FakeTime now(second);
    found = found || stamp == DevicePackOwned::HxTimeStamp();
  }
  EXPECT_TRUE(found) << stamp << " is not between " << before << " and " << after;
}

TEST_F(HxLog, MessagesAreAppended) {
  WriteFile(testsupport::kLogPath, "was there\n");
  const FakeTime now(kFifthOfNovember);
  HxPrintf("one\n");
  HxPrintf("two\n");
  EXPECT_EQ(LogText(), "was there\nNov  5 18:37:42 one\nNov  5 18:37:42 two\n");
}

TEST_F(HxLog, NoLineFeedIsAdded) {
  const FakeTime now(kFifthOfNovember);
  HxPrintf("one");
  HxPrintf("two");
  EXPECT_EQ(LogText(), "Nov  5 18:37:42 oneNov  5 18:37:42 two");
}

TEST_F(HxLog, PercentSignsAreThoseOfPrintf) {
  const FakeTime now(kFifthOfNovember);
  HxPrintf("100%% of %s\n", "%s %n");
  EXPECT_EQ(LogText(), "Nov  5 18:37:42 100% of %s %n\n");
}

TEST_F(HxLog, EmptyMessageIsAStamp) {
  const FakeTime now(kFifthOfNovember);
  HxPrintf("%s", "");
  EXPECT_EQ(LogText(), "Nov  5 18:37:42 ");
}

TEST_F(HxLog, BytesAreWrittenAsTheyAre) {
  const FakeTime now(kFifthOfNovember);
  HxPrintf("%s\n", "\xff\xc3\x28 \x01\t");
  EXPECT_EQ(LogText(), "Nov  5 18:37:42 \xff\xc3\x28 \x01\t\n");
}

TEST_F(HxLog, MessageLongerThanAnyBufferIsWhole) {
  const FakeTime now(kFifthOfNovember);
  const std::string text(200000, 'a');
  HxPrintf("%s|%s\n", text.c_str(), "end");
  EXPECT_TRUE(LogText() == "Nov  5 18:37:42 " + text + "|end\n") << LogText().size() << " bytes";
}

TEST_F(HxLog, NothingIsReportedAndNoDescriptorStaysOpen) {
  const int before = testsupport::OpenDescriptors();
  for (int i = 0; i < 100; ++i) HxPrintf("%d\n", i);
  EXPECT_EQ(testsupport::OpenDescriptors(), before);
  EXPECT_THAT(testsupport::SyslogMessages(), IsEmpty());
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log"));
}

}  // namespace
