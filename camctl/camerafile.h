#pragma once

#include <string>

namespace camctl {

/// Writes a file as a whole or not at all: nobody ever sees half of it, and what was there before stays until then.
/// Only its owner may read it.
/// \param replace whether a file that is there is replaced
/// \return empty, else why it could not be written, in one line that does not name the file
std::string WriteWhole(const std::string& path, const std::string& text, bool replace);

}  // namespace camctl
