// Cameras whose lens does not move as it is told, or does not tell how it can.
#include <algorithm>
#include <cctype>
#include <utility>

#include "simcam/quirks/quirk.h"
#include "simcam/soaprequest.h"
#include "simcam/xmlwriter.h"

namespace simcam {

namespace {

using Operations = std::vector<std::string_view>;

Operations SpaceAnswers() {
  return {"GetNodes", "GetNode", "GetConfigurationOptions"};
}

Operations ConfigurationAnswers() {
  return {"GetConfigurations", "GetConfiguration", "GetProfiles", "GetProfile"};
}

Operations Moves() {
  return {"ContinuousMove", "RelativeMove"};
}

// What is not advertised and not told.

void HideService(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("PTZ");
  for (xmlNode* const service : answer.FindAll("Service")) {
    if (AnswerDocument::TextOf(answer.Find("Namespace", service)).find("/ptz/") != std::string::npos) {
      AnswerDocument::Remove(service);
    }
  }
}

void RemoveNames(AnswerDocument& answer, std::initializer_list<const char*> names) {
  for (const char* const name : names) {
    answer.RemoveAll(name);
  }
}

void HidePanTilt(AnswerDocument& answer, const QuirkValue&) {
  RemoveNames(answer, {"RelativePanTiltTranslationSpace", "ContinuousPanTiltVelocitySpace", "PanTiltSpeedSpace",
                       "DefaultRelativePanTiltTranslationSpace", "DefaultContinuousPanTiltVelocitySpace",
                       "PanTiltLimits", "PanTilt"});
}

void HideRelative(AnswerDocument& answer, const QuirkValue&) {
  RemoveNames(answer, {"RelativePanTiltTranslationSpace", "RelativeZoomTranslationSpace",
                       "DefaultRelativePanTiltTranslationSpace", "DefaultRelativeZoomTranslationSpace"});
}

void HideSpaces(AnswerDocument& answer, const QuirkValue&) {
  AnswerDocument::RemoveChildren(answer.Find("SupportedPTZSpaces"));
  AnswerDocument::RemoveChildren(answer.Find("Spaces"));
}

void DropNodeName(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNode* const node : answer.FindAll("PTZNode")) {
    AnswerDocument::Remove(answer.Find("Name", node));
  }
}

void DropNodes(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("PTZNode");
}

void DropConfigurations(AnswerDocument& answer, const QuirkValue&) {
  RemoveNames(answer, {"PTZConfiguration", "PTZConfigurations"});
}

void DropDefaultTimeout(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("DefaultPTZTimeout");
}

void DropDefaults(AnswerDocument& answer, const QuirkValue&) {
  RemoveNames(answer, {"DefaultPTZSpeed", "DefaultRelativePanTiltTranslationSpace",
                       "DefaultRelativeZoomTranslationSpace", "DefaultContinuousPanTiltVelocitySpace",
                       "DefaultContinuousZoomVelocitySpace", "PanTiltLimits", "ZoomLimits"});
}

// What is told wrong.

template <typename Use>
void ForEachRange(AnswerDocument& answer, Use use) {
  for (const char* const name : {"XRange", "YRange"}) {
    for (xmlNode* const range : answer.FindAll(name)) {
      use(answer.Find("Min", range), answer.Find("Max", range));
    }
  }
}

void FlattenRanges(AnswerDocument& answer, const QuirkValue&) {
  ForEachRange(answer, [](xmlNode* min, xmlNode* max) { AnswerDocument::SetText(min, AnswerDocument::TextOf(max)); });
}

void InvertRanges(AnswerDocument& answer, const QuirkValue&) {
  ForEachRange(answer, [](xmlNode* min, xmlNode* max) {
    const std::string least = AnswerDocument::TextOf(min);
    AnswerDocument::SetText(min, AnswerDocument::TextOf(max));
    AnswerDocument::SetText(max, least);
  });
}

std::string Scaled(const std::string& number, double factor) {
  return FormatNumber(ParseNumber(number).value_or(0) * factor);
}

// Positions stay: only what a client asks for has the wrong scale.
void ScaleRanges(AnswerDocument& answer, const QuirkValue& value) {
  ForEachRange(answer, [&value](xmlNode* min, xmlNode* max) {
    for (xmlNode* const limit : {min, max}) {
      AnswerDocument::SetText(limit, Scaled(AnswerDocument::TextOf(limit), value.Whole()));
    }
  });
}

void ScaleVectors(CallRules& rules, const QuirkValue& value) {
  rules.vectorScale = value.Whole();
}

struct OddTimeout {
  const char* name;
  const char* text;
};

constexpr OddTimeout kOddTimeouts[] = {{"number", "10"},    {"clock", "00:00:10"}, {"lower", "pt10s"},
                                       {"months", "P1Y2M"}, {"empty", ""},         {"huge", "PT99999999999S"}};

QuirkParameter OddTimeoutChoices() {
  std::vector<const char*> names;
  for (const OddTimeout& row : kOddTimeouts) {
    names.push_back(row.name);
  }
  return ChoiceParameter("what stands there", std::move(names));
}

void BreakTimeouts(AnswerDocument& answer, const QuirkValue& value) {
  for (const OddTimeout& row : kOddTimeouts) {
    if (value.Text() == row.name) {
      answer.SetAll("DefaultPTZTimeout", row.text);
      if (xmlNode* const range = answer.Find("PTZTimeout")) {
        answer.SetAll("Min", row.text, range);
        answer.SetAll("Max", row.text, range);
      }
    }
  }
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

void LowerSpaces(AnswerDocument& answer, const QuirkValue&) {
  for (const char* const name : {"URI", "DefaultRelativePanTiltTranslationSpace", "DefaultRelativeZoomTranslationSpace",
                                 "DefaultContinuousPanTiltVelocitySpace", "DefaultContinuousZoomVelocitySpace"}) {
    for (xmlNode* const element : answer.FindAll(name)) {
      AnswerDocument::SetText(element, Lower(AnswerDocument::TextOf(element)));
    }
  }
}

void TakeLowerSpaces(CallRules& rules, const QuirkValue&) {
  rules.ignoresSpaceCase = true;
}

void DropPosition(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Position");
}

void DropMoveStatus(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("MoveStatus");
}

// The elements of the same names in the position have no text.
void SetMoveStatus(AnswerDocument& answer, const std::string& text) {
  if (xmlNode* const status = answer.Find("MoveStatus")) {
    answer.SetAll("PanTilt", text, status);
    answer.SetAll("Zoom", text, status);
  }
}

void AlwaysMove(AnswerDocument& answer, const QuirkValue&) {
  SetMoveStatus(answer, "MOVING");
}

void NeverMove(AnswerDocument& answer, const QuirkValue&) {
  SetMoveStatus(answer, "IDLE");
}

void KnowNothing(AnswerDocument& answer, const QuirkValue&) {
  SetMoveStatus(answer, "UNKNOWN");
}

void StandAtZero(AnswerDocument& answer, const QuirkValue&) {
  xmlNode* const position = answer.Find("Position");
  for (const char* const group : {"PanTilt", "Zoom"}) {
    for (const char* const axis : {"x", "y"}) {
      xmlNode* const element = position == nullptr ? nullptr : answer.Find(group, position);
      if (!AnswerDocument::AttributeOf(element, axis).empty()) {
        AnswerDocument::SetAttribute(element, axis, "0");
      }
    }
  }
}

// How the lens behaves.

template <bool CallRules::*kRule>
void Obey(CallRules& rules, const QuirkValue&) {
  rules.*kRule = true;
}

void RefuseHome(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("NoHomePosition", "the lens has no home position");
}

void RefuseMove(CallRules& rules, const QuirkValue&) {
  rules.fault = SoapFault("Receiver", {"Action"}, "the drive does not answer");
}

Quirk Shown(const char* name, const char* trouble, Operations operations, DocumentHook hook) {
  return {name, trouble, {}, std::move(operations), hook};
}

Quirk Done(const char* name, const char* trouble, Operations operations, RulesHook hook) {
  return {name, trouble, {}, std::move(operations), hook};
}

std::vector<Quirk> ServiceRows() {
  return {
      Shown("ptz-unadvertised", "the PTZ service is not advertised, and works: clients show no buttons",
            {"GetCapabilities", "GetServices"}, HideService),
      Done("ptz-second-profile-only", "PTZ is bound to the second profile only: clients look at the first", {},
           Obey<&CallRules::onlySecondProfileMoves>),
      {"ptz-zoom-only",
       "the lens zooms and does not turn: pan and tilt are neither told nor taken",
       {},
       {},
       {RulesHook(Obey<&CallRules::hasNoPanTilt>), DocumentHook(HidePanTilt)}},
      {"ptz-without-relative",
       "relative moves are neither told nor taken",
       {},
       {},
       {RulesHook(Obey<&CallRules::hasNoRelativeMoves>), DocumentHook(HideRelative)}},
      Shown("ptz-without-spaces", "no way to move is told, and all of them work", SpaceAnswers(), HideSpaces),
      Done("ptz-nodes-fault", "GetNodes is refused: what can be moved stays unknown", {"GetNodes"},
           RefuseAsNotSupported),
      Shown("ptz-nodes-empty", "GetNodes lists nothing", {"GetNodes"}, DropNodes),
      Shown("ptz-node-without-name", "nodes have no name: there is nothing to show", {"GetNodes", "GetNode"},
            DropNodeName),
      Done("ptz-configurations-fault", "GetConfigurations is refused: no profile can be given PTZ",
           {"GetConfigurations"}, RefuseAsNotSupported),
      Shown("ptz-configurations-empty", "GetConfigurations lists nothing: no profile can be given PTZ",
            {"GetConfigurations"}, DropConfigurations),
      Shown("ptz-configuration-hidden", "profiles do not show their PTZ configuration, and moving works",
            {"GetProfiles", "GetProfile"}, DropConfigurations),
      Done("ptz-options-fault", "GetConfigurationOptions is refused: no ranges, no timeouts",
           {"GetConfigurationOptions"}, RefuseAsNotSupported),
      Shown("ptz-without-default-timeout", "configurations have no default timeout", ConfigurationAnswers(),
            DropDefaultTimeout),
      Shown("ptz-without-defaults", "configurations have no default speed, no spaces and no limits",
            ConfigurationAnswers(), DropDefaults),
      Shown("ptz-range-flat", "the ends of all ranges are the same: normalising divides by zero", SpaceAnswers(),
            FlattenRanges),
      Shown("ptz-range-inverted", "the least of each range is above the greatest", SpaceAnswers(), InvertRanges),
      {"ptz-range-scaled",
       "ranges are not those of the generic spaces: who sends 1 creeps",
       WholeParameter("greatest value", "100", 2, 36000),
       {"GetNodes", "GetNode", "GetConfigurationOptions", "ContinuousMove", "RelativeMove", "GotoPreset",
        "GotoHomePosition"},
       {RulesHook(ScaleVectors), DocumentHook(ScaleRanges)}},
      {"ptz-space-lower-case",
       "URIs of spaces are in lower case: a comparison fails",
       {},
       {},
       {RulesHook(TakeLowerSpaces), DocumentHook(LowerSpaces)}},
      {"ptz-timeout-odd",
       "timeouts are told as something that is no duration, or a strange one",
       OddTimeoutChoices(),
       {"GetConfigurations", "GetConfiguration", "GetConfigurationOptions", "GetProfiles", "GetProfile"},
       DocumentHook(BreakTimeouts)},
  };
}

std::vector<Quirk> StatusRows() {
  return {
      Shown("ptz-status-without-position", "GetStatus has no position", {"GetStatus"}, DropPosition),
      Shown("ptz-status-zero-position", "GetStatus always tells the position 0", {"GetStatus"}, StandAtZero),
      Shown("ptz-status-without-move", "GetStatus does not tell whether the lens moves", {"GetStatus"}, DropMoveStatus),
      Shown("ptz-status-always-moving", "GetStatus says MOVING for ever: who waits for the end waits for ever",
            {"GetStatus"}, AlwaysMove),
      Shown("ptz-status-always-idle", "GetStatus says IDLE while the lens moves", {"GetStatus"}, NeverMove),
      Shown("ptz-status-unknown", "GetStatus says UNKNOWN instead of MOVING or IDLE", {"GetStatus"}, KnowNothing),
      Done("ptz-status-fault", "GetStatus is refused: where the lens is stays unknown", {"GetStatus"},
           RefuseAsNotSupported),
  };
}

std::vector<Quirk> MoveRows() {
  return {
      {"ptz-stop-ignored",
       "Stop is answered with success, and the lens goes on",
       {},
       {"Stop"},
       RulesHook(Obey<&CallRules::isIdle>)},
      Done("ptz-stop-fault", "Stop is refused: a velocity of zero must do", {"Stop"}, RefuseAsNotSupported),
      Done("ptz-stop-needs-both", "Stop is refused unless it names both PanTilt and Zoom", {"Stop"},
           Obey<&CallRules::stopNeedsBothAxes>),
      Done("ptz-zero-refused", "a velocity of zero is refused: only Stop stops", {"ContinuousMove"},
           Obey<&CallRules::refusesZeroVelocity>),
      Done("ptz-timeout-ignored", "moves end at the limit only: a client that is gone leaves the lens turning",
           {"ContinuousMove"}, Obey<&CallRules::ignoresTimeout>),
      Done("ptz-timeout-needed", "a continuous move without Timeout is refused", {"ContinuousMove"},
           Obey<&CallRules::needsTimeout>),
      Done("ptz-move-ignored", "moves are answered with success, and the lens stands", Moves(),
           Obey<&CallRules::isIdle>),
      Done("ptz-move-fault", "moves are refused: the drive does not answer", Moves(), RefuseMove),
      Done("ptz-reversed", "the lens moves the other way", Moves(), Obey<&CallRules::movesBackwards>),
      Done("ptz-full-speed", "the lens knows one speed: small velocities are as fast as great ones", {"ContinuousMove"},
           Obey<&CallRules::movesAtFullSpeed>),
      Done("ptz-zoom-ignored", "the zoom is advertised and does not move", Moves(), Obey<&CallRules::ignoresZoom>),
      Done("ptz-home-fault", "going home is refused, and the node says that there is a home", {"GotoHomePosition"},
           RefuseHome),
      Done("ptz-home-ignored", "going home is answered with success, and the lens stands", {"GotoHomePosition"},
           Obey<&CallRules::isIdle>),
      Done("ptz-home-not-set", "setting the home position is answered with success, and home stays where it was",
           {"SetHomePosition"}, Obey<&CallRules::isIdle>),
  };
}

}  // namespace

QuirkGroup PtzQuirks() {
  return {"ptz", JoinRows({ServiceRows(), StatusRows(), MoveRows()})};
}

}  // namespace simcam
