#include "camctl/tourplan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

using testing::HasSubstr;

Capabilities TwoCodecs() {
  return {{"h264", "rtsp"},
          {"resolutions_h264", "320x240,640x480"},
          {"default_resolution_h264", "640x480"},
          {"fps_h264_320x240", "1,2,3,4,5,6,7,8,9,10"},
          {"fps_h264_640x480", "1,2,3,4,5,6,7,8,9,10"},
          {"default_fps_h264_640x480", "10"},
          {"resolution_independent", "h264"},
          {"mjpeg", "rtsp"},
          {"resolutions_mjpeg", "640x480"},
          {"default_resolution_mjpeg", "640x480"},
          {"fps_mjpeg_640x480", "12"},
          {"default_fps_mjpeg_640x480", "12"}};
}

TEST(PlanEqual, DefaultsOfTheCodecThatIsSet) {
  const StreamPlan plan = PlanEqual(TwoCodecs(), "JPEG");
  EXPECT_EQ(plan.excuse, "");
  EXPECT_EQ(plan.wanted.nVdoType, 1);
  EXPECT_EQ(plan.wanted.strReso, "640x480");
  EXPECT_EQ(plan.wanted.strFps, "12");
  EXPECT_EQ(plan.wanted.strLiveReso, "640x480");
  EXPECT_EQ(plan.wanted.strLiveFps, "12");
  EXPECT_EQ(plan.wanted.strQual, plan.wanted.strLiveQual);
}

TEST(PlanEqual, CodecThatIsNotReportedIsNotAskedFor) {
  EXPECT_EQ(PlanEqual(TwoCodecs(), "MPEG4").wanted.nVdoType, 3);
  EXPECT_EQ(PlanEqual(TwoCodecs(), "").wanted.nVdoType, 3);
}

TEST(PlanEqual, CameraWithoutCodecIsExcused) {
  EXPECT_EQ(PlanEqual({}, "H264").excuse, "the camera reports no video codec");
  EXPECT_EQ(PlanEqual({{"h264", "rtsp"}, {"resolutions_h264", ""}}, "H264").excuse,
            "the camera reports no video codec");
}

TEST(PlanDifferent, LiveStreamIsSmallerAndSlower) {
  const StreamPlan plan = PlanDifferent(TwoCodecs(), "H264", 2);
  EXPECT_EQ(plan.excuse, "");
  EXPECT_EQ(plan.wanted.strReso, "640x480");
  EXPECT_EQ(plan.wanted.strFps, "10");
  EXPECT_EQ(plan.wanted.strLiveReso, "320x240");
  EXPECT_EQ(plan.wanted.strLiveFps, "5");
}

TEST(PlanDifferent, OneSizeAndOneRateDifferInQuality) {
  const STM_PROFILE wanted = PlanDifferent(TwoCodecs(), "JPEG", 2).wanted;
  EXPECT_EQ(wanted.strLiveReso, wanted.strReso);
  EXPECT_EQ(wanted.strLiveFps, wanted.strFps);
  EXPECT_NE(wanted.strLiveQual, wanted.strQual);
}

TEST(PlanDifferent, CameraWithoutSecondStreamIsExcused) {
  EXPECT_THAT(PlanDifferent(TwoCodecs(), "JPEG", 2).excuse, HasSubstr("no second mjpeg stream"));
  EXPECT_EQ(PlanDifferent(TwoCodecs(), "H264", 1).excuse, "the camera has one profile only");
}

OVF_MED_AUD_CONF Encoder(const char* encoding) {
  OVF_MED_AUD_CONF encoder;
  encoder.strEncoding = encoding;
  return encoder;
}

TEST(PlanAudio, AnotherEncoderIsChosenBeforeThePresentOne) {
  const Capabilities record = {{"audio_format", "G711,AAC"}};
  EXPECT_EQ(PlanAudio(record, {Encoder("G711"), Encoder("AAC")}, "G711").audioType, 1);
  EXPECT_EQ(PlanAudio(record, {Encoder("G711"), Encoder("AAC")}, "AAC").audioType, 2);
  EXPECT_EQ(PlanAudio(record, {Encoder("G711")}, "G711").audioType, 2);
  EXPECT_EQ(PlanAudio(record, {Encoder("G726"), Encoder("OPUS")}, "").audioType, 3);
}

TEST(PlanAudio, CodecsThatTheServerDoesNotKnowAreNotChosen) {
  const AudioPlan plan = PlanAudio({{"audio_format", "OPUS"}}, {Encoder("OPUS")}, "OPUS");
  EXPECT_EQ(plan.audioType, 0);
  EXPECT_EQ(plan.excuse, "");
}

TEST(PlanAudio, CameraWithoutAudioIsExcused) {
  EXPECT_EQ(PlanAudio({}, {}, "").excuse, "the camera reports no audio codec");
}

TEST(PlanLens, ExcusesFollowTheReport) {
  const LensPlan steps = PlanLens({{"pan", "step"}, {"tilt", "step"}});
  EXPECT_EQ(steps.direction, 1);
  EXPECT_EQ(steps.stepExcuse, "");
  EXPECT_THAT(steps.startExcuse, HasSubstr("in steps only"));
  const LensPlan zoom = PlanLens({{"zoom", "continuous"}});
  EXPECT_EQ(zoom.direction, 34);
  EXPECT_THAT(zoom.stepExcuse, HasSubstr("continuously"));
  EXPECT_EQ(zoom.startExcuse, "");
  EXPECT_EQ(PlanLens({}).startExcuse, "");
}

}  // namespace
}  // namespace camctl
