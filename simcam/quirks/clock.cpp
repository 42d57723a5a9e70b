// Cameras whose clock is not right.
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

void ShiftClock(CallRules& rules, const QuirkValue& value) {
  rules.clockOffset += std::chrono::seconds(value.Whole());
}

}  // namespace

QuirkGroup ClockQuirks() {
  constexpr int kTenYears = 10 * 366 * 86400;  // seconds
  return {"clock",
          {
              {"clock-offset",
               "the clock is off: right credentials are refused, as if the password were wrong",
               WholeParameter("seconds ahead", "-7200", -kTenYears, kTenYears),
               {},
               RulesHook(ShiftClock)},
          }};
}

}  // namespace simcam
