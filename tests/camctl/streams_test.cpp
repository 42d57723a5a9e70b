#include "camctl/streams.h"

#include <gtest/gtest.h>

#include "camctl/audio.h"
#include "tests/camctl/session_fixture.h"

namespace camctl {
namespace {

TEST(Setting, TakenIsWhatWasAskedForOrNotAskedForAtAll) {
  EXPECT_TRUE((Setting{"live", "fps", "1", "", "9"}.Taken()));
  EXPECT_TRUE((Setting{"live", "codec", "JPEG", "H264", "H264"}.Taken()));
  EXPECT_FALSE((Setting{"live", "codec", "JPEG", "H264", "JPEG"}.Taken()));
  EXPECT_FALSE((Setting{"live", "resolution", "", "640x480", "640x360"}.Taken()));
  EXPECT_FALSE((Setting{"live", "fps", "1", "10", ""}.Taken()));
}

TEST(Setting, NumbersAreComparedAsNumbers) {
  EXPECT_TRUE((Setting{"live", "quality", "1", "4", "4.000000"}.Taken()));
  EXPECT_TRUE((Setting{"live", "fps", "1", "10", "010"}.Taken()));
  EXPECT_FALSE((Setting{"live", "fps", "1", "10", "100"}.Taken()));
  EXPECT_FALSE((Setting{"live", "fps", "1", "10", "10x"}.Taken()));
}

TEST(NotTaken, NamesEverySettingThatDiffers) {
  EXPECT_EQ(NotTaken({{"live", "fps", "1", "10", "10"}}), "");
  EXPECT_EQ(NotTaken({{"live", "fps", "1", "10", "12"}, {"recording", "codec", "", "H264", ""}}),
            "live fps is 12, not 10; recording codec is not set, not H264");
}

TEST(VideoTypeOf, BothNamesOfEachCodec) {
  const std::pair<const char*, int> rows[] = {{"JPEG", 1}, {"mjpeg", 1}, {"MPEG4", 2}, {"mpeg4", 2}, {"H264", 3},
                                              {"h264", 3}, {"jpeg", 0},  {"H265", 0},  {"", 0}};
  for (const auto& [name, type] : rows) EXPECT_EQ(VideoTypeOf(name), type) << name;
  EXPECT_EQ(CodecOnTheWire(3), "H264");
  EXPECT_EQ(CodecOnTheWire(0), "");
  EXPECT_EQ(CodecOnTheWire(4), "");
}

TEST(AudioTypeOf, NamesInAnyCase) {
  EXPECT_EQ(AudioTypeOf("aac"), 1);
  EXPECT_EQ(AudioTypeOf("G711"), 2);
  EXPECT_EQ(AudioTypeOf("g726"), 3);
  EXPECT_EQ(AudioTypeOf("OPUS"), 0);
  EXPECT_EQ(AudioTypeOf(""), 0);
}

TEST(SetStreams, ProfilesThatCarryTheStreamsAreUsedFromThenOn) {
  LiveCamera live("fixed-box");
  Session session(live.GetConnection());
  session.UseProfiles("Profile0,Profile1");
  ASSERT_EQ(kReport.run(session).result, 0);
  STM_PROFILE wish;
  wish.nVdoType = 3;
  ASSERT_EQ(SetStreams("streams", wish).run(session).result, 0);
  EXPECT_EQ(session.Profiles(), "Profile0,Profile0");
}

TEST(SetStreams, SizeThatNoEncoderOffersIsExplained) {
  LiveCamera live("fixed-box");
  Session session(live.GetConnection());
  session.UseProfiles("Profile0,Profile1");
  ASSERT_EQ(kReport.run(session).result, 0);
  STM_PROFILE wish;
  wish.nVdoType = 2;
  const StepOutcome outcome = SetStreams("streams", wish).run(session);
  EXPECT_EQ(outcome.result, 1);
  ASSERT_TRUE(outcome.cause.has_value());
  EXPECT_EQ(outcome.cause->cause, "no encoder of the camera offers MPEG4 in what was asked for");
}

}  // namespace
}  // namespace camctl
