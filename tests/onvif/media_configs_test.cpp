// Lists of configurations, and the number of encoder instances.

#include <gmock/gmock.h>

#include "onvif/onvifmedia.h"
#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

/// The request of a query without arguments.
std::string Ask(const std::string& operation) {
  return "<" + operation + R"( xmlns="http://www.onvif.org/ver10/media/wsdl" />)";
}

/// An answer's envelope around `content` in the response element of `operation`.
std::string Answer(const std::string& operation, const std::string& content) {
  return Envelope("<trt:" + operation + "Response>" + content + "</trt:" + operation + "Response>");
}

class GetVideoSourceConfigurations : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(Reply reply) {
    m_camera.Answer(std::move(reply));
    return m_service.GetVideoSourceConfigurations(m_list);
  }

  RET_ONVIF AskFor(const std::string& configurations) {
    return AskFor(Reply::Ok(Answer("GetVideoSourceConfigurations", configurations)));
  }

  std::string Tokens() const {
    std::string text;
    for (const OVF_MED_VDO_SRC& source : m_list) text += source.strToken + ";";
    return text;
  }

  std::list<OVF_MED_VDO_SRC> m_list{{"here before"}};
};

TEST_F(GetVideoSourceConfigurations, TokensAreAppendedInTheOrderOfTheAnswer) {
  EXPECT_EQ(AskFor("<trt:Configurations token='b'><tt:Name>n</tt:Name></trt:Configurations>"
                   "<trt:Configurations token='a'/>"),
            RET_ONVIF_OK);
  ExpectAsked({Ask("GetVideoSourceConfigurations")});
  EXPECT_EQ(Tokens(), "here before;b;a;");
}

TEST_F(GetVideoSourceConfigurations, ConfigurationWithoutTokenIsSkippedAndAnEmptyTokenIsOne) {
  EXPECT_EQ(AskFor("<trt:Configurations/><trt:Configurations token=''/><trt:Configurations token='a'/>"), RET_ONVIF_OK);
  EXPECT_EQ(Tokens(), "here before;;a;");
}

TEST_F(GetVideoSourceConfigurations, ConfigurationsWithoutAnyTokenAreASuccess) {
  EXPECT_EQ(AskFor("<trt:Configurations/>"), RET_ONVIF_OK);
  EXPECT_EQ(Tokens(), "here before;");
}

TEST_F(GetVideoSourceConfigurations, AnswerOfAFailedExchangeIsReadAndCountsAsSuccess) {
  const std::string both =
      "<trt:GetVideoSourceConfigurationsResponse><trt:Configurations token='vs'/>"
      "</trt:GetVideoSourceConfigurationsResponse>";
  EXPECT_EQ(AskFor(Reply::Status(400, Envelope("<soapenv:Fault/>" + both))), RET_ONVIF_OK);
  EXPECT_EQ(Tokens(), "here before;vs;");
}

TEST_F(GetVideoSourceConfigurations, WithoutConfigurationTheResultOfTheExchangeComesBack) {
  EXPECT_EQ(AskFor(""), RET_ONVIF_OK);
  EXPECT_EQ(AskFor(Reply::Ok(Envelope("<trt:Configurations token='outside the response'/>"))), RET_ONVIF_OK);
  for (const auto& [reply, result] : ExchangeFailures()) EXPECT_EQ(AskFor(reply), result) << reply.bytes;
  EXPECT_EQ(Tokens(), "here before;");
}

class GetVideoEncoderConfigurations : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(const std::string& configurations) {
    m_camera.Answer(Reply::Ok(Answer("GetVideoEncoderConfigurations", configurations)));
    return m_service.GetVideoEncoderConfigurations(m_list);
  }

  std::string Listed() const {
    std::string text;
    for (const OVF_MED_VDO_CONF& conf : m_list) text += conf.strToken + "=" + conf.strEncoding + ";";
    return text;
  }

  std::list<OVF_MED_VDO_CONF> m_list{{"", "old", "X", "", "", "", "", "", "", ""}};
};

constexpr char kWholeConfiguration[] =
    "<trt:Configurations token='ve1'><tt:Name>main</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>H264</tt:Encoding>"
    "<tt:Resolution><tt:Width>640</tt:Width><tt:Height>480</tt:Height></tt:Resolution><tt:Quality>5</tt:Quality>"
    "<tt:RateControl><tt:FrameRateLimit>25</tt:FrameRateLimit></tt:RateControl></trt:Configurations>";

TEST_F(GetVideoEncoderConfigurations, TokenAndEncodingAreReadAndNothingElse) {
  EXPECT_EQ(AskFor(std::string(kWholeConfiguration) +
                   "<trt:Configurations token='ve2'><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>"),
            RET_ONVIF_OK);
  ExpectAsked({Ask("GetVideoEncoderConfigurations")});
  EXPECT_EQ(Listed(), "old=X;ve1=H264;ve2=JPEG;");
  const OVF_MED_VDO_CONF& whole = *std::next(m_list.begin());
  EXPECT_EQ(whole.strSourceToken + whole.strWidth + whole.strHeight + whole.strFrameRateLimit + whole.strQuality +
                whole.strReserved1 + whole.strReserved2 + whole.strReserved3,
            "");
}

TEST_F(GetVideoEncoderConfigurations, ConfigurationWithoutTokenEndsTheListAndIsInvalid) {
  EXPECT_EQ(AskFor("<trt:Configurations token='a'><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>"
                   "<trt:Configurations><tt:Encoding>H264</tt:Encoding></trt:Configurations>"
                   "<trt:Configurations token='c'><tt:Encoding>H264</tt:Encoding></trt:Configurations>"),
            RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(Listed(), "old=X;a=JPEG;");
  EXPECT_THAT(SoapLog(), testing::IsEmpty());
}

TEST_F(GetVideoEncoderConfigurations, ConfigurationWithoutEncodingChildIsLeftOut) {
  EXPECT_EQ(AskFor("<trt:Configurations token='a'/><trt:Configurations token='b'><tt:Extension>"
                   "<tt:Encoding>JPEG</tt:Encoding></tt:Extension></trt:Configurations>"
                   "<trt:Configurations token='c'><tt:Encoding>H264</tt:Encoding></trt:Configurations>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old=X;c=H264;");
}

TEST_F(GetVideoEncoderConfigurations, FirstEncodingCountsInWhateverNamespaceAndAsItStands) {
  EXPECT_EQ(AskFor("<trt:Configurations token='a'>\n <Encoding> h265 </Encoding><tt:Encoding>JPEG</tt:Encoding>"
                   "</trt:Configurations><trt:Configurations token=''><tt:Encoding/></trt:Configurations>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old=X;a= h265 ;=;");
}

TEST_F(GetVideoEncoderConfigurations, AnswerWithoutConfigurationsIsASuccess) {
  EXPECT_EQ(AskFor(""), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old=X;");
}

TEST_F(GetVideoEncoderConfigurations, FailedExchangeAddsNothing) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetVideoEncoderConfigurations(m_list), result) << reply.bytes;
  }
  m_camera.Answer(
      Reply::Status(400, Envelope("<soapenv:Fault/><trt:GetVideoEncoderConfigurationsResponse>" +
                                  std::string(kWholeConfiguration) + "</trt:GetVideoEncoderConfigurationsResponse>")));
  EXPECT_EQ(m_service.GetVideoEncoderConfigurations(m_list), RET_ONVIF_SOAP_FAULT);
  EXPECT_EQ(Listed(), "old=X;");
}

TEST_F(GetVideoEncoderConfigurations, ThirtyThousandAreAllRead) {
  std::string configurations;
  for (int i = 0; i < 30000; ++i) {
    configurations += "<trt:Configurations token='t'><tt:Encoding>JPEG</tt:Encoding></trt:Configurations>";
  }
  EXPECT_EQ(AskFor(configurations), RET_ONVIF_OK);
  EXPECT_EQ(m_list.size(), 30001U);
}

class GetAudioEncoderConfigurations : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(const std::string& configurations) {
    m_camera.Answer(Reply::Ok(Answer("GetAudioEncoderConfigurations", configurations)));
    return m_service.GetAudioEncoderConfigurations(m_list);
  }

  std::string Listed() const {
    std::string text;
    for (const OVF_MED_AUD_CONF& conf : m_list) {
      text += conf.strToken + "=" + conf.strEncoding + conf.strBitrate + conf.strSampleRate + ";";
    }
    return text;
  }

  std::list<OVF_MED_AUD_CONF> m_list{{"", "old", "X", "", ""}};
};

TEST_F(GetAudioEncoderConfigurations, TokenAndEncodingAreReadAndNothingElse) {
  EXPECT_EQ(AskFor("<trt:Configurations token='ae1'><tt:Name>n</tt:Name><tt:Encoding>G711</tt:Encoding>"
                   "<tt:Bitrate>64</tt:Bitrate><tt:SampleRate>8</tt:SampleRate></trt:Configurations>"
                   "<trt:Configurations token='ae2'><tt:Encoding>AAC</tt:Encoding></trt:Configurations>"),
            RET_ONVIF_OK);
  ExpectAsked({Ask("GetAudioEncoderConfigurations")});
  EXPECT_EQ(Listed(), "old=X;ae1=G711;ae2=AAC;");
}

TEST_F(GetAudioEncoderConfigurations, ConfigurationWithoutTokenOrEncodingIsSkipped) {
  EXPECT_EQ(AskFor("<trt:Configurations><tt:Encoding>G711</tt:Encoding></trt:Configurations>"
                   "<trt:Configurations token='b'/>"
                   "<trt:Configurations token='c'><tt:Encoding>AAC</tt:Encoding></trt:Configurations>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old=X;c=AAC;");
}

TEST_F(GetAudioEncoderConfigurations, FailedExchangeAndEmptyAnswerAddNothing) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetAudioEncoderConfigurations(m_list), result) << reply.bytes;
  }
  EXPECT_EQ(AskFor(""), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "old=X;");
}

class GetGuaranteedNumber : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF AskFor(const std::string& numbers) {
    m_camera.Answer(Reply::Ok(Answer("GetGuaranteedNumberOfVideoEncoderInstances", numbers)));
    return m_service.GetGuaranteedNumberOfVideoEncoderInstances("vs", m_numbers);
  }

  /// Total, JPEG, MPEG4, H264.
  std::vector<int> Numbers() const { return {m_numbers.nTotal, m_numbers.nJpeg, m_numbers.nMpeg4, m_numbers.nH264}; }

  OVF_MED_GUAR_NUM_INST m_numbers{71, 72, 73, 74};
};

std::string AskGuaranteed(const std::string& token) {
  return R"(<GetGuaranteedNumberOfVideoEncoderInstances xmlns="http://www.onvif.org/ver10/media/wsdl">)"
         "<ConfigurationToken>" +
         token + "</ConfigurationToken></GetGuaranteedNumberOfVideoEncoderInstances>";
}

TEST_F(GetGuaranteedNumber, TotalThatIsGivenBecomesMinusOneAndCodecsThatAreNotGivenToo) {
  EXPECT_EQ(AskFor("<trt:TotalNumber>4</trt:TotalNumber><trt:JPEG>2</trt:JPEG>"), RET_ONVIF_OK);
  ExpectAsked({AskGuaranteed("vs")});
  EXPECT_EQ(Numbers(), (std::vector<int>{-1, 2, -1, -1}));
}

TEST_F(GetGuaranteedNumber, TotalThatIsNotGivenBecomesZero) {
  EXPECT_EQ(AskFor("<trt:H264>1</trt:H264><trt:MPEG4>3</trt:MPEG4>"), RET_ONVIF_OK);
  EXPECT_EQ(Numbers(), (std::vector<int>{0, -1, 3, 1}));
}

TEST_F(GetGuaranteedNumber, AnswerThatHoldsNothingIsASuccess) {
  EXPECT_EQ(AskFor(""), RET_ONVIF_OK);
  EXPECT_EQ(Numbers(), (std::vector<int>{0, -1, -1, -1}));
}

TEST_F(GetGuaranteedNumber, NumbersStopAtTheFirstNonDigitAndStayWithin32Bits) {
  EXPECT_EQ(AskFor("<trt:TotalNumber/><trt:JPEG> 12x</trt:JPEG><trt:MPEG4>none</trt:MPEG4>"
                   "<trt:H264>99999999999999999999</trt:H264>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Numbers(), (std::vector<int>{-1, 12, 0, 2147483647}));
  EXPECT_EQ(AskFor("<trt:JPEG>-4294967297</trt:JPEG><trt:MPEG4/><trt:H264>2147483648</trt:H264>"), RET_ONVIF_OK);
  EXPECT_EQ(Numbers(), (std::vector<int>{0, -2147483647 - 1, 0, 2147483647}));
}

TEST_F(GetGuaranteedNumber, NumbersOfAnotherNamespaceOrOutsideTheResponseDoNotCount) {
  m_camera.Answer(Reply::Ok(
      Envelope("<trt:JPEG>1</trt:JPEG><trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse><tt:H264>1</tt:H264>"
               "</trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse>")));
  EXPECT_EQ(m_service.GetGuaranteedNumberOfVideoEncoderInstances("a&<b", m_numbers), RET_ONVIF_OK);
  ExpectAsked({AskGuaranteed("a&<b")});
  EXPECT_EQ(Numbers(), (std::vector<int>{0, -1, -1, -1}));
}

TEST_F(GetGuaranteedNumber, FailedExchangeLeavesTheRecord) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetGuaranteedNumberOfVideoEncoderInstances("", m_numbers), result) << reply.bytes;
    EXPECT_EQ(Numbers(), (std::vector<int>{71, 72, 73, 74})) << reply.bytes;
  }
}

TEST(MediaCodecs, StandInTheirOrder) {
  EXPECT_THAT(OnvifMediaService::m_rgstrCodec, testing::ElementsAre("JPEG", "MPEG4", "H264"));
}

}  // namespace
}  // namespace testsupport
