#include "simcam/quirks/quirkset.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <numeric>
#include <optional>
#include <utility>

#include "simcam/dispatcher.h"

namespace simcam {

namespace {

constexpr unsigned kMaxNth = 1000000;

bool IsKnownOperation(std::string_view name) {
  const std::vector<Operation>& all = AllOperations();
  return name == kSnapshotOperation ||
         std::any_of(all.begin(), all.end(), [name](const Operation& operation) { return operation.name == name; });
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

std::optional<unsigned> ParseNth(std::string_view text) {
  const std::optional<unsigned> number = ParseWhole<unsigned>(text);
  return number && *number >= 1 && *number <= kMaxNth ? number : std::nullopt;
}

// What stands behind a mark that is left over is no operation and no number.
void RefuseMarks(std::string_view text) {
  const std::size_t place = text.find_first_of("@#");
  if (place == std::string_view::npos) {
    return;
  }
  const std::string part(text.substr(place + 1, text.find('#', place + 1) - place - 1));
  if (text[place] == '#') {
    throw QuirkError("\"" + part + "\" behind # is not right; give the number of the call, 1 to " +
                     std::to_string(kMaxNth) + ", at the very end");
  }
  throw QuirkError("\"" + part + "\" behind @ is no operation of the camera");
}

// How many characters must change, come or go to make one text of the other.
std::size_t Difference(std::string_view from, std::string_view to) {
  std::vector<std::size_t> above(to.size() + 1);
  std::iota(above.begin(), above.end(), std::size_t{0});
  for (const char letter : from) {
    std::vector<std::size_t> line = {above.front() + 1};
    for (std::size_t i = 0; i < to.size(); ++i) {
      line.push_back(std::min({above[i] + (letter == to[i] ? 0U : 1U), above[i + 1] + 1, line.back() + 1}));
    }
    above = std::move(line);
  }
  return above.back();
}

// Names the quirk that was probably meant.
QuirkError UnknownQuirk(std::string_view name) {
  constexpr std::size_t kMaxShown = 64;
  constexpr std::size_t kMaxDifference = 4;
  const std::string shown(name.substr(0, kMaxShown));
  const Quirk* nearest = nullptr;
  std::size_t least = kMaxDifference + 1;
  for (const QuirkGroup& group : AllQuirks()) {
    for (const Quirk& quirk : group.quirks) {
      const std::string_view known(quirk.name);
      const std::size_t longer = std::max(shown.size(), known.size());
      const bool comparable = longer - std::min(shown.size(), known.size()) <= kMaxDifference;
      const std::size_t difference = comparable ? Difference(shown, known) : longer;
      if (difference < least) {
        least = difference;
        nearest = &quirk;
      }
    }
  }
  return QuirkError("no quirk is called \"" + shown + "\"; " +
                    (nearest == nullptr ? std::string("see the list of quirks")
                                        : std::string("did you mean ") + nearest->name + "?"));
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
  if (!quirk.operations.empty()) {
    return std::find(quirk.operations.begin(), quirk.operations.end(), operation) != quirk.operations.end();
  }
  // A snapshot is no SOAP answer: of it only the way over the wire can change.
  return operation != kSnapshotOperation || quirk.hooks.Has<WireHook>();
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
  const std::string nth = CutBehind(text, '#', [](std::string_view part) { return ParseNth(part).has_value(); });
  entry.nth = ParseNth(nth).value_or(0);
  entry.operation = CutBehind(text, '@', IsKnownOperation);
  const std::size_t equals = text.find('=');
  const std::string_view name = text.substr(0, equals);
  RefuseMarks(name);
  entry.quirk = FindQuirk(name);
  if (entry.quirk == nullptr) {
    throw UnknownQuirk(name);
  }
  std::optional<std::string> value;
  if (equals != std::string_view::npos) {
    value = text.substr(equals + 1);
  }
  if (value && entry.quirk->parameter.kind != QuirkParameter::Kind::Text) {
    RefuseMarks(*value);
  }
  entry.value = CheckedValue(*entry.quirk, value);
  CheckOperation(*entry.quirk, entry.operation);
  return entry;
}

std::vector<QuirkSwitch> ParseQuirks(const std::vector<std::string>& texts) {
  std::vector<QuirkSwitch> entries;
  std::transform(texts.begin(), texts.end(), std::back_inserter(entries),
                 [](const std::string& text) { return ParseQuirk(text); });
  return entries;
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
  SwitchOn(ParseQuirks(texts));
}

void QuirkSet::SwitchOn(const std::vector<QuirkSwitch>& entries) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<QuirkSwitch> changed = m_entries;
  for (const QuirkSwitch& entry : entries) {
    const auto same = std::find_if(changed.begin(), changed.end(),
                                   [&entry](const QuirkSwitch& other) { return IsSameSwitch(entry, other); });
    if (same != changed.end()) {
      *same = entry;
    } else {
      changed.push_back(entry);
    }
  }
  if (changed.size() > kMaxSwitches) {
    throw QuirkError("more than " + std::to_string(kMaxSwitches) + " quirks would be on; switch some off first");
  }
  m_entries = std::move(changed);
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
