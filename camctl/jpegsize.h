#pragma once

#include <optional>
#include <string_view>

namespace camctl {

/// Size of a picture in pixels.
struct PictureSize {
  int width = 0;
  int height = 0;
};

/// The size that a JPEG file tells in its frame header. Nothing when `bytes` is no JPEG file, has no such header before
/// its first scan, or ends without the mark of a picture's end, as a picture does that was cut off.
std::optional<PictureSize> ReadJpegSize(std::string_view bytes);

}  // namespace camctl
