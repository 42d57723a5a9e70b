// The painted scene that all cameras of a process look at.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "simcam/cairohandles.h"
#include "simcam/model.h"

namespace simcam {

// All lengths of the scene are in its own pixels. The lens shows kViewWidth x kViewHeight of it at most.
constexpr int kSceneWidth = 2432;
constexpr int kSceneHeight = 1216;
constexpr double kViewWidth = 1216;
constexpr double kViewHeight = 684;
constexpr double kMaxMagnification = 6;  // at zoom 1; it grows by equal factors

// The part of the scene that a picture shows.
struct SceneView {
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
};

// What the lens shows in a picture of that size; the shape of the picture decides what is cut off from the full view.
SceneView ViewOf(const std::optional<LensPosition>& lens, int width, int height);

double MagnificationOf(double zoom);

// Where the lens at this pan or tilt position points to.
double SceneXOf(double pan);
double SceneYOf(double tilt);

// Makes the context draw in scene pixels, for a picture of that size.
void LookAt(cairo_t* context, const SceneView& view, int width, int height);

// Painted once, in three sizes (15.6 MB in all), so that a small picture need not skip pixels.
class Scene {
 public:
  // Paints it when it is first asked for. Safe to call from any thread.
  static const Scene& Shared();

  // Draws all of it into a context that LookAt() prepared; `scale` is how many scene pixels a picture pixel covers.
  // Safe to call from several threads, each with a context of its own.
  void Draw(cairo_t* context, double scale) const;

 private:
  struct Level {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
  };

  Scene();
  static Level MakeLevel(int width, int height);
  static CairoSurface SurfaceOf(const Level& level);

  std::vector<Level> m_levels;  // each half as wide as the one before
};

// Paints the whole scene in scene pixels.
void PaintScenery(cairo_t* context);

// Draws what moves, in scene pixels: cars, the airship and the hands of the tower clock.
void DrawMovers(cairo_t* context, std::chrono::system_clock::time_point time);

}  // namespace simcam
