#include "simcam/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/simcam/framecode.h"
#include "tests/simcam/jpegreader.h"

namespace {

using simcam::LensPosition;
using simcam::PictureMoment;
using simcam::PictureRenderer;
using simcam::PictureText;
using std::chrono::milliseconds;

constexpr std::chrono::system_clock::time_point kNoon{std::chrono::seconds(1709208000)};

using Pixels = std::vector<std::uint8_t>;

PictureText TextOf(int width, int height) {
  return {"SD-4230", "Main stream (profile_1)", "H264", width, height, 25};
}

Pixels Render(PictureRenderer& renderer, const PictureMoment& moment) {
  const std::uint8_t* const bytes = renderer.Render(moment);
  return Pixels(bytes, bytes + renderer.Size());
}

Pixels RenderOnce(int width, int height, const std::optional<LensPosition>& lens, milliseconds later = milliseconds(0),
                  std::uint64_t frame = 0) {
  PictureRenderer renderer(TextOf(width, height));
  return Render(renderer, {kNoon + later, frame, lens});
}

// A picture as brightness, which is easier to compare.
class Grey {
 public:
  Grey(const Pixels& pixels, int width, int height) : m_width(width), m_height(height) {
    for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
      m_values.push_back((pixels[i] + 2 * pixels[i + 1] + pixels[i + 2]) / 4);
    }
  }

  int At(int x, int y) const { return m_values.at(static_cast<std::size_t>(y * m_width + x)); }

  // Mean difference to what `other` has dx and dy further, over the middle of the picture, which no text covers.
  double Difference(const Grey& other, int dx, int dy) const {
    long sum = 0;
    long count = 0;
    for (int y = m_height / 3; y < m_height * 2 / 3; ++y) {
      for (int x = m_width / 3; x < m_width * 2 / 3; ++x) {
        sum += std::abs(At(x, y) - other.At(x + dx, y + dy));
        ++count;
      }
    }
    return static_cast<double>(sum) / static_cast<double>(count);
  }

  // Where the middle of this picture went in `other`.
  std::array<int, 2> ShiftTo(const Grey& other, int reach) const {
    std::array<int, 2> best = {0, 0};
    double least = 1e9;
    for (int dy = -reach; dy <= reach; ++dy) {
      for (int dx = -reach; dx <= reach; ++dx) {
        const double difference = Difference(other, dx, dy);
        if (difference < least) {
          least = difference;
          best = {dx, dy};
        }
      }
    }
    return best;
  }

 private:
  int m_width;
  int m_height;
  std::vector<int> m_values;
};

Grey GreyOf(const std::optional<LensPosition>& lens) {
  return Grey(RenderOnce(320, 180, lens), 320, 180);
}

// How many pixels of a part of two pictures differ by more than an encoder's noise.
int ChangedPixels(const Pixels& a, const Pixels& b, int width, int top, int bottom) {
  int changed = 0;
  for (int pixel = top * width; pixel < bottom * width; ++pixel) {
    const auto place = static_cast<std::size_t>(pixel) * 4;
    changed += std::abs(a.at(place + 1) - b.at(place + 1)) > 24 ? 1 : 0;
  }
  return changed;
}

TEST(Picture, HasTheSizeThatWasAskedFor) {
  const std::array<int, 2> sizes[] = {{16, 16}, {17, 33}, {351, 287}, {640, 360}, {16, 700}, {700, 16}, {1920, 1080}};
  for (const auto& [width, height] : sizes) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    PictureRenderer renderer(TextOf(width, height));
    EXPECT_EQ(renderer.Size(), static_cast<std::size_t>(width * height * 4));
    const Pixels picture = Render(renderer, {kNoon, 7, LensPosition{0.3, -0.2, 0.1}});
    // A picture of one colour would be one that was not drawn.
    const auto first = std::vector<std::uint8_t>(picture.begin(), picture.begin() + 3);
    bool varies = false;
    for (std::size_t i = 4; i < picture.size() && !varies; i += 4) {
      varies = !std::equal(first.begin(), first.end(), picture.begin() + static_cast<std::ptrdiff_t>(i));
    }
    EXPECT_TRUE(varies);
  }
}

TEST(Picture, LargestSizeIsDrawn) {
  PictureRenderer renderer(TextOf(4096, 4096));
  const std::uint8_t* const picture = renderer.Render({kNoon, 0x123456, LensPosition()});
  EXPECT_EQ(simcamtest::ReadFrameCode(picture, 4096, 4096, simcam::FrameCodeBlock(4096, 4096)), 0x123456U);
}

TEST(Picture, ImpossibleSizesAreRefusedByName) {
  const std::array<int, 2> sizes[] = {{0, 0}, {15, 16}, {16, 15}, {-640, 360}, {4097, 16}, {16, 4097}, {640, 0}};
  for (const auto& [width, height] : sizes) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    try {
      const PictureRenderer renderer(TextOf(width, height));
      ADD_FAILURE() << size << " is accepted";
    } catch (const std::invalid_argument& error) {
      EXPECT_NE(std::string(error.what()).find(size), std::string::npos) << error.what();
    }
  }
}

TEST(Picture, SameMomentIsDrawnTheSame) {
  PictureRenderer renderer(TextOf(352, 288));
  const PictureMoment moment{kNoon, 5, LensPosition{0.1, 0.2, 0.3}};
  const Pixels first = Render(renderer, moment);
  Render(renderer, {kNoon + milliseconds(4321), 6, LensPosition{-0.5, 0, 0}});
  EXPECT_EQ(Render(renderer, moment), first) << "something of the picture between is left";
  EXPECT_EQ(RenderOnce(352, 288, LensPosition{0.1, 0.2, 0.3}, milliseconds(0), 5), first);
}

TEST(Picture, ClockChangesTheUpperBandWithEachMillisecond) {
  const Pixels before = RenderOnce(352, 288, std::nullopt);
  const Pixels after = RenderOnce(352, 288, std::nullopt, milliseconds(1));
  EXPECT_GT(ChangedPixels(before, after, 352, 0, 16), 3);
  EXPECT_EQ(ChangedPixels(before, after, 352, 272, 288), 0);
}

TEST(Picture, FrameCounterChangesTheLowerBandAlone) {
  const Pixels before = RenderOnce(352, 288, std::nullopt);
  const Pixels after = RenderOnce(352, 288, std::nullopt, milliseconds(0), 1);
  EXPECT_GT(ChangedPixels(before, after, 352, 272, 288), 100);
  EXPECT_EQ(ChangedPixels(before, after, 352, 0, 272), 0);
}

TEST(Picture, SomethingMovesInTheSceneOfAStillCamera) {
  const Pixels before = RenderOnce(352, 288, std::nullopt);
  const Pixels after = RenderOnce(352, 288, std::nullopt, milliseconds(1000));
  EXPECT_GT(ChangedPixels(before, after, 352, 40, 260), 300) << "cars and the second hand";
}

TEST(Picture, WhatMovesStaysBehindTheBands) {
  // The lower band lies over the near lane.
  const LensPosition lens{0, 0.27, 0};
  const Pixels first = RenderOnce(352, 288, lens);
  int moved = 0;
  for (int step = 1; step <= 10; ++step) {
    const Pixels later = RenderOnce(352, 288, lens, milliseconds(500) * step);
    EXPECT_EQ(ChangedPixels(first, later, 352, 272, 288), 0) << step;
    moved += ChangedPixels(first, later, 352, 262, 272);
  }
  EXPECT_GT(moved, 100) << "nothing drove where it could be seen";
}

TEST(Picture, UpperBandTellsWhereTheLensIs) {
  const Pixels here = RenderOnce(640, 360, LensPosition{0.100, 0, 0});
  const Pixels there = RenderOnce(640, 360, LensPosition{0.101, 0, 0});
  EXPECT_GT(ChangedPixels(here, there, 640, 20, 37), 3);
}

TEST(Picture, TimeBefore1970IsDrawn) {
  const Pixels before = RenderOnce(352, 288, std::nullopt, -milliseconds(1709208000000 + 86400000));
  EXPECT_GT(ChangedPixels(before, RenderOnce(352, 288, std::nullopt), 352, 0, 16), 10);
}

TEST(FrameCode, TellsTheCounter) {
  const std::array<int, 2> sizes[] = {{112, 64},  {176, 144},  {320, 180},  {351, 287},
                                      {640, 360}, {1280, 720}, {1920, 1080}};
  const std::uint64_t frames[] = {0,        1,        2,        0x800000,  0xFFFFFF,
                                  0x555555, 0xAAAAAA, 0xF0F0F1, 0x1000005, 0xFFFFFFFFFFFFFFFF};
  for (const auto& [width, height] : sizes) {
    const int block = simcam::FrameCodeBlock(width, height);
    ASSERT_GE(block, 8) << width << "x" << height;
    PictureRenderer renderer(TextOf(width, height));
    for (const std::uint64_t frame : frames) {
      EXPECT_EQ(simcamtest::ReadFrameCode(renderer.Render({kNoon, frame, std::nullopt}), width, height, block),
                static_cast<std::uint32_t>(frame & 0xFFFFFF))
          << frame << " at " << width << "x" << height;
    }
  }
}

TEST(FrameCode, SurvivesAPoorJpeg) {
  PictureRenderer renderer(TextOf(320, 180));
  const std::string file = simcam::EncodeJpeg(renderer.Render({kNoon, 0xA5C301, LensPosition()}), 320, 180, 5);
  const simcamtest::DecodedPicture picture = simcamtest::DecodeJpeg(file);
  ASSERT_EQ(picture.width, 320);
  EXPECT_EQ(simcamtest::ReadFrameCode(picture.bgrx.data(), 320, 180, simcam::FrameCodeBlock(320, 180)), 0xA5C301U);
}

TEST(FrameCode, IsRefusedWhenABlockFlipped) {
  PictureRenderer renderer(TextOf(320, 180));
  Pixels picture = Render(renderer, {kNoon, 0x123456, std::nullopt});
  for (int column = 0; column < 14; ++column) {
    Pixels broken = picture;
    for (int y = 180 - 8; y < 180; ++y) {
      for (int x = column * 8; x < column * 8 + 8; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
          auto& value = broken.at(static_cast<std::size_t>((y * 320 + x) * 4 + channel));
          value = static_cast<std::uint8_t>(255 - value);
        }
      }
    }
    EXPECT_EQ(simcamtest::ReadFrameCode(broken.data(), 320, 180, 8), std::nullopt) << "column " << column;
  }
}

TEST(FrameCode, IsLeftOutWhereItDoesNotFit) {
  EXPECT_EQ(simcam::FrameCodeBlock(111, 64), 0);
  EXPECT_EQ(simcam::FrameCodeBlock(112, 63), 0);
  EXPECT_EQ(simcam::FrameCodeBlock(112, 64), 8);
  EXPECT_EQ(simcam::FrameCodeBlock(1279, 720), 8);
  EXPECT_EQ(simcam::FrameCodeBlock(1280, 720), 16);
  EXPECT_EQ(simcam::FrameCodeBlock(1920, 1080), 24);
}

// At 320 x 180 a quarter of the pan range is 40 pixels, and a quarter of the tilt range 17.5.
TEST(PictureLens, PanToTheRightMovesTheSceneToTheLeft) {
  const auto [dx, dy] = GreyOf(LensPosition{0, 0, 0}).ShiftTo(GreyOf(LensPosition{0.25, 0, 0}), 48);
  EXPECT_NEAR(dx, -40, 2);
  EXPECT_NEAR(dy, 0, 1);
}

TEST(PictureLens, TiltUpMovesTheSceneDown) {
  const auto [dx, dy] = GreyOf(LensPosition{0, 0, 0}).ShiftTo(GreyOf(LensPosition{0, 0.25, 0}), 30);
  EXPECT_NEAR(dx, 0, 1);
  EXPECT_NEAR(dy, 17.5, 2);
}

TEST(PictureLens, PanMovesAnEnlargedSceneFurther) {
  // Zoom 0.5 enlarges by the root of 6.
  const auto [dx, dy] = GreyOf(LensPosition{0, 0, 0.5}).ShiftTo(GreyOf(LensPosition{0.1, 0, 0.5}), 48);
  EXPECT_NEAR(dx, -39.2, 2);
  EXPECT_NEAR(dy, 0, 1);
}

TEST(PictureLens, ZoomEnlargesAroundTheMiddle) {
  const Grey wide = GreyOf(LensPosition{0.2, 0.1, 0});
  const Grey near = GreyOf(LensPosition{0.2, 0.1, 0.5});
  const double factor = std::sqrt(6.0);
  double matched = 0;
  double straight = 0;
  int count = 0;
  for (int y = 45; y < 135; ++y) {
    for (int x = 40; x < 280; ++x) {
      // The mark in the middle is not part of the scene.
      if (std::abs(x - 160) < 30 && std::abs(y - 90) < 30) {
        continue;
      }
      const int wideX = static_cast<int>(std::lround(160 + (x + 0.5 - 160) / factor - 0.5));
      const int wideY = static_cast<int>(std::lround(90 + (y + 0.5 - 90) / factor - 0.5));
      matched += std::abs(near.At(x, y) - wide.At(wideX, wideY));
      straight += std::abs(near.At(x, y) - wide.At(x, y));
      ++count;
    }
  }
  EXPECT_LT(matched / count, 14);
  EXPECT_GT(straight / count, 2 * matched / count);
}

TEST(PictureLens, CameraThatCannotMoveShowsTheMiddle) {
  const auto [dx, dy] = GreyOf(std::nullopt).ShiftTo(GreyOf(LensPosition{0, 0, 0}), 6);
  EXPECT_EQ(dx, 0);
  EXPECT_EQ(dy, 0);
  EXPECT_LT(GreyOf(std::nullopt).Difference(GreyOf(LensPosition{0, 0, 0}), 0, 0), 2);
}

TEST(PictureLens, PositionOutsideOfItsSpaceIsTheNearestInside) {
  const double huge = 1e300;
  EXPECT_EQ(GreyOf(LensPosition{1, 1, 1}).Difference(GreyOf(LensPosition{huge, huge, huge}), 0, 0), 0);
  EXPECT_EQ(GreyOf(LensPosition{-1, -1, 0}).Difference(GreyOf(LensPosition{-7, -1.01, -3}), 0, 0), 0);
}

TEST(PictureTexts, TextThatIsNotUtf8IsDrawnAllTheSame) {
  const char* const names[] = {"\xFF\xFE",     "caf\xE9",          "\xE2\x82", "\xC0\xAF",
                               "\xED\xA0\x80", "\xF4\x90\x80\x80", "tab\t"};
  for (const char* const name : names) {
    PictureText text = TextOf(640, 360);
    text.model = name;
    PictureRenderer renderer(text);
    const Pixels picture = Render(renderer, {kNoon, 99, LensPosition()});
    // A text that cairo refuses would leave everything after it undrawn.
    EXPECT_EQ(simcamtest::ReadFrameCode(picture.data(), 640, 360, 8), 99U) << testing::PrintToString(name);
    text.model = "";
    PictureRenderer without(text);
    EXPECT_GT(ChangedPixels(picture, Render(without, {kNoon, 99, LensPosition()}), 640, 0, 18), 10)
        << testing::PrintToString(name);
  }
}

TEST(PictureTexts, LongTextsDoNotReachTheClock) {
  PictureText text = TextOf(640, 360);
  text.model = std::string(5000, 'W');
  text.profile = std::string(198, 'x') + "\u20AC\u20AC\u20AC";
  text.codec = std::string(500, 'M');
  PictureRenderer renderer(text);
  PictureRenderer plain(TextOf(640, 360));
  const Pixels picture = Render(renderer, {kNoon, 99, std::nullopt});
  const Pixels expected = Render(plain, {kNoon, 99, std::nullopt});
  text.model = "";
  PictureRenderer nameless(text);
  EXPECT_GT(ChangedPixels(picture, Render(nameless, {kNoon, 99, std::nullopt}), 640, 0, 18), 10)
      << "a text that was cut inside of a character stops all that follow it";
  int changed = 0;
  for (int y = 0; y < 18; ++y) {
    for (int x = 480; x < 640; ++x) {
      const auto place = static_cast<std::size_t>((y * 640 + x) * 4);
      changed += std::abs(picture.at(place) - expected.at(place)) > 24 ? 1 : 0;
    }
  }
  EXPECT_EQ(changed, 0);
}

TEST(PictureTextsDeathTest, ASystemWithoutFontsIsNoReasonToFail) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto draw = [] {
    setenv("FONTCONFIG_FILE", "/nonexistent/fonts.conf", 1);
    setenv("FONTCONFIG_PATH", "/nonexistent", 1);
    const Pixels picture = RenderOnce(640, 360, LensPosition(), milliseconds(0), 77);
    const Pixels later = RenderOnce(640, 360, LensPosition(), milliseconds(1), 77);
    const bool isWhole = simcamtest::ReadFrameCode(picture.data(), 640, 360, 8) == 77U;
    std::_Exit(isWhole && picture.size() == later.size() ? 0 : 1);
  };
  EXPECT_EXIT(draw(), testing::ExitedWithCode(0), "");
}

TEST(Picture, SeveralStreamsAreDrawnAtTheSameTime) {
  const Pixels expected = RenderOnce(352, 288, LensPosition{0.4, 0.1, 0.2}, milliseconds(0), 40);
  std::array<bool, 4> same{};
  std::vector<std::thread> threads;
  for (bool& result : same) {
    threads.emplace_back([&result, &expected] {
      PictureRenderer renderer(TextOf(352, 288));
      Pixels picture;
      for (int frame = 0; frame <= 40; ++frame) {
        picture = Render(renderer, {kNoon, static_cast<std::uint64_t>(frame), LensPosition{frame * 0.01, 0.1, 0.2}});
      }
      result = picture == expected;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::count(same.begin(), same.end(), true), 4);
}

TEST(Jpeg, ShowsThePicture) {
  const std::array<int, 2> sizes[] = {{16, 16}, {351, 287}, {640, 360}, {1920, 1080}};
  for (const auto& [width, height] : sizes) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    const Pixels picture = RenderOnce(width, height, LensPosition{0.1, -0.3, 0});
    const simcamtest::DecodedPicture decoded =
        simcamtest::DecodeJpeg(simcam::EncodeJpeg(picture.data(), width, height, 90));
    ASSERT_EQ(decoded.width, width);
    ASSERT_EQ(decoded.height, height);
    double difference = 0;
    for (std::size_t i = 0; i < picture.size(); ++i) {
      difference += i % 4 == 3 ? 0 : std::abs(picture[i] - decoded.bgrx[i]);
    }
    EXPECT_LT(difference / static_cast<double>(picture.size()), 8);
  }
}

TEST(Jpeg, BetterQualityTakesMoreBytes) {
  const Pixels picture = RenderOnce(640, 360, std::nullopt);
  std::size_t last = 0;
  for (const int quality : {1, 30, 70, 100}) {
    const std::size_t size = simcam::EncodeJpeg(picture.data(), 640, 360, quality).size();
    EXPECT_GT(size, last) << quality;
    last = size;
  }
}

TEST(Jpeg, ImpossibleArgumentsAreRefused) {
  const Pixels picture(64 * 64 * 4);
  for (const int quality : {0, -1, 101}) {
    EXPECT_THROW(simcam::EncodeJpeg(picture.data(), 64, 64, quality), std::invalid_argument) << quality;
  }
  const std::array<int, 2> sizes[] = {{0, 64}, {64, 0}, {-1, 64}, {4097, 1}, {1, 4097}};
  for (const auto& [width, height] : sizes) {
    EXPECT_THROW(simcam::EncodeJpeg(picture.data(), width, height, 80), std::invalid_argument)
        << width << "x" << height;
  }
}

}  // namespace
