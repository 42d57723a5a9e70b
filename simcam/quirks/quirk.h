// A quirk is a misbehaviour of real cameras that has a name. It is a row in the table of its group: a function that
// bends one thing, at one place on the way of an answer.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "simcam/callrules.h"
#include "simcam/quirks/answerdocument.h"
#include "simcam/wireplan.h"

namespace simcam {

// What may stand behind the name: NAME=VALUE.
struct QuirkParameter {
  enum class Kind { None, Whole, Choice, Text };

  Kind kind = Kind::None;
  const char* meaning = "";          // of the value, with its unit
  const char* standard = "";         // the value when none is given
  int min = 0;                       // of a whole number
  int max = 0;                       // of a whole number
  std::vector<const char*> choices;  // what a choice can be
};

// The short forms for the tables.
QuirkParameter WholeParameter(const char* meaning, const char* standard, int min, int max);
QuirkParameter ChoiceParameter(const char* meaning, std::vector<const char*> choices);  // the first is the standard
QuirkParameter TextParameter(const char* meaning, const char* standard);

// A value that its parameter allows.
class QuirkValue {
 public:
  explicit QuirkValue(std::string text) : m_text(std::move(text)) {}

  const std::string& Text() const { return m_text; }

  // For whole numbers.
  int Whole() const;

 private:
  std::string m_text;
};

// The places on the way of an answer, in their order.
using RulesHook = void (*)(CallRules& rules, const QuirkValue& value);           // before the call is judged
using DocumentHook = void (*)(AnswerDocument& answer, const QuirkValue& value);  // the answer as a tree
using TextHook = void (*)(std::string& answer, const QuirkValue& value);         // the answer's bytes
using WireHook = void (*)(WirePlan& plan, const QuirkValue& value);              // how the bytes travel
using QuirkHook = std::variant<RulesHook, DocumentHook, TextHook, WireHook>;

// What a quirk does: mostly one hook; more when what it does and what it shows must fit together.
class QuirkHooks {
 public:
  template <typename... Hooks>
  QuirkHooks(Hooks... hooks) : m_hooks{QuirkHook(hooks)...} {}

  // Calls `use` with each hook of that kind.
  template <typename Hook, typename Use>
  void ForEach(Use use) const {
    for (const QuirkHook& entry : m_hooks) {
      if (const auto* const hook = std::get_if<Hook>(&entry)) {
        use(*hook);
      }
    }
  }

  template <typename Hook>
  bool Has() const {
    bool has = false;
    ForEach<Hook>([&has](Hook) { has = true; });
    return has;
  }

 private:
  std::vector<QuirkHook> m_hooks;
};

struct Quirk {
  const char* name;     // words with hyphens
  const char* trouble;  // one line: what the camera does, and what goes wrong with clients
  QuirkParameter parameter;
  std::vector<std::string_view> operations;  // that it can change; empty: all
  QuirkHooks hooks;
};

struct QuirkGroup {
  const char* name;
  std::vector<Quirk> quirks;
};

// Hooks of several groups.
void DoNothing(CallRules& rules, const QuirkValue&);             // whatever the answer says
void RefuseAsNotSupported(CallRules& rules, const QuirkValue&);  // as if the camera did not know the operation

// For groups whose table has several parts.
std::vector<Quirk> JoinRows(const std::vector<std::vector<Quirk>>& parts);

// The tables of the groups.
QuirkGroup ClockQuirks();
QuirkGroup AuthenticationQuirks();
QuirkGroup AddressQuirks();
QuirkGroup XmlQuirks();
QuirkGroup HttpQuirks();
QuirkGroup MediaQuirks();
QuirkGroup StreamUriQuirks();
QuirkGroup PtzQuirks();
QuirkGroup PresetQuirks();

// All of them, in the order in which they are listed.
const std::vector<QuirkGroup>& AllQuirks();

// Null when no quirk has the name.
const Quirk* FindQuirk(std::string_view name);

}  // namespace simcam
