// Cameras whose answers are not quite XML, or not the XML that clients expect.
#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

void CutInTheMiddle(std::string& answer, const QuirkValue&) {
  answer.resize(answer.size() / 2);
}

}  // namespace

QuirkGroup XmlQuirks() {
  return {"xml",
          {
              {"xml-truncated",
               "the answer ends in the middle: a parser must refuse it, not read half of it",
               {},
               {},
               TextHook(CutInTheMiddle)},
          }};
}

}  // namespace simcam
