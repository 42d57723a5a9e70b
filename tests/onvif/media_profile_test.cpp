// One media profile: read, create, delete, bind.

#include <gmock/gmock.h>

#include "onvif/onvifmedia.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

/// The request of an operation whose one argument is a profile token.
std::string AskWithToken(const std::string& operation, const std::string& token) {
  return "<" + operation + R"( xmlns="http://www.onvif.org/ver10/media/wsdl"><ProfileToken>)" + token +
         "</ProfileToken></" + operation + ">";
}

OVF_MED_PROFILE OldProfile() {
  OVF_MED_PROFILE profile;
  profile.strToken = "old token";
  profile.strName = "old name";
  profile.strPtzToken = "old ptz";
  profile.VdoConf = {"old vs", "old ve", "old enc", "old w", "old h", "old fps", "old q", "r1", "r2", "r3"};
  profile.AudConf = {"old as", "old ae", "old aenc", "old rate", "old khz"};
  return profile;
}

std::string Texts(const OVF_MED_VDO_CONF& conf) {
  return conf.strSourceToken + "|" + conf.strToken + "|" + conf.strEncoding + "|" + conf.strWidth + "|" +
         conf.strHeight + "|" + conf.strFrameRateLimit + "|" + conf.strQuality;
}

std::string Texts(const OVF_MED_AUD_CONF& conf) {
  return conf.strSourceToken + "|" + conf.strToken + "|" + conf.strEncoding + "|" + conf.strBitrate + "|" +
         conf.strSampleRate;
}

constexpr char kOldVideo[] = "old vs|old ve|old enc|old w|old h|old fps|old q";
constexpr char kOldAudio[] = "old as|old ae|old aenc|old rate|old khz";

constexpr char kVideoEncoder[] =
    "<tt:VideoEncoderConfiguration token='ve'><tt:Encoding>H264</tt:Encoding><tt:Resolution><tt:Width>640</tt:Width>"
    "<tt:Height>360</tt:Height></tt:Resolution><tt:Quality>3.5</tt:Quality><tt:RateControl>"
    "<tt:FrameRateLimit>15</tt:FrameRateLimit></tt:RateControl></tt:VideoEncoderConfiguration>";
constexpr char kAudio[] =
    "<tt:AudioSourceConfiguration token='as'/><tt:AudioEncoderConfiguration token='ae'><tt:Encoding>AAC</tt:Encoding>"
    "</tt:AudioEncoderConfiguration>";

class GetProfile : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF Ask(const std::string& configurations) {
    m_camera.Answer(
        Reply::Ok(Envelope("<trt:GetProfileResponse><trt:Profile token='from the camera'>"
                           "<tt:Name>camera's name</tt:Name>" +
                           configurations + "</trt:Profile></trt:GetProfileResponse>")));
    return m_service.GetProfile("tok", m_profile);
  }

  OVF_MED_PROFILE m_profile = OldProfile();
};

TEST_F(GetProfile, EveryBoundConfigurationIsRead) {
  EXPECT_EQ(Ask(std::string("<tt:VideoSourceConfiguration token='vs'/>") + kVideoEncoder + kAudio +
                "<tt:PTZConfiguration token='ptz'/>"),
            RET_ONVIF_OK);
  ExpectAsked({AskWithToken("GetProfile", "tok")});
  EXPECT_EQ(m_profile.strPtzToken, "ptz");
  EXPECT_EQ(Texts(m_profile.VdoConf), "vs|ve|H264|640|360|15|3.5");
  EXPECT_EQ(Texts(m_profile.AudConf), "as|ae|AAC|old rate|old khz");
}

TEST_F(GetProfile, TokenIsTheArgumentAndTheNameIsNotRead) {
  EXPECT_EQ(Ask(""), RET_ONVIF_OK);
  EXPECT_EQ(m_profile.strToken, "tok");
  EXPECT_EQ(m_profile.strName, "old name");
}

TEST_F(GetProfile, TokenIsCopiedAlsoWhenTheRequestFailsAndNothingElseIsTouched) {
  m_camera.Answer(Reply::Ok(FaultEnvelope("ter:NoProfile", "gone")));
  EXPECT_EQ(m_service.GetProfile("tok", m_profile), RET_ONVIF_SOAP_FAULT);
  ExpectAsked({AskWithToken("GetProfile", "tok")});
  EXPECT_EQ(m_profile.strToken, "tok");
  EXPECT_EQ(m_profile.strPtzToken, "old ptz");
  EXPECT_EQ(Texts(m_profile.VdoConf), kOldVideo);
  EXPECT_EQ(Texts(m_profile.AudConf), kOldAudio);
}

TEST_F(GetProfile, RecordsOwnTokenMayBeTheArgument) {
  m_camera.Answer(Reply::Ok(Envelope("")));
  EXPECT_EQ(m_service.GetProfile(m_profile.strToken, m_profile), RET_ONVIF_OK);
  ExpectAsked({AskWithToken("GetProfile", "old token")});
  EXPECT_EQ(m_profile.strToken, "old token");
}

TEST_F(GetProfile, MissingPtzAndVideoSourceLeaveTheirFields) {
  EXPECT_EQ(Ask(kVideoEncoder), RET_ONVIF_OK);
  EXPECT_EQ(m_profile.strPtzToken, "old ptz");
  EXPECT_EQ(m_profile.VdoConf.strSourceToken, "old vs");
}

TEST_F(GetProfile, PtzAndVideoSourceWithoutTokenLeaveTheirFields) {
  EXPECT_EQ(Ask("<tt:PTZConfiguration/><tt:VideoSourceConfiguration/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_profile.strPtzToken, "old ptz");
  EXPECT_EQ(m_profile.VdoConf.strSourceToken, "old vs");
}

TEST_F(GetProfile, WithoutVideoEncoderTheOtherPartsAreStillRead) {
  EXPECT_EQ(
      Ask(std::string("<tt:VideoSourceConfiguration token='vs'/>") + kAudio + "<tt:PTZConfiguration token='ptz'/>"),
      RET_ONVIF_OK);
  EXPECT_EQ(m_profile.strPtzToken, "ptz");
  EXPECT_EQ(Texts(m_profile.VdoConf), "vs||old enc|old w|old h|old fps|old q")
      << "the look-up clears the encoder's token, the other texts stay";
  EXPECT_EQ(Texts(m_profile.AudConf), "as|ae|AAC|old rate|old khz");
}

/// What a video encoder lacks, and what is left of the record then: the texts before it are read, its own is cleared
/// by the failed look-up, those behind it and the audio part are not reached.
struct LackCase {
  const char* from;
  const char* to;
  const char* texts;
};

TEST_F(GetProfile, VideoEncoderThatLacksATextEndsTheReadingBeforeTheAudioPart) {
  const LackCase cases[] = {
      {"<tt:Encoding>", "</tt:Encoding>", "old vs|ve||old w|old h|old fps|old q"},
      {"<tt:Width>", "</tt:Width>", "old vs|ve|H264||old h|old fps|old q"},
      {"<tt:Height>", "</tt:Height>", "old vs|ve|H264|640||old fps|old q"},
      {"<tt:Quality>", "</tt:Quality>", "old vs|ve|H264|640|360|old fps|"},
      {"<tt:RateControl>", "</tt:RateControl>", "old vs|ve|H264|640|360||3.5"},
  };
  for (const LackCase& lack : cases) {
    std::string encoder = kVideoEncoder;
    const std::size_t start = encoder.find(lack.from);
    encoder.erase(start, encoder.find(lack.to) + std::string(lack.to).size() - start);
    m_profile = OldProfile();
    EXPECT_EQ(Ask(encoder + kAudio), RET_ONVIF_OK) << encoder;
    EXPECT_EQ(Texts(m_profile.VdoConf), lack.texts) << encoder;
    EXPECT_EQ(Texts(m_profile.AudConf), kOldAudio) << encoder;
  }
}

TEST_F(GetProfile, EncoderTextsAreSearchedInTheWholeAnswer) {
  m_camera.Answer(Reply::Ok(Envelope(
      std::string("<tt:VideoEncoderConfiguration><tt:Encoding>JPEG</tt:Encoding></tt:VideoEncoderConfiguration>"
                  "<trt:GetProfileResponse><trt:Profile>") +
      kVideoEncoder + "</trt:Profile></trt:GetProfileResponse>")));
  EXPECT_EQ(m_service.GetProfile("tok", m_profile), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_profile.VdoConf), "old vs|ve|JPEG|640|360|15|3.5");
}

TEST_F(GetProfile, EmptyEncoderTextsAreTexts) {
  EXPECT_EQ(Ask("<tt:VideoEncoderConfiguration token=''><tt:Encoding/><tt:Resolution><tt:Width/><tt:Height/>"
                "</tt:Resolution><tt:Quality/><tt:RateControl><tt:FrameRateLimit/></tt:RateControl>"
                "</tt:VideoEncoderConfiguration><tt:AudioEncoderConfiguration token='ae'/>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_profile.VdoConf), "old vs||||||");
  EXPECT_EQ(Texts(m_profile.AudConf), "|ae||old rate|old khz");
}

TEST_F(GetProfile, WithoutAudioEncoderItsEncodingStays) {
  EXPECT_EQ(Ask("<tt:AudioSourceConfiguration token='as'/>"), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_profile.AudConf), "as||old aenc|old rate|old khz");
}

TEST_F(GetProfile, ConfigurationsOutsideTheProfileDoNotCount) {
  m_camera.Answer(
      Reply::Ok(Envelope("<tt:PTZConfiguration token='x'/><tt:AudioEncoderConfiguration token='x'/>"
                         "<trt:GetProfileResponse><trt:Profile/></trt:GetProfileResponse>")));
  EXPECT_EQ(m_service.GetProfile("tok", m_profile), RET_ONVIF_OK);
  EXPECT_EQ(m_profile.strPtzToken, "old ptz");
  EXPECT_EQ(m_profile.AudConf.strToken, "");
}

using CreateProfile = ServiceTest<OnvifMediaService>;

constexpr char kAskCreate[] =
    R"(<CreateProfile xmlns="http://www.onvif.org/ver10/media/wsdl"><Name>QarnLiveProfile</Name></CreateProfile>)";

TEST_F(CreateProfile, TokenOfTheNewProfileIsReadAndNothingElse) {
  OVF_MED_PROFILE profile = OldProfile();
  m_camera.Answer(
      Reply::Ok(Envelope("<trt:CreateProfileResponse><trt:Profile token='new' fixed='false'>"
                         "<tt:Name>QarnLiveProfile</tt:Name></trt:Profile></trt:CreateProfileResponse>")));
  EXPECT_EQ(m_service.CreateProfile("QarnLiveProfile", profile), RET_ONVIF_OK);
  ExpectAsked({kAskCreate});
  EXPECT_EQ(profile.strToken, "new");
  EXPECT_EQ(profile.strName, "old name");
}

TEST_F(CreateProfile, AnswerWithoutTokenIsASuccessWithAnEmptyToken) {
  OVF_MED_PROFILE profile = OldProfile();
  m_camera.Answer(Reply::Ok(Envelope("<trt:CreateProfileResponse><trt:Profile/></trt:CreateProfileResponse>")));
  EXPECT_EQ(m_service.CreateProfile("QarnLiveProfile", profile), RET_ONVIF_OK);
  EXPECT_EQ(profile.strToken, "");
}

TEST_F(CreateProfile, FailedRequestLeavesTheToken) {
  OVF_MED_PROFILE profile = OldProfile();
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:MaxNVTProfiles", "full")));
  EXPECT_EQ(m_service.CreateProfile("QarnLiveProfile", profile), RET_ONVIF_SOAP_FAULT);
  ExpectAsked({kAskCreate});
  EXPECT_EQ(profile.strToken, "old token");
}

using DeleteProfile = ServiceTest<OnvifMediaService>;

TEST_F(DeleteProfile, AsksWithTheTokenAndAnswersTheExchangesResult) {
  m_camera.Answer(Reply::Ok(Envelope("<trt:DeleteProfileResponse/>")));
  EXPECT_EQ(m_service.DeleteProfile("p1"), RET_ONVIF_OK);
  m_camera.Answer(Reply::Ok(FaultEnvelope("ter:NoProfile", "gone")));
  EXPECT_EQ(m_service.DeleteProfile(""), RET_ONVIF_SOAP_FAULT);
  m_camera.Answer(Reply::Status(401));
  EXPECT_EQ(m_service.DeleteProfile("p3"), RET_ONVIF_NOT_AUTHORIZED);
  ExpectAsked(
      {AskWithToken("DeleteProfile", "p1"), AskWithToken("DeleteProfile", ""), AskWithToken("DeleteProfile", "p3")});
}

class GetCompatibleAudioSourceConfigurations : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF Ask(Reply reply) {
    m_camera.Answer(std::move(reply));
    const RET_ONVIF result = m_service.GetCompatibleAudioSourceConfigurations("tok", m_source);
    ExpectAsked({AskWithToken("GetCompatibleAudioSourceConfigurations", "tok")});
    return result;
  }

  std::string m_source = "old";
};

TEST_F(GetCompatibleAudioSourceConfigurations, FirstConfigurationsTokenIsRead) {
  EXPECT_EQ(Ask(Reply::Ok(Envelope("<trt:GetCompatibleAudioSourceConfigurationsResponse>"
                                   "<trt:Configurations token='one'/><trt:Configurations token='two'/>"
                                   "</trt:GetCompatibleAudioSourceConfigurationsResponse>"))),
            RET_ONVIF_OK);
  EXPECT_EQ(m_source, "one");
}

TEST_F(GetCompatibleAudioSourceConfigurations, AnswerWithoutConfigurationIsASuccessWithAnEmptyToken) {
  EXPECT_EQ(Ask(Reply::Ok(Envelope("<trt:GetCompatibleAudioSourceConfigurationsResponse/>"))), RET_ONVIF_OK);
  EXPECT_EQ(m_source, "");
}

TEST_F(GetCompatibleAudioSourceConfigurations, FailedRequestLeavesTheToken) {
  EXPECT_EQ(Ask(Reply::Ok(FaultEnvelope("ter:AudioNotSupported", "no"))), RET_ONVIF_SOAP_FAULT);
  EXPECT_EQ(m_source, "old");
}

using BindOperation = RET_ONVIF (OnvifMediaService::*)(std::string, std::string);

class BindOperations : public ServiceTest<OnvifMediaService> {
 protected:
  void ExpectBinds(const std::string& name, BindOperation operation) {
    m_camera.Answer(Reply::Ok(Envelope("<trt:" + name + "Response/>")));
    EXPECT_EQ((m_service.*operation)("prof", "conf"), RET_ONVIF_OK);
    m_camera.Answer(Reply::Ok(FaultEnvelope("ter:NoConfig", "none")));
    EXPECT_EQ((m_service.*operation)("", ""), RET_ONVIF_SOAP_FAULT);
    const std::string start = "<" + name + R"( xmlns="http://www.onvif.org/ver10/media/wsdl"><ProfileToken>)";
    const std::string end = "</ConfigurationToken></" + name + ">";
    ExpectAsked({start + "prof</ProfileToken><ConfigurationToken>conf" + end,
                 start + "</ProfileToken><ConfigurationToken>" + end});
  }
};

TEST_F(BindOperations, AddPTZConfiguration) {
  ExpectBinds("AddPTZConfiguration", &OnvifMediaService::AddPTZConfiguration);
}

TEST_F(BindOperations, AddVideoEncoderConfiguration) {
  ExpectBinds("AddVideoEncoderConfiguration", &OnvifMediaService::AddVideoEncoderConfiguration);
}

TEST_F(BindOperations, AddAudioEncoderConfiguration) {
  ExpectBinds("AddAudioEncoderConfiguration", &OnvifMediaService::AddAudioEncoderConfiguration);
}

TEST_F(BindOperations, AddAudioSourceConfiguration) {
  ExpectBinds("AddAudioSourceConfiguration", &OnvifMediaService::AddAudioSourceConfiguration);
}

TEST_F(BindOperations, AddVideoSourceConfiguration) {
  ExpectBinds("AddVideoSourceConfiguration", &OnvifMediaService::AddVideoSourceConfiguration);
}

TEST(MediaRecords, FreshProfileIsEmptyInEveryText) {
  const OVF_MED_PROFILE profile;
  EXPECT_EQ(profile.strToken + profile.strName + profile.strPtzToken, "");
  EXPECT_EQ(Texts(profile.VdoConf), "||||||");
  EXPECT_EQ(Texts(profile.AudConf), "||||");
}

TEST(MediaRecords, FieldsStandInTheirOrder) {
  const OVF_MED_PROFILE profile;
  EXPECT_EQ(static_cast<const void*>(&profile), static_cast<const void*>(&profile.strToken));
  EXPECT_EQ(static_cast<const void*>(&profile.strToken + 1), static_cast<const void*>(&profile.strName));
  EXPECT_EQ(static_cast<const void*>(&profile.strToken + 2), static_cast<const void*>(&profile.strPtzToken));
  EXPECT_EQ(static_cast<const void*>(&profile.strToken + 3), static_cast<const void*>(&profile.VdoConf));
  EXPECT_EQ(static_cast<const void*>(&profile.VdoConf + 1), static_cast<const void*>(&profile.AudConf));
  EXPECT_EQ(static_cast<const void*>(&profile.VdoConf), static_cast<const void*>(&profile.VdoConf.strSourceToken));
  EXPECT_EQ(static_cast<const void*>(&profile.AudConf), static_cast<const void*>(&profile.AudConf.strSourceToken));
}

}  // namespace
}  // namespace testsupport
