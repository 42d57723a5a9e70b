// The guard itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "onvif/boundary.h"
#include "platform/cameraresult.h"
#include "tests/memory/failing_new.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

TEST(AtBoundary, ResultOfTheOperationComesBackAndNothingIsLogged) {
  ClearLog();
  EXPECT_EQ(AtBoundary("Any", [] { return 6; }), 6);
  EXPECT_EQ(LogText(), "");
}

TEST(AtBoundary, EveryExceptionIsAFailure) {
  EXPECT_EQ(AtBoundary("Any", []() -> int { throw std::bad_alloc(); }), CAMERA_FAILED);
  EXPECT_EQ(AtBoundary("Any", []() -> int { throw std::out_of_range("beyond"); }), CAMERA_FAILED);
  EXPECT_EQ(AtBoundary("Any", []() -> int { throw 7; }), CAMERA_FAILED);
}

TEST(AtBoundary, ExceptionIsLoggedInOneLineThatNamesTheOperation) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  ClearLog();
  AtBoundary("GetPresets", []() -> int { throw std::out_of_range("beyond"); });
  AtBoundary("SetPreset", []() -> int { throw 7; });
  EXPECT_THAT(LogLines(),
              testing::ElementsAre(
                  testing::ContainsRegex(" onvif/boundary:[0-9]+:GetPresets\\(\\): The operation broke off: beyond$"),
                  testing::ContainsRegex(
                      " onvif/boundary:[0-9]+:SetPreset\\(\\): The operation broke off: unknown exception$")));
}

TEST(AtBoundary, LineIsLoggedWithoutAnyMemory) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  ClearLog();
  {
    const FailingNew failing(1, Failing::kAllFromTheNth);
    AtBoundary("GetPresets", []() -> int { throw std::bad_alloc(); });
    EXPECT_FALSE(failing.Struck()) << "the guard asks for memory";
  }
  EXPECT_EQ(LogLines().size(), 1U);
}

}  // namespace
}  // namespace testsupport
