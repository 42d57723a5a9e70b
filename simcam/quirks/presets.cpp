// Cameras whose presets are not what a client has set.
#include <utility>

#include "simcam/quirks/oddtokens.h"
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

// One release calls them so, another otherwise.
std::vector<xmlNode*> PresetsOf(const AnswerDocument& answer) {
  std::vector<xmlNode*> presets = answer.FindAll("Preset");
  const std::vector<xmlNode*> others = answer.FindAll("PTZPreset");
  presets.insert(presets.end(), others.begin(), others.end());
  return presets;
}

void DropNames(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Name");
}

void DropTokens(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const preset : PresetsOf(answer)) {
    AnswerDocument::RemoveAttribute(preset, "token");
  }
}

void DropPositions(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("PTZPosition");
}

void DropPresets(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const preset : PresetsOf(answer)) {
    AnswerDocument::Remove(preset);
  }
}

void RenameElement(AnswerDocument& answer, const QuirkValue& value) {
  for (xmlNode* const preset : PresetsOf(answer)) {
    AnswerDocument::Rename(preset, value.Text());
  }
}

void PutPositionFirst(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const position : answer.FindAll("PTZPosition")) {
    AnswerDocument::MoveToFront(position);
  }
}

void RepeatNames(AnswerDocument& answer, const QuirkValue& value) {
  answer.SetAll("Name", value.Text());
}

struct OddName {
  const char* name;
  const char* text;
};

constexpr OddName kOddNames[] = {
    {"blanks", "   "},
    {"empty", ""},
    {"markup", "<b>\"Tor\" & 'Hof'</b>"},
    {"lines", " Tor\n Hof\t"},
    {"umlauts", "Übergang Süd ß"},
    {"long",
     "Preset at the gate of the yard behind the house at the corner of the street that leads to the river, at night "
     "and in winter, when the lamp is on and the trees have no leaves"},
};

QuirkParameter OddNameChoices() {
  std::vector<const char*> names;
  for (const OddName& row : kOddNames) {
    names.push_back(row.name);
  }
  return ChoiceParameter("what is odd", std::move(names));
}

void PutOddNames(AnswerDocument& answer, const QuirkValue& value) {
  for (const OddName& row : kOddNames) {
    if (value.Text() == row.name) {
      answer.SetAll("Name", row.text);
    }
  }
}

// The word "preset" in GBK: the bytes are not UTF-8, which the answer claims to be.
void PutGbkNames(std::string& answer, const QuirkValue&) {
  constexpr std::string_view kStart = "<tt:Name>";
  constexpr std::string_view kEnd = "</tt:Name>";
  constexpr std::string_view kName = "\xD4\xA4\xD6\xC3\xCE\xBB";
  for (std::size_t start = answer.find(kStart); start != std::string::npos; start = answer.find(kStart, start)) {
    start += kStart.size();
    const std::size_t end = answer.find(kEnd, start);
    if (end == std::string::npos) {
      return;
    }
    answer.replace(start, end - start, kName);
  }
}

void ShowOddPresetTokens(AnswerDocument& answer, const QuirkValue& value) {
  const std::string prefix = OddTokenPrefix(value);
  for (xmlNode* const preset : PresetsOf(answer)) {
    AnswerDocument::SetAttribute(preset, "token", prefix + AnswerDocument::AttributeOf(preset, "token"));
  }
  for (xmlNode* const token : answer.FindAll("PresetToken")) {
    AnswerDocument::SetText(token, prefix + AnswerDocument::TextOf(token));
  }
}

void TakeOddPresetTokens(CallRules& rules, const QuirkValue& value) {
  rules.presetPrefix = OddTokenPrefix(value);
}

void AddFactoryPresets(CallRules& rules, const QuirkValue& value) {
  rules.factoryPresets = value.Whole();
}

void DropNewToken(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("PresetToken");
}

void IgnoreNames(CallRules& rules, const QuirkValue&) {
  rules.ignoresPresetNames = true;
}

void GoNowhere(CallRules& rules, const QuirkValue&) {
  rules.goesNowhereSilently = true;
}

void BeFull(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("TooManyPresets", "the camera holds no more presets");
}

void RefuseWhileMoving(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("MovingPTZ", "a preset cannot be set while the lens moves");
}

Quirk Listed(const char* name, const char* trouble, QuirkParameter parameter, QuirkHooks hooks) {
  return {name, trouble, std::move(parameter), {"GetPresets"}, std::move(hooks)};
}

std::vector<Quirk> ListRows() {
  return {
      Listed("preset-without-name", "presets have no name: a client that finds its own by name finds none", {},
             DocumentHook(DropNames)),
      Listed("preset-without-token", "presets have no token: they can be seen and not used", {},
             DocumentHook(DropTokens)),
      Listed("preset-without-position", "presets have no position", {}, DocumentHook(DropPositions)),
      Listed("preset-position-first", "the position stands before the name: reading by order fails", {},
             DocumentHook(PutPositionFirst)),
      Listed("preset-element", "presets are in elements of another name: the list seems to be empty",
             ChoiceParameter("name", {"PTZPreset", "Presets"}), DocumentHook(RenameElement)),
      Listed("preset-list-empty", "the list is empty, and the presets are there", {}, DocumentHook(DropPresets)),
      Listed("preset-list-fault", "the list is refused, and the presets are there", {},
             RulesHook(RefuseAsNotSupported)),
      Listed("preset-names-repeated", "all presets have the same name: a map by name keeps one of them",
             TextParameter("name", "Preset"), DocumentHook(RepeatNames)),
      Listed("preset-names-odd", "names of presets are blank, long or hold markup", OddNameChoices(),
             DocumentHook(PutOddNames)),
      Listed("preset-names-gbk", "names of presets are in GBK: the answer is not UTF-8, and parsers refuse it", {},
             TextHook(PutGbkNames)),
      {"preset-tokens-odd",
       "tokens of presets are long or hold blanks or markup, and the camera wants them back exactly",
       OddTokenChoices(),
       {"GetPresets", "SetPreset", "GotoPreset", "RemovePreset"},
       {RulesHook(TakeOddPresetTokens), DocumentHook(ShowOddPresetTokens)}},
      {"preset-factory",
       "hundreds of presets that nobody has set: a client's own are lost among them",
       WholeParameter("presets", "300", 1, 2000),
       {"GetPresets", "GotoPreset"},
       RulesHook(AddFactoryPresets)},
  };
}

std::vector<Quirk> ActionRows() {
  return {
      {"preset-set-without-token",
       "SetPreset does not tell the token of the new preset: a client must look for it",
       {},
       {"SetPreset"},
       DocumentHook(DropNewToken)},
      {"preset-set-ignores-name",
       "SetPreset does not take the name: it cannot be found by it",
       {},
       {"SetPreset"},
       RulesHook(IgnoreNames)},
      {"preset-set-full",
       "SetPreset is refused: the camera says that it is full",
       {},
       {"SetPreset"},
       RulesHook(BeFull)},
      {"preset-set-moving",
       "SetPreset is refused as if the lens moved (try with #1)",
       {},
       {"SetPreset"},
       RulesHook(RefuseWhileMoving)},
      {"preset-goto-ignored",
       "GotoPreset is answered with success, and the lens stands",
       {},
       {"GotoPreset"},
       RulesHook(DoNothing)},
      {"preset-goto-unknown",
       "GotoPreset to a preset that is not there is answered with success",
       {},
       {"GotoPreset"},
       RulesHook(GoNowhere)},
      {"preset-remove-ignored",
       "RemovePreset is answered with success, and the preset stays",
       {},
       {"RemovePreset"},
       RulesHook(DoNothing)},
  };
}

}  // namespace

QuirkGroup PresetQuirks() {
  return {"presets", JoinRows({ListRows(), ActionRows()})};
}

}  // namespace simcam
