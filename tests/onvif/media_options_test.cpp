// What encoder configurations offer.

#include <algorithm>
#include <random>
#include <set>

#include "onvif/onvifmedia.h"
#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

std::string AskVideo(const std::string& token) {
  const std::string element = token.empty() ? ""
                                            : R"(<ConfigurationToken xmlns="http://www.onvif.org/ver10/media/wsdl">)" +
                                                  token + "</ConfigurationToken>";
  return R"(<GetVideoEncoderConfigurationOptions xmlns="http://www.onvif.org/ver10/media/wsdl">)" + element +
         "</GetVideoEncoderConfigurationOptions>";
}

constexpr char kAskAudio[] = R"(<GetAudioEncoderConfigurationOptions xmlns="http://www.onvif.org/ver10/media/wsdl" />)";

/// ResolutionsAvailable elements of "WxH" texts; either number may be missing.
std::string Resolutions(const std::vector<std::pair<std::string, std::string>>& sizes) {
  std::string text;
  for (const auto& [width, height] : sizes) {
    text += "<tt:ResolutionsAvailable><tt:Width>" + width + "</tt:Width><tt:Height>" + height +
            "</tt:Height></tt:ResolutionsAvailable>";
  }
  return text;
}

std::string Range(const std::string& name, const std::string& min, const std::string& max) {
  return "<tt:" + name + "><tt:Min>" + min + "</tt:Min><tt:Max>" + max + "</tt:Max></tt:" + name + ">";
}

std::string Texts(const std::list<OVF_MED_VDO_RESO>& sizes) {
  std::string text;
  for (const OVF_MED_VDO_RESO& size : sizes) {
    text += (text.empty() ? "" : " ") + std::to_string(size.nWidth) + "x" + std::to_string(size.nHeight);
  }
  return text;
}

std::string Texts(const OVF_MED_VDO_CODEC& codec) {
  return codec.strName + "|" + codec.strProfilesSupported + "|" + Texts(codec.lstReso) + "|" + codec.strFpsMin + "|" +
         codec.strFpsMax + "|" + codec.strGovMin + "|" + codec.strGovMax;
}

const std::string kOneSize =
    "<tt:ResolutionsAvailable><tt:Width>4</tt:Width><tt:Height>3</tt:Height>"
    "</tt:ResolutionsAvailable>";

class VideoOptions : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(const std::string& options) {
    m_options = {};
    m_camera.Answer(Reply::Ok(Envelope("<trt:GetVideoEncoderConfigurationOptionsResponse><trt:Options>" + options +
                                       "</trt:Options></trt:GetVideoEncoderConfigurationOptionsResponse>")));
    return m_service.GetVideoEncoderConfigurationOptions("ve", m_options);
  }

  /// Texts of all codecs, with "; " between them.
  std::string Codecs() const {
    std::string text;
    for (const OVF_MED_VDO_CODEC& codec : m_options.lstCodec) text += (text.empty() ? "" : "; ") + Texts(codec);
    return text;
  }

  OVF_MED_VDO_ENC_OPT m_options;
};

TEST_F(VideoOptions, EverythingIsReadInTheOrderOfTheCodecTable) {
  EXPECT_EQ(
      AskFor(Range("QualityRange", "0", "10") + "<tt:H264>" + Resolutions({{"1920", "1080"}, {"640", "360"}}) +
             Range("GovLengthRange", "1", "400") + Range("FrameRateRange", "2", "30") +
             Range("EncodingIntervalRange", "1", "2") +
             "<tt:H264ProfilesSupported>Main</tt:H264ProfilesSupported>"
             "<tt:H264ProfilesSupported>High</tt:H264ProfilesSupported></tt:H264>"
             "<tt:MPEG4>" +
             Resolutions({{"352", "288"}}) + Range("GovLengthRange", "5", "50") + Range("FrameRateRange", "3", "15") +
             "<tt:Mpeg4ProfilesSupported>SP</tt:Mpeg4ProfilesSupported></tt:MPEG4><tt:JPEG>" +
             Resolutions({{"800", "600"}}) + Range("FrameRateRange", "1", "12") + "</tt:JPEG>"),
      RET_ONVIF_OK);
  ExpectAsked({AskVideo("ve")});
  EXPECT_EQ(m_options.strQualMin, "0");
  EXPECT_EQ(m_options.strQualMax, "10");
  EXPECT_EQ(Codecs(), "JPEG||800x600|1|12||; MPEG4|SP|352x288|3|15|5|50; H264|Main|640x360 1920x1080|2|30|1|400");
}

TEST_F(VideoOptions, EmptyTokenIsNotSent) {
  m_camera.Answer(Reply::Ok(Envelope("")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("", m_options), RET_ONVIF_OK);
  ExpectAsked({AskVideo("")});
}

TEST_F(VideoOptions, OddTokenIsSentUnescaped) {
  m_camera.Answer(Reply::Ok(Envelope("")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("a&b\xFF<", m_options), RET_ONVIF_OK);
  ExpectAsked({AskVideo("a&b\xFF<")});
}

TEST_F(VideoOptions, CodecThatIsNotDescribedIsLeftOut) {
  EXPECT_EQ(AskFor("<tt:JPEG>" + kOneSize + "</tt:JPEG><tt:H264>" + kOneSize + "</tt:H264><tt:H265>" + kOneSize +
                   "</tt:H265>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "JPEG||4x3|1|30||; H264||4x3|1|30||");
}

TEST_F(VideoOptions, AnswerWithoutAnythingHasTheDefaultQualityAndNoCodec) {
  EXPECT_EQ(AskFor(""), RET_ONVIF_OK);
  EXPECT_EQ(m_options.strQualMin, "1");
  EXPECT_EQ(m_options.strQualMax, "100");
  EXPECT_EQ(Codecs(), "");
}

TEST_F(VideoOptions, EmptyQualityTextsStayEmptyAndEachBoundHasItsOwnDefault) {
  EXPECT_EQ(AskFor(Range("QualityRange", "", "")), RET_ONVIF_OK);
  EXPECT_EQ(m_options.strQualMin + "|" + m_options.strQualMax, "|");
  EXPECT_EQ(AskFor("<tt:QualityRange><tt:Max>7</tt:Max></tt:QualityRange>"), RET_ONVIF_OK);
  EXPECT_EQ(m_options.strQualMin + "|" + m_options.strQualMax, "1|7");
  EXPECT_EQ(AskFor("<tt:QualityRange><tt:Min>-5</tt:Min></tt:QualityRange>"), RET_ONVIF_OK);
  EXPECT_EQ(m_options.strQualMin + "|" + m_options.strQualMax, "-5|100");
}

TEST_F(VideoOptions, QualityOutsideTheOptionsDoesNotCount) {
  m_camera.Answer(Reply::Ok(Envelope(Range("QualityRange", "3", "4") + "<trt:Options/>")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("ve", m_options), RET_ONVIF_OK);
  EXPECT_EQ(m_options.strQualMin + "|" + m_options.strQualMax, "1|100");
}

TEST_F(VideoOptions, CodecListIsAddedTo) {
  m_options.lstCodec.push_back({"here before", "", {}, "", "", "", ""});
  m_camera.Answer(Reply::Ok(Envelope("<tt:JPEG>" + kOneSize + "</tt:JPEG>")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("ve", m_options), RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "here before||||||; JPEG||4x3|1|30||");
}

struct FrameRateCase {
  std::string range;
  const char* min;
  const char* max;
};

TEST_F(VideoOptions, FrameRatesFollowTheirRulesAndAMaximumAbove30MakesTheMinimum30) {
  const FrameRateCase cases[] = {
      {"", "1", "30"},
      {Range("FrameRateRange", "1", "60"), "30", "60"},
      {Range("FrameRateRange", "1", "31"), "30", "31"},
      {Range("FrameRateRange", "40", "60"), "30", "60"},
      {Range("FrameRateRange", "1", "30"), "1", "30"},
      {Range("FrameRateRange", "0", "25"), "1", "25"},
      {Range("FrameRateRange", "-7", "25"), "1", "25"},
      {Range("FrameRateRange", "", "25"), "1", "25"},
      {Range("FrameRateRange", "few", "25"), "1", "25"},
      {Range("FrameRateRange", "0.5", "25"), "1", "25"},
      {Range("FrameRateRange", " 5 ", "29.97"), " 5 ", "29.97"},
      {Range("FrameRateRange", "5", ""), "5", ""},
      {Range("FrameRateRange", "5", "many"), "5", "many"},
      {Range("FrameRateRange", "35", "20"), "35", "20"},
      {Range("FrameRateRange", "5", "99999999999999999999"), "30", "99999999999999999999"},
      {Range("FrameRateRange", "5", "4294967297"), "30", "4294967297"},
      {Range("FrameRateRange", "-4294967295", "5"), "1", "5"},
      {"<tt:FrameRateRange><tt:Min>6</tt:Min></tt:FrameRateRange>", "6", "30"},
      {"<tt:FrameRateRange><tt:Max>50</tt:Max></tt:FrameRateRange>", "30", "50"},
  };
  for (const char* codec : {"JPEG", "MPEG4", "H264"}) {
    for (const FrameRateCase& rate : cases) {
      const std::string element = std::string("tt:") + codec;
      EXPECT_EQ(AskFor("<" + element + ">" + kOneSize + rate.range + "</" + element + ">"), RET_ONVIF_OK);
      EXPECT_EQ(Codecs(), std::string(codec) + "||4x3|" + rate.min + "|" + rate.max + "||") << rate.range;
    }
  }
}

TEST_F(VideoOptions, JpegHasNoGopLengthAndNoProfiles) {
  EXPECT_EQ(AskFor("<tt:JPEG>" + kOneSize + Range("GovLengthRange", "1", "9") +
                   "<tt:H264ProfilesSupported>Main</tt:H264ProfilesSupported></tt:JPEG>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "JPEG||4x3|1|30||");
}

TEST_F(VideoOptions, FirstMatchInTheWholeAnswerWinsAndSizesOfAllPlacesAreCollected) {
  EXPECT_EQ(AskFor("<tt:H264ProfilesSupported>stray</tt:H264ProfilesSupported><tt:H264>" +
                   Resolutions({{"640", "480"}}) + Range("GovLengthRange", "1", "50") +
                   "<tt:H264ProfilesSupported>Baseline</tt:H264ProfilesSupported></tt:H264><tt:Extension><tt:H264>" +
                   Resolutions({{"320", "240"}, {"640", "480"}}) + Range("GovLengthRange", "9", "99") +
                   Range("FrameRateRange", "2", "20") +
                   "<tt:H264ProfilesSupported>High</tt:H264ProfilesSupported></tt:H264></tt:Extension>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "H264|Baseline|320x240 640x480|2|20|1|50");
}

TEST_F(VideoOptions, ProfilesOfTheOtherCodecDoNotCount) {
  EXPECT_EQ(AskFor("<tt:MPEG4>" + kOneSize + "<tt:H264ProfilesSupported>Main</tt:H264ProfilesSupported></tt:MPEG4>" +
                   "<tt:H264>" + kOneSize + "<tt:Mpeg4ProfilesSupported>SP</tt:Mpeg4ProfilesSupported></tt:H264>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "MPEG4||4x3|1|30||; H264||4x3|1|30||");
}

TEST_F(VideoOptions, CodecOutsideTheOptionsCountsToo) {
  m_camera.Answer(Reply::Ok(Envelope("<tt:MPEG4>" + kOneSize + "</tt:MPEG4>")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("ve", m_options), RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "MPEG4||4x3|1|30||");
}

TEST_F(VideoOptions, CodecWithoutSizesEndsTheCodecsAndTheQueryStillSucceeds) {
  EXPECT_EQ(AskFor("<tt:JPEG>" + kOneSize + "</tt:JPEG><tt:MPEG4/><tt:H264>" + kOneSize + "</tt:H264>"), RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "JPEG||4x3|1|30||");
}

TEST_F(VideoOptions, FiveWidthsAndFourHeightsEndTheCodecs) {
  const std::string sizes = Resolutions({{"1", "1"}, {"2", "2"}, {"3", "3"}, {"4", "4"}}) +
                            "<tt:ResolutionsAvailable><tt:Width>5</tt:Width></tt:ResolutionsAvailable>";
  EXPECT_EQ(AskFor("<tt:JPEG>" + kOneSize + "</tt:JPEG><tt:MPEG4>" + sizes + "</tt:MPEG4><tt:H264>" + kOneSize +
                   "</tt:H264>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Codecs(), "JPEG||4x3|1|30||");
}

TEST_F(VideoOptions, FailedExchangeLeavesTheRecord) {
  m_options = {"old min", "old max", {{"old", "", {}, "", "", "", ""}}};
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetVideoEncoderConfigurationOptions("ve", m_options), result) << reply.bytes;
    EXPECT_EQ(m_options.strQualMin + "|" + m_options.strQualMax, "old min|old max") << reply.bytes;
    EXPECT_EQ(Codecs(), "old||||||") << reply.bytes;
  }
}

TEST_F(VideoOptions, TwentyThousandSizesAreAllRead) {
  std::vector<std::pair<std::string, std::string>> sizes;
  for (int i = 20000; i > 0; --i) sizes.emplace_back(std::to_string(i), "7");
  EXPECT_EQ(AskFor("<tt:H264>" + Resolutions(sizes) + "</tt:H264>"), RET_ONVIF_OK);
  ASSERT_EQ(m_options.lstCodec.size(), 1U);
  const std::list<OVF_MED_VDO_RESO>& read = m_options.lstCodec.front().lstReso;
  EXPECT_EQ(read.size(), 20000U);
  EXPECT_TRUE(std::is_sorted(read.begin(), read.end(), OnvifMediaService::CompResolution));
}

class GetResoList : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF Read(const std::string& sizes) {
    const XmlDoc document = ParseXml(Envelope(sizes));
    return m_service.GetResoList(document.get(), "//tt:ResolutionsAvailable//tt:Width",
                                 "//tt:ResolutionsAvailable//tt:Height", m_codec);
  }

  OVF_MED_VDO_CODEC m_codec;
};

TEST_F(GetResoList, SizesAreDistinctAndSortedByWidthThenHeight) {
  EXPECT_EQ(Read(Resolutions({{"1280", "720"}, {"640", "480"}, {"1280", "720"}, {"1280", "960"}})), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "640x480 1280x720 1280x960");
}

TEST_F(GetResoList, SizesAreComparedByTheirTexts) {
  EXPECT_EQ(Read(Resolutions({{"640", "480"}, {"0640", "480"}, {"640", "480"}, {"640", " 480"}})), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "640x480 640x480 640x480");
}

TEST_F(GetResoList, ListIsAddedToAndSortedWhole) {
  m_codec.lstReso = {{1000, 1}, {640, 480}};
  EXPECT_EQ(Read(Resolutions({{"800", "600"}, {"640", "480"}})), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "640x480 640x480 800x600 1000x1") << "what the list held is no size of this call";
}

TEST_F(GetResoList, NumbersAreReadInBaseTenAndHeldWithin32Bits) {
  EXPECT_EQ(Read(Resolutions({{"99999999999", "-99999999999"}, {"12px", "0x10"}, {"", "wide"}, {"-3", "4"}})),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "-3x4 0x0 12x0 2147483647x-2147483648");
}

TEST_F(GetResoList, WithoutDocumentTheArgumentIsInvalid) {
  EXPECT_EQ(m_service.GetResoList(nullptr, "//tt:Width", "//tt:Height", m_codec), RET_ONVIF_INVALID_ARG);
}

TEST_F(GetResoList, WithoutWidthsOrHeightsItFails) {
  EXPECT_EQ(Read(""), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(Read("<tt:ResolutionsAvailable><tt:Width>1</tt:Width></tt:ResolutionsAvailable>"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(Read("<tt:ResolutionsAvailable><tt:Height>1</tt:Height></tt:ResolutionsAvailable>"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(Texts(m_codec.lstReso), "");
}

TEST_F(GetResoList, FirstWidthWithoutHeightFailsAndWhatCameBeforeStays) {
  const std::string lone = "<tt:ResolutionsAvailable><tt:Width>5</tt:Width></tt:ResolutionsAvailable>";
  EXPECT_EQ(Read(Resolutions({{"4", "4"}, {"3", "3"}}) + lone + lone), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(Texts(m_codec.lstReso), "4x4 3x3") << "not sorted either";
}

TEST_F(GetResoList, HeightsThatAreLeftOverDoNotMatter) {
  EXPECT_EQ(
      Read(Resolutions({{"4", "4"}}) + "<tt:ResolutionsAvailable><tt:Height>5</tt:Height></tt:ResolutionsAvailable>"),
      RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "4x4");
}

TEST_F(GetResoList, WidthsAndHeightsArePairedByPositionNotByParent) {
  EXPECT_EQ(Read("<tt:ResolutionsAvailable><tt:Width>1</tt:Width></tt:ResolutionsAvailable>"
                 "<tt:ResolutionsAvailable><tt:Width>2</tt:Width><tt:Height>10</tt:Height></tt:ResolutionsAvailable>"
                 "<tt:ResolutionsAvailable><tt:Height>20</tt:Height></tt:ResolutionsAvailable>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_codec.lstReso), "1x10 2x20");
}

TEST_F(GetResoList, RandomListsComeOutDistinctAndSorted) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    std::vector<std::pair<std::string, std::string>> sizes;
    std::set<std::pair<int, int>> expected;
    for (unsigned i = 0; i < 1 + seed % 40; ++i) {
      const auto width = static_cast<int>(random() % 9) - 4;
      const auto height = static_cast<int>(random() % 9) - 4;
      sizes.emplace_back(std::to_string(width), std::to_string(height));
      expected.emplace(width, height);
    }
    m_codec = {};
    EXPECT_EQ(Read(Resolutions(sizes)), RET_ONVIF_OK) << "seed " << seed;
    std::string texts;
    for (const auto& [width, height] : expected) {
      texts += (texts.empty() ? "" : " ") + std::to_string(width) + "x" + std::to_string(height);
    }
    EXPECT_EQ(Texts(m_codec.lstReso), texts) << "seed " << seed;
  }
}

TEST(CompResolution, WidthDecidesAndThenHeight) {
  EXPECT_TRUE(OnvifMediaService::CompResolution({1, 9}, {2, 0}));
  EXPECT_FALSE(OnvifMediaService::CompResolution({2, 0}, {1, 9}));
  EXPECT_TRUE(OnvifMediaService::CompResolution({1, 1}, {1, 2}));
  EXPECT_FALSE(OnvifMediaService::CompResolution({1, 2}, {1, 1}));
  EXPECT_FALSE(OnvifMediaService::CompResolution({1, 1}, {1, 1}));
  EXPECT_TRUE(OnvifMediaService::CompResolution({-1, 0}, {0, 0}));
  EXPECT_TRUE(OnvifMediaService::CompResolution({0, -1}, {0, 0}));
}

class AudioOptions : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(const std::string& options) {
    m_list.clear();
    m_camera.Answer(Reply::Ok(Envelope("<trt:GetAudioEncoderConfigurationOptionsResponse><trt:Options>" + options +
                                       "</trt:Options></trt:GetAudioEncoderConfigurationOptionsResponse>")));
    return m_service.GetAudioEncoderConfigurationOptions("", m_list);
  }

  std::string Listed() const {
    std::string text;
    for (const OVF_MED_AUD_CODEC& codec : m_list) {
      text += codec.strEncoding + "," + codec.strBitrate + "," + codec.strSampleRate + ";";
    }
    return text;
  }

  std::list<OVF_MED_AUD_CODEC> m_list;
};

std::string AudioOption(const std::string& encoding, const std::string& bitrates, const std::string& rates) {
  return "<tt:Options><tt:Encoding>" + encoding + "</tt:Encoding><tt:BitrateList>" + bitrates +
         "</tt:BitrateList><tt:SampleRateList>" + rates + "</tt:SampleRateList></tt:Options>";
}

TEST_F(AudioOptions, EncodingAndTheFirstItemOfBothListsAreRead) {
  EXPECT_EQ(AskFor(AudioOption("G711", "<tt:Items>64</tt:Items><tt:Items>80</tt:Items>", "<tt:Items>8</tt:Items>") +
                   AudioOption("AAC", "\n <tt:Items>128</tt:Items>", "<tt:Items>16</tt:Items><tt:Items>32</tt:Items>")),
            RET_ONVIF_OK);
  ExpectAsked({kAskAudio});
  EXPECT_EQ(Listed(), "G711,64,8;AAC,128,16;");
}

TEST_F(AudioOptions, TokenIsNeverSent) {
  for (const char* token : {"ae1", "", "a&b<\xFF"}) {
    m_camera.Answer(Reply::Ok(Envelope("")));
    EXPECT_EQ(m_service.GetAudioEncoderConfigurationOptions(token, m_list), RET_ONVIF_OK) << token;
  }
  ExpectAsked({kAskAudio, kAskAudio, kAskAudio});
}

TEST_F(AudioOptions, ListIsAddedTo) {
  m_list = {{"old", "1", "2"}};
  m_camera.Answer(Reply::Ok(Envelope("<trt:GetAudioEncoderConfigurationOptionsResponse><trt:Options>" +
                                     AudioOption("G726", "<i>1</i>", "<i>2</i>") +
                                     "</trt:Options></trt:GetAudioEncoderConfigurationOptionsResponse>")));
  EXPECT_EQ(m_service.GetAudioEncoderConfigurationOptions("", m_list), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old,1,2;G726,1,2;");
}

TEST_F(AudioOptions, ListsThatAreMissingOrEmptyLeaveTheirTextEmpty) {
  EXPECT_EQ(AskFor("<tt:Options><tt:Encoding>G711</tt:Encoding></tt:Options>" + AudioOption("AAC", "", "") +
                   AudioOption("G726", "", "<tt:Items>8</tt:Items>")),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "G711,,;AAC,,;G726,,8;");
}

TEST_F(AudioOptions, ListWhoseFirstItemCannotBeReadEndsTheWalkOverThatOptionOnly) {
  EXPECT_EQ(AskFor(AudioOption("G711", "<tt:Items/>", "<tt:Items>8</tt:Items>") +
                   AudioOption("AAC", "<tt:Items>64</tt:Items>", " ") +
                   AudioOption("G726", "<tt:Items>16</tt:Items>", "<tt:Items>8</tt:Items>")),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "G711,,;AAC,64,;G726,16,8;");
}

TEST_F(AudioOptions, EncodingBehindAListThatCannotBeReadIsNotReachedAndEndsTheOptions) {
  EXPECT_EQ(
      AskFor(AudioOption("G711", "<i>1</i>", "<i>2</i>") +
             "<tt:Options><tt:BitrateList><tt:Items/></tt:BitrateList><tt:Encoding>AAC</tt:Encoding></tt:Options>" +
             AudioOption("G726", "<i>1</i>", "<i>2</i>")),
      RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "G711,1,2;");
}

TEST_F(AudioOptions, OptionWithoutEncodingEndsTheOptions) {
  for (const char* option : {"<tt:Options/>", "<tt:Options><tt:Encoding/></tt:Options>",
                             "<tt:Options><tt:BitrateList><tt:Items>1</tt:Items></tt:BitrateList></tt:Options>"}) {
    EXPECT_EQ(AskFor(AudioOption("G711", "<i>1</i>", "<i>2</i>") + option + AudioOption("AAC", "<i>1</i>", "<i>2</i>")),
              RET_ONVIF_OK);
    EXPECT_EQ(Listed(), "G711,1,2;") << option;
  }
}

TEST_F(AudioOptions, UnreadableListIsSkippedWithoutEndingTheWalk) {
  EXPECT_EQ(AskFor("<tt:Options><tt:BitrateList/><tt:Encoding>AAC</tt:Encoding><tt:Extra/>"
                   "<tt:SampleRateList><tt:Items>16</tt:Items></tt:SampleRateList></tt:Options>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "AAC,,16;");
}

TEST_F(AudioOptions, EncodingIsTheTextOfItsFirstChildAlone) {
  EXPECT_EQ(AskFor("<tt:Options><tt:Encoding><x>G711</x> and more</tt:Encoding></tt:Options>"), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "G711,,;");
}

TEST_F(AudioOptions, OptionsOutsideTheInnerElementDoNotCount) {
  m_camera.Answer(Reply::Ok(Envelope(
      AudioOption("G711", "<i>1</i>", "<i>2</i>") + "<trt:GetAudioEncoderConfigurationOptionsResponse>" +
      AudioOption("G711", "<i>1</i>", "") + "<trt:Options/></trt:GetAudioEncoderConfigurationOptionsResponse>")));
  EXPECT_EQ(m_service.GetAudioEncoderConfigurationOptions("", m_list), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "");
}

TEST_F(AudioOptions, FailedExchangeAddsNothing) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetAudioEncoderConfigurationOptions("", m_list), result) << reply.bytes;
  }
  EXPECT_EQ(Listed(), "");
}

}  // namespace
}  // namespace testsupport
