// The camera's picture: what the lens shows of a painted scene, with what is streamed written over it.
//
// The scene is a wide street with numbered houses, lettered balloons, numbered parking places and a grid of pan and
// tilt positions. Panning to the right (+) moves it to the left in the picture, tilting up (+) moves it down, and zoom
// enlarges it around the middle. A camera that cannot move shows the middle. Cars, an airship and the hands of the
// tower clock move with the time.
//
// The lower left corner tells the frame counter to programs, in two rows of kFrameCodeColumns square blocks. They are
// FrameCodeBlock() pixels wide and end exactly at the left and the lower edge of the picture:
//
//   upper row:  white, bit 23 ... bit 12, black
//   lower row:  black, bit 11 ... bit 0,  parity
//
// White is 1. The bits are the counter modulo 2^24; the parity makes the number of ones among the 24 bits and itself
// even. A block is read where it is surest, in its middle. What is not white, black, black in the three marks, or has
// the wrong parity, is no frame code.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "simcam/model.h"

namespace simcam {

constexpr int kMinPictureEdge = 16;    // pixels
constexpr int kMaxPictureEdge = 4096;  // pixels

constexpr int kFrameCodeColumns = 14;
constexpr int kFrameCodeBits = 24;

// The edge of a block of the frame code in pixels, a multiple of 8; 0 when the picture is too small to carry the code,
// which needs 112 x 64 pixels.
int FrameCodeBlock(int width, int height);

// What does not change while a stream runs. Texts that do not fit are shortened; bytes that are not UTF-8 become '?'.
struct PictureText {
  std::string model;    // e.g. "SD-4230"
  std::string profile;  // e.g. "Main stream (profile_1)"
  std::string codec;    // "H264", "MPEG4", "JPEG"
  int width = 0;        // pixels of the picture
  int height = 0;       // pixels of the picture
  int frameRate = 0;    // frames per second; 0: not shown
};

struct PictureMoment {
  std::chrono::system_clock::time_point time;  // the camera's clock
  std::uint64_t frame = 0;                     // frame counter
  std::optional<LensPosition> lens;            // nothing: the camera cannot move
};

// Draws the pictures of one stream. It takes memory with the first picture (8 bytes a pixel) and reuses it for the
// others. Not thread-safe; several renderers may work at the same time, and share the scene.
class PictureRenderer {
 public:
  // Throws std::invalid_argument when width or height is not kMinPictureEdge to kMaxPictureEdge.
  explicit PictureRenderer(PictureText text);
  ~PictureRenderer();

  PictureRenderer(PictureRenderer&& other) noexcept;
  PictureRenderer& operator=(PictureRenderer&& other) noexcept;
  PictureRenderer(const PictureRenderer&) = delete;
  PictureRenderer& operator=(const PictureRenderer&) = delete;

  // Draws and returns Size() bytes: rows from the top without padding, four bytes a pixel (blue, green, red, unused).
  // Valid until the next call. Lens positions outside of their spaces are taken as the nearest inside. Throws
  // std::bad_alloc.
  const std::uint8_t* Render(const PictureMoment& moment);

  // Bytes of a picture: width * height * 4.
  std::size_t Size() const;

 private:
  class Canvas;
  std::unique_ptr<Canvas> m_canvas;
};

// The JPEG file of a picture as Render() makes it; `quality` from 1 (small) to 100 (good). Throws std::invalid_argument
// for a size or a quality out of range, std::runtime_error when the encoder fails.
std::string EncodeJpeg(const std::uint8_t* bgrx, int width, int height, int quality);

}  // namespace simcam
