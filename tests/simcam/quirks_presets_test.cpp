// Presets that are not what a client has set.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/messages.h"
#include "tests/simcam/quirkcases.h"

namespace {

using simcamtest::Ask;
using simcamtest::Bench;
using simcamtest::ExpectAllBent;
using simcamtest::FaultCodes;
using simcamtest::kFirstProfile;
using simcamtest::kNoToken;
using simcamtest::SwitchOn;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

std::string PresetOfFirst(const std::string& token) {
  return kFirstProfile + simcamtest::PresetToken(token);
}

double PanAfterAMinute(Bench& bench) {
  bench.Clock().Advance(seconds(60));
  return bench.State().PositionOf("ptz_node_1")->pan;
}

TEST(PresetQuirks, BendTheList) {
  constexpr const char* kPreset = "<tptz:Preset token=\"preset_1\">";
  constexpr const char* kName = "<tt:Name>Entrance</tt:Name>";
  ExpectAllBent({
      {"preset-without-name", "GetPresets", "<tptz:Preset token=\"preset_1\"><tt:PTZPosition>", kName},
      {"preset-without-token", "GetPresets", "<tptz:Preset><tt:Name>", kPreset},
      {"preset-without-position", "GetPresets", "", "<tt:PTZPosition>"},
      {"preset-position-first", "GetPresets", "</tt:PTZPosition><tt:Name>", "</tt:Name><tt:PTZPosition>"},
      {"preset-element", "GetPresets", "<tptz:PTZPreset token=\"preset_1\">", kPreset},
      {"preset-element=Presets", "GetPresets", "<tptz:Presets token=\"preset_1\">", kPreset},
      {"preset-list-empty", "GetPresets", "<tptz:GetPresetsResponse/>", kPreset},
      {"preset-list-fault", "GetPresets", "ter:ActionNotSupported", kPreset},
      {"preset-names-repeated=Same", "GetPresets", "<tt:Name>Same<", kName},
      {"preset-names-odd", "GetPresets", "<tt:Name>   <", kName},
      {"preset-names-odd=empty", "GetPresets", "<tt:Name/>", kName},
      {"preset-names-odd=markup", "GetPresets", "<tt:Name>&lt;b&gt;\"Tor\" &amp; 'Hof'&lt;/b&gt;<", kName},
      {"preset-names-odd=lines", "GetPresets", "<tt:Name> Tor\n Hof\t<", kName},
      {"preset-names-odd=umlauts", "GetPresets", "<tt:Name>Übergang Süd ß<", kName},
      {"preset-names-odd=long", "GetPresets", "when the lamp is on and the trees have no leaves<", kName},
      {"preset-names-gbk", "GetPresets", "<tt:Name>\xD4\xA4\xD6\xC3\xCE\xBB<", kName},
  });
}

TEST(PresetQuirks, BendSetting) {
  ExpectAllBent({
      {"preset-set-without-token", "SetPreset", "", "<tptz:PresetToken>"},
      {"preset-set-full", "SetPreset", "ter:TooManyPresets", "<tptz:PresetToken>"},
      {"preset-set-moving", "SetPreset", "ter:MovingPTZ", "<tptz:PresetToken>"},
  });
}

TEST(PresetQuirks, HiddenListHasPresetsAllTheSame) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-list-empty");
  EXPECT_EQ(Ask(bench, "GotoPreset").httpStatus, 200);
  EXPECT_DOUBLE_EQ(PanAfterAMinute(bench), 0.5);
}

TEST(PresetQuirks, PresetWithoutAnsweredTokenIsSet) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-set-without-token");
  Ask(bench, "SetPreset");
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").back().name, "Gate");
}

TEST(PresetQuirks, NameIsNotTaken) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-set-ignores-name");
  EXPECT_EQ(Ask(bench, "SetPreset").httpStatus, 200);
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").back().name, "");
  EXPECT_EQ(bench.Ptz("SetPreset", PresetOfFirst("preset_1") + "<PresetName>New</PresetName>").httpStatus, 200);
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").front().name, "Entrance");
}

TEST(PresetQuirks, RefusalWhileMovingEndsByItself) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-set-moving#1");
  EXPECT_EQ(FaultCodes(Ask(bench, "SetPreset")), "env:Receiver ter:Action ter:MovingPTZ");
  EXPECT_EQ(Ask(bench, "SetPreset").httpStatus, 200);
}

TEST(PresetQuirks, GotoGoesNowhere) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-goto-ignored");
  EXPECT_EQ(Ask(bench, "GotoPreset").httpStatus, 200);
  EXPECT_EQ(PanAfterAMinute(bench), 0);
}

TEST(PresetQuirks, UnknownPresetIsGoneToSilently) {
  Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Ptz("GotoPreset", PresetOfFirst("nobody"))), kNoToken);
  SwitchOn(bench, "preset-goto-unknown");
  EXPECT_EQ(bench.Ptz("GotoPreset", PresetOfFirst("nobody")).httpStatus, 200);
  EXPECT_EQ(PanAfterAMinute(bench), 0);
  EXPECT_EQ(Ask(bench, "GotoPreset").httpStatus, 200);
  EXPECT_DOUBLE_EQ(PanAfterAMinute(bench), 0.5) << "the known one is still reached";
}

TEST(PresetQuirks, RemovedOneStays) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-remove-ignored");
  EXPECT_EQ(Ask(bench, "RemovePreset").httpStatus, 200);
  EXPECT_EQ(bench.State().PresetsOf("ptz_node_1").size(), 1U);
}

TEST(PresetQuirks, OddTokensAreShownAndNeeded) {
  for (const auto& [kind, token] :
       {std::pair("blanks", "my own preset_1"), std::pair("colons", "urn:cam:1:preset_1"),
        std::pair("markup", "a&amp;b&lt;c&gt;&quot;d'preset_1"), std::pair("braces", "{0}%s%20/../preset_1")}) {
    Bench bench("ptz-dome");
    SwitchOn(bench, std::string("preset-tokens-odd=") + kind);
    EXPECT_THAT(Ask(bench, "GetPresets").body, HasSubstr(std::string("token=\"") + token + "\"")) << kind;
    EXPECT_EQ(FaultCodes(Ask(bench, "GotoPreset")), kNoToken) << kind;
    EXPECT_EQ(bench.Ptz("GotoPreset", PresetOfFirst(token)).httpStatus, 200) << kind;
    EXPECT_DOUBLE_EQ(PanAfterAMinute(bench), 0.5) << kind;
    EXPECT_EQ(bench.Ptz("SetPreset", PresetOfFirst(token)).httpStatus, 200) << kind;
    EXPECT_EQ(bench.Ptz("RemovePreset", PresetOfFirst(token)).httpStatus, 200) << kind;
  }
}

TEST(PresetQuirks, NewPresetHasAnOddTokenToo) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "preset-tokens-odd");
  EXPECT_THAT(Ask(bench, "SetPreset").body, HasSubstr("<tptz:PresetToken>my own preset_2</tptz:PresetToken>"));
}

TEST(PresetQuirks, FactoryPresetsAreListedReachedAndKept) {
  Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Ptz("GotoPreset", PresetOfFirst("factory_300"))), kNoToken);
  SwitchOn(bench, "preset-factory");
  const std::string list = Ask(bench, "GetPresets").body;
  EXPECT_THAT(list,
              testing::AllOf(HasSubstr("token=\"preset_1\""), HasSubstr("token=\"factory_1\""),
                             HasSubstr("token=\"factory_300\"><tt:Name>Preset 300<"), Not(HasSubstr("factory_301"))));
  Ask(bench, "GotoPreset");
  ASSERT_DOUBLE_EQ(PanAfterAMinute(bench), 0.5);
  EXPECT_EQ(bench.Ptz("GotoPreset", PresetOfFirst("factory_300")).httpStatus, 200);
  EXPECT_DOUBLE_EQ(PanAfterAMinute(bench), 0);
  EXPECT_EQ(FaultCodes(bench.Ptz("RemovePreset", PresetOfFirst("factory_300"))), kNoToken);
}

}  // namespace
