// GetVdoEncoderCap, GetCodecCapUnion: what the camera's video encoders offer.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

const char* const kNames[] = {"mjpeg", "mpeg4", "h264"};

// The numbers from `first` to `last` with "," between them.
std::string Numbers(int first, int last) {
  std::string text;
  for (int number = first; number <= last; ++number) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

class VideoReport : public Driver {
 protected:
  // The report of a camera whose encoder configurations are "ve0", "ve1" ... with these options, and which says nothing
  // of its video sources.
  Map ReportOf(const std::vector<Reply>& options) {
    std::vector<std::string> tokens;
    for (std::size_t i = 0; i < options.size(); ++i) tokens.push_back("ve" + std::to_string(i));
    m_camera.Answer(EncodersReply(tokens));
    for (int round = 0; round < 2; ++round) {
      for (const Reply& reply : options) m_camera.Answer(reply);
    }
    m_camera.Answer(FaultReply());
    Map caps;
    EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);
    return caps;
  }

  Map ReportOf(const std::vector<CodecOffer>& offers) { return ReportOf(std::vector{VideoOptionsReply(offers)}); }

  std::unique_ptr<ONVIFAPI> m_driver = MakeDriver(m_camera);
};

TEST_F(VideoReport, HoldsAllKeysOfAnExampleAndAsksForEachThingTwice) {
  const Reply options = VideoOptionsReply({{"H264", {"1280x720", "640x480"}, "1", "30"}}, "1", "100");
  m_camera.Answer(EncodersReply({"ve0"}));
  m_camera.Answer(options);
  m_camera.Answer(options);
  m_camera.Answer(SourcesReply({"vs0", "vs1"}));
  m_camera.Answer(InstancesReply("2", "2", "2"));
  Map caps;

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);

  EXPECT_EQ(caps, (Map{{"api", "onvif"},
                       {"quality_min", "1"},
                       {"quality_max", "100"},
                       {"resolutions_h264", "640x480,1280x720"},
                       {"fps_h264_640x480", Numbers(1, 30)},
                       {"fps_h264_1280x720", Numbers(1, 30)},
                       {"default_fps_h264_640x480", "10"},
                       {"default_fps_h264_1280x720", "10"},
                       {"default_resolution_h264", "640x480"},
                       {"h264", "rtsp"},
                       {"default_image_quality", "5"}}));
  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions("ve0"), AskVideoOptions("ve0"),
                          AskMedia("GetVideoSourceConfigurations"), AskInstances("vs0")));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(VideoReport, EachCodecHasItsOwnKeys) {
  const Map caps = ReportOf(
      {{"H264", {"1920x1080"}, "1", "30"}, {"JPEG", {"640x480"}, "15", "30"}, {"MPEG4", {"352x288"}, "5", "8"}});

  EXPECT_EQ(caps, (Map{{"api", "onvif"},
                       {"quality_min", "1"},
                       {"quality_max", "100"},
                       {"default_image_quality", "5"},
                       {"resolutions_mjpeg", "640x480"},
                       {"fps_mjpeg_640x480", Numbers(15, 30)},
                       {"default_fps_mjpeg_640x480", "15"},
                       {"default_resolution_mjpeg", "640x480"},
                       {"mjpeg", "rtsp"},
                       {"resolutions_mpeg4", "352x288"},
                       {"fps_mpeg4_352x288", "5,6,7,8"},
                       {"default_fps_mpeg4_352x288", "5"},
                       {"default_resolution_mpeg4", "352x288"},
                       {"mpeg4", "rtsp"},
                       {"resolutions_h264", "1920x1080"},
                       {"fps_h264_1920x1080", Numbers(1, 30)},
                       {"default_fps_h264_1920x1080", "10"},
                       {"default_resolution_h264", "1920x1080"},
                       {"h264", "rtsp"}}));
}

TEST_F(VideoReport, KeysThatTheCallerHoldsKeepTheirValues) {
  const Map all =
      ReportOf({{"JPEG", {"640x480"}, "1", "2"}, {"MPEG4", {"640x480"}, "1", "2"}, {"H264", {"640x480"}, "1", "2"}});
  ASSERT_EQ(all.size(), 4 + 3 * 5U);
  for (const auto& [key, reported] : all) {
    for (const std::string& held : {std::string("mine"), std::string()}) {
      const Reply options = VideoOptionsReply(
          {{"JPEG", {"640x480"}, "1", "2"}, {"MPEG4", {"640x480"}, "1", "2"}, {"H264", {"640x480"}, "1", "2"}});
      for (const Reply& reply : {EncodersReply({"ve0"}), options, options, FaultReply()}) m_camera.Answer(reply);
      Map expected = all;
      expected[key] = held;
      Map caps{{key, held}};

      EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);

      EXPECT_EQ(caps, expected) << "the caller's " << key << " was \"" << held << '"';
    }
  }
}

TEST_F(VideoReport, CodecThatTheDriverDoesNotKnowIsNotReported) {
  const Map caps = ReportOf({{"H265", {"640x480"}, "1", "30"}});

  EXPECT_EQ(caps, (Map{{"api", "onvif"}, {"quality_min", "1"}, {"quality_max", "100"}}))
      << "default_image_quality comes with a codec only";
}

TEST_F(VideoReport, CodecWithoutSizesIsNotReportedAndNeitherAreThoseAfterIt) {
  const Map caps = ReportOf({{"JPEG", {"640x480"}, "1", "30"}, {"MPEG4", {}, "1", "30"}, {"H264", {"1x1"}, "1", "30"}});

  EXPECT_EQ(caps.count("mjpeg"), 1U);
  EXPECT_EQ(caps.count("mpeg4"), 0U);
  EXPECT_EQ(caps.count("h264"), 0U);
}

TEST_F(VideoReport, QualityBoundsAreTheCamerasTexts) {
  const Map caps = ReportOf(std::vector{VideoOptionsReply({}, " 01", "9.75 of ten")});

  EXPECT_EQ(caps.at("quality_min"), " 01");
  EXPECT_EQ(caps.at("quality_max"), "9.75 of ten");
}

TEST_F(VideoReport, EmptyListOfConfigurationsGivesEmptyQualityTextsAndStillAsksForTheInstances) {
  m_camera.Answer(EncodersReply({}));
  m_camera.Answer(SourcesReply({"vs"}));
  m_camera.Answer(InstancesReply("2", "2", "2"));
  Map caps;

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);

  EXPECT_EQ(caps, (Map{{"api", "onvif"}, {"quality_min", ""}, {"quality_max", ""}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskMedia("GetVideoEncoderConfigurations"),
                                           AskMedia("GetVideoSourceConfigurations"), AskInstances("vs")));
}

struct RateRow {
  const char* min;
  const char* max;
  const char* list;
  const char* defaultRate;
};

TEST_F(VideoReport, DefaultFrameRateIsTheSmallestFromTenToNineteenElseTheMinimum) {
  const RateRow rows[] = {
      {"5", "8", "5,6,7,8", "5"},
      {"20", "22", "20,21,22", "20"},
      {"15", "16", "15,16", "15"},
      {"9", "10", "9,10", "10"},
      {"19", "20", "19,20", "19"},
      {"9", "9", "9", "9"},
      {"35", "20", "", "35"},
      {"12", "11", "", "12"},
      {"0", "1", "1", "1"},
      {"few", "2.9", "1,2", "1"},
      {" 7", "8 per second", "7,8", "7"},
      {"3", "none", "", "3"},
      {"-5", "-1", "", "1"},
      {"5", "-2147483648", "", "5"},
      {"99999999999999999999", "5", "", "2147483647"},
  };
  for (const RateRow& row : rows) {
    const Map caps = ReportOf({{"H264", {"8x6"}, row.min, row.max}});
    EXPECT_EQ(caps.at("fps_h264_8x6"), row.list) << row.min << ".." << row.max;
    EXPECT_EQ(caps.at("default_fps_h264_8x6"), row.defaultRate) << row.min << ".." << row.max;
  }
}

// What the report must say of a range as the camera writes it, counted out.
std::pair<std::string, std::string> ExpectedRates(int min, int max) {
  const int first = max > 30 ? 30 : std::max(min, 1);
  int standard = first;
  for (int rate = max; rate >= first; --rate) {
    if (rate >= 10 && rate <= 19) standard = rate;
  }
  return {Numbers(first, max), std::to_string(standard)};
}

TEST_F(VideoReport, FrameRatesOfAllRangesUpTo60) {
  std::vector<std::pair<int, int>> ranges;
  for (int min = 0; min <= 60; ++min) {
    for (int max = 0; max <= 60; ++max) ranges.emplace_back(min, max);
  }
  while (ranges.size() % 3 != 0) ranges.emplace_back(1, 1);
  for (std::size_t at = 0; at < ranges.size(); at += 3) {
    std::vector<CodecOffer> offers;
    for (std::size_t i = 0; i < 3; ++i) {
      const auto [min, max] = ranges[at + i];
      offers.push_back({kCodecs[i], {"8x6"}, std::to_string(min), std::to_string(max)});
    }
    const Map caps = ReportOf(offers);
    for (std::size_t i = 0; i < 3; ++i) {
      const auto [min, max] = ranges[at + i];
      const auto [list, standard] = ExpectedRates(min, max);
      ASSERT_EQ(caps.at("fps_" + std::string(kNames[i]) + "_8x6"), list) << min << ".." << max;
      ASSERT_EQ(caps.at("default_fps_" + std::string(kNames[i]) + "_8x6"), standard) << min << ".." << max;
    }
  }
}

TEST_F(VideoReport, NoMoreThanAThousandFrameRatesAreListed) {
  const Map endless =
      ReportOf({{"H264", {"8x6"}, "1", "2147483647"}, {"JPEG", {"8x6"}, "1", "1029"}, {"MPEG4", {"8x6"}, "1", "1030"}});
  for (const char* name : kNames) {
    EXPECT_EQ(endless.at("fps_" + std::string(name) + "_8x6"), Numbers(30, 1029)) << name;
    EXPECT_EQ(endless.at("default_fps_" + std::string(name) + "_8x6"), "30") << name;
  }

  const Map shorter = ReportOf({{"H264", {"8x6"}, "1", "1028"}});
  EXPECT_EQ(shorter.at("fps_h264_8x6"), Numbers(30, 1028));

  const Map merged = ReportOf(std::vector{VideoOptionsReply({{"H264", {"8x6"}, "1", "30"}}),
                                          VideoOptionsReply({{"H264", {"8x6"}, "1", "2147483647"}})});
  EXPECT_EQ(merged.at("fps_h264_8x6"), Numbers(1, 1000));
  EXPECT_EQ(merged.at("default_fps_h264_8x6"), "10");
}

TEST_F(VideoReport, HighestMinimumDoesNotOverflow) {
  const Map caps = ReportOf({{"H264", {"8x6"}, "2147483647", "30"}});
  EXPECT_EQ(caps.at("fps_h264_8x6"), "");
  EXPECT_EQ(caps.at("default_fps_h264_8x6"), "2147483647");
}

TEST_F(VideoReport, DefaultSizeIsTheFirstWhoseWidthIsNearestTo640) {
  const std::pair<std::vector<std::string>, const char*> rows[] = {
      {{"320x240", "640x360", "640x480", "1280x720"}, "640x360"},
      {{"352x288", "704x576"}, "704x576"},
      {{"1920x1080"}, "1920x1080"},
      {{"600x1", "680x1"}, "600x1"},
      {{"680x9", "680x1", "600x9", "600x2"}, "600x2"},
      {{"639x1", "641x1"}, "639x1"},
      {{"0x0", "1281x1"}, "0x0"},
      {{"-2147483648x1", "2147483647x1"}, "2147483647x1"},
      {{"-2147483648x1", "-2147483000x1"}, "-2147483000x1"},
      {{"99999999999x1", "0x2"}, "0x2"},
  };
  for (const auto& [sizes, standard] : rows) {
    const Map caps = ReportOf({{"H264", sizes, "1", "2"}});
    EXPECT_EQ(caps.at("default_resolution_h264"), standard) << Joined(sizes);
  }
}

TEST_F(VideoReport, DefaultSizeOfRandomLists) {
  std::mt19937 random(20240501);
  for (int round = 0; round < 200; ++round) {
    const std::set<Size> sizes = RandomSizes(random, 12);
    int distance = std::numeric_limits<int>::max();
    for (const Size& size : sizes) distance = std::min(distance, std::abs(size.width - 640));
    const auto nearest = std::find_if(sizes.begin(), sizes.end(),
                                      [&](const Size& size) { return std::abs(size.width - 640) == distance; });

    const Map caps = ReportOf({{"JPEG", Shuffled(sizes, random), "1", "2"}});

    ASSERT_EQ(caps.at("resolutions_mjpeg"), Texts(sizes));
    ASSERT_EQ(caps.at("default_resolution_mjpeg"), nearest->Text()) << Texts(sizes);
  }
}

TEST_F(VideoReport, TwentyThousandSizesAreReportedInTime) {
  std::vector<std::string> sizes;
  for (int width = 20000; width > 0; --width) sizes.push_back(std::to_string(width) + "x1");
  const auto begin = std::chrono::steady_clock::now();

  const Map caps = ReportOf({{"H264", sizes, "1", "30"}});

  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ(caps.size(), 7 + 2 * sizes.size());
  EXPECT_EQ(caps.at("default_resolution_h264"), "640x1");
  EXPECT_EQ(caps.at("default_fps_h264_20000x1"), "10");
}

TEST_F(VideoReport, TwoConfigurationsOfDifferentRatesAreReportedAsTheWiderRange) {
  const Map caps = ReportOf(std::vector{VideoOptionsReply({{"H264", {"640x480"}, "1", "25"}}),
                                        VideoOptionsReply({{"H264", {"640x480"}, "1", "30"}})});
  EXPECT_EQ(caps.at("fps_h264_640x480"), Numbers(1, 30));
}

// Failures.

TEST_F(VideoReport, FailureOfTheMergeWritesNothing) {
  m_camera.Answer(EncodersReply({"ve0", "ve1", "ve2"}));
  m_camera.Answer(VideoOptionsReply({{"H264", {"1x1"}, "1", "2"}}));
  m_camera.Answer(FaultReply());
  Map caps{{"api", "before"}};

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 1);

  EXPECT_EQ(caps, (Map{{"api", "before"}}));
  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions("ve0"), AskVideoOptions("ve1")));
  EXPECT_THAT(DriverLogTexts(), IsEmpty());
}

std::string OldStyleLine(int result) {
  return "onvif/camapi-onvif:968:GetVdoEncoderCap(): Onvif GetVideoEncoderConfigurations failed (" +
         std::to_string(result) + "). Try to call GetVideoEncoderConfigurationOptions (old onvif style)";
}

class OldStyleReport : public VideoReport {
 protected:
  Reply Options() { return VideoOptionsReply({{"JPEG", {"640x480"}, "10", "12"}}, "1", "5"); }

  const Map m_reported{{"api", "onvif"},
                       {"quality_min", "1"},
                       {"quality_max", "5"},
                       {"resolutions_mjpeg", "640x480"},
                       {"fps_mjpeg_640x480", "10,11,12"},
                       {"default_fps_mjpeg_640x480", "10"},
                       {"default_resolution_mjpeg", "640x480"},
                       {"mjpeg", "rtsp"},
                       {"default_image_quality", "5"}};
};

class OldStyle : public OldStyleReport, public testing::WithParamInterface<RequestFailure> {};

TEST_P(OldStyle, CameraThatCannotListItsConfigurationsIsAskedInGeneralAndNothingIsIndependent) {
  m_camera.Answer(GetParam().reply);
  m_camera.Answer(Options());
  m_camera.Answer(SourcesReply({"vs"}));
  m_camera.Answer(InstancesReply("2", "2", "2"));
  Map caps;

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);

  EXPECT_EQ(caps, m_reported);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions(""),
                                           AskMedia("GetVideoSourceConfigurations"), AskInstances("vs")));
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(DriverLogTexts(), ElementsAre(OldStyleLine(GetParam().serviceResult)));
  }
}

TEST_P(OldStyle, FailureOfTheGeneralQuestionTooIsResult1WithoutAKey) {
  m_camera.Answer(LastOnConnection(FaultReply()));
  m_camera.Answer(GetParam().reply);
  const Map held{{"quality_min", "x"}};
  Map caps = held;

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 1);

  EXPECT_EQ(caps, held);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions("")));
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(DriverLogTexts(), ElementsAre(OldStyleLine(4)));
  }
}

INSTANTIATE_TEST_SUITE_P(Every, OldStyle, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

TEST_F(OldStyleReport, ConfigurationWithoutTokenIsAFailureAndThoseReadBeforeItAreForgotten) {
  m_camera.Answer(MediaReply("GetVideoEncoderConfigurations",
                             "<trt:Configurations token=\"ve0\"><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>"
                             "<trt:Configurations token=\"ve1\"><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>"
                             "<trt:Configurations><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>"));
  m_camera.Answer(Options());
  m_camera.Answer(SourcesReply({"vs"}));
  m_camera.Answer(InstancesReply("2", "2", "2"));
  Map caps;

  EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);

  EXPECT_EQ(caps, m_reported);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions(""),
                                           AskMedia("GetVideoSourceConfigurations"), AskInstances("vs")));
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(LogTexts(), ElementsAre(OldStyleLine(1)));
  }
}

}  // namespace
}  // namespace testsupport
