// Presets of the PTZ client.

#include "onvif/onvifptz.h"
#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

std::string AskList(const std::string& nsAttr, const std::string& token) {
  return "<GetPresets " + nsAttr + "><ProfileToken>" + token + "</ProfileToken></GetPresets>";
}

std::string AskSet(const std::string& nsAttr, const std::string& token, const std::string& name) {
  return "<SetPreset " + nsAttr + "><ProfileToken>" + token + "</ProfileToken><PresetName>" + name +
         "</PresetName></SetPreset>";
}

std::string AskRemove(const std::string& nsAttr, const std::string& token, const std::string& preset) {
  return "<RemovePreset " + nsAttr + "><ProfileToken>" + token + "</ProfileToken>" + preset + "</RemovePreset>";
}

std::string AskGoto(const std::string& nsAttr, const std::string& token, const std::string& preset) {
  return "<GotoPreset " + nsAttr + "><ProfileToken>" + token + "</ProfileToken>" + preset +
         R"(<Speed><PanTilt x="1" y="1" xmlns="http://www.onvif.org/ver10/schema"></PanTilt>)"
         R"(<Zoom x="1" xmlns="http://www.onvif.org/ver10/schema"></Zoom></Speed></GotoPreset>)";
}

class PtzPresets : public ServiceTest<OnvifPtzService> {
 protected:
  void UseVersion(const char* major, const char* minor) {
    m_service.UpdateServiceParam(&m_api, kServicePath, major, minor);
  }

  void AnswerEmpty(int times) {
    for (int i = 0; i < times; ++i) m_camera.Answer(Reply::Ok(Envelope("")));
  }

  /// Asks for the presets of "p"; the camera answers with these elements in the namespace of its version.
  RET_ONVIF List(const std::string& presets, std::string_view ptzNamespace = kPtz20Namespace) {
    m_camera.Answer(
        Reply::Ok(Envelope("<tptz:GetPresetsResponse>" + presets + "</tptz:GetPresetsResponse>", ptzNamespace)));
    return m_service.GetPresets("p", m_list);
  }

  /// Tokens and names of the list.
  std::string Listed() const {
    std::string text;
    for (const OVF_PTZ_PRESET_POS& preset : m_list) text += preset.strToken + "=" + preset.strName + ";";
    return text;
  }

  std::list<OVF_PTZ_PRESET_POS> m_list;
  OVF_PTZ_PRESET_POS m_preset{"Gate", "tok7"};
};

using SetPreset = PtzPresets;

TEST_F(SetPreset, SendsTheNameAndNoTokenAndReadsNoneBack) {
  m_camera.Answer(Reply::Ok(
      Envelope("<tptz:SetPresetResponse><tptz:PresetToken>made</tptz:PresetToken></tptz:SetPresetResponse>")));
  EXPECT_EQ(m_service.SetPreset("p", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskSet(kPtz20, "p", "Gate")});
  EXPECT_EQ(m_preset.strToken, "tok7");
  EXPECT_EQ(m_preset.strName, "Gate");
}

TEST_F(SetPreset, IsTheSameForVersionOneZeroInItsNamespace) {
  UseVersion("1", "0");
  AnswerEmpty(1);
  EXPECT_EQ(m_service.SetPreset("", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskSet(kPtz10, "", "Gate")});
}

using GetPresets = PtzPresets;

TEST_F(GetPresets, TokensAndNamesAreReadInTheOrderOfTheAnswerBehindWhatTheListHolds) {
  m_list.push_back({"here before", "0"});
  EXPECT_EQ(List("<tptz:Preset token='9'><tt:Name>Zebra</tt:Name><tt:PTZPosition/></tptz:Preset>"
                 "<tptz:Preset token='1'>\n  <tt:PTZPosition/><tt:Name> Gate </tt:Name>\n</tptz:Preset>"),
            RET_ONVIF_OK);
  ExpectAsked({AskList(kPtz20, "p")});
  EXPECT_EQ(Listed(), "0=here before;9=Zebra;1= Gate ;");
}

TEST_F(GetPresets, PresetWithoutTokenOrNameIsLeftOut) {
  EXPECT_EQ(List("<tptz:Preset><tt:Name>no token</tt:Name></tptz:Preset><tptz:Preset token='no name'/>"
                 "<tptz:Preset token='deep'><tt:PTZPosition><tt:Name>not a child</tt:Name></tt:PTZPosition>"
                 "</tptz:Preset><tptz:Preset token='1'><tt:Name>good</tt:Name></tptz:Preset>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "1=good;");
}

TEST_F(GetPresets, EmptyNameAndEmptyTokenAreTexts) {
  EXPECT_EQ(List("<tptz:Preset token='1'><tt:Name/></tptz:Preset><tptz:Preset token=''><tt:Name>n</tt:Name>"
                 "</tptz:Preset>"),
            RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "1=;=n;");
}

TEST_F(GetPresets, FirstNameOfAPresetCountsInWhateverNamespace) {
  EXPECT_EQ(List("<tptz:Preset token='1'><Name>plain</Name><tt:Name>second</tt:Name></tptz:Preset>"), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "1=plain;");
}

TEST_F(GetPresets, VersionOneZeroIsReadFromPtzPresetElements) {
  UseVersion("1", "0");
  EXPECT_EQ(List("<tptz:PTZPreset token='1'><tt:Name>Gate</tt:Name></tptz:PTZPreset>"
                 "<tptz:Preset token='2'><tt:Name>other</tt:Name></tptz:Preset>",
                 kPtz10Namespace),
            RET_ONVIF_OK);
  ExpectAsked({AskList(kPtz10, "p")});
  EXPECT_EQ(Listed(), "1=Gate;");
}

TEST_F(GetPresets, ElementNameOfTheOtherVersionYieldsAnEmptyList) {
  EXPECT_EQ(List("<tptz:PTZPreset token='1'><tt:Name>Gate</tt:Name></tptz:PTZPreset>"), RET_ONVIF_OK);
  UseVersion("1", "0");
  EXPECT_EQ(List("<tptz:Preset token='1'><tt:Name>Gate</tt:Name></tptz:Preset>", kPtz10Namespace), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "");
}

TEST_F(GetPresets, NamespaceOfTheOtherVersionYieldsAnEmptyList) {
  EXPECT_EQ(List("<tptz:Preset token='1'><tt:Name>Gate</tt:Name></tptz:Preset>", kPtz10Namespace), RET_ONVIF_OK);
  UseVersion("1", "0");
  EXPECT_EQ(List("<tptz:PTZPreset token='1'><tt:Name>Gate</tt:Name></tptz:PTZPreset>"), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "");
}

TEST_F(GetPresets, PresetsOutsideTheResponseDoNotCount) {
  m_camera.Answer(Reply::Ok(Envelope("<tptz:Preset token='1'><tt:Name>n</tt:Name></tptz:Preset>")));
  EXPECT_EQ(m_service.GetPresets("p", m_list), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "");
}

TEST_F(GetPresets, NoPresetsIsASuccess) {
  EXPECT_EQ(List(""), RET_ONVIF_OK);
  EXPECT_EQ(Listed(), "");
}

TEST_F(GetPresets, FailedExchangeAddsNothing) {
  m_camera.Answer(Reply::Status(500, Envelope("<soapenv:Fault/><tptz:GetPresetsResponse><tptz:Preset token='1'>"
                                              "<tt:Name>n</tt:Name></tptz:Preset></tptz:GetPresetsResponse>")));
  EXPECT_EQ(m_service.GetPresets("p", m_list), RET_ONVIF_SOAP_FAULT);
  EXPECT_EQ(Listed(), "");
}

TEST_F(GetPresets, TwentyThousandFactoryPresetsAreAllRead) {
  std::string presets;
  for (int i = 0; i < 20000; ++i) presets += "<tptz:Preset token='t'><tt:Name>n</tt:Name></tptz:Preset>";
  EXPECT_EQ(List(presets), RET_ONVIF_OK);
  EXPECT_EQ(m_list.size(), 20000U);
}

using RemovePreset = PtzPresets;

TEST_F(RemovePreset, SendsTheTokenAlone) {
  AnswerEmpty(2);
  EXPECT_EQ(m_service.RemovePreset("p", m_preset), RET_ONVIF_OK);
  UseVersion("", "");
  EXPECT_EQ(m_service.RemovePreset("p", m_preset), RET_ONVIF_OK);
  const std::string asked = AskRemove(kPtz20, "p", "<PresetToken>tok7</PresetToken>");
  ExpectAsked({asked, asked});
}

TEST_F(RemovePreset, SendsVersionOneZeroTheNameBehindTheToken) {
  UseVersion("1", "0");
  AnswerEmpty(1);
  EXPECT_EQ(m_service.RemovePreset("p", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskRemove(kPtz10, "p", "<PresetToken>tok7</PresetToken><PresetName>Gate</PresetName>")});
}

using GotoPreset = PtzPresets;

TEST_F(GotoPreset, SendsTheTokenAndASpeedWithClosingTags) {
  AnswerEmpty(1);
  EXPECT_EQ(m_service.GotoPreset("p", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskGoto(kPtz20, "p", "<PresetToken>tok7</PresetToken>")});
}

TEST_F(GotoPreset, SendsVersionOneZeroTheNameBehindTheToken) {
  UseVersion("1", "0");
  AnswerEmpty(1);
  EXPECT_EQ(m_service.GotoPreset("p", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskGoto(kPtz10, "p", "<PresetToken>tok7</PresetToken><PresetName>Gate</PresetName>")});
}

TEST_F(GotoPreset, EmptyTokenIsSentAsAnEmptyElement) {
  m_preset.strToken.clear();
  AnswerEmpty(1);
  EXPECT_EQ(m_service.GotoPreset("", m_preset), RET_ONVIF_OK);
  ExpectAsked({AskGoto(kPtz20, "", "<PresetToken></PresetToken>")});
}

TEST_F(PtzPresets, OnlyExactlyOneZeroIsToldTheName) {
  const std::pair<const char*, const char*> versions[] = {{"1", "00"}, {"1", ""}, {"", "0"}, {"01", "0"}, {"2", "0"}};
  std::vector<std::string> asked;
  for (const auto& [major, minor] : versions) {
    UseVersion(major, minor);
    AnswerEmpty(2);
    EXPECT_EQ(m_service.RemovePreset("p", m_preset), RET_ONVIF_OK);
    EXPECT_EQ(m_service.GotoPreset("p", m_preset), RET_ONVIF_OK);
    asked.push_back(AskRemove(kPtz20, "p", "<PresetToken>tok7</PresetToken>"));
    asked.push_back(AskGoto(kPtz20, "p", "<PresetToken>tok7</PresetToken>"));
  }
  ExpectAsked(asked);
}

TEST_F(PtzPresets, TokensAndNamesAreSentUnescaped) {
  UseVersion("1", "0");
  const std::string odd = "a&b<c/>\"\xFF'";
  m_preset = {odd, odd};
  AnswerEmpty(4);
  m_service.SetPreset(odd, m_preset);
  m_service.GetPresets(odd, m_list);
  m_service.RemovePreset(odd, m_preset);
  m_service.GotoPreset(odd, m_preset);
  const std::string preset = "<PresetToken>" + odd + "</PresetToken><PresetName>" + odd + "</PresetName>";
  ExpectAsked(
      {AskSet(kPtz10, odd, odd), AskList(kPtz10, odd), AskRemove(kPtz10, odd, preset), AskGoto(kPtz10, odd, preset)});
}

TEST_F(PtzPresets, ResultOfTheExchangeComesBackUnchanged) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    for (int i = 0; i < 4; ++i) m_camera.Answer(reply);
    EXPECT_EQ(m_service.SetPreset("p", m_preset), result) << reply.bytes;
    EXPECT_EQ(m_service.GetPresets("p", m_list), result) << reply.bytes;
    EXPECT_EQ(m_service.RemovePreset("p", m_preset), result) << reply.bytes;
    EXPECT_EQ(m_service.GotoPreset("p", m_preset), result) << reply.bytes;
  }
}

}  // namespace
}  // namespace testsupport
