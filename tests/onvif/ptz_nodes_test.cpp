// Nodes, configurations and spaces of the PTZ client.

#include "onvif/onvifptz.h"
#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

class GetNodes : public ServiceTest<OnvifPtzService> {
 protected:
  RET_ONVIF Ask(const std::string& body) {
    m_camera.Answer(Reply::Ok(Envelope(body)));
    return m_service.GetNodes(m_nodes);
  }

  OVF_PTZ_NODES m_nodes{"old presets", "old home"};
};

TEST_F(GetNodes, PresetCountAndHomeAreTheTextsOfTheFirstNode) {
  EXPECT_EQ(Ask("<tptz:GetNodesResponse><tptz:PTZNode token='n1'><tt:Name>dome</tt:Name>"
                "<tt:MaximumNumberOfPresets> 256</tt:MaximumNumberOfPresets><tt:HomeSupported>true</tt:HomeSupported>"
                "</tptz:PTZNode><tptz:PTZNode><tt:MaximumNumberOfPresets>8</tt:MaximumNumberOfPresets>"
                "<tt:HomeSupported>false</tt:HomeSupported></tptz:PTZNode></tptz:GetNodesResponse>"),
            RET_ONVIF_OK);
  ExpectAsked({"<GetNodes " + kPtz20 + " />"});
  EXPECT_EQ(m_nodes.strMaxPresets, " 256");
  EXPECT_EQ(m_nodes.strHomeSupported, "true");
}

TEST_F(GetNodes, VersionOneZeroIsAskedAndReadInItsNamespace) {
  m_service.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  m_camera.Answer(
      Reply::Ok(Envelope("<tptz:PTZNode><tt:HomeSupported>true</tt:HomeSupported></tptz:PTZNode>", kPtz10Namespace)));
  EXPECT_EQ(m_service.GetNodes(m_nodes), RET_ONVIF_OK);
  ExpectAsked({"<GetNodes " + kPtz10 + " />"});
  EXPECT_EQ(m_nodes.strHomeSupported, "true");
}

TEST_F(GetNodes, MissingElementsLeaveTheirFieldsEmpty) {
  EXPECT_EQ(Ask("<tptz:GetNodesResponse><tptz:PTZNode><tt:MaximumNumberOfPresets>8</tt:MaximumNumberOfPresets>"
                "</tptz:PTZNode></tptz:GetNodesResponse>"),
            RET_ONVIF_OK);
  EXPECT_EQ(m_nodes.strMaxPresets, "8");
  EXPECT_EQ(m_nodes.strHomeSupported, "");
  m_nodes = {"old", "old"};
  EXPECT_EQ(Ask("<tptz:GetNodesResponse/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_nodes.strMaxPresets, "");
  EXPECT_EQ(m_nodes.strHomeSupported, "");
}

TEST_F(GetNodes, PresetCountCountsAnywhereAndHomeOnlyBelowANode) {
  EXPECT_EQ(Ask("<tt:HomeSupported>true</tt:HomeSupported><tt:MaximumNumberOfPresets>5</tt:MaximumNumberOfPresets>"
                "<tptz:PTZNode><tt:Extension><tt:HomeSupported>false</tt:HomeSupported></tt:Extension></tptz:PTZNode>"),
            RET_ONVIF_OK);
  EXPECT_EQ(m_nodes.strMaxPresets, "5");
  EXPECT_EQ(m_nodes.strHomeSupported, "false");
}

TEST_F(GetNodes, FailedExchangeLeavesTheRecord) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetNodes(m_nodes), result) << reply.bytes;
    EXPECT_EQ(m_nodes.strMaxPresets, "old presets") << reply.bytes;
    EXPECT_EQ(m_nodes.strHomeSupported, "old home") << reply.bytes;
  }
}

class GetConfigurations : public ServiceTest<OnvifPtzService> {
 protected:
  RET_ONVIF Ask(const std::string& configurations) {
    m_camera.Answer(
        Reply::Ok(Envelope("<tptz:GetConfigurationsResponse>" + configurations + "</tptz:GetConfigurationsResponse>")));
    return m_service.GetConfigurations(m_conf);
  }

  OVF_PTZ_CONF m_conf{"old"};
};

TEST_F(GetConfigurations, TokenOfTheFirstConfigurationIsRead) {
  EXPECT_EQ(Ask("<tptz:PTZConfiguration token='c1'/><tptz:PTZConfiguration token='c2'/>"), RET_ONVIF_OK);
  ExpectAsked({"<GetConfigurations " + kPtz20 + " />"});
  EXPECT_EQ(m_conf.strToken, "c1");
}

TEST_F(GetConfigurations, ElementNamedInThePluralYieldsItsToken) {
  EXPECT_EQ(Ask("<tptz:PTZConfigurations token='plural'/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_conf.strToken, "plural");
}

TEST_F(GetConfigurations, SingularGoesBeforePluralWhereverItStands) {
  EXPECT_EQ(Ask("<tptz:PTZConfigurations token='plural'/><tptz:PTZConfiguration token='singular'/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_conf.strToken, "singular");
}

TEST_F(GetConfigurations, OnlyTheFirstNodeOfEachNameIsLookedAt) {
  EXPECT_EQ(Ask("<tptz:PTZConfiguration/><tptz:PTZConfiguration token='second'/><tptz:PTZConfigurations token='p'/>"),
            RET_ONVIF_OK);
  EXPECT_EQ(m_conf.strToken, "p");
  m_conf.strToken = "old";
  EXPECT_EQ(Ask("<tptz:PTZConfiguration/><tptz:PTZConfiguration token='second'/>"), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_conf.strToken, "old");
}

TEST_F(GetConfigurations, EmptyTokenIsAToken) {
  EXPECT_EQ(Ask("<tptz:PTZConfiguration token=''/><tptz:PTZConfigurations token='p'/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_conf.strToken, "");
}

TEST_F(GetConfigurations, AnswerWithoutTokenIsInvalidAndLeavesTheRecord) {
  for (const char* configurations :
       {"", "<tptz:PTZConfiguration/>", "<tt:PTZConfiguration token='other namespace'/>"}) {
    EXPECT_EQ(Ask(configurations), RET_ONVIF_INVALID_ARG) << configurations;
    EXPECT_EQ(m_conf.strToken, "old") << configurations;
  }
}

TEST_F(GetConfigurations, FailedExchangeLeavesTheRecord) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetConfigurations(m_conf), result) << reply.bytes;
    EXPECT_EQ(m_conf.strToken, "old") << reply.bytes;
  }
}

constexpr char kContinuousPanTilt[] =
    "<tt:ContinuousPanTiltVelocitySpace><tt:URI>cpt</tt:URI><tt:XRange><tt:Min>-1</tt:Min><tt:Max>1</tt:Max>"
    "</tt:XRange><tt:YRange><tt:Min>-2</tt:Min><tt:Max>2</tt:Max></tt:YRange></tt:ContinuousPanTiltVelocitySpace>";
constexpr char kRelativePanTilt[] =
    "<tt:RelativePanTiltTranslationSpace><tt:URI>rpt</tt:URI><tt:XRange><tt:Min>-10</tt:Min><tt:Max>10</tt:Max>"
    "</tt:XRange><tt:YRange><tt:Min>-20</tt:Min><tt:Max>20</tt:Max></tt:YRange></tt:RelativePanTiltTranslationSpace>";
constexpr char kContinuousZoom[] =
    "<tt:ContinuousZoomVelocitySpace><tt:URI>cz</tt:URI><tt:XRange><tt:Min>-3</tt:Min><tt:Max>3</tt:Max></tt:XRange>"
    "</tt:ContinuousZoomVelocitySpace>";
constexpr char kRelativeZoom[] =
    "<tt:RelativeZoomTranslationSpace><tt:URI>rz</tt:URI><tt:XRange><tt:Min>-30</tt:Min><tt:Max>30</tt:Max>"
    "</tt:XRange></tt:RelativeZoomTranslationSpace>";
/// Spaces that the driver does not use.
constexpr char kOtherSpaces[] =
    "<tt:AbsolutePanTiltPositionSpace><tt:URI>apt</tt:URI><tt:XRange><tt:Min>-9</tt:Min><tt:Max>9</tt:Max></tt:XRange>"
    "</tt:AbsolutePanTiltPositionSpace><tt:PanTiltSpeedSpace><tt:URI>s</tt:URI></tt:PanTiltSpeedSpace>";

std::string Texts(const OVF_PTZ_SPACE& space) {
  return std::string(space.blContinuous ? "continuous" : "relative") + "|" + space.strPanTiltUri + "|" + space.strXMin +
         "|" + space.strXMax + "|" + space.strYMin + "|" + space.strYMax + "|" + space.strZoomUri + "|" +
         space.strZMin + "|" + space.strZMax;
}

class GetConfigurationOptions : public ServiceTest<OnvifPtzService> {
 protected:
  RET_ONVIF Ask(const std::string& spaces) { return AskBody("<tt:Spaces>" + spaces + "</tt:Spaces>"); }

  RET_ONVIF AskBody(const std::string& options) {
    m_camera.Answer(
        Reply::Ok(Envelope("<tptz:GetConfigurationOptionsResponse><tptz:PTZConfigurationOptions>" + options +
                           "</tptz:PTZConfigurationOptions></tptz:GetConfigurationOptionsResponse>")));
    return m_service.GetConfigurationOptions("conf", m_space);
  }

  OVF_PTZ_SPACE m_space;
};

TEST_F(GetConfigurationOptions, ContinuousSpacesAreChosenBeforeRelativeOnes) {
  EXPECT_EQ(Ask(std::string(kOtherSpaces) + kRelativePanTilt + kRelativeZoom + kContinuousPanTilt + kContinuousZoom),
            RET_ONVIF_OK);
  ExpectAsked({"<GetConfigurationOptions " + kPtz20 +
               "><ConfigurationToken>conf</ConfigurationToken></GetConfigurationOptions>"});
  EXPECT_EQ(Texts(m_space), "continuous|cpt|-1|1|-2|2|cz|-3|3");
}

TEST_F(GetConfigurationOptions, EveryMixOfSpacesYieldsItsChoice) {
  const std::pair<std::string, const char*> mixes[] = {
      {kOtherSpaces, "relative||||||||"},
      {std::string(kRelativePanTilt) + kRelativeZoom, "relative|rpt|-10|10|-20|20|rz|-30|30"},
      {std::string(kRelativePanTilt) + kContinuousZoom, "continuous|rpt|-10|10|-20|20|cz|-3|3"},
      {std::string(kContinuousPanTilt) + kRelativeZoom, "continuous|cpt|-1|1|-2|2|rz|-30|30"},
      {kContinuousPanTilt, "continuous|cpt|-1|1|-2|2|||"},
      {kRelativePanTilt, "relative|rpt|-10|10|-20|20|||"},
      {kContinuousZoom, "continuous||||||cz|-3|3"},
      {kRelativeZoom, "relative||||||rz|-30|30"},
  };
  for (const auto& [spaces, texts] : mixes) {
    m_space = OVF_PTZ_SPACE();
    EXPECT_EQ(Ask(spaces), RET_ONVIF_OK) << spaces;
    EXPECT_EQ(Texts(m_space), texts) << spaces;
  }
}

TEST_F(GetConfigurationOptions, RangesOfSpacesThatWereNotChosenKeepWhatTheyHeld) {
  m_space = {true, "old", "1", "2", "3", "4", "old", "5", "6"};
  EXPECT_EQ(Ask(""), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "relative||1|2|3|4||5|6");
}

TEST_F(GetConfigurationOptions, MissingRangesOfAChosenSpaceAreEmpty) {
  m_space = {true, "old", "1", "2", "3", "4", "old", "5", "6"};
  EXPECT_EQ(Ask("<tt:RelativePanTiltTranslationSpace><tt:URI>rpt</tt:URI><tt:XRange><tt:Max>7</tt:Max></tt:XRange>"
                "</tt:RelativePanTiltTranslationSpace><tt:RelativeZoomTranslationSpace><tt:URI>rz</tt:URI>"
                "</tt:RelativeZoomTranslationSpace>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "relative|rpt||7|||rz||");
}

TEST_F(GetConfigurationOptions, EmptyUriCountsAsFound) {
  EXPECT_EQ(Ask(std::string("<tt:ContinuousPanTiltVelocitySpace><tt:URI/></tt:ContinuousPanTiltVelocitySpace>") +
                kRelativePanTilt),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "continuous||||||||");
}

TEST_F(GetConfigurationOptions, SpaceWithoutUriIsNoSpace) {
  EXPECT_EQ(Ask(std::string("<tt:ContinuousPanTiltVelocitySpace><tt:XRange><tt:Min>5</tt:Min></tt:XRange>"
                            "</tt:ContinuousPanTiltVelocitySpace>") +
                kRelativePanTilt),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "relative|rpt|-10|10|-20|20|||");
}

TEST_F(GetConfigurationOptions, RangesAreSearchedInTheWholeAnswerAndTheFirstOneCounts) {
  EXPECT_EQ(AskBody("<tt:ContinuousPanTiltVelocitySpace><tt:XRange><tt:Min>stray</tt:Min></tt:XRange>"
                    "</tt:ContinuousPanTiltVelocitySpace><tt:Spaces>" +
                    std::string(kContinuousPanTilt) + "</tt:Spaces>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "continuous|cpt|stray|1|-2|2|||");
}

TEST_F(GetConfigurationOptions, SpacesOutsideTheSpacesElementAreNotChosen) {
  EXPECT_EQ(AskBody(std::string(kContinuousPanTilt) + "<tt:Spaces>" + kRelativeZoom + "</tt:Spaces>"), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "relative||||||rz|-30|30");
}

TEST_F(GetConfigurationOptions, TextsAreKeptAsTheyStand) {
  EXPECT_EQ(Ask("<tt:ContinuousZoomVelocitySpace><tt:URI> u </tt:URI><tt:XRange><tt:Min>-1,5e9</tt:Min>"
                "<tt:Max>99999999999</tt:Max></tt:XRange></tt:ContinuousZoomVelocitySpace>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "continuous|||||| u |-1,5e9|99999999999");
}

TEST_F(GetConfigurationOptions, VersionOneZeroIsAskedAndReadInItsNamespace) {
  m_service.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  EXPECT_EQ(Ask(kContinuousPanTilt), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "relative||||||||") << "an answer in the ver20 namespace";
  m_camera.Answer(Reply::Ok(Envelope("<tptz:GetConfigurationOptionsResponse><tptz:PTZConfigurationOptions><tt:Spaces>" +
                                         std::string(kContinuousZoom) +
                                         "</tt:Spaces></tptz:PTZConfigurationOptions>"
                                         "</tptz:GetConfigurationOptionsResponse>",
                                     kPtz10Namespace)));
  EXPECT_EQ(m_service.GetConfigurationOptions("a&b", m_space), RET_ONVIF_OK);
  EXPECT_EQ(Texts(m_space), "continuous||||||cz|-3|3");
  const std::string start = "<GetConfigurationOptions " + kPtz10 + "><ConfigurationToken>";
  const std::string end = "</ConfigurationToken></GetConfigurationOptions>";
  ExpectAsked({start + "conf" + end, start + "a&b" + end});
}

TEST_F(GetConfigurationOptions, FailedExchangeTouchesNothingNotEvenTheFlag) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_space = {true, "u", "1", "2", "3", "4", "v", "5", "6"};
    m_camera.Answer(reply);
    EXPECT_EQ(m_service.GetConfigurationOptions("", m_space), result) << reply.bytes;
    EXPECT_EQ(Texts(m_space), "continuous|u|1|2|3|4|v|5|6") << reply.bytes;
  }
}

TEST(PtzSpace, FreshRecordIsRelativeAndEmpty) {
  EXPECT_EQ(Texts(OVF_PTZ_SPACE()), "relative||||||||");
}

}  // namespace
}  // namespace testsupport
