#include "simcam/picturescene.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace simcam {

namespace {

constexpr int kLevels = 3;

// A level serves until a picture pixel covers more than this many of its pixels.
constexpr double kCoarsest = 1.5;

double Clipped(double value, double low, double high) {
  return std::isnan(value) ? low : std::min(std::max(value, low), high);
}

}  // namespace

double MagnificationOf(double zoom) {
  return std::pow(kMaxMagnification, Clipped(zoom, 0, 1));
}

double SceneXOf(double pan) {
  return kSceneWidth / 2.0 + pan * (kSceneWidth - kViewWidth) / 2;
}

double SceneYOf(double tilt) {
  return kSceneHeight / 2.0 - tilt * (kSceneHeight - kViewHeight) / 2;
}

SceneView ViewOf(const std::optional<LensPosition>& lens, int width, int height) {
  const LensPosition place = lens.value_or(LensPosition());
  const double scale = std::min(kViewWidth / width, kViewHeight / height) / MagnificationOf(place.zoom);
  SceneView view;
  view.width = width * scale;
  view.height = height * scale;
  view.left = SceneXOf(Clipped(place.pan, -1, 1)) - view.width / 2;
  view.top = SceneYOf(Clipped(place.tilt, -1, 1)) - view.height / 2;
  return view;
}

void LookAt(cairo_t* context, const SceneView& view, int width, int height) {
  cairo_scale(context, width / view.width, height / view.height);
  cairo_translate(context, -view.left, -view.top);
}

const Scene& Scene::Shared() {
  static const Scene scene;
  return scene;
}

Scene::Scene() {
  for (int level = 0; level < kLevels; ++level) {
    m_levels.push_back(MakeLevel(kSceneWidth >> level, kSceneHeight >> level));
    const CairoSurface surface = SurfaceOf(m_levels.back());
    const CairoContext context(cairo_create(surface.get()));
    const double shrink = static_cast<double>(m_levels.back().width) / kSceneWidth;
    cairo_scale(context.get(), shrink, shrink);
    PaintScenery(context.get());
    cairo_surface_flush(surface.get());
  }
}

Scene::Level Scene::MakeLevel(int width, int height) {
  return {width, height,
          std::vector<std::uint32_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
}

// A surface of its own for each use: cairo counts the references to its pixels without a lock. The pixels are written
// in the constructor only.
CairoSurface Scene::SurfaceOf(const Level& level) {
  auto* const bytes = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(level.pixels.data()));
  CairoSurface surface(
      cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_RGB24, level.width, level.height, level.width * 4));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw std::bad_alloc();
  }
  return surface;
}

void Scene::Draw(cairo_t* context, double scale) const {
  std::size_t level = 0;
  while (scale > kCoarsest && level + 1 < m_levels.size()) {
    scale /= 2;
    ++level;
  }
  const CairoScope scope(context);
  const double enlarge = static_cast<double>(kSceneWidth) / m_levels[level].width;
  cairo_scale(context, enlarge, enlarge);
  const CairoSurface surface = SurfaceOf(m_levels[level]);
  cairo_set_source_surface(context, surface.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_BILINEAR);
  cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
  cairo_set_operator(context, CAIRO_OPERATOR_SOURCE);
  cairo_paint(context);
}

}  // namespace simcam
