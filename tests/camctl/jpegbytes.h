#pragma once

#include <string>

namespace camctl {

/// A JPEG file as far as its markers go: an application segment, a frame header, an empty scan.
/// \param frame marker of the frame header: '\xC0' is a baseline one
std::string JpegBytes(int width, int height, char frame = '\xC0');

}  // namespace camctl
