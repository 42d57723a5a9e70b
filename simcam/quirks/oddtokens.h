// Tokens that are allowed, or nearly, and that clients do not expect.
#pragma once

#include <string>

#include "simcam/quirks/quirk.h"

namespace simcam {

// The kinds of oddness; the first is the standard.
QuirkParameter OddTokenChoices();

// What stands before all tokens of that kind.
std::string OddTokenPrefix(const QuirkValue& kind);

}  // namespace simcam
