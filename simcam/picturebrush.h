// Short forms for painting with cairo.
#pragma once

#include "simcam/cairohandles.h"

namespace simcam {

// Red, green and blue, 0xRRGGBB.
using Colour = unsigned;

struct Spot {
  double x = 0;
  double y = 0;
};

class Brush {
 public:
  explicit Brush(cairo_t* context) : m_context(context) {}

  // Chooses what the shapes below are filled with.
  Brush& Use(Colour colour, double opacity = 1);

  Brush& Box(double x, double y, double width, double height);
  Brush& Oval(double x, double y, double halfWidth, double halfHeight);
  Brush& Disc(double x, double y, double radius) { return Oval(x, y, radius, radius); }
  Brush& Line(Spot from, Spot to, double width);
  Brush& Roof(double x, double y, double width, double height);  // a triangle on the line (x, y) to (x + width, y)

  template <typename Spots>
  Brush& Shape(const Spots& spots) {
    for (const Spot& spot : spots) {
      cairo_line_to(m_context, spot.x, spot.y);
    }
    cairo_close_path(m_context);
    cairo_fill(m_context);
    return *this;
  }

  // Bold text with its middle there.
  Brush& Text(double x, double y, double size, const char* text);

 private:
  cairo_t* m_context;
};

}  // namespace simcam
