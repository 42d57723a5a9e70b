// The list of media profiles.

#include <gmock/gmock.h>

#include <list>

#include "onvif/onvifmedia.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kAsk[] = R"(<GetProfiles xmlns="http://www.onvif.org/ver10/media/wsdl" />)";

class GetProfiles : public ServiceTest<OnvifMediaService> {
 protected:
  RET_ONVIF Ask(const std::string& profiles) {
    m_camera.Answer(Reply::Ok(Envelope("<trt:GetProfilesResponse>" + profiles + "</trt:GetProfilesResponse>")));
    return m_service.GetProfiles(m_list);
  }

  /// The list as "token|name|encoder token|encoding|width|height|audio token".
  std::vector<std::string> Listed() const {
    std::vector<std::string> texts;
    for (const OVF_MED_PROFILE& one : m_list) {
      const OVF_MED_VDO_CONF& video = one.VdoConf;
      texts.push_back(one.strToken + "|" + one.strName + "|" + video.strToken + "|" + video.strEncoding + "|" +
                      video.strWidth + "|" + video.strHeight + "|" + one.AudConf.strToken);
    }
    return texts;
  }

  std::list<OVF_MED_PROFILE> m_list;
};

/// A profile with a video encoder of these children.
std::string ProfileWithEncoder(const std::string& children) {
  return "<trt:Profiles token='p'><tt:VideoEncoderConfiguration token='v'>" + children +
         "</tt:VideoEncoderConfiguration></trt:Profiles>";
}

TEST_F(GetProfiles, ProfilesAreListedInTheAnswersOrder) {
  EXPECT_EQ(
      Ask("<trt:Profiles token='one' fixed='true'><tt:Name>Main</tt:Name>"
          "<tt:VideoSourceConfiguration token='vs'><tt:Name>source</tt:Name></tt:VideoSourceConfiguration>"
          "<tt:VideoEncoderConfiguration token='ve'><tt:Name>encoder</tt:Name><tt:Encoding>H264</tt:Encoding>"
          "<tt:Resolution><tt:Width>1920</tt:Width><tt:Height>1080</tt:Height></tt:Resolution>"
          "<tt:Quality>5</tt:Quality></tt:VideoEncoderConfiguration>"
          "<tt:AudioEncoderConfiguration token='ae'><tt:Encoding>G711</tt:Encoding></tt:AudioEncoderConfiguration>"
          "<tt:PTZConfiguration token='ptz'/></trt:Profiles>"
          "<trt:Profiles token='two'><tt:Name> Second &amp; last </tt:Name></trt:Profiles>"),
      RET_ONVIF_OK);
  ExpectAsked({kAsk});
  EXPECT_THAT(Listed(), ElementsAre("one|Main|ve|H264|1920|1080|ae", "two| Second & last |||||"));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(GetProfiles, OnlyTokenEncodingSizeAndAudioTokenAreReadOfTheConfigurations) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><tt:VideoSourceConfiguration token='vs'/><tt:AudioSourceConfiguration "
                "token='as'/><tt:VideoEncoderConfiguration token='v'><tt:Quality>5</tt:Quality><tt:RateControl>"
                "<tt:FrameRateLimit>25</tt:FrameRateLimit></tt:RateControl></tt:VideoEncoderConfiguration>"
                "<tt:AudioEncoderConfiguration token='a'><tt:Encoding>G711</tt:Encoding><tt:Bitrate>64</tt:Bitrate>"
                "</tt:AudioEncoderConfiguration><tt:PTZConfiguration token='ptz'/></trt:Profiles>"),
            RET_ONVIF_OK);
  ASSERT_EQ(m_list.size(), 1U);
  const OVF_MED_PROFILE& profile = m_list.front();
  const std::string unread = profile.strPtzToken + profile.VdoConf.strSourceToken + profile.VdoConf.strQuality +
                             profile.VdoConf.strFrameRateLimit + profile.AudConf.strSourceToken +
                             profile.AudConf.strEncoding + profile.AudConf.strBitrate + profile.AudConf.strSampleRate;
  EXPECT_EQ(unread, "");
}

TEST_F(GetProfiles, AnswerWithoutProfilesIsASuccessThatLeavesTheList) {
  m_list.resize(1);
  m_list.front().strToken = "old";
  EXPECT_EQ(Ask(""), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("old||||||"));
}

TEST_F(GetProfiles, ProfileWithoutTokenIsLeftOut) {
  EXPECT_EQ(Ask("<trt:Profiles token='a'/><trt:Profiles><tt:Name>nobody</tt:Name></trt:Profiles>"
                "<trt:Profiles token='c'/>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("a||||||", "c||||||"));
}

TEST_F(GetProfiles, ProfileWithEmptyTokenIsListed) {
  EXPECT_EQ(Ask("<trt:Profiles token=''/>"), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("||||||"));
}

TEST_F(GetProfiles, TextsOfOneProfileDoNotReachTheNext) {
  EXPECT_EQ(Ask("<trt:Profiles token='a'><tt:Name>A</tt:Name><tt:VideoEncoderConfiguration token='v'>"
                "<tt:Encoding>JPEG</tt:Encoding></tt:VideoEncoderConfiguration></trt:Profiles>"
                "<trt:Profiles token='b'/>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("a|A|v|JPEG|||", "b||||||"));
}

TEST_F(GetProfiles, CalledTwiceOnOneListHoldsEveryProfileTwice) {
  EXPECT_EQ(Ask("<trt:Profiles token='a'/><trt:Profiles token='b'/>"), RET_ONVIF_OK);
  EXPECT_EQ(Ask("<trt:Profiles token='a'/><trt:Profiles token='b'/>"), RET_ONVIF_OK);
  ExpectAsked({kAsk, kAsk});
  EXPECT_THAT(Listed(), ElementsAre("a||||||", "b||||||", "a||||||", "b||||||"));
}

TEST_F(GetProfiles, ChildrenAreKnownByTheirLocalNames) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><Name>bare</Name><q:AudioEncoderConfiguration xmlns:q='urn:q' token='a'/>"
                "<tt:name>lower</tt:name></trt:Profiles>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p|bare|||||a"));
}

TEST_F(GetProfiles, VideoEncoderWithoutTokenIsPassedOver) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><tt:VideoEncoderConfiguration><tt:Encoding>H264</tt:Encoding>"
                "<tt:Resolution/></tt:VideoEncoderConfiguration><tt:Name>after</tt:Name></trt:Profiles>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p|after|||||"));
}

TEST_F(GetProfiles, AudioEncoderWithoutTokenIsPassedOver) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><tt:AudioEncoderConfiguration/><tt:Name>after</tt:Name></trt:Profiles>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p|after|||||"));
}

TEST_F(GetProfiles, WidthAndHeightAreToldApartByPositionAlone) {
  EXPECT_EQ(Ask(ProfileWithEncoder("<tt:Resolution><tt:Height>1080</tt:Height><tt:Width>1920</tt:Width>"
                                   "</tt:Resolution>")),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p||v||1080|1920|"));
}

TEST_F(GetProfiles, BlankBeforeTheWidthIsTakenForIt) {
  EXPECT_EQ(Ask(ProfileWithEncoder("<tt:Resolution>\n  <tt:Width>1920</tt:Width><tt:Height>1080</tt:Height>"
                                   "</tt:Resolution>")),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p||v||\n  |1920|"));
}

TEST_F(GetProfiles, BlankBetweenWidthAndHeightIsTakenForTheHeight) {
  EXPECT_EQ(Ask(ProfileWithEncoder("<tt:Resolution><tt:Width>1920</tt:Width> <tt:Height>1080</tt:Height>"
                                   "</tt:Resolution>")),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p||v||1920| |"));
}

TEST_F(GetProfiles, SizeThatCannotBeReadDropsItsProfileAndEndsTheList) {
  for (const char* resolution : {"<tt:Resolution/>", "<tt:Resolution><tt:Width>1920</tt:Width></tt:Resolution>"}) {
    m_list.clear();
    EXPECT_EQ(Ask("<trt:Profiles token='a'><tt:Name>A</tt:Name></trt:Profiles>" + ProfileWithEncoder(resolution) +
                  "<trt:Profiles token='c'/>"),
              RET_ONVIF_OK);
    EXPECT_THAT(Listed(), ElementsAre("a|A|||||")) << resolution;
  }
}

TEST_F(GetProfiles, EmptyTextsAreTexts) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><tt:Name/><tt:VideoEncoderConfiguration token=''><tt:Encoding/><tt:Resolution>"
                "<tt:Width/><tt:Height/></tt:Resolution></tt:VideoEncoderConfiguration></trt:Profiles>"
                "<trt:Profiles token='q'/>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p||||||", "q||||||"));
}

TEST_F(GetProfiles, LastOfSeveralNamesAndEncodersWins) {
  EXPECT_EQ(Ask("<trt:Profiles token='p'><tt:Name>first</tt:Name><tt:Name>last</tt:Name>"
                "<tt:VideoEncoderConfiguration token='v'/><tt:VideoEncoderConfiguration token='w'/></trt:Profiles>"),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), ElementsAre("p|last|w||||"));
}

TEST_F(GetProfiles, UnprefixedRootIsASuccessThatListsNothing) {
  m_camera.Answer(
      Reply::Ok("<Envelope xmlns='http://www.w3.org/2003/05/soap-envelope'><Body>"
                "<t:Profiles xmlns:t='http://www.onvif.org/ver10/media/wsdl' token='p'/></Body></Envelope>"));
  EXPECT_EQ(m_service.GetProfiles(m_list), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), IsEmpty());
}

TEST_F(GetProfiles, FailedRequestLeavesTheList) {
  m_list.resize(1);
  m_camera.Answer(Reply::Status(401));
  EXPECT_EQ(m_service.GetProfiles(m_list), RET_ONVIF_NOT_AUTHORIZED);
  m_camera.Answer(Reply::Ok(FaultEnvelope("ter:ActionNotSupported", "no")));
  EXPECT_EQ(m_service.GetProfiles(m_list), RET_ONVIF_SOAP_FAULT);
  m_camera.Answer(Reply::Ok("<html>"));
  EXPECT_EQ(m_service.GetProfiles(m_list), RET_ONVIF_SEND_FAIL);
  ExpectAsked({kAsk, kAsk, kAsk});
  EXPECT_THAT(Listed(), ElementsAre("||||||"));
}

}  // namespace
}  // namespace testsupport
