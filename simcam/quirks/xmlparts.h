// The parts of the group xml.
#pragma once

#include <vector>

#include "simcam/quirks/quirk.h"

namespace simcam {

std::vector<Quirk> XmlBytesQuirks();  // encodings, declarations, document types
std::vector<Quirk> XmlSizeQuirks();
std::vector<Quirk> XmlValueQuirks();

// The first element in the Body: a response or a fault; null when there is none.
xmlNode* ResponseOf(const AnswerDocument& answer);

}  // namespace simcam
