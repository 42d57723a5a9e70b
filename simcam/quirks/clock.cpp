// Cameras whose clock is not right, or who tell it in a way of their own.
#include <array>
#include <charconv>
#include <ctime>
#include <optional>
#include <utility>

#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

using std::chrono::seconds;

constexpr const char* kUtc = "UTCDateTime";
constexpr const char* kLocal = "LocalDateTime";

void ShiftClock(CallRules& rules, const QuirkValue& value) {
  rules.clock.offset += seconds(value.Whole());
}

void RestartClock(CallRules& rules, const QuirkValue& value) {
  std::tm newYear{};
  newYear.tm_year = value.Whole() - 1900;
  newYear.tm_mday = 1;
  rules.clock.restart = std::chrono::system_clock::from_time_t(timegm(&newYear));
}

void StepClock(CallRules& rules, const QuirkValue& value) {
  rules.clock.step = seconds(value.Whole());
}

void DriftClock(CallRules& rules, const QuirkValue& value) {
  rules.clock.gainPerHour = seconds(value.Whole());
}

void TightenWindow(CallRules& rules, const QuirkValue& value) {
  rules.access.token.clockWindow = seconds(value.Whole());
}

void CloseOpenOperations(CallRules& rules, const QuirkValue&) {
  rules.access.opensNothing = true;
}

void FailClock(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("SystemClock", "the system clock cannot be read");
}

// The numbers of a time of day and a date, with their elements.
struct TimeField {
  const char* name;
  int std::tm::*number;
  int base;  // what the element says when the number is 0
};

constexpr std::array<TimeField, 6> kTimeFields = {{{"Hour", &std::tm::tm_hour, 0},
                                                   {"Minute", &std::tm::tm_min, 0},
                                                   {"Second", &std::tm::tm_sec, 0},
                                                   {"Year", &std::tm::tm_year, 1900},
                                                   {"Month", &std::tm::tm_mon, 1},
                                                   {"Day", &std::tm::tm_mday, 0}}};

// The numbers of a moment; nothing when one does not read, for another quirk may have changed it before.
std::optional<std::tm> ReadTold(const AnswerDocument& answer, xmlNode* moment) {
  constexpr int kHighest = 9999;
  std::tm fields{};
  for (const TimeField& field : kTimeFields) {
    const std::string text = AnswerDocument::TextOf(answer.Find(field.name, moment));
    int number = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0 || number > kHighest) {
      return std::nullopt;
    }
    fields.*field.number = number - field.base;
  }
  return fields;
}

void ShiftTold(AnswerDocument& answer, xmlNode* moment, seconds shift) {
  std::optional<std::tm> fields = ReadTold(answer, moment);
  if (!fields) {
    return;
  }
  const std::time_t shifted = timegm(&*fields) + shift.count();
  gmtime_r(&shifted, &*fields);
  for (const TimeField& field : kTimeFields) {
    AnswerDocument::SetText(answer.Find(field.name, moment), std::to_string((*fields).*field.number + field.base));
  }
}

// The zone's text has the sign of POSIX: what must be added to reach UTC.
void TellLocalAsUtc(AnswerDocument& answer, const QuirkValue& value) {
  for (const char* const name : {kUtc, kLocal}) {
    if (xmlNode* const moment = answer.Find(name)) {
      ShiftTold(answer, moment, std::chrono::hours(value.Whole()));
    }
  }
  AnswerDocument::SetText(answer.Find("TZ"), "LOC" + std::to_string(-value.Whole()));
}

void DropUtc(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll(kUtc);
}

void DropLocal(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll(kLocal);
}

void DropType(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("DateTimeType");
}

void DropZone(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("TimeZone");
}

void TellZeros(AnswerDocument& answer, const QuirkValue&) {
  for (const TimeField& field : kTimeFields) {
    for (xmlNode* const element : answer.FindAll(field.name)) {
      AnswerDocument::SetText(element, "0");
    }
  }
}

std::vector<Quirk> WrongClocks() {
  constexpr int kTenYears = 10 * 366 * 86400;  // seconds
  constexpr int kDay = 86400;                  // seconds
  return {
      {"clock-offset",
       "the clock is off: right credentials are refused, as if the password were wrong",
       WholeParameter("seconds ahead", "-7200", -kTenYears, kTenYears),
       {},
       RulesHook(ShiftClock)},
      {"clock-reset",
       "the clock began a year anew when the camera started, as after a power cut: right credentials are refused",
       WholeParameter("year", "2000", 1970, 2037),
       {},
       RulesHook(RestartClock)},
      {"clock-steps",
       "the clock stands still and jumps now and then: credentials are right at one moment and wrong at another",
       WholeParameter("seconds from jump to jump", "3600", 1, kDay),
       {},
       RulesHook(StepClock)},
      {"clock-drift",
       "the clock gains time: a difference that a client measured once is wrong some hours later",
       WholeParameter("seconds gained in an hour", "600", -3600, 3600),
       {},
       RulesHook(DriftClock)},
      {"clock-window",
       "the time of a token must be almost exact: a slow network or a small difference is refused",
       WholeParameter("seconds allowed both ways", "2", 1, kDay),
       {},
       RulesHook(TightenWindow)},
  };
}

std::vector<Quirk> OddAnswers() {
  const std::vector<std::string_view> clock = {"GetSystemDateAndTime"};
  return {
      {"clock-local-as-utc", "local time is told as UTC, tokens are checked by the right one: who follows is refused",
       WholeParameter("hours ahead of UTC", "2", -12, 14), clock, DocumentHook(TellLocalAsUtc)},
      {"clock-without-utc",
       "the time is told without UTC: a client cannot learn how far the clock is off",
       {},
       clock,
       DocumentHook(DropUtc)},
      {"clock-without-local", "the local time is missing, as the standard allows", {}, clock, DocumentHook(DropLocal)},
      {"clock-without-type",
       "the answer does not say whether the clock is set by hand or by NTP",
       {},
       clock,
       DocumentHook(DropType)},
      {"clock-without-zone", "the answer names no time zone", {}, clock, DocumentHook(DropZone)},
      {"clock-zeros",
       "all numbers of date and time are 0: a client that computes with them gets nonsense",
       {},
       clock,
       DocumentHook(TellZeros)},
      {"clock-needs-credentials",
       "the time is told to known users only: a client that must know it to sign its request is stuck",
       {},
       clock,
       RulesHook(CloseOpenOperations)},
      {"clock-fault", "the question for the time is answered with a fault", {}, clock, RulesHook(FailClock)},
  };
}

}  // namespace

QuirkGroup ClockQuirks() {
  QuirkGroup group{"clock", WrongClocks()};
  for (Quirk& quirk : OddAnswers()) {
    group.quirks.push_back(std::move(quirk));
  }
  return group;
}

}  // namespace simcam
