// Where things stand in the scene, in scene pixels.
#pragma once

namespace simcam::layout {

constexpr double kGround = 742;    // where the houses stand
constexpr double kRoad = 778;      // far edge of the road
constexpr double kRoadEnd = 912;   // near edge of the road
constexpr double kFarLane = 838;   // where wheels stand
constexpr double kNearLane = 900;  // where wheels stand
constexpr double kYard = 938;      // far edge of the yard in front

constexpr double kClockX = 1216;
constexpr double kClockY = 410;
constexpr double kClockRadius = 40;

}  // namespace simcam::layout
