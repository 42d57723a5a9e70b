#include "simcam/quirks/quirk.h"

#include <utility>

namespace simcam {

QuirkParameter WholeParameter(const char* meaning, const char* standard, int min, int max) {
  return {QuirkParameter::Kind::Whole, meaning, standard, min, max, {}};
}

QuirkParameter ChoiceParameter(const char* meaning, std::vector<const char*> choices) {
  const char* const standard = choices.front();
  return {QuirkParameter::Kind::Choice, meaning, standard, 0, 0, std::move(choices)};
}

QuirkParameter TextParameter(const char* meaning, const char* standard) {
  return {QuirkParameter::Kind::Text, meaning, standard, 0, 0, {}};
}

int QuirkValue::Whole() const {
  return std::stoi(m_text);
}

void DoNothing(CallRules& rules, const QuirkValue&) {
  rules.isIdle = true;
}

void RefuseAsNotSupported(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionNotSupported("the operation is not implemented");
}

std::vector<Quirk> JoinRows(const std::vector<std::vector<Quirk>>& parts) {
  std::vector<Quirk> rows;
  for (const std::vector<Quirk>& part : parts) {
    rows.insert(rows.end(), part.begin(), part.end());
  }
  return rows;
}

const std::vector<QuirkGroup>& AllQuirks() {
  static const std::vector<QuirkGroup> groups = {ClockQuirks(), AuthenticationQuirks(), AddressQuirks(),   XmlQuirks(),
                                                 HttpQuirks(),  MediaQuirks(),          StreamUriQuirks(), PtzQuirks(),
                                                 PresetQuirks()};
  return groups;
}

const Quirk* FindQuirk(std::string_view name) {
  for (const QuirkGroup& group : AllQuirks()) {
    for (const Quirk& quirk : group.quirks) {
      if (quirk.name == name) {
        return &quirk;
      }
    }
  }
  return nullptr;
}

}  // namespace simcam
