// Update of an audio encoder.

#include <gmock/gmock.h>

#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/update_test.h"
#include "tests/support/envelope.h"
#include "tests/support/schema_set.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

/// The Body of one profile whose audio encoder has the token "ae1" and these elements.
std::string Profile(std::string_view elements) {
  return "<trt:GetProfilesResponse><trt:Profiles token='p'><tt:AudioEncoderConfiguration token='ae1'>" +
         std::string(elements) + "</tt:AudioEncoderConfiguration></trt:Profiles></trt:GetProfilesResponse>";
}

std::string SetAudio(const std::string& elements, const std::string& token = "ae1") {
  return SetBody("SetAudioEncoderConfiguration", token, elements);
}

OVF_MED_AUD_CONF AudioRecord(const std::string& token = "ae1") {
  return {"as", token, "AAC", "128", "16"};
}

/// A whole configuration in the order of the schema.
const std::string kWholeAudio = OneLine(R"(
    <tt:Name>Mic &amp; line</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>G711</tt:Encoding>
    <tt:Bitrate>64</tt:Bitrate><tt:SampleRate>8</tt:SampleRate>
    <tt:Multicast><tt:Address><tt:Type>IPv4</tt:Type><tt:IPv4Address>239.0.0.2</tt:IPv4Address></tt:Address>
    <tt:Port>32002</tt:Port><tt:TTL>4</tt:TTL><tt:AutoStart>false</tt:AutoStart></tt:Multicast>
    <tt:SessionTimeout>PT60S</tt:SessionTimeout>)");

class SetAudioEncoder : public UpdateTest {
 protected:
  RET_ONVIF Update(OVF_MED_AUD_CONF conf) { return m_service.SetAudioEncoderConfiguration(conf); }

  /// An update of "ae1" from these profiles, and the elements that it must send.
  void ExpectFrom(const std::string& profiles, const OVF_MED_AUD_CONF& conf, const std::string& sent) {
    AnswerBody(profiles);
    AnswerUpdated();
    EXPECT_EQ(Update(conf), RET_ONVIF_OK) << profiles;
    ExpectReadAndSet({kAskProfiles}, SetAudio(sent, conf.strToken));
  }

  void ExpectFromTemplate(const std::string& elements, const std::string& sent) {
    ExpectFrom(Profile(elements), AudioRecord(), sent);
  }
};

using AudioTemplate = SetAudioEncoder;

TEST_F(AudioTemplate, WholeConfigurationIsSentBackWithTheNewValues) {
  ExpectFromTemplate(
      kWholeAudio,
      Schema("Name", "Mic &amp; line") + Schema("UseCount", "1") + Schema("Encoding", "AAC") +
          Schema("Bitrate", "128") + Schema("SampleRate", "16") +
          Schema("Multicast",
                 "<Address><Type>IPv4</Type><IPv4Address>239.0.0.2</IPv4Address></Address><Port>32002</Port>"
                 "<TTL>4</TTL><AutoStart>false</AutoStart>") +
          Schema("SessionTimeout", "PT60S"));
}

TEST_F(AudioTemplate, OrderOfTheCameraIsKept) {
  ExpectFromTemplate(
      OneLine(R"(
      <tt:SessionTimeout>PT5S</tt:SessionTimeout><tt:SampleRate>8</tt:SampleRate>
      <tt:Multicast><tt:TTL>1</tt:TTL><tt:AutoStart>true</tt:AutoStart>
        <tt:Address><tt:IPv4Address>1.2.3.4</tt:IPv4Address><tt:Type>IPv4</tt:Type></tt:Address>
        <tt:Port>5</tt:Port></tt:Multicast>
      <tt:Bitrate/><tt:Encoding/><tt:UseCount>0</tt:UseCount><tt:Name>n</tt:Name>)"),
      Schema("SessionTimeout", "PT5S") + Schema("SampleRate", "16") +
          Schema("Multicast",
                 "<TTL>1</TTL><AutoStart>true</AutoStart>"
                 "<Address><IPv4Address>1.2.3.4</IPv4Address><Type>IPv4</Type></Address><Port>5</Port>") +
          Schema("Bitrate", "128") + Schema("Encoding", "AAC") + Schema("UseCount", "0") + Schema("Name", "n"));
}

TEST_F(AudioTemplate, ElementsAndAttributesThatAreNotKnownAreLeftOut) {
  ExpectFromTemplate(OneLine(R"(
      <!-- a comment --><tt:Name lang='en'>n<x>ested</x></tt:Name><tt:Quality>1</tt:Quality><tt:H264/>
      <tt:RateControl><tt:BitrateLimit>1</tt:BitrateLimit></tt:RateControl><tt:Resolution/>
      <v:Encoding xmlns:v='urn:vendor'>G711</v:Encoding><tt:Volume>3</tt:Volume>
      <tt:Multicast><tt:Address><tt:Type>IPv6</tt:Type><tt:IPv6Address>ff02::1</tt:IPv6Address></tt:Address>
        <tt:Group/></tt:Multicast>
      <tt:Extension><tt:Bitrate>1</tt:Bitrate></tt:Extension>)"),
                     Schema("Name", "nested") + Schema("Encoding", "AAC") +
                         Schema("Multicast", "<Address><Type>IPv6</Type></Address>"));
}

TEST_F(AudioTemplate, OwnPrefixesOfACameraMakeNoDifference) {
  m_camera.Answer(Reply::Ok(OneLine(R"(
      <e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope' xmlns:tt='urn:vendor'><e:Body>
        <GetProfilesResponse xmlns='http://www.onvif.org/ver10/media/wsdl'><Profiles>
          <a:AudioEncoderConfiguration token='ae1' xmlns:a='http://www.onvif.org/ver10/schema'>
            <a:Bitrate>1</a:Bitrate><Name xmlns=''>plain</Name>
          </a:AudioEncoderConfiguration></Profiles></GetProfilesResponse>
      </e:Body></e:Envelope>)")));
  AnswerUpdated();
  EXPECT_EQ(Update(AudioRecord()), RET_ONVIF_OK);
  ExpectReadAndSet({kAskProfiles}, SetAudio(Schema("Bitrate", "128") + Schema("Name", "plain")));
}

TEST_F(AudioTemplate, PartsOfMulticastThatAreMissingStayMissing) {
  ExpectFromTemplate("<tt:Multicast/>", Schema("Multicast", ""));
  ExpectFromTemplate("<tt:Multicast><tt:Address/><tt:Port>1</tt:Port></tt:Multicast>",
                     Schema("Multicast", "<Address/><Port>1</Port>"));
}

TEST_F(AudioTemplate, TextsAreCopiedWithTheirBlanksAndEscapedAnew) {
  ExpectFromTemplate("\n <tt:Name> &lt;caf\xC3\xA9 <![CDATA[<&]]>\n </tt:Name>\n",
                     Schema("Name", " &lt;caf\xC3\xA9 &lt;&amp;\n "));
}

TEST_F(AudioTemplate, WithoutElementsTheConfigurationIsSentEmpty) {
  ExpectFromTemplate("", "");
}

TEST_F(AudioTemplate, ValuesOfTheRecordAreEscapedAndItIsNotChanged) {
  OVF_MED_AUD_CONF conf{"s", "ae1", "<a&b>", "&amp;", ""};
  AnswerBody(Profile("<tt:Encoding/><tt:Bitrate>1</tt:Bitrate><tt:SampleRate>1</tt:SampleRate>"));
  AnswerUpdated();
  EXPECT_EQ(m_service.SetAudioEncoderConfiguration(conf), RET_ONVIF_OK);
  ExpectReadAndSet({kAskProfiles}, SetAudio(Schema("Encoding", "&lt;a&amp;b&gt;") + Schema("Bitrate", "&amp;amp;") +
                                            Schema("SampleRate", "")));
  EXPECT_EQ(conf.strSourceToken + conf.strToken + conf.strEncoding + conf.strBitrate + conf.strSampleRate,
            "sae1<a&b>&amp;");
}

using AudioChoice = SetAudioEncoder;

const std::string kThreeProfiles = OneLine(R"(
    <trt:GetProfilesResponse>
      <trt:Profiles><tt:AudioEncoderConfiguration token='ae1'><tt:Name>one</tt:Name></tt:AudioEncoderConfiguration>
        </trt:Profiles>
      <trt:Profiles><tt:AudioEncoderConfiguration token='ae2'><tt:Name>two</tt:Name></tt:AudioEncoderConfiguration>
        <tt:AudioEncoderConfiguration token='ae2'><tt:Name>two again</tt:Name></tt:AudioEncoderConfiguration>
        </trt:Profiles>
      <trt:Profiles><tt:AudioEncoderConfiguration><tt:Name>last</tt:Name></tt:AudioEncoderConfiguration></trt:Profiles>
      <trt:Profiles/>
    </trt:GetProfilesResponse>)");

TEST_F(AudioChoice, FirstEncoderWithTheTokenIsTheTemplate) {
  ExpectFrom(kThreeProfiles, AudioRecord("ae1"), Schema("Name", "one"));
  ExpectFrom(kThreeProfiles, AudioRecord("ae2"), Schema("Name", "two"));
}

TEST_F(AudioChoice, LastEncoderIsTheTemplateWhenNoTokenMatchesAndTheRequestNamesTheRecords) {
  for (const char* token : {"ae3", "ae", "ae11", "AE1", " ae1", ""}) {
    ExpectFrom(kThreeProfiles, AudioRecord(token), Schema("Name", "last"));
  }
}

TEST_F(AudioChoice, TokenIsComparedByItsBytes) {
  const std::string profiles =
      "<trt:GetProfilesResponse><trt:Profiles><tt:AudioEncoderConfiguration token='a&amp;&lt;b'><tt:Name>odd</tt:Name>"
      "</tt:AudioEncoderConfiguration><tt:AudioEncoderConfiguration token='z'/></trt:Profiles>"
      "</trt:GetProfilesResponse>";
  AnswerBody(profiles);
  AnswerUpdated();
  EXPECT_EQ(Update(AudioRecord("a&<b")), RET_ONVIF_OK);
  ExpectReadAndSet({kAskProfiles}, SetAudio(Schema("Name", "odd"), "a&amp;&lt;b"));
}

TEST_F(AudioChoice, ThousandsOfProfilesAreSearched) {
  std::string profiles = "<trt:GetProfilesResponse>";
  for (int i = 0; i < 20000; ++i) {
    profiles += "<trt:Profiles><tt:AudioEncoderConfiguration token='t" + std::to_string(i) +
                "'><tt:Bitrate/></tt:AudioEncoderConfiguration></trt:Profiles>";
  }
  ExpectFrom(profiles + "</trt:GetProfilesResponse>", AudioRecord("none"), Schema("Bitrate", "128"));
}

using AudioFailures = SetAudioEncoder;

TEST_F(AudioFailures, CodeOfFailedProfilesComesBackAndNothingIsSent) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(Update(AudioRecord()), result) << reply.bytes;
    ExpectRead({kAskProfiles});
  }
}

TEST_F(AudioFailures, CodeOfTheRefusedUpdateComesBackAndItIsNotTriedAgain) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    AnswerBody(Profile("<tt:Encoding/>"));
    m_camera.Answer(reply);
    EXPECT_EQ(Update(AudioRecord()), result) << reply.bytes;
    ExpectReadAndSet({kAskProfiles}, SetAudio(Schema("Encoding", "AAC")));
  }
}

TEST_F(AudioFailures, ProfilesWithoutAudioEncoderAreASilentSuccessAndNothingIsSent) {
  for (const char* body :
       {"", "<trt:GetProfilesResponse/>",
        "<trt:GetProfilesResponse><trt:Profiles token='p'><tt:VideoEncoderConfiguration token='ae1'/></trt:Profiles>"
        "</trt:GetProfilesResponse>",
        "<tt:AudioEncoderConfiguration token='ae1'/>"}) {
    AnswerBody(body);
    EXPECT_EQ(Update(AudioRecord()), RET_ONVIF_OK) << body;
    ExpectRead({kAskProfiles});
    EXPECT_EQ(SoapLog(), std::vector<std::string>()) << "nothing is logged here";
  }
}

TEST_F(AudioFailures, UserNameThatBreaksTheSkeletonIsAnXmlFailureAndNothingIsSent) {
  for (const char* user : {"a&b", "a<b", "J\xFCrgen", "a\x01"}) {
    CameraAPI driver("127.0.0.1", m_camera.Port(), user, kPassword, "", true);
    m_service.UpdateServiceParam(&driver, kServicePath, "2", "0");
    EXPECT_EQ(Update(AudioRecord()), RET_ONVIF_XML_FAIL) << user;
  }
  ExpectRead({});
}

/// Set requests against the published schemas.
class AudioSetSchema : public SetAudioEncoder {
 protected:
  void SetUp() override {
    if (!SchemaSet::SkipReason().empty()) GTEST_SKIP() << SchemaSet::SkipReason();
  }

  /// What the schemas find wrong with the request from this template.
  std::vector<std::string> Problems(const std::string& elements) {
    AnswerBody(Profile(elements));
    AnswerUpdated();
    EXPECT_EQ(Update(AudioRecord()), RET_ONVIF_OK) << elements;
    return SchemaProblems();
  }
};

TEST_F(AudioSetSchema, TemplateInTheOrderOfTheSchemaGivesAValidRequest) {
  EXPECT_THAT(Problems(kWholeAudio), IsEmpty());
  EXPECT_THAT(Problems(kWholeAudio + "<tt:Extension/><v:Own xmlns:v='urn:vendor'/>"), IsEmpty());
}

// A meant exception: what the camera wrote itself is sent back as it is.
TEST_F(AudioSetSchema, CameraThatBreaksTheSchemaGetsItsOwnOrderAndItsOwnGapsBack) {
  EXPECT_THAT(Problems("<tt:UseCount>1</tt:UseCount>" + kWholeAudio),
              Contains(HasSubstr("UseCount': This element is not expected")));
  EXPECT_THAT(Problems(""), Contains(HasSubstr("Missing child element(s)")));
}

}  // namespace
}  // namespace testsupport
