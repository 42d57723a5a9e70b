#include "tests/camctl/jpegbytes.h"

namespace camctl {

namespace {

std::string Word(int number) {
  const auto bits = static_cast<unsigned>(number);
  return {static_cast<char>(bits >> 8U), static_cast<char>(bits & 0xFFU)};
}

}  // namespace

std::string JpegBytes(int width, int height, char frame) {
  return std::string("\xFF\xD8") + std::string("\xFF\xE0\x00\x04xy", 6) + '\xFF' + frame + Word(17) + '\x08' +
         Word(height) + Word(width) + std::string("\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01", 10) +
         std::string("\xFF\xDA\x00\x02picture", 11) + "\xFF\xD9";
}

}  // namespace camctl
