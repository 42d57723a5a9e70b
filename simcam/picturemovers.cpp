// What moves in the scene by itself. Where it is follows from the time alone, so that a stream and a snapshot of the
// same moment agree.
#include <cmath>

#include "simcam/picturebrush.h"
#include "simcam/picturelayout.h"
#include "simcam/picturescene.h"

namespace simcam {

namespace {

using Time = std::chrono::system_clock::time_point;

// How far a period has gone at the time, 0 to 1.
double Phase(Time time, std::chrono::milliseconds period, double offset = 0) {
  const auto now = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
  const auto length = period.count();
  const double part = static_cast<double>((now % length + length) % length) / static_cast<double>(length);
  return std::fmod(part + offset, 1.0);
}

struct Ride {
  double road;  // where the wheels stand
  std::chrono::milliseconds period;
  double offset;     // 0 to 1 of the period
  double direction;  // 1 to the right, -1 to the left
  Colour paint;
};

constexpr double kCarLength = 116;

constexpr Ride kRides[] = {
    {layout::kFarLane, std::chrono::seconds(19), 0.0, -1, 0x2E9E5B},
    {layout::kFarLane, std::chrono::seconds(19), 0.45, -1, 0xF2C230},
    {layout::kNearLane, std::chrono::seconds(14), 0.1, 1, 0xD8343C},
    {layout::kNearLane, std::chrono::seconds(14), 0.4, 1, 0x2F6FD0},
    {layout::kNearLane, std::chrono::seconds(14), 0.75, 1, 0xF4F4F0},
};

// A car that drives to the right from (0, 0), where its back touches the road.
void DrawCar(Brush& brush, Colour paint) {
  constexpr Spot kBody[] = {{2, -12}, {2, -32}, {22, -36}, {36, -56}, {76, -56}, {92, -34}, {112, -30}, {116, -12}};
  constexpr Spot kWindows[] = {{29, -36}, {40, -52}, {73, -52}, {85, -36}};
  brush.Use(0x000000, 0.30).Oval(kCarLength / 2, -1, 62, 6);
  brush.Use(paint).Shape(kBody);
  brush.Use(0x22303C).Shape(kWindows);
  brush.Use(paint).Box(55, -52, 4, 17);
  brush.Use(0xFFF3B0).Box(110, -27, 6, 7);
  brush.Use(0xE03030).Box(2, -30, 5, 7);
  for (const double wheel : {26.0, 92.0}) {
    brush.Use(0x16181A).Disc(wheel, -11, 12).Use(0xB9BEC4).Disc(wheel, -11, 5);
  }
}

void DrawRide(cairo_t* context, const Ride& ride, Time time) {
  constexpr double kWay = kSceneWidth + 2 * kCarLength;
  const CairoScope scope(context);
  const double driven = Phase(time, ride.period, ride.offset) * kWay - kCarLength;
  cairo_translate(context, ride.direction > 0 ? driven : kSceneWidth - driven, ride.road);
  cairo_scale(context, ride.direction, 1);
  Brush brush(context);
  DrawCar(brush, ride.paint);
}

void DrawAirship(cairo_t* context, Time time) {
  constexpr double kLength = 200;
  constexpr double kAltitude = 190;
  const CairoScope scope(context);
  cairo_translate(context, Phase(time, std::chrono::seconds(47)) * (kSceneWidth + kLength) - kLength / 2, kAltitude);
  constexpr Spot kFin[] = {{-70, 0}, {-104, -30}, {-104, 30}};
  Brush brush(context);
  brush.Use(0x8A2F3A).Shape(kFin);
  brush.Use(0x5B6670).Box(-22, 26, 52, 16);
  brush.Use(0xE4E8EC).Oval(0, 0, 92, 32);
  brush.Use(0xB5303C).Box(-86, -3, 172, 6);
}

void DrawHand(Brush& brush, double turn, double length, double width) {
  const double angle = turn * 2 * M_PI;
  brush.Line({layout::kClockX, layout::kClockY},
             {layout::kClockX + length * std::sin(angle), layout::kClockY - length * std::cos(angle)}, width);
}

void DrawClockHands(Brush& brush, Time time) {
  using std::chrono::hours;
  using std::chrono::minutes;
  brush.Use(0x202428);
  DrawHand(brush, Phase(time, hours(12)), layout::kClockRadius * 0.5, 5);
  DrawHand(brush, Phase(time, hours(1)), layout::kClockRadius * 0.78, 3.5);
  brush.Use(0xD02A2A);
  DrawHand(brush, Phase(time, minutes(1)), layout::kClockRadius * 0.86, 1.6);
  brush.Disc(layout::kClockX, layout::kClockY, 3.5);
}

}  // namespace

void DrawMovers(cairo_t* context, Time time) {
  Brush brush(context);
  DrawAirship(context, time);
  DrawClockHands(brush, time);
  for (const Ride& ride : kRides) {
    DrawRide(context, ride, time);
  }
}

}  // namespace simcam
