#include "camctl/interruption.h"

#include <gtest/gtest.h>

#include "tests/support/child_process.h"

namespace camctl {
namespace {

TEST(Interruption, SignalThatCameAlreadyEndsTheWait) {
  const int result = testsupport::RunInChild([] {
    Interruption interruption;
    raise(SIGINT);
    return interruption.Wait(std::nullopt) ? 7 : 1;
  });
  EXPECT_EQ(result, 7);
}

TEST(Interruption, TimeEndsTheWaitToo) {
  Interruption interruption;
  EXPECT_FALSE(interruption.Wait(std::chrono::milliseconds(1)));
}

TEST(Interruption, SecondSignalOfTheKindActsAsBefore) {
  const int result = testsupport::RunInChild([] {
    Interruption interruption;
    raise(SIGTERM);
    raise(SIGTERM);
    return 7;
  });
  EXPECT_EQ(result, -SIGTERM);
}

TEST(Interruption, IgnoredSignalStaysIgnored) {
  const int result = testsupport::RunInChild([] {
    signal(SIGHUP, SIG_IGN);
    Interruption interruption;
    raise(SIGHUP);
    raise(SIGHUP);
    return interruption.Wait(std::chrono::milliseconds(0)) ? 1 : 7;
  });
  EXPECT_EQ(result, 7);
}

TEST(Interruption, SignalsActAsBeforeAfterItsEnd) {
  const int result = testsupport::RunInChild([] {
    { const Interruption interruption; }
    raise(SIGINT);
    return 7;
  });
  EXPECT_EQ(result, -SIGINT);
}

}  // namespace
}  // namespace camctl
