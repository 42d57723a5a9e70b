#include "camctl/jpegsize.h"

#include <cstddef>

namespace camctl {

namespace {

constexpr std::string_view kBegin = "\xFF\xD8\xFF";
constexpr std::string_view kEnd = "\xFF\xD9";
constexpr unsigned kScan = 0xDA;
constexpr unsigned kFiller = 0xFF;

unsigned ByteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

unsigned WordAt(std::string_view bytes, std::size_t at) {
  constexpr unsigned byte = 8;
  return ByteAt(bytes, at) << byte | ByteAt(bytes, at + 1);
}

// C0 to CF, but for the tables C4 and CC and the reserved C8.
bool IsFrameHeader(unsigned marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// Marker, length, precision, height, width.
std::optional<PictureSize> ReadFrameHeader(std::string_view segment) {
  constexpr std::size_t heightAt = 5;
  constexpr std::size_t widthAt = 7;
  if (segment.size() < widthAt + 2) return std::nullopt;
  const PictureSize size{static_cast<int>(WordAt(segment, widthAt)), static_cast<int>(WordAt(segment, heightAt))};
  return size.width > 0 && size.height > 0 ? std::optional(size) : std::nullopt;
}

}  // namespace

std::optional<PictureSize> ReadJpegSize(std::string_view bytes) {
  constexpr std::size_t segmentHead = 4;  // marker and length
  if (bytes.substr(0, kBegin.size()) != kBegin || bytes.rfind(kEnd) == std::string_view::npos) return std::nullopt;
  std::size_t at = 2;
  while (at + segmentHead <= bytes.size() && ByteAt(bytes, at) == kFiller) {
    const unsigned marker = ByteAt(bytes, at + 1);
    if (marker == kFiller) {
      ++at;
      continue;
    }
    const std::size_t length = WordAt(bytes, at + 2);
    if (IsFrameHeader(marker)) return ReadFrameHeader(bytes.substr(at, length + 2));
    if (marker == kScan || length < 2) return std::nullopt;
    at += length + 2;
  }
  return std::nullopt;
}

}  // namespace camctl
