// The lens: direction codes and speed levels become requests, and the arithmetic behind them.

#include <cmath>
#include <random>

#include "platform/devicepackowned.h"
#include "tests/onvif/driver_fixture.h"
#include "tests/support/test_locale.h"

namespace testsupport {
namespace {

using testing::ElementsAre;

std::string PanTilt(const std::string& x, const std::string& y) {
  return "<PanTilt x=\"" + x + "\" y=\"" + y + "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

std::string Zoom(const std::string& x) {
  return "<Zoom x=\"" + x + "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

std::string AskContinuous(const std::string& velocity) {
  return AskLens("ContinuousMove", "<Velocity>" + velocity + "</Velocity>");
}

std::string AskRelative(const std::string& panTilt, const std::string& zoom) {
  return AskLens("RelativeMove", "<Translation>" + panTilt + zoom + "</Translation><Speed>" + PanTilt("1", "1") +
                                     Zoom("1") + "</Speed>");
}

const std::string kAskHome = AskLens("GotoHomePosition", "<Speed>" + PanTilt("1", "1") + Zoom("1") + "</Speed>");

/// Range texts: pan, tilt and zoom, minimum and maximum each.
using RangeTexts = std::vector<std::string>;

const RangeTexts kUnitRange{"-1", "1", "-1", "1", "0", "1"};
const RangeTexts kNoBounds{"-INF", "INF", "-INF", "INF", "-INF", "INF"};

/// The record of a camera with these axes ("pan", "tilt", "zoom", "home") and ranges. An empty range text is a missing
/// one.
CameraCap LensCap(const std::vector<std::string>& keys, const RangeTexts& range) {
  CameraCap::MAP map = StoredCap().Map();
  for (const std::string& key : keys) map[key] = "continuous";
  const char* const names[] = {"ptz_xmin", "ptz_xmax", "ptz_ymin", "ptz_ymax", "ptz_zmin", "ptz_zmax"};
  for (std::size_t i = 0; i < range.size(); ++i) map[names[i]] = range[i];
  return CameraCap(map);
}

class Lens : public Driver {
 protected:
  void TearDown() override {
    EXPECT_EQ(Asked(m_camera), m_conversation);
    Driver::TearDown();
  }

  std::unique_ptr<ONVIFAPI> DriverOf(const RangeTexts& range,
                                     const std::vector<std::string>& keys = {"pan", "tilt", "zoom", "home"}) const {
    return MakeDriver(m_camera, "Rec,Live", LensCap(keys, range));
  }

  void Talk(const std::string& question, const Reply& reply = Reply::Ok(Envelope("<tptz:Response/>"))) {
    m_conversation.push_back(question);
    m_camera.Answer(reply);
  }

  std::vector<std::string> m_conversation;
};

/// A direction code that is served: the relative step and the velocity at level 5 on the range
/// (-1, 3), (-2, 0.5), (-4, 8).
struct Direction {
  int code;
  const char* step[3];
  const char* velocity[3];
};

const std::vector<Direction> kDirections{
    {1, {"0.125", "0", "0"}, {"3", "0", "0"}},    {9, {"0", "0.15625", "0"}, {"0", "0.5", "0"}},
    {17, {"-0.125", "0", "0"}, {"-1", "0", "0"}}, {25, {"0", "-0.15625", "0"}, {"0", "-2", "0"}},
    {33, {"0", "0", "0"}, {"0", "0", "0"}},       {34, {"0", "0", "0.75"}, {"0", "0", "8"}},
    {35, {"0", "0", "-0.75"}, {"0", "0", "-4"}},
};

const RangeTexts kOddRange{"-1", "3", "-2", "0.5", "-4", "8"};

const Direction* FindDirection(int code) {
  for (const Direction& direction : kDirections) {
    if (direction.code == code) return &direction;
  }
  return nullptr;
}

std::vector<std::string> Texts(const OVF_PTZ_MOVE_PARAM& vector) {
  return {DevicePackOwned::ftos(vector.dbX), DevicePackOwned::ftos(vector.dbY), DevicePackOwned::ftos(vector.dbZoom)};
}

std::vector<double> Numbers(const OVF_PTZ_MOVE_PARAM& vector) {
  return {vector.dbX, vector.dbY, vector.dbZoom};
}

class DirectionCode : public Lens, public testing::WithParamInterface<int> {
 protected:
  const Direction* m_direction = FindDirection(GetParam());
  bool m_allowed = GetParam() >= 1 && GetParam() <= 35;
  std::unique_ptr<ONVIFAPI> m_driver = DriverOf(kOddRange);

  // The result of an operation for a code that is not served, which asks the camera nothing.
  int UnservedResult() const { return m_allowed ? 1 : 7; }
};

TEST_P(DirectionCode, HasItsStep) {
  OVF_PTZ_MOVE_PARAM step{7, 7, 7};
  EXPECT_EQ(m_driver->GetPTZTranslation(GetParam(), step), m_direction != nullptr);
  if (m_direction == nullptr) {
    EXPECT_THAT(Numbers(step), ElementsAre(0.0, 0.0, 0.0));
    EXPECT_EQ(m_driver->LensPTZ(GetParam()), UnservedResult());
    return;
  }
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(Numbers(step)[i], std::stod(m_direction->step[i])) << "axis " << i;
  Talk(GetParam() == 33 ? kAskHome
                        : AskRelative(PanTilt(m_direction->step[0], m_direction->step[1]), Zoom(m_direction->step[2])));
  EXPECT_EQ(m_driver->LensPTZ(GetParam()), 0);
}

TEST_P(DirectionCode, HasItsVelocity) {
  OVF_PTZ_MOVE_PARAM velocity{7, 7, 7};
  EXPECT_EQ(m_driver->GetPTZVelocity(GetParam(), velocity, 5), m_direction != nullptr);
  if (m_direction == nullptr) {
    EXPECT_THAT(Numbers(velocity), ElementsAre(0.0, 0.0, 0.0));
    EXPECT_EQ(m_driver->LensPTZSpeedStart(GetParam(), 5), UnservedResult());
    EXPECT_EQ(m_driver->LensPTZStart(GetParam()), UnservedResult());
    return;
  }
  EXPECT_THAT(Texts(velocity),
              ElementsAre(m_direction->velocity[0], m_direction->velocity[1], m_direction->velocity[2]));
  const std::string ask =
      GetParam() == 33
          ? kAskHome
          : AskContinuous(PanTilt(m_direction->velocity[0], m_direction->velocity[1]) + Zoom(m_direction->velocity[2]));
  Talk(ask);
  EXPECT_EQ(m_driver->LensPTZSpeedStart(GetParam(), 5), 0);
  Talk(ask);
  EXPECT_EQ(m_driver->LensPTZStart(GetParam()), 0);
}

TEST_P(DirectionCode, StopsOnAnyAllowedCodeByAZeroVelocityAndNeverByStop) {
  if (m_allowed) Talk(AskContinuous(PanTilt("0", "0") + Zoom("0")));
  EXPECT_EQ(m_driver->LensPTZStop(GetParam()), m_allowed ? 0 : 7);
}

TEST_P(DirectionCode, Is7OnAModelThatDoesNotAllowIt) {
  const auto driver = DriverOf(kOddRange, {});
  EXPECT_EQ(driver->LensPTZ(GetParam()), 7);
  EXPECT_EQ(driver->LensPTZStart(GetParam()), 7);
  EXPECT_EQ(driver->LensPTZSpeedStart(GetParam(), 5), 7);
  EXPECT_EQ(driver->LensPTZStop(GetParam()), 7);
}

std::string NameOfCode(const testing::TestParamInfo<int>& info) {
  return info.param < 0 ? "Minus" + std::to_string(-info.param) : std::to_string(info.param);
}

INSTANTIATE_TEST_SUITE_P(All, DirectionCode, testing::Range(-1, 41), NameOfCode);

TEST_F(Lens, ExtremeCodesAreNotServed) {
  const auto driver = DriverOf(kUnitRange);
  for (const int code : {2147483647, -2147483647 - 1, 257}) {
    OVF_PTZ_MOVE_PARAM vector{7, 7, 7};
    EXPECT_FALSE(driver->GetPTZTranslation(code, vector)) << code;
    EXPECT_FALSE(driver->GetPTZVelocity(code, vector, 5)) << code;
    EXPECT_EQ(driver->LensPTZ(code), 7) << code;
  }
}

using LensStep = Lens;

TEST_F(LensStep, PanIsDeliberatelyHalfAsFineAPartOfItsRangeAsTheOthers) {
  const auto driver = DriverOf(kUnitRange);
  Talk(AskRelative(PanTilt("0.0625", "0"), Zoom("0")));
  EXPECT_EQ(driver->LensPTZ(1), 0);
  Talk(AskRelative(PanTilt("0", "0.125"), Zoom("0")));
  EXPECT_EQ(driver->LensPTZ(9), 0);
  Talk(AskRelative(PanTilt("0", "0"), Zoom("-0.0625")));
  EXPECT_EQ(driver->LensPTZ(35), 0);
}

/// Bounds of one axis, and the step that follows for pan (a 32nd) and for tilt and zoom (a 16th).
struct StepRow {
  const char* name;
  const char* min;
  const char* max;
  double pan;
  double other;
};

void PrintTo(const StepRow& row, std::ostream* out) {
  *out << '(' << row.min << ", " << row.max << ')';
}

class StepOfRange : public Lens, public testing::WithParamInterface<StepRow> {};

TEST_P(StepOfRange, IsTheSameRuleOnEachAxis) {
  const StepRow& row = GetParam();
  const RangeTexts unit{"-1", "1", "-1", "1", "-1", "1"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    RangeTexts range = unit;
    range[2 * axis] = row.min;
    range[2 * axis + 1] = row.max;
    OVF_PTZ_MOVE_PARAM step{7, 7, 7};
    DriverOf(range)->GetPTZMovement(step.dbX, step.dbY, step.dbZoom);
    std::vector<double> expected{0.0625, 0.125, 0.125};
    expected[axis] = axis == 0 ? row.pan : row.other;
    EXPECT_EQ(Numbers(step), expected) << "axis " << axis;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, StepOfRange,
    testing::Values(StepRow{"NoBounds", "-INF", "INF", 0.2, 0.2}, StepRow{"NoMinimum", "-INF", "180", 0.2, 0.2},
                    StepRow{"NoMaximum", "-180", "INF", 0.2, 0.2}, StepRow{"MissingTexts", "", "", 0.2, 0.2},
                    StepRow{"WholeCircle", "-180", "180", 11.25, 22.5}, StepRow{"Reversed", "1", "-1", -0.0625, -0.125},
                    StepRow{"Empty", "3", "3", 0, 0}, StepRow{"NoNumbers", "left", "right", 0, 0},
                    StepRow{"NumberWithTextBehind", "0deg", "32deg", 1, 2},
                    StepRow{"DecimalComma", "0,5", "32,5", 1, 2}, StepRow{"BlanksAndExponent", " 0", " 3.2e1", 1, 2},
                    StepRow{"Hexadecimal", "0x0", "0x20", 1, 2}),
    NameOfRow<StepRow>);

using LensSpeed = Lens;

TEST_F(LensSpeed, LevelsAreFifthsOfTheBoundWithoutLimit) {
  const auto driver = DriverOf({"-2", "2", "-1", "1", "0", "1"});
  const std::pair<int, const char*> levels[] = {{0, "0"},  {1, "0.4"}, {5, "2"},
                                                {10, "4"}, {-5, "-2"}, {2147483647, "858993458.8"}};
  for (const auto& [level, x] : levels) {
    OVF_PTZ_MOVE_PARAM velocity{7, 7, 7};
    EXPECT_TRUE(driver->GetPTZVelocity(1, velocity, level)) << level;
    EXPECT_EQ(velocity.dbX, std::stod(x)) << level;
    EXPECT_EQ(velocity.dbY, 0.0) << level;
    EXPECT_EQ(velocity.dbZoom, 0.0) << level;
  }
}

TEST_F(LensSpeed, LowerBoundGivesTheNegativeVelocity) {
  Talk(AskContinuous(PanTilt("-0.2", "0") + Zoom("0")));
  EXPECT_EQ(DriverOf(kNoBounds)->LensPTZSpeedStart(17, 1), 0);
  Talk(AskContinuous(PanTilt("-0.4", "0") + Zoom("0")));
  EXPECT_EQ(DriverOf({"-2", "2", "-1", "1", "0", "1"})->LensPTZSpeedStart(17, 1), 0);
}

TEST_F(LensSpeed, SideWithoutBoundCountsAsOne) {
  const auto driver = DriverOf(kNoBounds);
  const std::pair<int, std::vector<double>> codes[] = {{1, {1, 0, 0}},   {17, {-1, 0, 0}}, {9, {0, 1, 0}},
                                                       {25, {0, -1, 0}}, {34, {0, 0, 1}},  {35, {0, 0, -1}}};
  for (const auto& [code, expected] : codes) {
    OVF_PTZ_MOVE_PARAM velocity{7, 7, 7};
    EXPECT_TRUE(driver->GetPTZVelocity(code, velocity, 5));
    EXPECT_EQ(Numbers(velocity), expected) << "code " << code;
  }
}

TEST_F(LensSpeed, OnlyTheBoundOfItsOwnDirectionIsLookedAt) {
  OVF_PTZ_MOVE_PARAM velocity{7, 7, 7};
  EXPECT_TRUE(DriverOf({"-INF", "3", "-1", "1", "0", "1"})->GetPTZVelocity(1, velocity, 5));
  EXPECT_EQ(velocity.dbX, 3.0);
  EXPECT_TRUE(DriverOf({"-3", "INF", "-1", "1", "0", "1"})->GetPTZVelocity(17, velocity, 5));
  EXPECT_EQ(velocity.dbX, -3.0);
  EXPECT_TRUE(DriverOf({"none", "3", "-1", "1", "0", "1"})->GetPTZVelocity(17, velocity, 5));
  EXPECT_EQ(velocity.dbX, 0.0);
}

// A minimum of zero stays zero: zooming out by velocity needs a negative bound.
TEST_F(LensSpeed, ZoomOutOfARangeFromZeroIsAVelocityOfZero) {
  Talk(AskContinuous(PanTilt("0", "0") + Zoom("0")));
  EXPECT_EQ(DriverOf(kUnitRange)->LensPTZSpeedStart(35, 5), 0);
}

// The texts of the range are the camera's, whatever the host's locale is.
TEST_F(LensSpeed, LocaleWithDecimalCommaChangesNothing) {
  const CommaLocale locale;
  if (!locale.Reason().empty()) GTEST_SKIP() << locale.Reason();
  const auto driver = DriverOf({"-1.5", "2.5", "-0.5", "0.5", "0.25", "0.75"});
  Talk(AskRelative(PanTilt("0.125", "0"), Zoom("0")));
  EXPECT_EQ(driver->LensPTZ(1), 0);
  Talk(AskRelative(PanTilt("0", "0"), Zoom("0.03125")));
  EXPECT_EQ(driver->LensPTZ(34), 0);
  Talk(AskContinuous(PanTilt("-1.5", "0") + Zoom("0")));
  EXPECT_EQ(driver->LensPTZStart(17), 0);
  Talk(AskContinuous(PanTilt("0", "0.1") + Zoom("0")));
  EXPECT_EQ(driver->LensPTZSpeedStart(9, 1), 0);
}

/// Axes of a model, a code that it allows, and the velocity that stops it.
struct AxesRow {
  const char* name;
  std::vector<std::string> keys;
  int code;
  std::string stop;
};

void PrintTo(const AxesRow& row, std::ostream* out) {
  *out << row.name;
}

class LensAxes : public Lens, public testing::WithParamInterface<AxesRow> {};

TEST_P(LensAxes, StopHoldsEveryAxisThatTheModelHas) {
  Talk(AskContinuous(GetParam().stop));
  EXPECT_EQ(DriverOf(kUnitRange, GetParam().keys)->LensPTZStop(GetParam().code), 0);
}

INSTANTIATE_TEST_SUITE_P(Table, LensAxes,
                         testing::Values(AxesRow{"Pan", {"pan"}, 17, PanTilt("0", "0")},
                                         AxesRow{"Tilt", {"tilt"}, 25, PanTilt("0", "0")},
                                         AxesRow{"Zoom", {"zoom"}, 35, Zoom("0")},
                                         AxesRow{"PanAndZoom", {"pan", "zoom"}, 34, PanTilt("0", "0") + Zoom("0")},
                                         AxesRow{"HomeAlone", {"home"}, 33, ""}),
                         NameOfRow<AxesRow>);

TEST_F(LensAxes, ZoomOnlyModelDoesNotStopOnATiltCode) {
  EXPECT_EQ(DriverOf(kUnitRange, {"zoom"})->LensPTZStop(25), 7);
}

TEST_F(LensAxes, ZoomOnlyModelSendsTheWholeRelativeVector) {
  Talk(AskRelative(PanTilt("0", "0"), Zoom("0.0625")));
  EXPECT_EQ(DriverOf(kUnitRange, {"zoom"})->LensPTZ(34), 0);
  Talk(AskContinuous(Zoom("1")));
  EXPECT_EQ(DriverOf(kUnitRange, {"zoom"})->LensPTZStart(34), 0);
}

using LensFailure = Lens;

TEST_F(LensFailure, IsOneWhateverItsCause) {
  const auto move = [](ONVIFAPI& driver, int operation) {
    if (operation == 0) return driver.LensPTZ(1);
    if (operation == 1) return driver.LensPTZ(33);
    if (operation == 2) return driver.LensPTZStart(1);
    if (operation == 3) return driver.LensPTZSpeedStart(33, 1);
    return driver.LensPTZStop(1);
  };
  for (const RequestFailure& failure : RequestFailures()) {
    for (int operation = 0; operation < 5; ++operation) {
      ScriptedCamera camera;
      camera.Answer(failure.reply);
      EXPECT_EQ(move(*MakeDriver(camera, "Rec", LensCap({"pan", "home"}, kUnitRange)), operation), 1)
          << failure.name << ", operation " << operation;
      EXPECT_EQ(camera.Requests().size(), 1U) << failure.name << ", operation " << operation;
    }
  }
}

/// A driver whose class overrides the start.
class OwnStart : public ONVIFAPI {
 public:
  using ONVIFAPI::ONVIFAPI;

  int LensPTZSpeedStart(int code, int speed) override {
    m_started.emplace_back(code, speed);
    return 42;
  }

  std::vector<std::pair<int, int>> m_started;
};

TEST_F(Lens, StartGoesThroughTheVirtualTableWithLevel5) {
  CameraCap cap = StoredCap();
  OwnStart driver("127.0.0.1", m_camera.Port(), kUser, kPassword, "Rec", cap);
  EXPECT_EQ(driver.LensPTZStart(9), 42);
  EXPECT_EQ(driver.LensPTZStart(-7), 42) << "the code is the override's to judge";
  EXPECT_THAT(driver.m_started, ElementsAre(testing::Pair(9, 5), testing::Pair(-7, 5)));
}

// What the text says, written down independently: bounds are exact multiples of 1/64, so that no rounding hides a wrong
// factor.
class LensArithmetic : public Lens {
 protected:
  struct Bounds {
    bool noMin;
    bool noMax;
    double min;
    double max;
  };

  Bounds RandomBounds() {
    std::uniform_int_distribution<int> sixtyFourths(-64 * 360, 64 * 360);
    std::uniform_int_distribution<int> oneInFour(0, 3);
    return {oneInFour(m_random) == 0, oneInFour(m_random) == 0, sixtyFourths(m_random) / 64.0,
            sixtyFourths(m_random) / 64.0};
  }

  static RangeTexts TextsOf(const std::vector<Bounds>& axes) {
    RangeTexts range;
    for (const Bounds& axis : axes) {
      range.push_back(axis.noMin ? "-INF" : DevicePackOwned::ftos(axis.min));
      range.push_back(axis.noMax ? "INF" : DevicePackOwned::ftos(axis.max));
    }
    return range;
  }

  std::mt19937 m_random{20240311};
};

TEST_F(LensArithmetic, StepsFollowTheRangeOverRandomRanges) {
  const double divisors[] = {32, 16, 16};
  for (int run = 0; run < 500; ++run) {
    const std::vector<Bounds> axes{RandomBounds(), RandomBounds(), RandomBounds()};
    OVF_PTZ_MOVE_PARAM step{7, 7, 7};
    DriverOf(TextsOf(axes))->GetPTZMovement(step.dbX, step.dbY, step.dbZoom);
    for (std::size_t i = 0; i < 3; ++i) {
      const bool bounded = !axes[i].noMin && !axes[i].noMax;
      const double expected = bounded ? (axes[i].max - axes[i].min) / divisors[i] : 0.2;
      ASSERT_EQ(Numbers(step)[i], expected) << "axis " << i << " of " << testing::PrintToString(TextsOf(axes));
    }
  }
}

TEST_F(LensArithmetic, VelocitiesFollowTheBoundOverRandomRangesAndSpeeds) {
  const std::pair<int, int> codes[] = {{1, 17}, {9, 25}, {34, 35}};
  std::uniform_int_distribution<int> speeds(-20, 20);
  for (int run = 0; run < 500; ++run) {
    const std::vector<Bounds> axes{RandomBounds(), RandomBounds(), RandomBounds()};
    const auto driver = DriverOf(TextsOf(axes));
    const int speed = speeds(m_random);
    for (std::size_t i = 0; i < 3; ++i) {
      for (const bool positive : {true, false}) {
        const double bound = positive ? (axes[i].noMax ? 1.0 : axes[i].max) : (axes[i].noMin ? -1.0 : axes[i].min);
        std::vector<double> expected{0, 0, 0};
        expected[i] = bound * (speed / 5.0);
        OVF_PTZ_MOVE_PARAM velocity{7, 7, 7};
        ASSERT_TRUE(driver->GetPTZVelocity(positive ? codes[i].first : codes[i].second, velocity, speed));
        ASSERT_EQ(Numbers(velocity), expected)
            << "speed " << speed << ", axis " << i << " of " << testing::PrintToString(TextsOf(axes));
      }
    }
  }
}

TEST_F(LensArithmetic, OppositeStepsAreEachOthersNegative) {
  const std::pair<int, int> codes[] = {{1, 17}, {9, 25}, {34, 35}};
  for (int run = 0; run < 100; ++run) {
    const auto driver = DriverOf(TextsOf({RandomBounds(), RandomBounds(), RandomBounds()}));
    for (const auto& [positive, negative] : codes) {
      OVF_PTZ_MOVE_PARAM there{};
      OVF_PTZ_MOVE_PARAM back{};
      ASSERT_TRUE(driver->GetPTZTranslation(positive, there));
      ASSERT_TRUE(driver->GetPTZTranslation(negative, back));
      ASSERT_THAT(Numbers(back), ElementsAre(-there.dbX, -there.dbY, -there.dbZoom)) << "code " << positive;
    }
  }
}

}  // namespace
}  // namespace testsupport
