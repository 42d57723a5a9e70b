#include "simcam/lens.h"

#include <gtest/gtest.h>

namespace {

using simcam::Lens;
using simcam::LensAxis;
using simcam::LensSpeed;
using simcam::LensVelocity;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr LensAxis::Time kStart{std::chrono::hours(1)};

simcam::PtzNode Node() {
  simcam::PtzNode node;
  node.pan = {-1, 1};
  node.tilt = {-1, 0.5};
  node.zoom = {0, 1};
  node.panTiltRate = 0.5;
  node.zoomRate = 0.25;
  return node;
}

TEST(Lens, StandsAtHomeInTheBeginning) {
  simcam::PtzNode node = Node();
  node.home = simcam::LensPosition{0.25, -0.5, 0.75};
  const Lens lens(node);
  EXPECT_EQ(lens.PositionAt(kStart).pan, 0.25);
  EXPECT_EQ(lens.PositionAt(kStart).tilt, -0.5);
  EXPECT_EQ(lens.PositionAt(kStart).zoom, 0.75);
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart));
}

TEST(Lens, ContinuousMoveGoesOnInProportionToTime) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, -0.5}, 0.5}, seconds(60));
  const simcam::LensPosition position = lens.PositionAt(kStart + milliseconds(800));
  EXPECT_DOUBLE_EQ(position.pan, 0.4);
  EXPECT_DOUBLE_EQ(position.tilt, -0.2);
  EXPECT_DOUBLE_EQ(position.zoom, 0.1);
  EXPECT_TRUE(lens.IsPanTiltMovingAt(kStart + milliseconds(800)));
  EXPECT_TRUE(lens.IsZoomMovingAt(kStart + milliseconds(800)));
}

TEST(Lens, ContinuousMoveEndsAtTheLimits) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{-1, 1}, -1.0}, seconds(60));
  const LensAxis::Time later = kStart + seconds(30);
  EXPECT_EQ(lens.PositionAt(later).pan, -1);
  EXPECT_EQ(lens.PositionAt(later).tilt, 0.5);
  EXPECT_EQ(lens.PositionAt(later).zoom, 0);
  EXPECT_FALSE(lens.IsPanTiltMovingAt(later));
  EXPECT_FALSE(lens.IsZoomMovingAt(later));
}

TEST(Lens, ContinuousMoveEndsWithItsTimeout) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, 0}, std::nullopt}, seconds(1));
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(5)).pan, 0.5);
  EXPECT_TRUE(lens.IsPanTiltMovingAt(kStart + milliseconds(999)));
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart + seconds(1)));
}

TEST(Lens, AxisThatIsNotNamedKeepsMoving) {
  Lens lens(Node());
  lens.Continuous(kStart, {std::nullopt, 1.0}, seconds(60));
  lens.Continuous(kStart + seconds(1), {LensVelocity::PanTilt{1, 0}, std::nullopt}, seconds(60));
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(2)).zoom, 0.5);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(2)).pan, 0.5);
}

TEST(Lens, NewMoveStartsWhereTheLastOneWas) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, 0}, std::nullopt}, seconds(60));
  lens.Continuous(kStart + seconds(1), {LensVelocity::PanTilt{-0.5, 0}, std::nullopt}, seconds(60));
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(2)).pan, 0.25);
}

TEST(Lens, ZeroVelocityStops) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, 0}, std::nullopt}, seconds(60));
  lens.Continuous(kStart + seconds(1), {LensVelocity::PanTilt{0, 0}, std::nullopt}, seconds(60));
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(9)).pan, 0.5);
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart + seconds(1)));
}

TEST(Lens, RelativeMoveGoesTheDistanceAndStops) {
  Lens lens(Node());
  lens.Relative(kStart, {LensVelocity::PanTilt{0.25, -0.125}, 0.5}, LensSpeed{1, 0.5, 1});
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + milliseconds(100)).pan, 0.05);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + milliseconds(100)).tilt, -0.025);
  EXPECT_EQ(lens.PositionAt(kStart + seconds(9)).pan, 0.25);
  EXPECT_EQ(lens.PositionAt(kStart + seconds(9)).tilt, -0.125);
  EXPECT_EQ(lens.PositionAt(kStart + seconds(9)).zoom, 0.5);
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart + seconds(9)));
}

TEST(Lens, RelativeMovesAddUp) {
  Lens lens(Node());
  for (int step = 0; step < 3; ++step) {
    lens.Relative(kStart + seconds(10 * step), {LensVelocity::PanTilt{0.125, 0}, std::nullopt}, LensSpeed());
  }
  EXPECT_EQ(lens.PositionAt(kStart + seconds(60)).pan, 0.375);
}

TEST(Lens, RelativeMoveCountsFromWhereARunningOneHasCome) {
  Lens lens(Node());
  lens.Relative(kStart, {LensVelocity::PanTilt{1, 0}, std::nullopt}, LensSpeed());
  lens.Relative(kStart + milliseconds(500), {LensVelocity::PanTilt{0.5, 0}, 0.25}, LensSpeed());
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(60)).pan, 0.75);  // 0.25 on the way, and 0.5
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(60)).zoom, 0.25);
}

TEST(Lens, RelativeMoveEndsAContinuousOne) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, 0}, 1.0}, seconds(60));
  lens.Relative(kStart + seconds(1), {LensVelocity::PanTilt{-0.125, 0}, std::nullopt}, LensSpeed());
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(60)).pan, 0.375);
  EXPECT_EQ(lens.PositionAt(kStart + seconds(60)).zoom, 1) << "the axis that it does not name goes on";
}

TEST(Lens, AbsoluteMoveGoesAtItsSpeedAndEndsExactly) {
  Lens lens(Node());
  lens.Absolute(kStart, {0.5, -0.5, 1}, LensSpeed{1, 0.5, 1});
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + milliseconds(500)).pan, 0.25);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + milliseconds(500)).tilt, -0.125);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + milliseconds(500)).zoom, 0.125);
  EXPECT_TRUE(lens.IsPanTiltMovingAt(kStart + milliseconds(1999))) << "tilt is not there yet";
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart + seconds(2)));
  EXPECT_TRUE(lens.IsZoomMovingAt(kStart + milliseconds(3999)));
  EXPECT_FALSE(lens.IsZoomMovingAt(kStart + seconds(4)));
  EXPECT_EQ(lens.PositionAt(kStart + seconds(4)).zoom, 1);
}

TEST(Lens, StopOnTheWayToAPlaceStandsThere) {
  Lens lens(Node());
  lens.Absolute(kStart, {1, 0, 0}, LensSpeed());
  lens.Stop(kStart + seconds(1), true, true);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(60)).pan, 0.5);
  EXPECT_FALSE(lens.IsPanTiltMovingAt(kStart + seconds(1)));
}

TEST(Lens, RelativeMoveIsClippedToTheLimits) {
  Lens lens(Node());
  lens.Relative(kStart, {LensVelocity::PanTilt{0, 1}, -1.0}, LensSpeed());
  EXPECT_EQ(lens.PositionAt(kStart + seconds(60)).tilt, 0.5);
  EXPECT_EQ(lens.PositionAt(kStart + seconds(60)).zoom, 0);
}

TEST(Lens, StopHaltsTheNamedAxesOnly) {
  Lens lens(Node());
  lens.Continuous(kStart, {LensVelocity::PanTilt{1, 0}, 1.0}, seconds(60));
  lens.Stop(kStart + seconds(1), true, false);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(2)).pan, 0.5);
  EXPECT_DOUBLE_EQ(lens.PositionAt(kStart + seconds(2)).zoom, 0.5);
}

}  // namespace
