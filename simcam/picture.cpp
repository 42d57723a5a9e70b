#include "simcam/picture.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "simcam/cairohandles.h"
#include "simcam/pictureoverlay.h"
#include "simcam/picturescene.h"

namespace simcam {

namespace {

bool IsEdge(int pixels) {
  return pixels >= kMinPictureEdge && pixels <= kMaxPictureEdge;
}

PictureText Checked(PictureText text) {
  if (!IsEdge(text.width) || !IsEdge(text.height)) {
    throw std::invalid_argument("a picture of " + std::to_string(text.width) + "x" + std::to_string(text.height) +
                                " cannot be drawn: width and height must be " + std::to_string(kMinPictureEdge) +
                                " to " + std::to_string(kMaxPictureEdge) + " pixels");
  }
  return text;
}

// The rows of this format are as long as their pixels, on a little-endian machine in the order blue, green, red.
CairoSurface MakeSurface(int width, int height) {
  CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw std::bad_alloc();
  }
  return surface;
}

bool IsSamePlace(const std::optional<LensPosition>& a, const std::optional<LensPosition>& b) {
  return a.has_value() == b.has_value() && (!a || (a->pan == b->pan && a->tilt == b->tilt && a->zoom == b->zoom));
}

}  // namespace

// Two layers: what stays while the lens stands still, and the picture, which starts as a copy of it.
class PictureRenderer::Canvas {
 public:
  explicit Canvas(PictureText text) : m_text(Checked(std::move(text))), m_overlay(m_text) {}

  std::size_t Size() const {
    constexpr std::size_t kBytesPerPixel = 4;
    return static_cast<std::size_t>(m_text.width) * static_cast<std::size_t>(m_text.height) * kBytesPerPixel;
  }

  const std::uint8_t* Render(const PictureMoment& moment) {
    if (!m_picture) {
      m_still = MakeSurface(m_text.width, m_text.height);
      m_picture = MakeSurface(m_text.width, m_text.height);
      DrawStill(moment.lens);
    } else if (!IsSamePlace(moment.lens, m_lens)) {
      DrawStill(moment.lens);
    }
    DrawPicture(moment);
    cairo_surface_flush(m_picture.get());
    return cairo_image_surface_get_data(m_picture.get());
  }

 private:
  void DrawStill(const std::optional<LensPosition>& lens) {
    const CairoContext context(cairo_create(m_still.get()));
    const SceneView view = ViewOf(lens, m_text.width, m_text.height);
    {
      const CairoScope scope(context.get());
      LookAt(context.get(), view, m_text.width, m_text.height);
      Scene::Shared().Draw(context.get(), view.width / m_text.width);
    }
    m_overlay.DrawStill(context.get(), lens);
    m_lens = lens;
  }

  void DrawPicture(const PictureMoment& moment) {
    const CairoContext context(cairo_create(m_picture.get()));
    {
      const CairoScope scope(context.get());
      cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
      cairo_set_source_surface(context.get(), m_still.get(), 0, 0);
      cairo_paint(context.get());
    }
    {
      const CairoScope scope(context.get());
      m_overlay.ClipToScene(context.get());
      LookAt(context.get(), ViewOf(m_lens, m_text.width, m_text.height), m_text.width, m_text.height);
      DrawMovers(context.get(), moment.time);
    }
    m_overlay.DrawMoment(context.get(), moment);
  }

  const PictureText m_text;
  const PictureOverlay m_overlay;
  CairoSurface m_still;
  CairoSurface m_picture;
  std::optional<LensPosition> m_lens;  // what m_still shows
};

PictureRenderer::PictureRenderer(PictureText text) : m_canvas(std::make_unique<Canvas>(std::move(text))) {}

PictureRenderer::~PictureRenderer() = default;
PictureRenderer::PictureRenderer(PictureRenderer&& other) noexcept = default;
PictureRenderer& PictureRenderer::operator=(PictureRenderer&& other) noexcept = default;

const std::uint8_t* PictureRenderer::Render(const PictureMoment& moment) {
  return m_canvas->Render(moment);
}

std::size_t PictureRenderer::Size() const {
  return m_canvas->Size();
}

}  // namespace simcam
