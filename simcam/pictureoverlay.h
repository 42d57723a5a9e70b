// What is written over the scene: bands with text, the frame code, and the mark in the middle.
#pragma once

#include <optional>
#include <string>

#include "simcam/cairohandles.h"
#include "simcam/picture.h"

namespace simcam {

class PictureOverlay {
 public:
  // The text must outlive the overlay.
  explicit PictureOverlay(const PictureText& text);

  // What stays while the lens stands still.
  void DrawStill(cairo_t* context, const std::optional<LensPosition>& lens) const;

  // Clock and frame counter, over what DrawStill() left.
  void DrawMoment(cairo_t* context, const PictureMoment& moment) const;

  // Keeps what is drawn next off the bands.
  void ClipToScene(cairo_t* context) const;

 private:
  void DrawBands(cairo_t* context) const;
  void DrawFrameCode(cairo_t* context, std::uint64_t frame) const;

  const PictureText& m_text;
  const int m_block;        // pixels, as FrameCodeBlock()
  const double m_fontSize;  // pixels
  const double m_row;       // height of a row of text, pixels
  const double m_top;       // height of the upper band, pixels
  const double m_bottom;    // height of the lower band, pixels
};

// Text that can be drawn: at most 200 bytes, with '?' for control characters, and for all bytes outside ASCII unless
// the whole is UTF-8.
std::string Drawable(std::string text);

}  // namespace simcam
