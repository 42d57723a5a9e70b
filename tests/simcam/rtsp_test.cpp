// What the streams of the simulated camera show and tell.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "tests/simcam/framecode.h"
#include "tests/simcam/rtsp_fixture.h"

namespace {

using simcam::StreamDescription;
using simcam::VideoCodec;
using simcamtest::Audio;
using simcamtest::Player;
using simcamtest::PlayerOptions;
using simcamtest::ReadFrameCode;
using simcamtest::Rtsp;
using simcamtest::RtspConnection;
using simcamtest::RtspReply;
using simcamtest::Sample;
using simcamtest::SmallH264;
using simcamtest::Stream;
using testing::HasSubstr;

struct VideoRow {
  const char* name;
  VideoCodec codec;
  int width, height, frameRate;
  const char* chain;
  const char* description;
};

std::ostream& operator<<(std::ostream& out, const VideoRow& row) {
  return out << row.name;
}

// The latest frames that followed each other without a gap.
struct FrameRun {
  int frames = 0;  // in all
  int length = 0;
  double begin = 0;  // seconds
  double end = 0;    // seconds
  std::uint32_t last = 0;

  void Add(const Sample& sample) {
    const auto code = ReadFrameCode(sample.bytes.data(), sample.width, sample.height,
                                    simcam::FrameCodeBlock(sample.width, sample.height));
    ASSERT_TRUE(code.has_value()) << "in frame " << frames;
    ASSERT_TRUE(frames == 0 || *code > last) << last << " is followed by " << *code;
    length = frames > 0 && *code == last + 1 ? length + 1 : 1;
    begin = length == 1 ? sample.time : begin;
    end = sample.time;
    last = *code;
    ++frames;
  }
};

class RtspVideo : public Rtsp, public testing::WithParamInterface<VideoRow> {};

TEST_P(RtspVideo, HasTheConfiguredSizeAndRateAndCountsItsFrames) {
  const VideoRow& row = GetParam();
  m_server->Update({Stream("/media/profile_1", row.codec, row.width, row.height, row.frameRate)});
  const Player player(Port(), "/media/profile_1", row.chain);
  // On a machine that is too slow frames are left out, but not all the time.
  FrameRun run;
  while (run.length < 10 && run.frames < 150) {
    const std::optional<Sample> sample = player.Next();
    ASSERT_TRUE(sample.has_value()) << player.Error();
    ASSERT_EQ(sample->width, row.width);
    ASSERT_EQ(sample->height, row.height);
    run.Add(*sample);
  }
  ASSERT_EQ(run.length, 10);
  EXPECT_NEAR((run.length - 1) / (run.end - run.begin), row.frameRate, row.frameRate * 0.1);
}

TEST_P(RtspVideo, IsDescribedAsItsCodec) {
  const VideoRow& row = GetParam();
  m_server->Update({Stream("/media/profile_1", row.codec, row.width, row.height, row.frameRate)});
  const RtspReply reply = RtspConnection(Port()).Ask("DESCRIBE", "/media/profile_1");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.Header("Content-Type"), "application/sdp");
  EXPECT_THAT(reply.body, HasSubstr(row.description));
  EXPECT_THAT(reply.body, Not(HasSubstr("m=audio")));
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, RtspVideo,
    testing::Values(VideoRow{"H264", VideoCodec::H264, 640, 360, 15, simcamtest::kPlayH264, "H264/90000"},
                    VideoRow{"Mpeg4", VideoCodec::Mpeg4, 352, 288, 25, simcamtest::kPlayMpeg4, "MP4V-ES/90000"},
                    VideoRow{"Jpeg", VideoCodec::Jpeg, 640, 360, 10, simcamtest::kPlayJpeg, "m=video 0 RTP/AVP 26"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Rtsp, H264ProfileIsToldTruthfully) {
  // profile_idc is the first byte of profile-level-id: 66, 77, 100.
  const std::pair<const char*, const char*> rows[] = {
      {"Baseline", "profile-level-id=42"}, {"Main", "profile-level-id=4d"}, {"High", "profile-level-id=64"}};
  for (const auto& [profile, told] : rows) {
    StreamDescription stream = SmallH264("/a");
    stream.video.codecProfile = profile;
    m_server->Update({stream});
    EXPECT_THAT(RtspConnection(Port()).Ask("DESCRIBE", "/a").body, HasSubstr(told)) << profile;
  }
}

struct AudioRow {
  const char* name;
  const char* encoding;
  int bitrate, sampleRate;
  const char* chain;
  const char* description;
  int rate;
};

std::ostream& operator<<(std::ostream& out, const AudioRow& row) {
  return out << row.name;
}

class RtspAudio : public Rtsp, public testing::WithParamInterface<AudioRow> {};

TEST_P(RtspAudio, IsDescribedAndHeard) {
  const AudioRow& row = GetParam();
  StreamDescription stream = SmallH264("/media/profile_1");
  stream.audio = Audio(row.encoding, row.bitrate, row.sampleRate);
  m_server->Update({stream});
  EXPECT_THAT(RtspConnection(Port()).Ask("DESCRIBE", "/media/profile_1").body, HasSubstr(row.description));
  const Player player(Port(), "/media/profile_1", row.chain);
  int loudest = 0;
  double heard = 0;  // seconds
  while (heard < 1.5) {
    const std::optional<Sample> sample = player.Next();
    ASSERT_TRUE(sample.has_value()) << player.Error();
    ASSERT_EQ(sample->rate, row.rate);
    loudest = std::max(loudest, sample->Loudness());
    heard += static_cast<double>(sample->bytes.size()) / 2 / row.rate;
  }
  EXPECT_GT(loudest, 3000) << "no beep in " << heard << " seconds";
  EXPECT_LT(loudest, 20000) << "the beep is not soft, or noise";
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, RtspAudio,
    testing::Values(AudioRow{"G711", "G711", 64, 8, simcamtest::kPlayG711, "m=audio 0 RTP/AVP 0", 8000},
                    AudioRow{"G726at16", "G726", 16, 8, simcamtest::kPlayG726, "G726-16/8000", 8000},
                    AudioRow{"G726at32", "G726", 32, 8, simcamtest::kPlayG726, "G726-32/8000", 8000},
                    AudioRow{"AacAt16kHz", "AAC", 32, 16, simcamtest::kPlayAac, "/16000", 16000},
                    AudioRow{"AacAt32kHz", "AAC", 64, 32, simcamtest::kPlayAac, "/32000", 32000}),
    [](const auto& row) { return row.param.name; });

// How far the second picture is shifted to the left against the first, by the strip of rows in the middle.
int ShiftToTheLeft(const Sample& first, const Sample& second) {
  const int width = first.width;
  const auto difference = [&](int shift) {
    double sum = 0;
    for (int y = first.height * 4 / 10; y < first.height * 6 / 10; ++y) {
      for (int x = width / 4; x < width * 3 / 4; ++x) {
        const auto at = [&](const Sample& sample, int column) {
          return int{sample.bytes.at(static_cast<std::size_t>((y * width + column) * 4 + 1))};
        };
        sum += std::abs(at(first, x) - at(second, x - shift));
      }
    }
    return sum;
  };
  int best = 0;
  for (int shift = -width / 4; shift <= width / 4; ++shift) {
    best = difference(shift) < difference(best) ? shift : best;
  }
  return best;
}

TEST_F(Rtsp, PictureFollowsTheLens) {
  m_server->Update({Stream("/a", VideoCodec::Jpeg, 352, 288, 10)});
  const Player player(Port(), "/a", simcamtest::kPlayJpeg);
  const std::vector<Sample> before = player.Take(2);
  ASSERT_EQ(before.size(), 2U) << player.Error();
  m_pan = 0.1;
  // Some pictures are on their way already.
  int shift = 0;
  for (int i = 0; i < 60 && shift == 0; ++i) {
    const std::optional<Sample> after = player.Next();
    ASSERT_TRUE(after.has_value()) << player.Error();
    shift = ShiftToTheLeft(before.back(), *after);
  }
  EXPECT_GT(shift, 4);
}

TEST_F(Rtsp, UnknownAddressIsNotFound) {
  m_server->Update({SmallH264("/live/main?audio=0"), SmallH264("/live/sub")});
  for (const char* const target :
       {"/live", "/live/main", "/live/main?audio=1", "/live/sub?audio=0", "/live/subs", "/"}) {
    EXPECT_EQ(RtspConnection(Port()).Ask("DESCRIBE", target).status, 404) << target;
  }
  EXPECT_EQ(RtspConnection(Port()).Ask("DESCRIBE", "/live/main?audio=0").status, 200);
}

TEST_F(Rtsp, AddressWithQueryPlays) {
  m_server->Update({SmallH264("/live/main?profile=a&audio=0"),
                    Stream("/live/main?profile=b&audio=0", VideoCodec::H264, 320, 240, 15)});
  const Player first(Port(), "/live/main?profile=a&audio=0", simcamtest::kPlayH264);
  const Player second(Port(), "/live/main?profile=b&audio=0", simcamtest::kPlayH264);
  EXPECT_EQ(first.Next().value_or(Sample()).width, 352) << first.Error();
  EXPECT_EQ(second.Next().value_or(Sample()).width, 320) << second.Error();
}

TEST_F(Rtsp, SizeThatTheCodecCannotSendHasNoAddress) {
  m_server->Update({Stream("/large", VideoCodec::Jpeg, 2048, 1536, 5), Stream("/odd", VideoCodec::H264, 353, 288, 5),
                    Stream("/step", VideoCodec::Jpeg, 350, 288, 5)});
  for (const char* const target : {"/large", "/odd", "/step"}) {
    EXPECT_EQ(RtspConnection(Port()).Ask("DESCRIBE", target).status, 404) << target;
  }
}

TEST_F(Rtsp, PlaysOverUdp) {
  m_server->Update({SmallH264("/a")});
  PlayerOptions options;
  options.protocol = "udp";
  const Player player(Port(), "/a", simcamtest::kPlayH264, options);
  EXPECT_EQ(player.Take(5).size(), 5U) << player.Error();
}

TEST_F(Rtsp, ViewerOfPicturesAloneDoesNotEndAStreamWithSound) {
  StreamDescription stream = SmallH264("/a");
  stream.audio = Audio("G711", 64, 8);
  m_server->Update({stream});
  for (int i = 0; i < 3; ++i) {
    RtspConnection viewer(Port());
    ASSERT_EQ(viewer.Play("/a"), 200);
    EXPECT_TRUE(viewer.HasData());
  }
}

TEST_F(Rtsp, OnlyTheAccountIsServed) {
  simcam::RtspOptions options;
  options.user = "admin";
  options.password = "simcam";
  Start(options);
  m_server->Update({SmallH264("/a")});
  const RtspReply challenge = RtspConnection(Port()).Ask("DESCRIBE", "/a");
  EXPECT_EQ(challenge.status, 401);
  EXPECT_THAT(challenge.Header("WWW-Authenticate"), testing::StartsWith("Digest realm=\"SD-4230\""));
  EXPECT_THAT(challenge.head, Not(HasSubstr("Basic")));
  EXPECT_EQ(RtspConnection(Port()).Ask("OPTIONS", "/a").status, 200);
  PlayerOptions account;
  account.user = "admin";
  account.password = "wrong";
  EXPECT_THAT(Player(Port(), "/a", simcamtest::kPlayH264, account).Error(), HasSubstr("Unauthorized"));
  EXPECT_EQ(m_asked, 0) << "pictures were drawn for a stranger";
  account.password = "simcam";
  EXPECT_TRUE(Player(Port(), "/a", simcamtest::kPlayH264, account).Next().has_value());
}

}  // namespace
