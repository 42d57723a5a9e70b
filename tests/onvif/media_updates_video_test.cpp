// Update of a video encoder: what of the camera's configuration is sent back, and how.

#include <gmock/gmock.h>

#include "tests/onvif/video_update_test.h"
#include "tests/support/envelope.h"
#include "tests/support/schema_set.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

using VideoTemplate = SetVideoEncoder;

TEST_F(VideoTemplate, WholeConfigurationIsSentBackWithTheNewValuesAndTheOldBitRate) {
  ExpectFromTemplate(
      kWhole, Record("H264"),
      WholeHead("H264") + Schema("H264", "<GovLength>20</GovLength><H264Profile>Main</H264Profile>") + kWholeTail);
}

TEST_F(VideoTemplate, JpegGetsNoCodecElement) {
  ExpectFromTemplate(kWhole, Record("JPEG"), WholeHead("JPEG") + kWholeTail);
}

TEST_F(VideoTemplate, Mpeg4CameraKeepsItsProfileAndLosesTheOtherCodec) {
  const std::string both = OneLine(R"(
      <tt:Encoding>JPEG</tt:Encoding>
      <tt:MPEG4><tt:Mpeg4Profile>ASP</tt:Mpeg4Profile><tt:GovLength>12</tt:GovLength>
        <tt:H264Profile>High</tt:H264Profile></tt:MPEG4>
      <tt:H264><tt:GovLength>50</tt:GovLength><tt:H264Profile>High</tt:H264Profile></tt:H264>)");
  ExpectFromTemplate(
      both, Record("MPEG4"),
      Schema("Encoding", "MPEG4") + Schema("MPEG4", "<Mpeg4Profile>ASP</Mpeg4Profile><GovLength>20</GovLength>"));
}

TEST_F(VideoTemplate, OwnPrefixesOfACameraMakeNoDifference) {
  const std::string answer = OneLine(R"(<?xml version='1.0'?>
      <e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope' xmlns:a='http://www.onvif.org/ver10/media/wsdl'>
        <e:Body xmlns:tt='urn:vendor'><a:GetVideoEncoderConfigurationResponse>
        <a:Configuration token='ve1' xmlns:b='urn:other'>
          <c:Name xmlns:c='http://www.onvif.org/ver10/schema'>cam</c:Name>
          <d:Encoding xmlns:d='http://www.onvif.org/ver10/schema'>H264</d:Encoding>
          <b:Quality>2</b:Quality>
          <d:H264 xmlns:d='http://www.onvif.org/ver10/schema'><d:GovLength>9</d:GovLength></d:H264>
        </a:Configuration></a:GetVideoEncoderConfigurationResponse></e:Body>
      </e:Envelope>)");
  m_camera.Answer(Reply::Ok(answer));
  AnswerUpdated();
  EXPECT_EQ(Update(Record("H264")), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("ve1")},
                   SetVideo(Schema("Name", "cam") + Schema("Encoding", "H264") + Schema("Quality", "7.5") +
                            Schema("H264", "<GovLength>20</GovLength>")));
}

TEST_F(VideoTemplate, DefaultNamespacesBelowTheRootMakeNoDifference) {
  m_camera.Answer(Reply::Ok(OneLine(R"(
      <s:Envelope xmlns:s='http://www.w3.org/2003/05/soap-envelope'><s:Body>
        <GetVideoEncoderConfigurationResponse xmlns='http://www.onvif.org/ver10/media/wsdl'><Configuration token='x'>
          <Name xmlns='http://www.onvif.org/ver10/schema'>cam</Name><UseCount>1</UseCount>
          <RateControl xmlns='http://www.onvif.org/ver10/schema'><BitrateLimit>64</BitrateLimit></RateControl>
        </Configuration></GetVideoEncoderConfigurationResponse>
      </s:Body></s:Envelope>)")));
  AnswerUpdated();
  EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_OK);
  ExpectReadAndSet(
      {AskCurrent("ve1")},
      SetVideo(Schema("Name", "cam") + Schema("UseCount", "1") +
               Schema("RateControl", "<FrameRateLimit>20</FrameRateLimit><BitrateLimit>64</BitrateLimit>")));
}

TEST_F(VideoTemplate, OrderOfTheCameraIsKeptButTheFrameRateStandsFirstInItsElement) {
  const std::string shuffled = OneLine(R"(
      <tt:SessionTimeout>PT5S</tt:SessionTimeout>
      <tt:Multicast><tt:AutoStart>true</tt:AutoStart><tt:TTL>1</tt:TTL><tt:Port>5</tt:Port>
        <tt:Address><tt:IPv4Address>1.2.3.4</tt:IPv4Address><tt:Type>IPv4</tt:Type></tt:Address></tt:Multicast>
      <tt:H264><tt:H264Profile>High</tt:H264Profile><tt:GovLength>50</tt:GovLength></tt:H264>
      <tt:RateControl><tt:BitrateLimit>9</tt:BitrateLimit><tt:EncodingInterval>2</tt:EncodingInterval>
        <tt:FrameRateLimit>1</tt:FrameRateLimit></tt:RateControl>
      <tt:Quality>1</tt:Quality><tt:Resolution/><tt:Encoding/><tt:UseCount>0</tt:UseCount><tt:Name>n</tt:Name>)");
  ExpectFromTemplate(shuffled, Record("H264"),
                     Schema("SessionTimeout", "PT5S") +
                         Schema("Multicast",
                                "<AutoStart>true</AutoStart><TTL>1</TTL><Port>5</Port>"
                                "<Address><IPv4Address>1.2.3.4</IPv4Address><Type>IPv4</Type></Address>") +
                         Schema("H264", "<H264Profile>High</H264Profile><GovLength>20</GovLength>") +
                         Schema("RateControl",
                                "<FrameRateLimit>20</FrameRateLimit><BitrateLimit>9</BitrateLimit>"
                                "<EncodingInterval>2</EncodingInterval>") +
                         Schema("Quality", "7.5") + kSize + Schema("Encoding", "H264") + Schema("UseCount", "0") +
                         Schema("Name", "n"));
}

TEST_F(VideoTemplate, ElementsAndAttributesThatAreNotKnownAreLeftOut) {
  const std::string rich = OneLine(R"(
      <!-- a comment --><tt:Name lang='en'>n<tt:More>ested</tt:More></tt:Name><tt:JPEG/><tt:H265/>
      <v:Encoding xmlns:v='urn:vendor'>H264</v:Encoding><tt:Bitrate>1</tt:Bitrate><tt:SampleRate>1</tt:SampleRate>
      <tt:GuaranteedFrameRate>true</tt:GuaranteedFrameRate>
      <tt:RateControl ConstantBitRate='true'><tt:Burst>1</tt:Burst><tt:BitrateLimit x='y'>9</tt:BitrateLimit>
        <tt:Extension><tt:EncodingInterval>7</tt:EncodingInterval></tt:Extension></tt:RateControl>
      <tt:H264><tt:Mpeg4Profile>SP</tt:Mpeg4Profile><tt:Smart>1</tt:Smart><tt:H264Profile>Main</tt:H264Profile></tt:H264>
      <tt:Multicast><tt:Group>1</tt:Group><tt:Address><tt:Type>IPv6</tt:Type><tt:IPv6Address>ff02::1</tt:IPv6Address>
        </tt:Address><tt:Extension/></tt:Multicast>
      <tt:Extension><tt:Name>deep</tt:Name><tt:Quality>1</tt:Quality></tt:Extension><tt:ForcePersistence/>)");
  ExpectFromTemplate(rich, Record("H264"),
                     Schema("Name", "nested") + Schema("Encoding", "H264") +
                         Schema("RateControl", "<FrameRateLimit>20</FrameRateLimit><BitrateLimit>9</BitrateLimit>") +
                         Schema("H264", "<H264Profile>Main</H264Profile>") +
                         Schema("Multicast", "<Address><Type>IPv6</Type></Address>"));
}

TEST_F(VideoTemplate, WithoutRateControlNoFrameRateIsSent) {
  ExpectFromTemplate("<tt:Encoding>JPEG</tt:Encoding><tt:Quality>1</tt:Quality>", Record("JPEG"),
                     Schema("Encoding", "JPEG") + Schema("Quality", "7.5"));
}

TEST_F(VideoTemplate, PartsOfMulticastThatAreMissingStayMissing) {
  ExpectFromTemplate("<tt:Multicast/>", Record("JPEG"), Schema("Multicast", ""));
  ExpectFromTemplate("<tt:Multicast><tt:Port>1</tt:Port><tt:Address/></tt:Multicast>", Record("JPEG"),
                     Schema("Multicast", "<Port>1</Port><Address/>"));
}

TEST_F(VideoTemplate, EmptyRateControlGetsTheFrameRate) {
  ExpectFromTemplate("<tt:RateControl/>", Record("JPEG", ""), Schema("RateControl", "<FrameRateLimit/>"));
}

TEST_F(VideoTemplate, ElementsThatComeTwiceAreSentTwice) {
  ExpectFromTemplate("<tt:Name>a</tt:Name><tt:Name/><tt:H264/><tt:H264/>", Record("H264"),
                     Schema("Name", "a") + Schema("Name", "") + Schema("H264", "") + Schema("H264", ""));
}

TEST_F(VideoTemplate, TextsAreCopiedWithTheirBlanksAndEscapedAnew) {
  ExpectFromTemplate("\n <tt:Name> &lt;caf\xC3\xA9&#x20;&amp;<![CDATA[<&]]>\n </tt:Name>\n", Record("JPEG"),
                     Schema("Name", " &lt;caf\xC3\xA9 &amp;&lt;&amp;\n "));
}

TEST_F(VideoTemplate, GopLengthOfTheCamerasCodecElementIsTheFrameRateAsItStands) {
  for (const char* rate : {"500", "0", "-1", "29.97", "", " 7 "}) {
    ExpectFromTemplate("<tt:H264><tt:GovLength>50</tt:GovLength></tt:H264>", Record("H264", rate),
                       Schema("H264", std::string("<GovLength>") + rate + "</GovLength>"));
  }
}

TEST_F(VideoTemplate, WithoutElementsTheConfigurationOfAJpegIsSentEmpty) {
  ExpectFromTemplate("", Record("JPEG"), "");
  ExpectFromTemplate("\n   \n", Record("JPEG"), "");
}

TEST_F(VideoTemplate, EncodingThatIsNoKnownOneIsSentWithoutCodecElement) {
  ExpectFromTemplate("<tt:Encoding/><tt:H264/><tt:MPEG4/>", Record("h264"), Schema("Encoding", "h264"));
  ExpectFromTemplate("<tt:Encoding/><tt:H264/><tt:MPEG4/>", Record(""), Schema("Encoding", ""));
}

TEST_F(VideoTemplate, ValuesOfTheRecordAreEscapedAndItIsNotChanged) {
  OVF_MED_VDO_CONF conf{"s", "ve1", "<a&b>", "\"w\"", "]]>", "&amp;", "x\xC3\xA9", "1", "2", "3"};
  AnswerBody(Current("<tt:Encoding/><tt:Resolution/><tt:Quality/><tt:RateControl/>"));
  AnswerUpdated();
  EXPECT_EQ(m_service.SetVideoEncoderConfiguration(conf), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("ve1")}, SetVideo(Schema("Encoding", "&lt;a&amp;b&gt;") +
                                                 Schema("Resolution", "<Width>\"w\"</Width><Height>]]&gt;</Height>") +
                                                 Schema("Quality", "x\xC3\xA9") +
                                                 Schema("RateControl", "<FrameRateLimit>&amp;amp;</FrameRateLimit>")));
  EXPECT_EQ(conf.strSourceToken + conf.strToken + conf.strEncoding + conf.strWidth + conf.strHeight +
                conf.strFrameRateLimit + conf.strQuality + conf.strReserved1 + conf.strReserved2 + conf.strReserved3,
            "sve1<a&b>\"w\"]]>&amp;x\xC3\xA9"
            "123");
}

TEST_F(VideoTemplate, TokenIsPastedIntoTheTextRequestAndEscapedInTheDocument) {
  OVF_MED_VDO_CONF conf = Record("JPEG");
  conf.strToken = "a&<\"'\xC3\xA9";
  AnswerBody(Current("<tt:Name>n</tt:Name>"));
  AnswerUpdated();
  EXPECT_EQ(Update(conf), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("a&<\"'\xC3\xA9")}, SetVideo(Schema("Name", "n"), "a&amp;&lt;&quot;'\xC3\xA9"));
}

TEST_F(VideoTemplate, LineBreaksOfTheRecordSurviveTheDocument) {
  OVF_MED_VDO_CONF conf = Record("JPEG");
  conf.strToken = "a\r\n\tb";
  conf.strQuality = "a\r\n\tb";
  AnswerBody(Current("<tt:Quality/>"));
  AnswerUpdated();
  EXPECT_EQ(Update(conf), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("a\r\n\tb")}, SetVideo(Schema("Quality", "a&#13;\n\tb"), "a&#13;&#10;&#9;b"));
}

TEST_F(VideoTemplate, BytesThatNoXmlMayHoldAreSentAsTheyAreInSilence) {
  for (const std::string bytes : {"\xFF\xFE", "caf\xE9", "a\x01z"}) {
    OVF_MED_VDO_CONF conf = Record("JPEG");
    conf.strToken = bytes;
    conf.strQuality = bytes;
    AnswerBody(Current("<tt:Quality/>"));
    m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:WellFormed", "XML")));
    testing::internal::CaptureStderr();
    EXPECT_EQ(Update(conf), RET_ONVIF_SOAP_FAULT) << bytes;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "libxml2 must keep its messages to itself";
    EXPECT_THAT(m_camera.Requests().back().body,
                HasSubstr("<Configuration token=\"" + bytes + "\">" + Schema("Quality", bytes) + "</Configuration>"));
  }
}

TEST_F(VideoTemplate, PartsOfElementsCarryNoNamespaceOfTheirOwn) {
  AnswerBody(Current(kWhole));
  AnswerUpdated();
  EXPECT_EQ(Update(Record("H264")), RET_ONVIF_OK);
  const std::string sent = m_camera.Requests().back().body;
  for (const char* part : {"<Width>", "<Height>", "<FrameRateLimit>", "<EncodingInterval>", "<BitrateLimit>",
                           "<GovLength>", "<H264Profile>", "<Address>", "<Type>", "<IPv4Address>", "<Port>", "<TTL>",
                           "<AutoStart>", "<ForcePersistence>"}) {
    EXPECT_THAT(sent, HasSubstr(part));
  }
}

TEST_F(VideoTemplate, EmptyTokenIsSentEmpty) {
  OVF_MED_VDO_CONF conf = Record("JPEG");
  conf.strToken.clear();
  AnswerBody(Current(""));
  AnswerUpdated();
  EXPECT_EQ(Update(conf), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("")}, SetVideo("", ""));
}

TEST_F(VideoTemplate, LastConfigurationOfTheAnswerIsTheTemplateWhateverItsToken) {
  AnswerBody(
      "<trt:GetVideoEncoderConfigurationResponse><trt:Configuration token='ve1'><tt:Name>first</tt:Name>"
      "</trt:Configuration><trt:Configuration><tt:Name>last</tt:Name></trt:Configuration>"
      "</trt:GetVideoEncoderConfigurationResponse>");
  AnswerUpdated();
  EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("ve1")}, SetVideo(Schema("Name", "last")));
}

/// Set requests against the published schemas.
class VideoSetSchema : public SetVideoEncoder {
 protected:
  void SetUp() override {
    if (!SchemaSet::SkipReason().empty()) GTEST_SKIP() << SchemaSet::SkipReason();
  }

  /// What the schemas find wrong with the request for `conf` from this template.
  std::vector<std::string> Problems(const std::string& elements, const OVF_MED_VDO_CONF& conf) {
    AnswerBody(Current(elements));
    AnswerUpdated();
    EXPECT_EQ(Update(conf), RET_ONVIF_OK) << elements;
    return SchemaProblems();
  }

  /// The whole configuration with `from` replaced.
  static std::string Whole(const std::string& from, const std::string& to) {
    std::string elements = kWhole;
    return elements.replace(elements.find(from), from.size(), to);
  }
};

TEST_F(VideoSetSchema, TemplateInTheOrderOfTheSchemaGivesAValidRequest) {
  EXPECT_THAT(Problems(kWhole, Record("H264")), IsEmpty());
  EXPECT_THAT(Problems(kWhole, Record("JPEG")), IsEmpty());
  EXPECT_THAT(Problems(Whole("<tt:H264><tt:GovLength>50</tt:GovLength><tt:H264Profile>Main</tt:H264Profile></tt:H264>",
                             "<tt:MPEG4><tt:GovLength>50</tt:GovLength><tt:Mpeg4Profile>SP</tt:Mpeg4Profile></tt:MPEG4>"
                             "<tt:H264/>"),
                       Record("MPEG4")),
              IsEmpty());
  EXPECT_THAT(Problems(kWhole + "<tt:Extension/><v:Own xmlns:v='urn:vendor'/>", Record("H264")), IsEmpty());
}

TEST_F(VideoSetSchema, CodecElementFromTheOptionsPassesAtTheEndAsAnExtension) {
  AnswerBody(Current(kWhole));
  AnswerBody(Options("MPEG4", GopRange("1", "15"), "<tt:Mpeg4ProfilesSupported>SP</tt:Mpeg4ProfilesSupported>"));
  AnswerUpdated();
  EXPECT_EQ(Update(Record("MPEG4")), RET_ONVIF_OK);
  EXPECT_THAT(SchemaProblems(), IsEmpty());
}

// Meant exceptions: what the camera wrote itself, and what the caller asks for, is sent as it is.

TEST_F(VideoSetSchema, CameraThatBreaksTheSchemaGetsItsOwnOrderAndItsOwnGapsBack) {
  EXPECT_THAT(Problems("<tt:UseCount>1</tt:UseCount>" + Whole("<tt:UseCount>2</tt:UseCount>", ""), Record("H264")),
              Contains(HasSubstr("UseCount': This element is not expected")));
  EXPECT_THAT(Problems(Whole("<tt:Port>32000</tt:Port>", ""), Record("H264")),
              Contains(HasSubstr("TTL': This element is not expected")));
  EXPECT_THAT(Problems("", Record("JPEG")), Contains(HasSubstr("Missing child element(s)")));
}

TEST_F(VideoSetSchema, FrameRateThatIsNoWholeNumberIsSentAllTheSame) {
  EXPECT_THAT(Problems(kWhole, Record("H264", "29.97")), Contains(HasSubstr("'29.97' is not a valid value")));
}

}  // namespace
}  // namespace testsupport
