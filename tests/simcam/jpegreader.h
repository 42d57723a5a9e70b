// Reads a JPEG file by libjpeg.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simcamtest {

struct DecodedPicture {
  int width = 0;  // 0: the file cannot be read
  int height = 0;
  std::vector<std::uint8_t> bgrx;  // rows without padding
};

DecodedPicture DecodeJpeg(const std::string& file);

}  // namespace simcamtest
