#include "camctl/playing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;

// Ten pictures per second for three seconds, with AAC.
Playback Good() {
  Playback playback;
  playback.codec = "H264";
  playback.width = 640;
  playback.height = 360;
  playback.frames = 31;
  playback.timed = 31;
  playback.span = 3;
  playback.audio = AudioTrack{"AAC", 16000, 48};
  return playback;
}

StreamState Set() {
  return {"profile_1", "H264", "640x360", "10", "6", "AAC"};
}

PlayRequest Request() {
  PlayRequest request;
  request.host = "192.0.2.7";
  request.port = 554;
  request.path = "/live?x=1";
  request.user = "admin";
  request.password = "secret-word";
  return request;
}

TEST(Playback, RateNeedsTwoPictures) {
  Playback playback;
  EXPECT_EQ(playback.Rate(), 0);
  playback.frames = 1;
  playback.timed = 1;
  EXPECT_EQ(playback.Rate(), 0);
  EXPECT_DOUBLE_EQ(Good().Rate(), 10);
}

TEST(Playback, PicturesBehindTheLastTimeDoNotCount) {
  Playback playback = Good();
  playback.frames = 35;
  EXPECT_DOUBLE_EQ(playback.Rate(), 10);
}

TEST(DescribePlayback, OneLine) {
  EXPECT_EQ(DescribePlayback(Good()), "H264 640x360, 10.0 frames/s measured over 3.0 s, AAC 16000 Hz");
}

TEST(DescribePlayback, SoundThatDoesNotComeIsTold) {
  Playback playback = Good();
  playback.audio->packets = 0;
  EXPECT_THAT(DescribePlayback(playback), HasSubstr("AAC 16000 Hz (announced, but nothing came)"));
  playback.audio.reset();
  EXPECT_THAT(DescribePlayback(playback), HasSubstr(", no sound"));
}

TEST(Differences, NoneWhereTheStreamIsAsItIsSet) {
  EXPECT_EQ(Differences(Good(), Set()), "");
}

TEST(Differences, EachIsToldWithBothValues) {
  StreamState set = Set();
  set.codec = "JPEG";
  EXPECT_EQ(Differences(Good(), set), "plays H264, set is JPEG");
  set = Set();
  set.resolution = "352x288";
  EXPECT_EQ(Differences(Good(), set), "plays 640x360, set is 352x288");
  set = Set();
  set.fps = "15";
  EXPECT_EQ(Differences(Good(), set), "plays 10.0 frames/s, set is 15 frames/s");
  set = Set();
  set.audio = "G711";
  EXPECT_EQ(Differences(Good(), set), "plays AAC, set is G711");
  Playback silent = Good();
  silent.audio.reset();
  EXPECT_EQ(Differences(silent, Set()), "plays no sound, set is AAC");
}

TEST(Differences, AllAreTold) {
  StreamState set = Set();
  set.codec = "JPEG";
  set.resolution = "352x288";
  EXPECT_EQ(Differences(Good(), set), "plays H264, set is JPEG; plays 640x360, set is 352x288");
}

TEST(Differences, FrameRatesMayDifferByLess) {
  StreamState set = Set();
  for (const char* near : {"9", "11", "10.5"}) {
    set.fps = near;
    EXPECT_EQ(Differences(Good(), set), "") << near;
  }
  for (const char* far : {"8", "12", "5", "20"}) {
    set.fps = far;
    EXPECT_NE(Differences(Good(), set), "") << far;
  }
}

TEST(Differences, WhatTheCameraDoesNotTellIsNotCompared) {
  EXPECT_EQ(Differences(Good(), StreamState()), "");
}

struct ResultRow {
  PlayResult played;
  int result;
  const char* cause;
};

// Each way to fail has a code, and a cause that names what was tried.
TEST(OutcomeOf, EveryFailureHasACauseOfItsOwn) {
  const ResultRow rows[] = {
      {PlayResult::NotAvailable, 7, "streams cannot be played here: why"},
      {PlayResult::NoConnection, 4, "nothing serves RTSP at 192.0.2.7:554"},
      {PlayResult::NoAnswer, 4, "no description of the stream from 192.0.2.7:554 in 10.0 s (why)"},
      {PlayResult::Refused, 5, "refused the account 'admin' for the stream (RTSP 454)"},
      {PlayResult::NotFound, 6, "no stream at 192.0.2.7:554/live?x=1"},
      {PlayResult::BadStatus, 6, "RTSP 454, why"},
      {PlayResult::Redirected, 6, "sends to why, which is never followed"},
      {PlayResult::NoVideo, 6, "/live?x=1 carries no video"},
      {PlayResult::NoDecoder, 7, "the stream is H264, for which this machine has no decoder"},
      {PlayResult::NoPicture, 6, "no picture came in 10.0 s"},
      {PlayResult::NoTime, 6, "times of the stream /live?x=1 stand still: 31 pictures came"},
      {PlayResult::Ended, 6, "ended the stream /live?x=1 after 31 pictures"},
      {PlayResult::Interrupted, 1, "interrupted after 31 pictures"},
      {PlayResult::Broken, 6, "cannot be understood: why"},
  };
  for (const ResultRow& row : rows) {
    Playback playback = Good();
    playback.result = row.played;
    playback.status = 454;
    playback.error = "why";
    const StepOutcome outcome = OutcomeOf(playback, Request(), PlayPurpose::Check);
    EXPECT_EQ(outcome.result, row.result) << row.cause;
    ASSERT_TRUE(outcome.cause) << row.cause;
    EXPECT_THAT(outcome.cause->cause, HasSubstr(row.cause));
    EXPECT_THAT(outcome.cause->cause, Not(HasSubstr("{"))) << "a placeholder is left";
    EXPECT_THAT(outcome.cause->cause + outcome.cause->remedy, Not(HasSubstr("secret-word")));
    EXPECT_NE(outcome.cause->remedy, std::string()) << row.cause;
  }
}

TEST(OutcomeOf, SuccessIsDescribed) {
  const StepOutcome outcome = OutcomeOf(Good(), Request(), PlayPurpose::Check);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.detail, DescribePlayback(Good()));
}

TEST(OutcomeOf, UserMayEndAMeasurementThatHasARate) {
  Playback playback = Good();
  playback.result = PlayResult::Interrupted;
  EXPECT_EQ(OutcomeOf(playback, Request(), PlayPurpose::Measure).result, 0);
  playback.frames = 1;
  playback.span = 0;
  EXPECT_EQ(OutcomeOf(playback, Request(), PlayPurpose::Measure).result, 1);
}

}  // namespace
}  // namespace camctl
