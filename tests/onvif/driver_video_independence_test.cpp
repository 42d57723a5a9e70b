// GetVideoIndependentCap: which codecs can run as two streams that do not disturb each other.

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

const char* const kKeys[] = {"resolution_independent", "fps_independent", "quality_independent"};

std::list<OVF_MED_VDO_CONF> Configurations(std::size_t count) {
  std::list<OVF_MED_VDO_CONF> configurations;
  for (std::size_t i = 0; i < count; ++i) {
    OVF_MED_VDO_CONF configuration;
    configuration.strToken = "ve" + std::to_string(i);
    configurations.push_back(configuration);
  }
  return configurations;
}

class Independence : public Driver {
 protected:
  // What the whole video report says of independence, "none" without the keys; the three keys must agree.
  std::string Reported(const std::vector<std::vector<CodecOffer>>& offers, const Reply& instances) {
    std::vector<std::string> tokens;
    for (std::size_t i = 0; i < offers.size(); ++i) tokens.push_back("ve" + std::to_string(i));
    m_camera.Answer(EncodersReply(tokens));
    for (int round = 0; round < 2; ++round) {
      for (const std::vector<CodecOffer>& offer : offers) m_camera.Answer(VideoOptionsReply(offer));
    }
    m_camera.Answer(SourcesReply({"vs"}));
    m_camera.Answer(instances);
    Map caps;
    EXPECT_EQ(m_driver->GetVdoEncoderCap(caps), 0);
    return Value(caps);
  }

  static std::string Value(const Map& caps) {
    if (caps.count(kKeys[0]) + caps.count(kKeys[1]) + caps.count(kKeys[2]) == 0) return "none";
    const std::string& value = caps.at(kKeys[0]);
    EXPECT_EQ(caps.at(kKeys[1]), value);
    EXPECT_EQ(caps.at(kKeys[2]), value);
    return value;
  }

  std::unique_ptr<ONVIFAPI> m_driver = MakeDriver(m_camera);
};

const Reply kPlenty = InstancesReply("4", "4", "4");

const CodecOffer kOffer{"H264", {"640x480", "1280x720"}, "1", "30"};

TEST_F(Independence, TwoConfigurationsLikeTheReportMakeACodecIndependent) {
  EXPECT_EQ(Reported({{kOffer}, {kOffer}}, kPlenty), "h264");
}

TEST_F(Independence, OneConfigurationIsNotEnough) {
  EXPECT_EQ(Reported({{kOffer}}, kPlenty), "none");
}

TEST_F(Independence, ConfigurationWithFewerFrameRatesDoesNotCount) {
  const CodecOffer slower{"H264", kOffer.sizes, "1", "25"};
  EXPECT_EQ(Reported({{slower}, {kOffer}}, kPlenty), "none") << "only the second counts";
  EXPECT_EQ(Reported({{slower}, {kOffer}, {kOffer}}, kPlenty), "h264") << "but two others do";
}

TEST_F(Independence, ConfigurationWithFewerSizesDoesNotCount) {
  const CodecOffer smaller{"H264", {"640x480"}, "1", "30"};
  EXPECT_EQ(Reported({{kOffer}, {smaller}}, kPlenty), "none");
  EXPECT_EQ(Reported({{smaller}, {kOffer}, {kOffer}}, kPlenty), "h264");
}

TEST_F(Independence, ConfigurationWithoutTheCodecDoesNotCount) {
  EXPECT_EQ(Reported({{kOffer}, {{"JPEG", {"1x1"}, "1", "2"}}}, kPlenty), "none");
}

TEST_F(Independence, OrderInWhichTheCameraListsItsSizesMakesNoDifference) {
  const CodecOffer reversed{"H264", {"1280x720", "640x480", "1280x720"}, "1", "30"};
  EXPECT_EQ(Reported({{kOffer}, {reversed}}, kPlenty), "h264");
}

TEST_F(Independence, CodecsAreJoinedInAscendingOrderOfTheServersNames) {
  const std::vector<CodecOffer> all{
      {"JPEG", {"1x1"}, "1", "2"}, {"MPEG4", {"1x1"}, "1", "2"}, {"H264", {"1x1"}, "1", "2"}};
  EXPECT_EQ(Reported({all, all}, kPlenty), "h264,mjpeg,mpeg4");
  EXPECT_EQ(Reported({all, all}, InstancesReply("4", "1", "4")), "h264,mjpeg");
}

TEST_F(Independence, ExactlyOneGuaranteedInstanceTakesItAwayAndNoOtherNumberDoes) {
  const std::pair<const char*, bool> rows[] = {{"1", false}, {"01", false},  {" 1 of 2", false},  {"2", true},
                                               {"-1", true}, {"", true},     {"0", true},         {"10", true},
                                               {"-", true},  {"1.9", false}, {"4294967297", true}};
  const char* const codecs[] = {"JPEG", "MPEG4", "H264"};
  const char* const names[] = {"mjpeg", "mpeg4", "h264"};
  for (int codec = 0; codec < 3; ++codec) {
    for (const auto& [number, independent] : rows) {
      const std::vector<CodecOffer> offers{{codecs[codec], {"1x1"}, "1", "2"}};
      const Reply instances =
          InstancesReply(codec == 0 ? number : "1", codec == 1 ? number : "1", codec == 2 ? number : "1");
      EXPECT_EQ(Reported({offers, offers, offers}, instances), independent ? names[codec] : "none")
          << codecs[codec] << " \"" << number << '"';
    }
  }
}

TEST_F(Independence, GuaranteeOfACodecThatTheMapDoesNotNameIsNotLookedAt) {
  const Map stored{{"fps_h264_1x1", "1,2"}, {"resolutions_h264", "1x1"}};
  const std::vector<CodecOffer> offers{{"H264", {"1x1"}, "1", "2"}};
  for (const bool named : {false, true}) {
    for (int i = 0; i < 2; ++i) m_camera.Answer(VideoOptionsReply(offers));
    m_camera.Answer(SourcesReply({"vs"}));
    m_camera.Answer(InstancesReply("1", "1", "1"));
    Map caps = stored;
    if (named) caps["h264"] = "";

    m_driver->GetVideoIndependentCap(Configurations(2), caps);

    EXPECT_EQ(Value(caps), named ? "none" : "h264");
  }
}

TEST_F(Independence, KeysOfTheCallerKeepTheirValuesEachForItself) {
  for (const char* held : kKeys) {
    for (int i = 0; i < 2; ++i) m_camera.Answer(VideoOptionsReply({{"H264", {"1x1"}, "1", "2"}}));
    m_camera.Answer(SourcesReply({"vs"}));
    m_camera.Answer(kPlenty);
    Map caps{{"fps_h264_1x1", "1,2"}, {"resolutions_h264", "1x1"}, {held, ""}};
    Map expected = caps;
    for (const char* key : kKeys) expected.emplace(key, "h264");

    m_driver->GetVideoIndependentCap(Configurations(2), caps);

    EXPECT_EQ(caps, expected) << held;
  }
}

// A stored map that differs from what the configurations offer.

class Stored : public Independence {
 protected:
  // What two configurations with these sizes at 1 to 2 frames per second come to, beside such a map.
  std::string With(Map caps, const std::vector<std::string>& sizes) {
    for (int i = 0; i < 2; ++i) m_camera.Answer(VideoOptionsReply({{"H264", sizes, "1", "2"}}));
    m_camera.Answer(SourcesReply({"vs"}));
    m_camera.Answer(kPlenty);
    m_driver->GetVideoIndependentCap(Configurations(2), caps);
    return Value(caps);
  }
};

TEST_F(Stored, SizesMustStandInTheSameOrder) {
  const Map rates{{"fps_h264_1x1", "1,2"}, {"fps_h264_2x2", "1,2"}};
  const auto Sizes = [&](const char* text) {
    Map caps = rates;
    caps["resolutions_h264"] = text;
    return caps;
  };
  EXPECT_EQ(With(Sizes("1x1,2x2"), {"2x2", "1x1"}), "h264");
  EXPECT_EQ(With(Sizes("2x2,1x1"), {"2x2", "1x1"}), "none");
  EXPECT_EQ(With(Sizes("1x1,2x2,"), {"2x2", "1x1"}), "none");
  EXPECT_EQ(With(Sizes("1x1, 2x2"), {"2x2", "1x1"}), "none");
}

TEST_F(Stored, SizesWhoseRatesDifferAreLeftOutBeforeTheComparison) {
  const Map caps{{"fps_h264_1x1", "1,2"}, {"fps_h264_2x2", "1,2,3"}, {"resolutions_h264", "1x1"}};
  EXPECT_EQ(With(caps, {"1x1", "2x2"}), "h264");

  const Map none{{"fps_h264_1x1", "2,1"}, {"resolutions_h264", ""}};
  EXPECT_EQ(With(none, {"1x1"}), "h264") << "no size is left, and none is stored";
}

TEST_F(Stored, SizesWithoutRatesAreLoggedAndLeftOutBeforeTheComparison) {
  const Map caps{{"fps_h264_1x1", "1,2"}, {"resolutions_h264", "1x1"}};
  EXPECT_EQ(With(caps, {"1x1", "2x2"}), "h264");
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  const std::string line = "onvif/camapi-onvif:1214:GetVideoIndependentCap(): Fps key not found! [fps_h264_2x2]";
  EXPECT_THAT(LogTexts(), ElementsAre(line, line)) << "once for each of the two configurations";
}

TEST_F(Stored, CodecWithoutStoredSizesIsLoggedAndDoesNotCount) {
  EXPECT_EQ(With({{"fps_h264_1x1", "1,2"}}, {"1x1"}), "none");
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  const std::string line = "onvif/camapi-onvif:1227:GetVideoIndependentCap(): Reso key not found! [resolutions_h264]";
  EXPECT_THAT(LogTexts(), ElementsAre(line, line));
}

TEST_F(Stored, EmptyMapIsLoggedKeyByKeyAndEveryQuestionIsStillAsked) {
  m_camera.Answer(VideoOptionsReply({{"H264", {"3x3", "1x1"}, "1", "2"}, {"JPEG", {"2x2"}, "1", "2"}}));
  m_camera.Answer(SourcesReply({"vs"}));
  m_camera.Answer(kPlenty);
  Map caps;

  m_driver->GetVideoIndependentCap(Configurations(1), caps);

  EXPECT_THAT(caps, IsEmpty());
  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskVideoOptions("ve0"), AskMedia("GetVideoSourceConfigurations"), AskInstances("vs")));
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  const std::string fps = "onvif/camapi-onvif:1214:GetVideoIndependentCap(): Fps key not found! ";
  const std::string size = "onvif/camapi-onvif:1227:GetVideoIndependentCap(): Reso key not found! ";
  EXPECT_THAT(LogTexts(), ElementsAre(fps + "[fps_mjpeg_2x2]", size + "[resolutions_mjpeg]", fps + "[fps_h264_1x1]",
                                      fps + "[fps_h264_3x3]", size + "[resolutions_h264]"));
}

// The two requests at the end.

TEST_F(Independence, FirstVideoSourceIsAskedForTheInstances) {
  m_camera.Answer(SourcesReply({"vs1", "vs0"}));
  m_camera.Answer(kPlenty);
  Map caps;

  m_driver->GetVideoIndependentCap({}, caps);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskMedia("GetVideoSourceConfigurations"), AskInstances("vs1")));
}

TEST_F(Independence, WithoutVideoSourcesTheEmptyTokenIsAsked) {
  for (int i = 0; i < 2; ++i) m_camera.Answer(VideoOptionsReply({{"H264", {"1x1"}, "1", "2"}}));
  m_camera.Answer(SourcesReply({}));
  m_camera.Answer(kPlenty);
  Map caps{{"fps_h264_1x1", "1,2"}, {"resolutions_h264", "1x1"}};

  m_driver->GetVideoIndependentCap(Configurations(2), caps);

  EXPECT_EQ(Value(caps), "h264");
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskVideoOptions("ve0"), AskVideoOptions("ve1"),
                                           AskMedia("GetVideoSourceConfigurations"), AskInstances("")));
}

class IndependenceFailure : public Independence, public testing::WithParamInterface<RequestFailure> {};

TEST_P(IndependenceFailure, OfAnyRequestWritesNothingAndIsNoFailureOfTheReport) {
  const Reply options = VideoOptionsReply({{"H264", {"1x1"}, "1", "2"}});
  const std::vector<Reply> script{options, options, SourcesReply({"vs"}), kPlenty};
  const std::vector<std::string> requests{AskVideoOptions("ve0"), AskVideoOptions("ve1"),
                                          AskMedia("GetVideoSourceConfigurations"), AskInstances("vs")};
  std::vector<std::string> asked;
  for (std::size_t failing = 0; failing < script.size(); ++failing) {
    m_camera.Answer(EncodersReply({"ve0", "ve1"}));
    m_camera.Answer(options);
    m_camera.Answer(failing == 0 ? LastOnConnection(options) : options);
    for (std::size_t i = 0; i < failing; ++i) {
      m_camera.Answer(i + 1 == failing ? LastOnConnection(script[i]) : script[i]);
    }
    m_camera.Answer(GetParam().reply);
    Map caps;

    EXPECT_EQ(MakeDriver(m_camera)->GetVdoEncoderCap(caps), 0);

    EXPECT_EQ(caps, (Map{{"api", "onvif"},
                         {"quality_min", "1"},
                         {"quality_max", "100"},
                         {"resolutions_h264", "1x1"},
                         {"fps_h264_1x1", "1,2"},
                         {"default_fps_h264_1x1", "1"},
                         {"default_resolution_h264", "1x1"},
                         {"h264", "rtsp"},
                         {"default_image_quality", "5"}}))
        << "request " << failing << " of the step failed";
    asked.insert(asked.end(),
                 {AskMedia("GetVideoEncoderConfigurations"), AskVideoOptions("ve0"), AskVideoOptions("ve1")});
    asked.insert(asked.end(), requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(failing) + 1);
  }
  EXPECT_EQ(Asked(m_camera), asked);
  EXPECT_THAT(DriverLogTexts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, IndependenceFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

// A configuration counts when its sizes are all sizes and its rates the widest range.
TEST_F(Independence, RandomConfigurations) {
  std::mt19937 random(11);
  int independent = 0;
  for (int round = 0; round < 200; ++round) {
    const std::set<Size> sizes[] = {RandomSizes(random, 2), RandomSizes(random, 2)};
    std::vector<std::vector<CodecOffer>> offers;
    std::vector<std::pair<std::set<Size>, int>> chosen;
    std::set<Size> all;
    int most = 0;
    for (int count = std::uniform_int_distribution<int>(1, 5)(random); count > 0; --count) {
      chosen.emplace_back(sizes[std::bernoulli_distribution(0.2)(random) ? 1 : 0],
                          std::bernoulli_distribution(0.7)(random) ? 25 : 20);
      all.insert(chosen.back().first.begin(), chosen.back().first.end());
      most = std::max(most, chosen.back().second);
      offers.push_back({{"MPEG4", Shuffled(chosen.back().first, random), "1", std::to_string(chosen.back().second)}});
    }
    const auto whole = std::count_if(chosen.begin(), chosen.end(), [&](const auto& offer) {
      return Texts(offer.first) == Texts(all) && offer.second == most;
    });
    independent += whole > 1 ? 1 : 0;
    ASSERT_EQ(Reported(offers, kPlenty), whole > 1 ? "mpeg4" : "none") << "round " << round;
  }
  EXPECT_GT(independent, 20) << "the draws must show both outcomes";
  EXPECT_LT(independent, 180);
}

}  // namespace
}  // namespace testsupport
