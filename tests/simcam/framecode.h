// Reads the frame code out of a picture, also after a lossy encoder. The layout is described in simcam/picture.h;
// nothing of the camera's code is used here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace simcamtest {

// The mean brightness, 0 to 255, of the middle of a square block of a BGRx picture.
inline int BlockBrightness(const std::uint8_t* bgrx, int width, int left, int top, int edge) {
  int sum = 0;
  int count = 0;
  for (int y = top + edge / 4; y < top + edge - edge / 4; ++y) {
    for (int x = left + edge / 4; x < left + edge - edge / 4; ++x) {
      const std::uint8_t* const pixel =
          bgrx + (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4;
      sum += (pixel[0] + 2 * pixel[1] + pixel[2]) / 4;
      ++count;
    }
  }
  return count == 0 ? 0 : sum / count;
}

// The counter modulo 2^24; nothing when the marks or the parity are wrong. `block` is the edge of a block in pixels.
inline std::optional<std::uint32_t> ReadFrameCode(const std::uint8_t* bgrx, int width, int height, int block) {
  constexpr int kColumns = 14;
  std::uint32_t rows[2] = {0, 0};
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const int brightness = BlockBrightness(bgrx, width, column * block, height - (2 - row) * block, block);
      rows[row] = rows[row] << 1 | (brightness >= 128 ? 1U : 0U);
    }
  }
  const bool hasMarks = (rows[0] >> 13) == 1 && (rows[0] & 1U) == 0 && (rows[1] >> 13) == 0;
  const std::uint32_t counter = (rows[0] >> 1 & 0xFFFU) << 12 | (rows[1] >> 1 & 0xFFFU);
  std::uint32_t ones = rows[1] & 1U;
  for (int bit = 0; bit < 24; ++bit) {
    ones += counter >> bit & 1U;
  }
  return hasMarks && ones % 2 == 0 ? std::optional<std::uint32_t>(counter) : std::nullopt;
}

}  // namespace simcamtest
