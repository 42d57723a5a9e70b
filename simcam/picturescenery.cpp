// Paints the scene: sky, houses, street and yard, and the grid over them.
#include <array>
#include <cstdio>
#include <string>

#include "simcam/picturebrush.h"
#include "simcam/picturelayout.h"
#include "simcam/picturescene.h"

namespace simcam {

namespace {

void FillDown(cairo_t* context, double top, double bottom, Colour above, Colour below) {
  const CairoPattern gradient(cairo_pattern_create_linear(0, top, 0, bottom));
  constexpr double kFull = 255;
  double offset = 0;
  for (const Colour colour : {above, below}) {
    cairo_pattern_add_color_stop_rgb(gradient.get(), offset, ((colour >> 16U) & 0xFFU) / kFull,
                                     ((colour >> 8U) & 0xFFU) / kFull, (colour & 0xFFU) / kFull);
    offset = 1;
  }
  cairo_set_source(context, gradient.get());
  cairo_rectangle(context, 0, top, kSceneWidth, bottom - top);
  cairo_fill(context);
}

void PaintCloud(Brush& brush, Spot place, double size) {
  brush.Use(0xFFFFFF, 0.85);
  brush.Oval(place.x, place.y, 70 * size, 20 * size);
  brush.Disc(place.x - 24 * size, place.y - 14 * size, 24 * size)
      .Disc(place.x + 14 * size, place.y - 20 * size, 30 * size);
}

struct Balloon {
  Spot place;
  Colour skin;
  Colour stripe;
  const char* letter;
};

constexpr Balloon kBalloons[] = {
    {{170, 300}, 0xD8343C, 0xF6E7C1, "A"},  {{520, 120}, 0xF2A516, 0x8C3B0C, "B"},
    {{860, 250}, 0x2E9E5B, 0xE9F5D8, "C"},  {{1560, 270}, 0x7B45B5, 0xF0E2FA, "D"},
    {{1880, 110}, 0x1E7FC2, 0xFFE36E, "E"}, {{2280, 290}, 0xE2559B, 0xFFFFFF, "F"},
};

void PaintBalloon(Brush& brush, const Balloon& balloon) {
  constexpr double kRadius = 46;
  const auto [x, y] = balloon.place;
  brush.Use(0x4A3B2A).Line({x - 30, y + 30}, {x - 9, y + 80}, 1.5).Line({x + 30, y + 30}, {x + 9, y + 80}, 1.5);
  brush.Box(x - 11, y + 78, 22, 17);
  brush.Use(balloon.skin).Oval(x, y, kRadius, kRadius * 1.12);
  brush.Use(balloon.stripe).Oval(x, y, kRadius * 0.55, kRadius * 1.12);
  brush.Use(balloon.skin).Oval(x, y, kRadius * 0.44, kRadius * 1.12);
  brush.Use(0xFFFFFF).Text(x, y, 34, balloon.letter);
}

void PaintSky(cairo_t* context, Brush& brush) {
  FillDown(context, 0, layout::kGround, 0x2F74BF, 0xCFE6F5);
  brush.Use(0xFFF2B0, 0.35).Disc(1216, 110, 92).Use(0xFFE27A).Disc(1216, 110, 58);
  constexpr Spot kClouds[] = {{340, 190},  {700, 70},   {1060, 300}, {1420, 190},
                              {1720, 330}, {2100, 210}, {60, 90},    {2360, 90}};
  double size = 1.0;
  for (const Spot& cloud : kClouds) {
    PaintCloud(brush, cloud, size);
    size = size > 1.2 ? 0.8 : size + 0.15;
  }
  constexpr Spot kFarHills[] = {{0, 742},    {0, 560},    {260, 440},  {520, 570},  {800, 460},  {1080, 590},
                                {1340, 470}, {1620, 580}, {1900, 430}, {2180, 560}, {2432, 480}, {2432, 742}};
  brush.Use(0x8FB0CC).Shape(kFarHills);
  constexpr Spot kNearHills[] = {{0, 742},    {0, 650},    {400, 590},  {900, 660},
                                 {1400, 600}, {1950, 650}, {2432, 590}, {2432, 742}};
  brush.Use(0x6F9E86).Shape(kNearHills);
  for (const Balloon& balloon : kBalloons) {
    PaintBalloon(brush, balloon);
  }
}

enum class Top { Flat, Gable, Crenel };

struct House {
  double x;
  double width;
  double height;
  Colour wall;
  Colour roof;
  Top top;
  int columns;  // of windows
  int rows;     // of windows
  const char* number;
};

constexpr House kHouses[] = {
    {30, 180, 190, 0xB5483A, 0x5C2A24, Top::Gable, 3, 2, "1"},
    {228, 150, 300, 0xE9C46A, 0x8A6D2B, Top::Flat, 3, 4, "2"},
    {396, 210, 170, 0x2A9D8F, 0x17564E, Top::Flat, 4, 1, "3"},
    {624, 160, 250, 0xE76F51, 0x7C3423, Top::Gable, 3, 3, "4"},
    {802, 140, 340, 0x577590, 0x2F4152, Top::Flat, 3, 5, "5"},
    {960, 180, 210, 0xF1E3C6, 0x9C4A2F, Top::Gable, 3, 2, "6"},
    {1294, 170, 220, 0x90BE6D, 0x4C6B36, Top::Gable, 3, 2, "7"},
    {1482, 150, 330, 0xC9577B, 0x6D2A40, Top::Flat, 3, 5, "8"},
    {1650, 220, 180, 0xF8961E, 0x8F5209, Top::Flat, 4, 1, "9"},
    {1888, 150, 280, 0x6C63B5, 0x38336A, Top::Crenel, 3, 3, "10"},
    {2056, 160, 230, 0xDDE3E8, 0x5B6670, Top::Gable, 3, 2, "11"},
    {2234, 170, 320, 0x3D6FA5, 0x223F5F, Top::Flat, 3, 4, "12"},
};

void PaintTop(Brush& brush, const House& house) {
  constexpr double kEaves = 10;
  const double y = layout::kGround - house.height;
  brush.Use(house.roof);
  switch (house.top) {
    case Top::Gable:
      brush.Roof(house.x - kEaves, y, house.width + 2 * kEaves, 74);
      return;
    case Top::Crenel:
      for (int tooth = 0; tooth * 30 < house.width; ++tooth) {
        brush.Box(house.x + tooth * 30, y - 18, 18, 18);
      }
      [[fallthrough]];
    case Top::Flat:
      brush.Box(house.x - 5, y - 8, house.width + kEaves, 12);
      return;
  }
}

void PaintWindows(Brush& brush, const House& house) {
  constexpr double kDoorFloor = 84;
  constexpr double kWindowWidth = 24;
  constexpr double kWindowHeight = 34;
  const double floor = (house.height - kDoorFloor - 10) / house.rows;
  for (int row = 0; row < house.rows; ++row) {
    for (int column = 0; column < house.columns; ++column) {
      const double x = house.x + house.width * (column + 0.5) / house.columns - kWindowWidth / 2;
      const double y = layout::kGround - house.height + 12 + floor * row + (floor - kWindowHeight) / 2;
      brush.Use(0xF7F4EC).Box(x - 3, y - 3, kWindowWidth + 6, kWindowHeight + 6);
      brush.Use((row + column) % 3 == 1 ? 0xFFE9A3 : 0x35566E).Box(x, y, kWindowWidth, kWindowHeight);
      brush.Use(0xF7F4EC).Box(x + kWindowWidth / 2 - 1, y, 2, kWindowHeight);
    }
  }
}

// Door, sign with the number, and an awning over the shop window of a low wide house.
void PaintGroundFloor(Brush& brush, const House& house) {
  const double door = house.x + house.width - 52;
  brush.Use(0x3B2A20).Box(door, layout::kGround - 62, 34, 62);
  brush.Use(0xE8C766).Disc(door + 28, layout::kGround - 30, 2.5);
  brush.Use(0xFFFFFF).Box(house.x + 26, layout::kGround - 66, 54, 46);
  brush.Use(0x14202B).Box(house.x + 29, layout::kGround - 63, 48, 40);
  brush.Use(0xFFFFFF).Text(house.x + 53, layout::kGround - 43, 30, house.number);
  if (house.rows == 1) {
    brush.Use(0xBFE0EC).Box(house.x + 90, layout::kGround - 60, house.width - 152, 46);
    for (int stripe = 0; stripe * 12 < house.width; ++stripe) {
      brush.Use(stripe % 2 == 0 ? 0xFFFFFF : house.roof).Box(house.x + stripe * 12, layout::kGround - 84, 12, 18);
    }
  }
}

void PaintHouse(Brush& brush, const House& house) {
  brush.Use(house.wall).Box(house.x, layout::kGround - house.height, house.width, house.height);
  brush.Use(0x000000, 0.10).Box(house.x + house.width - 16, layout::kGround - house.height, 16, house.height);
  PaintTop(brush, house);
  PaintWindows(brush, house);
  PaintGroundFloor(brush, house);
}

void PaintClockTower(Brush& brush) {
  constexpr double kWidth = 100;
  constexpr double kLeft = layout::kClockX - kWidth / 2;
  constexpr double kHeight = 392;
  constexpr double kTop = layout::kGround - kHeight;
  brush.Use(0xD9C7A8).Box(kLeft, kTop, kWidth, kHeight);
  brush.Use(0xB9A582).Box(kLeft + kWidth - 18, kTop, 18, kHeight);
  brush.Use(0x8C3B2E).Roof(kLeft - 12, kTop, kWidth + 24, 110);
  brush.Use(0x6E5A3E).Box(kLeft - 6, kTop + 122, kWidth + 12, 8);
  brush.Use(0x3B2A20).Box(layout::kClockX - 20, layout::kGround - 76, 40, 76);
  for (const double y : {510.0, 580.0}) {
    brush.Use(0x4A3B2A).Box(layout::kClockX - 9, y, 18, 38);
  }
  brush.Use(0x4A3B2A).Disc(layout::kClockX, layout::kClockY, layout::kClockRadius + 5);
  brush.Use(0xFDFBF4).Disc(layout::kClockX, layout::kClockY, layout::kClockRadius);
  constexpr struct {
    Spot offset;
    const char* text;
  } kHours[] = {{{0, -30}, "12"}, {{31, 0}, "3"}, {{0, 31}, "6"}, {{-31, 0}, "9"}};
  for (const auto& hour : kHours) {
    brush.Use(0x202428).Text(layout::kClockX + hour.offset.x, layout::kClockY + hour.offset.y, 13, hour.text);
  }
}

// For judging colours: the eight of a test card.
void PaintColourBars(Brush& brush) {
  constexpr Colour kBars[] = {0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00, 0xFF00FF, 0xFF0000, 0x0000FF, 0x000000};
  constexpr double kLeft = 1660;
  constexpr double kTop = 452;
  brush.Use(0x3A4046).Box(kLeft + 30, kTop + 70, 8, 40).Box(kLeft + 162, kTop + 70, 8, 40);
  brush.Box(kLeft - 5, kTop - 5, 210, 80);
  double x = kLeft;
  for (const Colour bar : kBars) {
    brush.Use(bar).Box(x, kTop, 25, 70);
    x += 25;
  }
}

void PaintTree(Brush& brush, Spot foot, double size) {
  brush.Use(0x000000, 0.18).Oval(foot.x, foot.y, 34 * size, 6 * size);
  brush.Use(0x5A4027).Box(foot.x - 5 * size, foot.y - 50 * size, 10 * size, 50 * size);
  brush.Use(0x2F6B3A)
      .Disc(foot.x - 16 * size, foot.y - 62 * size, 24 * size)
      .Disc(foot.x + 17 * size, foot.y - 60 * size, 24 * size);
  brush.Use(0x3F8A4B).Disc(foot.x, foot.y - 84 * size, 30 * size);
}

void PaintStreet(Brush& brush) {
  constexpr double kMiddle = (layout::kRoad + layout::kRoadEnd) / 2;
  constexpr int kCrossing = 1150;
  brush.Use(0xC3BDB1).Box(0, layout::kGround, kSceneWidth, layout::kYard - layout::kGround);
  brush.Use(0x8F8A80).Box(0, layout::kRoad - 5, kSceneWidth, 5).Box(0, layout::kRoadEnd, kSceneWidth, 5);
  brush.Use(0x43474B).Box(0, layout::kRoad, kSceneWidth, layout::kRoadEnd - layout::kRoad);
  brush.Use(0xF3F0DE);
  for (int x = 10; x < kSceneWidth; x += 76) {
    brush.Box(x, kMiddle - 2.5, 40, 5);
  }
  brush.Use(0x43474B).Box(kCrossing - 12, layout::kRoad, 156, layout::kRoadEnd - layout::kRoad);
  brush.Use(0xF3F0DE);
  for (int x = kCrossing; x < kCrossing + 130; x += 24) {
    brush.Box(x, layout::kRoad + 6, 13, layout::kRoadEnd - layout::kRoad - 12);
  }
}

void PaintLamp(Brush& brush, double x) {
  brush.Use(0x2B3036).Box(x - 2.5, layout::kRoad - 150, 5, 150).Box(x - 2.5, layout::kRoad - 152, 34, 5);
  brush.Use(0xFFF0A8).Box(x + 18, layout::kRoad - 147, 16, 6);
}

struct ParkedCar {
  int place;
  Colour paint;
};

// A parked car from above, in the middle of its place.
void PaintParkedCar(Brush& brush, double x, double y, Colour paint) {
  brush.Use(0x000000, 0.3).Box(x - 27, y - 54, 58, 114);
  brush.Use(paint).Box(x - 29, y - 58, 58, 114);
  brush.Use(0x22303C).Box(x - 24, y - 32, 48, 22).Box(x - 24, y + 28, 48, 14);
  brush.Use(0xFFF3B0).Box(x - 27, y - 58, 12, 5).Box(x + 15, y - 58, 12, 5);
}

void PaintParking(Brush& brush) {
  constexpr double kLeft = 1300;
  constexpr double kPlace = 100;
  constexpr int kPlaces = 9;
  brush.Use(0x5A5F64).Box(kLeft - 20, layout::kYard, kPlace * kPlaces + 40, 210);
  brush.Use(0xF3F0DE);
  for (int line = 0; line <= kPlaces; ++line) {
    brush.Box(kLeft + kPlace * line - 2, layout::kYard + 20, 4, 170);
  }
  for (int place = 0; place < kPlaces; ++place) {
    const std::string number = std::to_string(21 + place);
    brush.Text(kLeft + kPlace * (place + 0.5), layout::kYard + 172, 28, number.c_str());
  }
  constexpr ParkedCar kParked[] = {{0, 0xC0392B}, {2, 0xECF0F1}, {3, 0x1E7FC2}, {6, 0xF2C230}, {8, 0x27303A}};
  for (const ParkedCar& car : kParked) {
    PaintParkedCar(brush, kLeft + kPlace * (car.place + 0.5), layout::kYard + 90, car.paint);
  }
}

void PaintPond(Brush& brush) {
  brush.Use(0xC9B98A).Oval(420, 1070, 236, 92).Use(0x3B8FC4).Oval(420, 1070, 222, 82);
  brush.Use(0x6FB6DE).Oval(370, 1050, 110, 22).Oval(500, 1098, 80, 14);
  constexpr Spot kDucks[] = {{330, 1090}, {420, 1062}, {520, 1078}};
  for (const Spot& duck : kDucks) {
    brush.Use(0xFFFFFF).Oval(duck.x, duck.y, 17, 9).Disc(duck.x + 13, duck.y - 10, 7);
    brush.Use(0xF2A516).Box(duck.x + 18, duck.y - 11, 9, 4);
  }
}

struct Post {
  Spot foot;
  Colour paint;
  const char* number;
};

constexpr Post kPosts[] = {
    {{760, 1030}, 0xD8343C, "31"},  {{900, 1120}, 0xF2A516, "32"},  {{1040, 1030}, 0x1E7FC2, "33"},
    {{1180, 1120}, 0x2E9E5B, "34"}, {{2290, 1030}, 0x7B45B5, "35"}, {{2370, 1130}, 0xE2559B, "36"},
    {{90, 1010}, 0xFFFFFF, "30"},
};

void PaintPost(Brush& brush, const Post& post) {
  const auto [x, y] = post.foot;
  brush.Use(0x000000, 0.2).Oval(x, y, 26, 7);
  brush.Use(0x3A4046).Box(x - 4, y - 74, 8, 74);
  brush.Use(0x14202B).Disc(x, y - 84, 31).Use(post.paint).Disc(x, y - 84, 28);
  brush.Use(post.paint == 0xFFFFFF ? 0x14202B : 0xFFFFFF).Text(x, y - 84, 26, post.number);
}

void PaintYard(cairo_t* context, Brush& brush) {
  FillDown(context, layout::kYard, kSceneHeight, 0x7DB55C, 0x4F8B3B);
  brush.Use(0xD8CBA6).Box(650, layout::kYard, 40, kSceneHeight - layout::kYard);
  PaintPond(brush);
  PaintParking(brush);
  for (const Post& post : kPosts) {
    PaintPost(brush, post);
  }
  brush.Use(0x33602F).Box(0, kSceneHeight - 34, kSceneWidth, 34);
  for (int x = 12; x < kSceneWidth; x += 26) {
    brush.Use(0x3F7439).Disc(x, kSceneHeight - 34, 15);
  }
}

std::string GridNumber(double value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), value == 0 ? "%.1f" : "%+.1f", value);
  return text.data();
}

// Fine lines every quarter of a range, and the position in numbers where two half ones meet.
void PaintGrid(Brush& brush) {
  constexpr int kQuarters = 8;  // from the middle to the edges, which the middle of the picture never reaches
  brush.Use(0xFFFFFF, 0.28);
  for (int step = -kQuarters; step <= kQuarters; ++step) {
    brush.Line({SceneXOf(step / 4.0), 0}, {SceneXOf(step / 4.0), kSceneHeight}, step % 2 == 0 ? 2 : 1);
    brush.Line({0, SceneYOf(step / 4.0)}, {kSceneWidth, SceneYOf(step / 4.0)}, step % 2 == 0 ? 2 : 1);
  }
  for (int pan = -kQuarters; pan <= kQuarters; pan += 2) {
    for (int tilt = -kQuarters; tilt <= kQuarters; tilt += 2) {
      const std::string text = GridNumber(pan / 4.0) + "  " + GridNumber(tilt / 4.0);
      const double x = SceneXOf(pan / 4.0);
      const double y = SceneYOf(tilt / 4.0);
      brush.Use(0x0B1A28, 0.62).Box(x - 48, y - 11, 96, 22);
      brush.Use(0xFFFFFF).Text(x, y, 16, text.c_str());
    }
  }
}

}  // namespace

void PaintScenery(cairo_t* context) {
  Brush brush(context);
  PaintSky(context, brush);
  PaintColourBars(brush);
  for (const House& house : kHouses) {
    PaintHouse(brush, house);
  }
  PaintClockTower(brush);
  PaintStreet(brush);
  for (const double x : {219.0, 615.0, 1152.0, 1281.0, 1641.0, 2047.0, 2420.0}) {
    PaintTree(brush, {x, layout::kGround + 8}, 0.75);
  }
  for (const double x : {110.0, 500.0, 870.0, 1380.0, 1760.0, 2140.0}) {
    PaintLamp(brush, x);
  }
  PaintYard(context, brush);
  PaintGrid(brush);
}

}  // namespace simcam
