// Cameras whose media profiles and encoders do not hold what the standard promises.
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

void DropEncoders(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("VideoEncoderConfiguration");
}

void DoNothing(CallRules& rules, const QuirkValue&) {
  rules.isIdle = true;
}

}  // namespace

QuirkGroup MediaQuirks() {
  return {"media",
          {
              {"profile-without-encoder",
               "profiles show no video encoder: a client has no codec and no size",
               {},
               {"GetProfiles", "GetProfile"},
               DocumentHook(DropEncoders)},
              {"set-ignored",
               "Set is answered with success and changes nothing",
               {},
               {"SetVideoEncoderConfiguration", "SetAudioEncoderConfiguration"},
               RulesHook(DoNothing)},
          }};
}

}  // namespace simcam
