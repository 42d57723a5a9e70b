// GetCodecCapUnion: the options of all encoder configurations as one.

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CodecUnion : public Driver {
 protected:
  // Merges what the camera answers for as many configurations, and what must have been asked.
  int Merge(const std::vector<Reply>& options) {
    std::list<OVF_MED_VDO_CONF> configurations;
    m_expected.clear();
    for (const Reply& reply : options) {
      OVF_MED_VDO_CONF configuration;
      configuration.strToken = "t" + std::to_string(configurations.size());
      m_expected.push_back(AskVideoOptions(configuration.strToken));
      configurations.push_back(configuration);
      m_camera.Answer(reply);
    }
    m_merged = {};
    return m_driver->GetCodecCapUnion(configurations, m_merged);
  }

  // "H264 1..30 640x480,1280x720", one text for each codec.
  std::vector<std::string> Codecs() const {
    std::vector<std::string> texts;
    for (const OVF_MED_VDO_CODEC& codec : m_merged.lstCodec) {
      std::vector<std::string> sizes;
      for (const OVF_MED_VDO_RESO& size : codec.lstReso) {
        sizes.push_back(std::to_string(size.nWidth) + "x" + std::to_string(size.nHeight));
      }
      texts.push_back(codec.strName + " " + codec.strFpsMin + ".." + codec.strFpsMax + " " + Joined(sizes));
    }
    return texts;
  }

  std::unique_ptr<ONVIFAPI> m_driver = MakeDriver(m_camera);
  OVF_MED_VDO_ENC_OPT m_merged;
  std::vector<std::string> m_expected;
};

TEST_F(CodecUnion, WidestRangesAndAllSizesOfAllConfigurationsByAscendingCodecName) {
  EXPECT_EQ(Merge({VideoOptionsReply({{"JPEG", {"640x480", "320x240"}, "5", "10"}, {"H264", {"800x600"}, "3", "25"}},
                                     "2", "8"),
                   VideoOptionsReply({{"MPEG4", {"352x288"}, "1", "30"}, {"JPEG", {"320x240", "480x360"}, "8", "12"}},
                                     "3", "9"),
                   VideoOptionsReply({{"H264", {"640x480"}, "1", "20"}}, "1", "7")}),
            0);

  EXPECT_EQ(m_merged.strQualMin, "1");
  EXPECT_EQ(m_merged.strQualMax, "9");
  EXPECT_THAT(Codecs(),
              ElementsAre("H264 1..25 640x480,800x600", "JPEG 5..12 320x240,480x360,640x480", "MPEG4 1..30 352x288"));
  EXPECT_EQ(Asked(m_camera), m_expected);
}

TEST_F(CodecUnion, NoConfigurationsGiveEmptyOptionsWithoutARequest) {
  EXPECT_EQ(Merge({}), 0);
  EXPECT_THAT(Codecs(), IsEmpty());
  EXPECT_EQ(m_merged.strQualMin + m_merged.strQualMax, "");
  EXPECT_THAT(Asked(m_camera), IsEmpty());
}

TEST_F(CodecUnion, NumbersAreComparedAndTiesKeepTheFirstText) {
  EXPECT_EQ(Merge({VideoOptionsReply({{"H264", {"1x1"}, "09", "9.9"}}, "10", "9"),
                   VideoOptionsReply({{"H264", {"1x1"}, "9", "9.1"}}, "9", "10"),
                   VideoOptionsReply({{"H264", {"1x1"}, "9 ", " 9"}}, "9.5", "010")}),
            0);

  EXPECT_EQ(m_merged.strQualMin, "9") << "as texts 10 stands before 9";
  EXPECT_EQ(m_merged.strQualMax, "10");
  EXPECT_THAT(Codecs(), ElementsAre("H264 09..9.9 1x1"));
}

TEST_F(CodecUnion, NegativeQualityBoundsAreNumbers) {
  EXPECT_EQ(Merge({VideoOptionsReply({}, "-3", "-2"), VideoOptionsReply({}, "-10", "-20"),
                   VideoOptionsReply({}, "0", "none")}),
            0);

  EXPECT_EQ(m_merged.strQualMin, "-10");
  EXPECT_EQ(m_merged.strQualMax, "none") << "what is no number counts as 0";
}

TEST_F(CodecUnion, FrameRateMaximumThatIsEmptyCountsAsZero) {
  const auto Options = [](const char* max) {
    return MediaReply("GetVideoEncoderConfigurationOptions",
                      "<trt:Options><tt:H264><tt:ResolutionsAvailable><tt:Width>1</tt:Width><tt:Height>1</tt:Height>"
                      "</tt:ResolutionsAvailable><tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>" +
                          std::string(max) + "</tt:Max></tt:FrameRateRange></tt:H264></trt:Options>");
  };
  EXPECT_EQ(Merge({Options(""), Options("-5")}), 0);
  EXPECT_THAT(Codecs(), ElementsAre("H264 1.. 1x1")) << "-5 is not larger";

  EXPECT_EQ(Merge({Options(""), Options("0")}), 0);
  EXPECT_THAT(Codecs(), ElementsAre("H264 1.. 1x1")) << "a tie keeps the first text";

  EXPECT_EQ(Merge({Options("-5"), Options("")}), 0);
  EXPECT_THAT(Codecs(), ElementsAre("H264 1.. 1x1"));
}

TEST_F(CodecUnion, GopRangeAndProfilesAreThoseOfTheFirstConfiguration) {
  const auto Options = [](const char* profile, const char* min, const char* max) {
    return MediaReply("GetVideoEncoderConfigurationOptions",
                      "<trt:Options><tt:H264><tt:ResolutionsAvailable><tt:Width>1</tt:Width><tt:Height>1</tt:Height>"
                      "</tt:ResolutionsAvailable><tt:GovLengthRange><tt:Min>" +
                          std::string(min) + "</tt:Min><tt:Max>" + max +
                          "</tt:Max></tt:GovLengthRange><tt:H264ProfilesSupported>" + profile +
                          "</tt:H264ProfilesSupported></tt:H264></trt:Options>");
  };
  EXPECT_EQ(Merge({Options("Main", "5", "50"), Options("High", "1", "400")}), 0);

  ASSERT_EQ(m_merged.lstCodec.size(), 1U);
  EXPECT_EQ(m_merged.lstCodec.front().strProfilesSupported, "Main");
  EXPECT_EQ(m_merged.lstCodec.front().strGovMin, "5");
  EXPECT_EQ(m_merged.lstCodec.front().strGovMax, "50");
}

TEST_F(CodecUnion, SizesAreTheSameWhenTheirNumbersAre) {
  EXPECT_EQ(Merge({VideoOptionsReply({{"H264", {"640x480", "0640x480"}, "1", "2"}}),
                   VideoOptionsReply({{"H264", {"00640x480", "640x0480", "1x1"}, "1", "2"}})}),
            0);

  EXPECT_THAT(Codecs(), ElementsAre("H264 1..2 1x1,640x480,640x480"))
      << "one configuration's own list is copied as it stands";
}

TEST_F(CodecUnion, FailureKeepsTheQualityMergedSoFarAndFillsNoCodecs) {
  EXPECT_EQ(Merge({VideoOptionsReply({{"H264", {"1x1"}, "1", "2"}}, "3", "4"), FaultReply()}), 1);

  EXPECT_THAT(Codecs(), IsEmpty());
  EXPECT_EQ(m_merged.strQualMin, "3");
  EXPECT_EQ(m_merged.strQualMax, "4");
}

struct ReferenceCodec {
  int min = std::numeric_limits<int>::max();
  int max = std::numeric_limits<int>::min();
  std::set<Size> sizes;
};

// Several cameras' worth of options, and what they must come to, counted beside the driver.
struct RandomOptions {
  explicit RandomOptions(std::mt19937& random) {
    std::uniform_int_distribution<int> rate(0, 45);
    std::uniform_int_distribution<int> quality(-20, 120);
    for (int count = std::uniform_int_distribution<int>(1, 6)(random); count > 0; --count) {
      std::vector<CodecOffer> offers;
      for (const char* codec : kCodecs) {
        if (std::bernoulli_distribution(0.3)(random)) continue;
        const std::set<Size> sizes = RandomSizes(random, 6);
        const int min = rate(random);
        const int max = rate(random);
        offers.push_back({codec, Shuffled(sizes, random), std::to_string(min), std::to_string(max)});
        Count(codec, min, max, sizes);
      }
      const int low = quality(random);
      const int high = quality(random);
      qualityMin = std::min(qualityMin, low);
      qualityMax = std::max(qualityMax, high);
      replies.push_back(VideoOptionsReply(offers, std::to_string(low), std::to_string(high)));
    }
  }

  void Count(const std::string& codec, int min, int max, const std::set<Size>& sizes) {
    ReferenceCodec& reference = codecs[codec];
    const int effectiveMin = max > 30 ? 30 : std::max(min, 1);
    reference.min = std::min(reference.min, effectiveMin);
    reference.max = std::max(reference.max, max);
    reference.sizes.insert(sizes.begin(), sizes.end());
  }

  std::vector<std::string> Codecs() const {
    std::vector<std::string> texts;
    for (const auto& [name, codec] : codecs) {
      texts.push_back(name + " " + std::to_string(codec.min) + ".." + std::to_string(codec.max) + " " +
                      Texts(codec.sizes));
    }
    return texts;
  }

  std::vector<Reply> replies;
  std::map<std::string, ReferenceCodec> codecs;
  int qualityMin = std::numeric_limits<int>::max();
  int qualityMax = std::numeric_limits<int>::min();
};

TEST_F(CodecUnion, OrderOfTheConfigurationsMakesNoDifference) {
  std::mt19937 random(97);
  for (int round = 0; round < 100; ++round) {
    RandomOptions options(random);
    for (int order = 0; order < 4; ++order) {
      std::shuffle(options.replies.begin(), options.replies.end(), random);
      ASSERT_EQ(Merge(options.replies), 0);
      ASSERT_EQ(Codecs(), options.Codecs()) << "round " << round;
      ASSERT_EQ(m_merged.strQualMin, std::to_string(options.qualityMin));
      ASSERT_EQ(m_merged.strQualMax, std::to_string(options.qualityMax));
    }
  }
}

}  // namespace
}  // namespace testsupport
