// The player of a build without streams.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "camctl/player.h"

namespace camctl {
namespace {

using testing::HasSubstr;

TEST(PlayWithoutPlayer, SaysWhatToInstall) {
  std::string reason;
  EXPECT_FALSE(CanPlay(reason));
  EXPECT_THAT(reason, HasSubstr("install "));
  const Playback playback = Play(PlayRequest());
  EXPECT_EQ(playback.result, PlayResult::NotAvailable);
  EXPECT_EQ(playback.error, reason);
}

}  // namespace
}  // namespace camctl
