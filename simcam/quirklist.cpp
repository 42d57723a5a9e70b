#include "simcam/quirklist.h"

#include <algorithm>
#include <string_view>

#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

std::string UsageOf(const Quirk& quirk) {
  const bool hasValue = quirk.parameter.kind != QuirkParameter::Kind::None;
  return std::string(quirk.name) + (hasValue ? std::string("=") + quirk.parameter.standard : "");
}

template <typename Items>
std::string Joined(const Items& items) {
  std::string text;
  for (const auto& item : items) {
    text += (text.empty() ? "" : ", ") + std::string(item);
  }
  return text;
}

std::string ValueOf(const QuirkParameter& parameter) {
  switch (parameter.kind) {
    case QuirkParameter::Kind::None:
      break;
    case QuirkParameter::Kind::Whole:
      return std::string(parameter.meaning) + ", " + std::to_string(parameter.min) + " to " +
             std::to_string(parameter.max);
    case QuirkParameter::Kind::Choice:
      return std::string(parameter.meaning) + ": " + Joined(parameter.choices);
    case QuirkParameter::Kind::Text:
      return parameter.meaning;
  }
  return std::string();
}

std::size_t WidestUsage() {
  std::size_t widest = 0;
  for (const QuirkGroup& group : AllQuirks()) {
    for (const Quirk& quirk : group.quirks) {
      widest = std::max(widest, UsageOf(quirk).size());
    }
  }
  return widest;
}

void AppendLine(std::string& list, const std::string& left, std::size_t width, const std::string& right) {
  list += "  " + left + std::string(width - std::min(width, left.size()) + 2, ' ') + right + "\n";
}

void AppendQuirk(std::string& list, const Quirk& quirk, std::size_t width) {
  AppendLine(list, UsageOf(quirk), width, quirk.trouble);
  const std::string value = ValueOf(quirk.parameter);
  if (!value.empty()) {
    AppendLine(list, "", width, "value: " + value);
  }
  if (!quirk.operations.empty()) {
    AppendLine(list, "", width, "only: " + Joined(quirk.operations));
  }
}

}  // namespace

std::string QuirkList() {
  std::string list;
  const std::size_t width = WidestUsage();
  for (const QuirkGroup& group : AllQuirks()) {
    list += (list.empty() ? "" : "\n") + std::string(group.name) + "\n";
    for (const Quirk& quirk : group.quirks) {
      AppendQuirk(list, quirk, width);
    }
  }
  return list;
}

}  // namespace simcam
