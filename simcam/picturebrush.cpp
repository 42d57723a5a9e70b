#include "simcam/picturebrush.h"

#include <cmath>

namespace simcam {

namespace {

double Part(Colour colour, unsigned shift) {
  constexpr unsigned kFull = 0xFF;
  return static_cast<double>((colour >> shift) & kFull) / kFull;
}

}  // namespace

Brush& Brush::Use(Colour colour, double opacity) {
  cairo_set_source_rgba(m_context, Part(colour, 16), Part(colour, 8), Part(colour, 0), opacity);
  return *this;
}

Brush& Brush::Box(double x, double y, double width, double height) {
  cairo_rectangle(m_context, x, y, width, height);
  cairo_fill(m_context);
  return *this;
}

Brush& Brush::Oval(double x, double y, double halfWidth, double halfHeight) {
  {
    const CairoScope scope(m_context);
    cairo_translate(m_context, x, y);
    cairo_scale(m_context, halfWidth, halfHeight);
    cairo_arc(m_context, 0, 0, 1, 0, 2 * M_PI);
  }
  cairo_fill(m_context);
  return *this;
}

Brush& Brush::Line(Spot from, Spot to, double width) {
  cairo_set_line_width(m_context, width);
  cairo_move_to(m_context, from.x, from.y);
  cairo_line_to(m_context, to.x, to.y);
  cairo_stroke(m_context);
  return *this;
}

Brush& Brush::Roof(double x, double y, double width, double height) {
  const Spot corners[] = {{x, y}, {x + width / 2, y - height}, {x + width, y}};
  return Shape(corners);
}

Brush& Brush::Text(double x, double y, double size, const char* text) {
  cairo_select_font_face(m_context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(m_context, size);
  cairo_text_extents_t extents;
  cairo_text_extents(m_context, text, &extents);
  cairo_move_to(m_context, x - extents.width / 2 - extents.x_bearing, y - extents.height / 2 - extents.y_bearing);
  cairo_show_text(m_context, text);
  return *this;
}

}  // namespace simcam
