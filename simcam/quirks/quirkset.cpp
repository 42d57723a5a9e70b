#include "simcam/quirks/quirkset.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "simcam/dispatcher.h"

namespace simcam {

namespace {

constexpr unsigned kMaxNth = 1000000;

bool IsKnownOperation(std::string_view name) {
  const std::vector<Operation>& all = AllOperations();
  return std::any_of(all.begin(), all.end(), [name](const Operation& operation) { return operation.name == name; });
}

template <typename Number>
std::optional<Number> ParseWhole(std::string_view text) {
  Number number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isWhole ? std::optional<Number>(number) : std::nullopt;
}

// Takes what stands behind the last `mark` off the text; nothing when there is no mark or `isRight` refuses it.
template <typename Check>
std::string CutBehind(std::string_view& text, char mark, Check isRight) {
  const std::size_t place = text.rfind(mark);
  if (place == std::string_view::npos || !isRight(text.substr(place + 1))) {
    return std::string();
  }
  std::string cut(text.substr(place + 1));
  text = text.substr(0, place);
  return cut;
}

std::string Joined(const std::vector<const char*>& choices) {
  std::string list;
  for (const char* const choice : choices) {
    list += (list.empty() ? "" : ", ") + std::string(choice);
  }
  return list;
}

void CheckWhole(const Quirk& quirk, const std::string& value) {
  const QuirkParameter& parameter = quirk.parameter;
  const std::optional<int> number = ParseWhole<int>(value);
  if (!number || *number < parameter.min || *number > parameter.max) {
    throw QuirkError(std::string("quirk ") + quirk.name + ": \"" + value + "\" is not right; give " +
                     parameter.meaning + ", " + std::to_string(parameter.min) + " to " + std::to_string(parameter.max));
  }
}

void CheckChoice(const Quirk& quirk, const std::string& value) {
  const std::vector<const char*>& choices = quirk.parameter.choices;
  if (std::find(choices.begin(), choices.end(), value) == choices.end()) {
    throw QuirkError(std::string("quirk ") + quirk.name + ": \"" + value +
                     "\" is not known; use one of: " + Joined(choices));
  }
}

void CheckText(const Quirk& quirk, const std::string& value) {
  constexpr std::size_t kMaxValue = 256;  // bytes
  if (value.empty() || value.size() > kMaxValue) {
    throw QuirkError(std::string("quirk ") + quirk.name + ": give " + quirk.parameter.meaning + ", 1 to " +
                     std::to_string(kMaxValue) + " bytes");
  }
}

QuirkValue CheckedValue(const Quirk& quirk, const std::optional<std::string>& given) {
  std::string value = given.value_or(quirk.parameter.standard);
  switch (quirk.parameter.kind) {
    case QuirkParameter::Kind::None:
      if (given) {
        throw QuirkError(std::string("quirk ") + quirk.name + " takes no value");
      }
      break;
    case QuirkParameter::Kind::Whole:
      CheckWhole(quirk, value);
      break;
    case QuirkParameter::Kind::Choice:
      CheckChoice(quirk, value);
      break;
    case QuirkParameter::Kind::Text:
      CheckText(quirk, value);
      break;
  }
  return QuirkValue(std::move(value));
}

bool CanChange(const Quirk& quirk, std::string_view operation) {
  return quirk.operations.empty() ||
         std::find(quirk.operations.begin(), quirk.operations.end(), operation) != quirk.operations.end();
}

void CheckOperation(const Quirk& quirk, const std::string& operation) {
  if (!operation.empty() && !CanChange(quirk, operation)) {
    throw QuirkError(std::string("quirk ") + quirk.name + " does not change " + operation);
  }
}

bool HoldsFor(const QuirkSwitch& entry, std::string_view operation) {
  return CanChange(*entry.quirk, operation) && (entry.operation.empty() || entry.operation == operation);
}

bool IsSameSwitch(const QuirkSwitch& left, const QuirkSwitch& right) {
  return left.quirk == right.quirk && left.operation == right.operation && left.nth == right.nth;
}

}  // namespace

QuirkSwitch ParseQuirk(std::string_view text) {
  QuirkSwitch entry;
  const std::string nth = CutBehind(text, '#', [](std::string_view part) {
    const std::optional<unsigned> number = ParseWhole<unsigned>(part);
    return number && *number >= 1 && *number <= kMaxNth;
  });
  entry.nth = nth.empty() ? 0 : *ParseWhole<unsigned>(nth);
  entry.operation = CutBehind(text, '@', IsKnownOperation);
  const std::size_t equals = text.find('=');
  const std::string name(text.substr(0, equals));
  entry.quirk = FindQuirk(name);
  if (entry.quirk == nullptr) {
    throw QuirkError("no quirk is called \"" + name + "\"; see the list of quirks");
  }
  entry.value = CheckedValue(*entry.quirk, equals == std::string_view::npos
                                               ? std::nullopt
                                               : std::optional<std::string>(text.substr(equals + 1)));
  CheckOperation(*entry.quirk, entry.operation);
  return entry;
}

std::string FormatQuirk(const QuirkSwitch& entry) {
  std::string text = entry.quirk->name;
  if (entry.quirk->parameter.kind != QuirkParameter::Kind::None) {
    text += "=" + entry.value.Text();
  }
  if (!entry.operation.empty()) {
    text += "@" + entry.operation;
  }
  if (entry.nth != 0) {
    text += "#" + std::to_string(entry.nth);
  }
  return text;
}

CallRules CallQuirks::Rules() const {
  CallRules rules;
  for (const QuirkSwitch& entry : m_entries) {
    entry.quirk->hooks.ForEach<RulesHook>([&](RulesHook hook) { hook(rules, entry.value); });
  }
  return rules;
}

std::string CallQuirks::Bend(const std::string& operation, std::string body) const {
  std::optional<AnswerDocument> document;
  for (const QuirkSwitch& entry : m_entries) {
    entry.quirk->hooks.ForEach<DocumentHook>([&](DocumentHook hook) {
      if (!document) {
        document.emplace(operation, body);
      }
      hook(*document, entry.value);
    });
  }
  if (document) {
    body = document->Text();
  }
  for (const QuirkSwitch& entry : m_entries) {
    entry.quirk->hooks.ForEach<TextHook>([&](TextHook hook) { hook(body, entry.value); });
  }
  return body;
}

WirePlan CallQuirks::Wire() const {
  WirePlan plan;
  for (const QuirkSwitch& entry : m_entries) {
    entry.quirk->hooks.ForEach<WireHook>([&](WireHook hook) { hook(plan, entry.value); });
  }
  return plan;
}

QuirkSet::QuirkSet(const std::vector<std::string>& texts) {
  for (const std::string& text : texts) {
    SwitchOn(ParseQuirk(text));
  }
}

void QuirkSet::SwitchOn(QuirkSwitch entry) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto same = std::find_if(m_entries.begin(), m_entries.end(),
                                 [&entry](const QuirkSwitch& other) { return IsSameSwitch(entry, other); });
  if (same != m_entries.end()) {
    *same = std::move(entry);
    return;
  }
  if (m_entries.size() >= kMaxSwitches) {
    throw QuirkError("too many quirks are on; switch some off first");
  }
  m_entries.push_back(std::move(entry));
}

std::size_t QuirkSet::SwitchOff(std::string_view name) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto rest = std::remove_if(m_entries.begin(), m_entries.end(),
                                   [name](const QuirkSwitch& entry) { return entry.quirk->name == name; });
  const auto count = static_cast<std::size_t>(m_entries.end() - rest);
  m_entries.erase(rest, m_entries.end());
  return count;
}

void QuirkSet::SwitchAllOff() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_entries.clear();
}

std::vector<QuirkSwitch> QuirkSet::Active() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_entries;
}

CallQuirks QuirkSet::ForCall(std::string_view operation) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<QuirkSwitch> held;
  for (QuirkSwitch& entry : m_entries) {
    if (HoldsFor(entry, operation) && (++entry.calls == entry.nth || entry.nth == 0)) {
      held.push_back(entry);
    }
  }
  return CallQuirks(std::move(held));
}

}  // namespace simcam
