// Encoder configurations through the media service: what is offered, what a Set changes, what it may not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/bench.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::Bench;
using simcamtest::FaultCodes;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kConfigModify = "env:Sender ter:InvalidArgVal ter:ConfigModify";
constexpr const char* kNoConfig = "env:Sender ter:InvalidArgVal ter:NoConfig";

std::string Configuration(const std::string& token) {
  return "<ConfigurationToken>" + token + "</ConfigurationToken>";
}

constexpr const char* kStreaming =
    "<t:Multicast><t:Address><t:Type>IPv4</t:Type><t:IPv4Address>0.0.0.0</t:IPv4Address></t:Address><t:Port>0</t:Port>"
    "<t:TTL>0</t:TTL><t:AutoStart>false</t:AutoStart></t:Multicast><t:SessionTimeout>PT60S</t:SessionTimeout>";

std::string SetRequest(const std::string& token, const std::string& content) {
  return "<Configuration token=\"" + token + "\" xmlns:t=\"http://www.onvif.org/ver10/schema\">" + content +
         "</Configuration><ForcePersistence>true</ForcePersistence>";
}

// A right request that sets the sub stream of ptz-dome.
const std::string kVideo =
    SetRequest("vec_sub", std::string("<t:Name>New name</t:Name><t:UseCount>1</t:UseCount><t:Encoding>H264</t:Encoding>"
                                      "<t:Resolution><t:Width>704</t:Width><t:Height>576</t:Height></t:Resolution>"
                                      "<t:Quality>7</t:Quality><t:RateControl><t:FrameRateLimit>12</t:FrameRateLimit>"
                                      "<t:EncodingInterval>1</t:EncodingInterval><t:BitrateLimit>900</t:BitrateLimit>"
                                      "</t:RateControl><t:H264><t:GovLength>24</t:GovLength>"
                                      "<t:H264Profile>Main</t:H264Profile></t:H264>") +
                              kStreaming);

const std::string kAudio =
    SetRequest("aec_g711", std::string("<t:Name>Sound</t:Name><t:UseCount>2</t:UseCount><t:Encoding>AAC</t:Encoding>"
                                       "<t:Bitrate>32</t:Bitrate><t:SampleRate>16</t:SampleRate>") +
                               kStreaming);

// `text` with `from`, which must be there, replaced.
std::string Changed(std::string text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << "the request has no " << from;
  return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

TEST(VideoEncoders, ListShowsAllOfTheModel) {
  const Bench bench("ptz-dome");
  const std::string body = bench.Media("GetVideoEncoderConfigurations").body;
  for (const char* const token : {"vec_main", "vec_sub", "vec_jpeg", "vec_mpeg4"}) {
    EXPECT_THAT(body, HasSubstr("<trt:Configurations token=\"" + std::string(token) + "\">"));
  }
}

TEST(VideoEncoders, OneIsToldByItsToken) {
  const Bench bench("ptz-dome");
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_mpeg4")).body,
              testing::AllOf(HasSubstr("<trt:Configuration token=\"vec_mpeg4\">"),
                             HasSubstr("<tt:MPEG4><tt:GovLength>25</tt:GovLength><tt:Mpeg4Profile>SP<")));
  EXPECT_EQ(FaultCodes(bench.Media("GetVideoEncoderConfiguration", Configuration("nobody"))), kNoConfig);
  EXPECT_EQ(FaultCodes(bench.Media("GetVideoEncoderConfiguration")), "env:Sender ter:InvalidArgs");
}

TEST(VideoEncoders, SetIsShownByAllThatTellAboutTheEncoder) {
  const Bench bench("ptz-dome");
  ASSERT_EQ(FaultCodes(bench.Media("SetVideoEncoderConfiguration", kVideo)), "");
  const std::string shown =
      "<tt:Name>New name</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>H264</tt:Encoding><tt:Resolution>"
      "<tt:Width>704</tt:Width><tt:Height>576</tt:Height></tt:Resolution><tt:Quality>7</tt:Quality><tt:RateControl>"
      "<tt:FrameRateLimit>12</tt:FrameRateLimit><tt:EncodingInterval>1</tt:EncodingInterval><tt:BitrateLimit>900"
      "</tt:BitrateLimit></tt:RateControl><tt:H264><tt:GovLength>24</tt:GovLength><tt:H264Profile>Main<";
  EXPECT_THAT(bench.Media("GetProfile", "<ProfileToken>profile_2</ProfileToken>").body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetProfiles").body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetVideoEncoderConfigurations").body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_sub")).body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_main")).body,
              HasSubstr("<tt:Width>1920<"));
}

TEST(VideoEncoders, SettingsThatAreLeftOutStay) {
  const Bench bench("ptz-dome");
  std::string request = kVideo;
  for (const char* const name : {"RateControl", "H264"}) {
    const std::size_t start = request.find("<t:" + std::string(name) + ">");
    const std::string end = "</t:" + std::string(name) + ">";
    request.erase(start, request.find(end) + end.size() - start);
  }
  ASSERT_EQ(FaultCodes(bench.Media("SetVideoEncoderConfiguration", request)), "");
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_sub")).body,
              testing::AllOf(HasSubstr("<tt:FrameRateLimit>15<"), HasSubstr("<tt:BitrateLimit>512<"),
                             HasSubstr("<tt:GovLength>30</tt:GovLength><tt:H264Profile>Baseline<")));
}

TEST(VideoEncoders, CodecCanBeChangedBothWays) {
  const Bench bench("ptz-dome");
  ASSERT_EQ(FaultCodes(bench.Media("SetVideoEncoderConfiguration", Changed(kVideo, ">H264<", ">JPEG<"))), "");
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_sub")).body,
              testing::AllOf(HasSubstr("<tt:Encoding>JPEG<"), Not(HasSubstr("GovLength"))));
  // Of another codec's settings nothing is taken: the least of what MPEG-4 offers.
  ASSERT_EQ(FaultCodes(bench.Media("SetVideoEncoderConfiguration", Changed(kVideo, ">H264<", ">MPEG4<"))), "");
  EXPECT_THAT(bench.Media("GetVideoEncoderConfiguration", Configuration("vec_sub")).body,
              HasSubstr("<tt:MPEG4><tt:GovLength>1</tt:GovLength><tt:Mpeg4Profile>SP<"));
}

struct EncoderRefusal {
  const char* from;
  const char* to;
  const char* codes;
};

constexpr EncoderRefusal kVideoRefusals[] = {
    {"\"vec_sub\"", "\"vec_none\"", kNoConfig},
    {" token=\"vec_sub\"", "", "env:Sender ter:InvalidArgs"},
    {"<t:Encoding>H264", "<t:Encoding>H265", kConfigModify},
    {">704<", ">705<", kConfigModify},
    {">576<", ">360<", kConfigModify},
    {">704<", ">-704<", kConfigModify},
    {">704<", ">99999999999<", "env:Sender ter:InvalidArgVal"},
    {">704<", "><", "env:Sender ter:InvalidArgVal"},
    {"<t:Quality>7<", "<t:Quality>10.5<", kConfigModify},
    {"<t:Quality>7<", "<t:Quality>0<", kConfigModify},
    {"<t:Quality>7<", "<t:Quality>NaN<", "env:Sender ter:InvalidArgVal"},
    {"Limit>12<", "Limit>26<", kConfigModify},
    {"Limit>12<", "Limit>0<", kConfigModify},
    {"Limit>12<", "Limit>12.5<", "env:Sender ter:InvalidArgVal"},
    {"Interval>1<", "Interval>2<", kConfigModify},
    {">900<", ">16385<", kConfigModify},
    {"GovLength>24<", "GovLength>401<", kConfigModify},
    {"GovLength>24<", "GovLength>0<", kConfigModify},
    {">Main<", ">Extended<", kConfigModify},
    {">0.0.0.0<", ">239.1.1.1<", kConfigModify},
    {"AutoStart>false<", "AutoStart>true<", kConfigModify},
    {">PT60S<", ">PT5S<", kConfigModify},
    {"<t:Name>New name</t:Name>", "<t:Name></t:Name>", "env:Sender ter:InvalidArgVal"},
    {"<t:Name>New name</t:Name>", "", "env:Sender ter:InvalidArgs"},
    {"<t:UseCount>1</t:UseCount>", "", "env:Sender ter:InvalidArgs"},
    {"<t:Width>704</t:Width>", "", "env:Sender ter:InvalidArgs"},
    {"<t:Quality>7</t:Quality>", "", "env:Sender ter:InvalidArgs"},
    {"<t:SessionTimeout>PT60S</t:SessionTimeout>", "", "env:Sender ter:InvalidArgs"},
    {"<ForcePersistence>true</ForcePersistence>", "", "env:Sender ter:InvalidArgs"},
    {"Persistence>true<", "Persistence>yes<", "env:Sender ter:InvalidArgVal"},
    // The elements of a configuration belong to the common schema, the configuration to the service.
    {"http://www.onvif.org/ver10/schema", "http://www.onvif.org/ver10/media/wsdl", "env:Sender ter:InvalidArgs"},
    {"<Configuration ", "<Configuration xmlns=\"http://www.onvif.org/ver10/schema\" ", "env:Sender ter:InvalidArgs"},
};

TEST(VideoEncoders, WhatIsNotOfferedIsRefusedAndChangesNothing) {
  for (const EncoderRefusal& refusal : kVideoRefusals) {
    const Bench bench("ptz-dome");
    const std::string before = bench.Media("GetVideoEncoderConfigurations").body;
    const auto answer = bench.Media("SetVideoEncoderConfiguration", Changed(kVideo, refusal.from, refusal.to));
    EXPECT_EQ(FaultCodes(answer), refusal.codes) << refusal.from << " -> " << refusal.to << ": " << answer.body;
    EXPECT_EQ(bench.Media("GetVideoEncoderConfigurations").body, before) << refusal.from << " -> " << refusal.to;
  }
}

TEST(VideoOptions, OfAnEncoderAreItsOwn) {
  const Bench bench("fixed-box");
  EXPECT_THAT(bench.Media("GetVideoEncoderConfigurationOptions", Configuration("VideoEncoder0")).body,
              HasSubstr("<tt:Width>1280<"));
  EXPECT_THAT(bench.Media("GetVideoEncoderConfigurationOptions", Configuration("VideoEncoder1")).body,
              Not(HasSubstr("<tt:Width>1280<")));
  EXPECT_THAT(bench.Media("GetVideoEncoderConfigurationOptions", "<ProfileToken>Profile1</ProfileToken>").body,
              Not(HasSubstr("<tt:Width>1280<")));
  EXPECT_EQ(FaultCodes(bench.Media("GetVideoEncoderConfigurationOptions", Configuration("x"))), kNoConfig);
  EXPECT_EQ(FaultCodes(bench.Media("GetVideoEncoderConfigurationOptions", "<ProfileToken>x</ProfileToken>")),
            "env:Sender ter:InvalidArgVal ter:NoProfile");
}

TEST(VideoOptions, WithoutTokenAreThoseOfAllEncoders) {
  const Bench bench("zoom-box");
  const std::string body = bench.Media("GetVideoEncoderConfigurationOptions").body;
  EXPECT_THAT(body, HasSubstr("<tt:JPEG>"));
  EXPECT_THAT(body, HasSubstr("<tt:H264><tt:ResolutionsAvailable><tt:Width>1920</tt:Width><tt:Height>1080</tt:Height>"
                              "</tt:ResolutionsAvailable><tt:ResolutionsAvailable><tt:Width>1280</tt:Width><tt:Height>"
                              "720</tt:Height></tt:ResolutionsAvailable><tt:ResolutionsAvailable><tt:Width>640"));
  EXPECT_THAT(body, HasSubstr("<tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>60<"));
  EXPECT_THAT(body, HasSubstr("<tt:BitrateRange><tt:Min>64</tt:Min><tt:Max>16384<"));
}

TEST(VideoOptions, OfTheFirstReleaseHaveNoExtension) {
  EXPECT_THAT(Bench("legacy-1-0").Media("GetVideoEncoderConfigurationOptions").body, Not(HasSubstr("Extension")));
}

TEST(OldStyle, TellsOptionsButNoConfigurations) {
  const Bench bench("old-style");
  for (const char* const operation : {"GetVideoEncoderConfigurations", "GetVideoEncoderConfiguration"}) {
    EXPECT_EQ(FaultCodes(bench.Media(operation, Configuration("ve_a"))), "env:Receiver ter:ActionNotSupported");
  }
  EXPECT_THAT(bench.Media("GetVideoEncoderConfigurationOptions").body,
              testing::AllOf(HasSubstr("<tt:JPEG>"), HasSubstr("<tt:MPEG4>"), HasSubstr("<tt:H264>")));
}

TEST(Sources, AreListed) {
  const Bench bench("ptz-dome");
  EXPECT_THAT(
      bench.Media("GetVideoSources").body,
      HasSubstr("<trt:VideoSources token=\"vs_1\"><tt:Framerate>25</tt:Framerate><tt:Resolution><tt:Width>1920"));
  EXPECT_THAT(bench.Media("GetVideoSourceConfigurations").body, HasSubstr("<trt:Configurations token=\"vsc_1\">"));
  EXPECT_THAT(bench.Media("GetAudioSources").body,
              HasSubstr("<trt:AudioSources token=\"as_1\"><tt:Channels>1</tt:Channels></trt:AudioSources>"
                        "<trt:AudioSources token=\"as_2\">"));
  EXPECT_THAT(bench.Media("GetAudioSourceConfigurations").body, HasSubstr("<trt:Configurations token=\"asc_2\">"));
}

TEST(GuaranteedInstances, AreAskedOfAVideoSource) {
  const Bench bench("ptz-dome");
  const std::string operation = "GetGuaranteedNumberOfVideoEncoderInstances";
  EXPECT_THAT(bench.Media(operation, Configuration("vsc_1")).body,
              HasSubstr("<trt:TotalNumber>4</trt:TotalNumber><trt:JPEG>1</trt:JPEG><trt:H264>2</trt:H264>"
                        "<trt:MPEG4>1</trt:MPEG4>"));
  EXPECT_EQ(FaultCodes(bench.Media(operation, Configuration("vec_main"))), kNoConfig);
  EXPECT_THAT(Bench("legacy-1-0").Media(operation, Configuration("src0")).body,
              HasSubstr("<trt:TotalNumber>2</trt:TotalNumber></trt:"));
}

TEST(AudioEncoders, SetIsShown) {
  const Bench bench("ptz-dome");
  ASSERT_EQ(FaultCodes(bench.Media("SetAudioEncoderConfiguration", kAudio)), "");
  const std::string shown =
      "<tt:Name>Sound</tt:Name><tt:UseCount>2</tt:UseCount><tt:Encoding>AAC</tt:Encoding><tt:Bitrate>32</tt:Bitrate>"
      "<tt:SampleRate>16</tt:SampleRate>";
  EXPECT_THAT(bench.Media("GetAudioEncoderConfigurations").body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetAudioEncoderConfiguration", Configuration("aec_g711")).body, HasSubstr(shown));
  EXPECT_THAT(bench.Media("GetProfile", simcamtest::kFirstProfile).body, HasSubstr(shown));
}

constexpr EncoderRefusal kAudioRefusals[] = {
    {"\"aec_g711\"", "\"aec_none\"", kNoConfig},
    {">AAC<", ">MP3<", kConfigModify},
    {">AAC<", ">G726<", kConfigModify},  // 32 kbit/s, but at 8 kHz only
    {"Bitrate>32<", "Bitrate>33<", kConfigModify},
    {"SampleRate>16<", "SampleRate>8<", kConfigModify},
    {"SampleRate>16<", "SampleRate>many<", "env:Sender ter:InvalidArgVal"},
    {"<t:Bitrate>32</t:Bitrate>", "", "env:Sender ter:InvalidArgs"},
    {"http://www.onvif.org/ver10/schema", "urn:other", "env:Sender ter:InvalidArgs"},
};

TEST(AudioEncoders, WhatIsNotOfferedIsRefusedAndChangesNothing) {
  for (const EncoderRefusal& refusal : kAudioRefusals) {
    const Bench bench("ptz-dome");
    const std::string before = bench.Media("GetAudioEncoderConfigurations").body;
    EXPECT_EQ(FaultCodes(bench.Media("SetAudioEncoderConfiguration", Changed(kAudio, refusal.from, refusal.to))),
              refusal.codes)
        << refusal.from << " -> " << refusal.to;
    EXPECT_EQ(bench.Media("GetAudioEncoderConfigurations").body, before) << refusal.from << " -> " << refusal.to;
  }
}

TEST(AudioOptions, AreTheSameForAllEncoders) {
  const Bench bench("ptz-dome");
  const std::string all = bench.Media("GetAudioEncoderConfigurationOptions").body;
  EXPECT_THAT(all, HasSubstr("<tt:Options><tt:Encoding>G726</tt:Encoding><tt:BitrateList><tt:Items>16</tt:Items>"
                             "<tt:Items>32</tt:Items></tt:BitrateList><tt:SampleRateList><tt:Items>8<"));
  EXPECT_EQ(bench.Media("GetAudioEncoderConfigurationOptions", Configuration("aec_aac")).body, all);
  EXPECT_EQ(FaultCodes(bench.Media("GetAudioEncoderConfigurationOptions", Configuration("vec_main"))), kNoConfig);
  EXPECT_EQ(FaultCodes(bench.Media("GetAudioEncoderConfigurationOptions", "<ProfileToken>x</ProfileToken>")),
            "env:Sender ter:InvalidArgVal ter:NoProfile");
}

TEST(CameraWithoutAudio, SaysSo) {
  const Bench bench("fixed-box");
  for (const char* const operation :
       {"GetAudioSources", "GetAudioSourceConfigurations", "GetAudioEncoderConfigurations",
        "GetAudioEncoderConfiguration", "GetAudioEncoderConfigurationOptions", "SetAudioEncoderConfiguration"}) {
    EXPECT_EQ(FaultCodes(bench.Media(operation, Configuration("x"))),
              "env:Receiver ter:ActionNotSupported ter:AudioNotSupported")
        << operation;
  }
}

}  // namespace
