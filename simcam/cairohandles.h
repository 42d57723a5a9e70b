// Owners of what cairo hands out.
#pragma once

#include <cairo.h>

#include <memory>

namespace simcam {

struct CairoDeleter {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};

using CairoContext = std::unique_ptr<cairo_t, CairoDeleter>;
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoDeleter>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, CairoDeleter>;

// State that is set until the end of the scope is put back there.
class CairoScope {
 public:
  explicit CairoScope(cairo_t* context) : m_context(context) { cairo_save(context); }
  ~CairoScope() { cairo_restore(m_context); }

  CairoScope(const CairoScope&) = delete;
  CairoScope& operator=(const CairoScope&) = delete;

 private:
  cairo_t* m_context;
};

}  // namespace simcam
