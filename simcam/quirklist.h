#pragma once

#include <string>

namespace simcam {

// All quirks for people: a heading for each group, and for each quirk how it is written, its trouble, what its value
// means, and the operations that it can change unless these are all.
std::string QuirkList();

}  // namespace simcam
