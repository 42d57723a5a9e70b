#include "simcam/pictureoverlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace simcam {

namespace {

constexpr std::size_t kMaxTextLength = 200;  // bytes
constexpr const char* kFont = "sans-serif";
constexpr const char* kEllipsis = "\u2026";

// As wide as any clock text: all digits have one width.
constexpr const char* kClockSample = "0000-00-00 00:00:00.000 UTC";

double FontSizeOf(int width, int height) {
  return std::min(height, width * 3 / 4) / 40.0 + 5;
}

std::string ClockText(std::chrono::system_clock::time_point time) {
  using std::chrono::milliseconds;
  const auto sinceEpoch = std::chrono::floor<milliseconds>(time.time_since_epoch());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
  const std::time_t whole = seconds.count();
  std::tm fields{};
  gmtime_r(&whole, &fields);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d UTC", fields.tm_year + 1900,
                fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec,
                static_cast<int>((sinceEpoch - seconds).count()));
  return text.data();
}

// Rounds as the text does, so that what is nearly zero has no sign of its own.
double Thousandths(double value) {
  return std::round(value * 1000) / 1000 + 0.0;
}

std::string LensText(const LensPosition& lens) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "P %+.3f  T %+.3f  Z %.3f", Thousandths(lens.pan), Thousandths(lens.tilt),
                Thousandths(lens.zoom));
  return text.data();
}

// How many bytes continue after this first one of a character; 4 for a byte that cannot be first.
std::size_t Followers(unsigned char first) {
  if (first < 0x80) {
    return 0;
  }
  if (first >= 0xC2 && first <= 0xDF) {
    return 1;
  }
  if (first >= 0xE0 && first <= 0xEF) {
    return 2;
  }
  return first >= 0xF0 && first <= 0xF4 ? 3 : 4;
}

bool IsFollower(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Long forms and surrogates, which a second byte out of its range makes.
bool IsForbidden(unsigned char first, unsigned char second) {
  return (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
         (first == 0xF4 && second > 0x8F);
}

bool IsUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto first = static_cast<unsigned char>(text[i]);
    const std::size_t followers = Followers(first);
    const std::string_view rest = text.substr(i + 1);
    if (followers > 3 || rest.size() < followers ||
        !std::all_of(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(followers), IsFollower) ||
        (followers > 0 && IsForbidden(first, static_cast<unsigned char>(rest[0])))) {
      return false;
    }
    i += 1 + followers;
  }
  return true;
}

void SetFont(cairo_t* context, double size, cairo_font_weight_t weight) {
  cairo_select_font_face(context, kFont, CAIRO_FONT_SLANT_NORMAL, weight);
  cairo_set_font_size(context, size);
}

double WidthOf(cairo_t* context, const std::string& text) {
  cairo_text_extents_t extents;
  cairo_text_extents(context, text.c_str(), &extents);
  return extents.x_advance;
}

// The text, or as much of its beginning as fits, or nothing.
std::string Fitted(cairo_t* context, std::string text, double width) {
  if (WidthOf(context, text) <= width) {
    return text;
  }
  while (!text.empty() && WidthOf(context, text + kEllipsis) > width) {
    while (IsFollower(text.back())) {
      text.pop_back();
    }
    text.pop_back();
  }
  return text.empty() ? text : text + kEllipsis;
}

// Baseline of a row of text that starts at `top`.
double BaselineOf(double top, double row, double fontSize) {
  return std::round(top + (row + fontSize * 0.72) / 2);
}

void DrawText(cairo_t* context, double x, double baseline, const std::string& text) {
  cairo_move_to(context, std::round(x), baseline);
  cairo_show_text(context, text.c_str());
}

void DrawCross(cairo_t* context, double x, double y, double arm) {
  for (const double way : {-1.0, 1.0}) {
    cairo_move_to(context, x + way * arm / 3, y);
    cairo_line_to(context, x + way * arm, y);
    cairo_move_to(context, x, y + way * arm / 3);
    cairo_line_to(context, x, y + way * arm);
  }
}

// The middle of the picture, dark around light so that it shows on every ground.
void DrawMiddleMark(cairo_t* context, int width, int height, double arm) {
  DrawCross(context, width / 2.0, height / 2.0, arm);
  cairo_set_source_rgba(context, 0, 0, 0, 0.6);
  cairo_set_line_width(context, std::max(3.0, arm / 5));
  cairo_stroke_preserve(context);
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_set_line_width(context, std::max(1.0, arm / 15));
  cairo_stroke(context);
}

bool Parity(std::uint32_t bits) {
  bool odd = false;
  for (; bits != 0; bits &= bits - 1) {
    odd = !odd;
  }
  return odd;
}

}  // namespace

int FrameCodeBlock(int width, int height) {
  constexpr int kGrain = 8;            // pixels, what lossy encoders work on
  constexpr int kBlocksAcross = 80;    // of a picture
  constexpr int kBlocksDown = 45;      // of a picture
  constexpr int kLeastBlocksDown = 8;  // so that the code is at most a quarter of a flat picture
  if (width < kFrameCodeColumns * kGrain || height < kLeastBlocksDown * kGrain) {
    return 0;
  }
  return std::max(kGrain, std::min(width / kBlocksAcross, height / kBlocksDown) / kGrain * kGrain);
}

std::string Drawable(std::string text) {
  const bool isUtf8 = IsUtf8(text);
  if (text.size() > kMaxTextLength) {
    std::size_t end = kMaxTextLength;
    while (end > 0 && IsFollower(text[end])) {
      --end;
    }
    text.resize(end);
  }
  std::replace_if(
      text.begin(), text.end(),
      [isUtf8](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F || (!isUtf8 && byte > 0x7F);
      },
      '?');
  return text;
}

PictureOverlay::PictureOverlay(const PictureText& text)
    : m_text(text),
      m_block(FrameCodeBlock(text.width, text.height)),
      m_fontSize(FontSizeOf(text.width, text.height)),
      m_row(std::round(m_fontSize * 1.35)),
      m_top(2 * m_row),
      m_bottom(std::max(m_row, 2.0 * m_block)) {}

void PictureOverlay::DrawBands(cairo_t* context) const {
  cairo_set_source_rgba(context, 0.05, 0.07, 0.10, 0.78);
  cairo_rectangle(context, 0, 0, m_text.width, m_top);
  cairo_rectangle(context, 0, m_text.height - m_bottom, m_text.width, m_bottom);
  cairo_fill(context);
}

void PictureOverlay::DrawStill(cairo_t* context, const std::optional<LensPosition>& lens) const {
  DrawBands(context);
  if (lens) {
    DrawMiddleMark(context, m_text.width, m_text.height, m_fontSize);
  }
  const double gap = m_fontSize / 2;
  cairo_set_source_rgb(context, 1, 1, 1);
  SetFont(context, m_fontSize, CAIRO_FONT_WEIGHT_NORMAL);
  const double clock = WidthOf(context, kClockSample);
  const std::string place = lens ? Fitted(context, LensText(*lens), m_text.width - 2 * gap) : std::string();
  const double placeWidth = WidthOf(context, place);
  const double second = BaselineOf(m_row, m_row, m_fontSize);
  DrawText(context, m_text.width - gap - placeWidth, second, place);
  DrawText(context, gap, second, Fitted(context, Drawable(m_text.profile), m_text.width - 3 * gap - placeWidth));
  const double code = static_cast<double>(m_block) * kFrameCodeColumns;
  const std::string rate = m_text.frameRate > 0 ? "  " + std::to_string(m_text.frameRate) + " fps" : std::string();
  const std::string video =
      Drawable(m_text.codec) + "  " + std::to_string(m_text.width) + "x" + std::to_string(m_text.height) + rate;
  DrawText(context, code + gap, BaselineOf(m_text.height - m_bottom, m_bottom, m_fontSize),
           Fitted(context, video, m_text.width - code - 3 * gap - WidthOf(context, "frame 0000000")));
  SetFont(context, m_fontSize, CAIRO_FONT_WEIGHT_BOLD);
  DrawText(context, gap, BaselineOf(0, m_row, m_fontSize),
           Fitted(context, Drawable(m_text.model), m_text.width - 3 * gap - clock));
}

void PictureOverlay::DrawMoment(cairo_t* context, const PictureMoment& moment) const {
  const double gap = m_fontSize / 2;
  cairo_set_source_rgb(context, 1, 0.93, 0.55);
  SetFont(context, m_fontSize, CAIRO_FONT_WEIGHT_NORMAL);
  DrawText(context, m_text.width - gap - WidthOf(context, kClockSample), BaselineOf(0, m_row, m_fontSize),
           ClockText(moment.time));
  const std::string frame = "frame " + std::to_string(moment.frame);
  DrawText(context, m_text.width - gap - WidthOf(context, frame),
           BaselineOf(m_text.height - m_bottom, m_bottom, m_fontSize), frame);
  if (m_block > 0) {
    DrawFrameCode(context, moment.frame);
  }
}

void PictureOverlay::DrawFrameCode(cairo_t* context, std::uint64_t frame) const {
  constexpr int kBitsInRow = kFrameCodeBits / 2;
  constexpr std::uint32_t kRowMask = (1U << kBitsInRow) - 1;
  const auto bits = static_cast<std::uint32_t>(frame & ((1U << kFrameCodeBits) - 1));
  const std::array<std::uint32_t, 2> rows = {
      (1U << (kBitsInRow + 1)) | ((bits >> kBitsInRow) << 1),
      ((bits & kRowMask) << 1) | (Parity(bits) ? 1U : 0U),
  };
  const int top = m_text.height - 2 * m_block;
  cairo_set_source_rgb(context, 0, 0, 0);
  cairo_rectangle(context, 0, top, m_block * kFrameCodeColumns, 2 * m_block);
  cairo_fill(context);
  for (int row = 0; row < 2; ++row) {
    for (int column = 0; column < kFrameCodeColumns; ++column) {
      if (((rows.at(static_cast<std::size_t>(row)) >> (kFrameCodeColumns - 1 - column)) & 1U) != 0) {
        cairo_rectangle(context, column * m_block, top + row * m_block, m_block, m_block);
      }
    }
  }
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_fill(context);
}

void PictureOverlay::ClipToScene(cairo_t* context) const {
  cairo_rectangle(context, 0, m_top, m_text.width, std::max(0.0, m_text.height - m_top - m_bottom));
  cairo_clip(context);
}

}  // namespace simcam
