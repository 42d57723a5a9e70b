// Cameras whose HTTP goes wrong below the answer.
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

void CloseAfterAnswer(WirePlan& plan, const QuirkValue&) {
  plan.closesAfterAnswer = true;
}

}  // namespace

QuirkGroup HttpQuirks() {
  return {"http",
          {
              {"http-close",
               "the connection ends after each answer: every call needs a new one",
               {},
               {},
               WireHook(CloseAfterAnswer)},
          }};
}

}  // namespace simcam
