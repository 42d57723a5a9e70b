#include "camctl/lens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camctl/usageerror.h"
#include "tests/camctl/session_fixture.h"

namespace camctl {
namespace {

std::string ErrorOfDirection(const std::string& text) {
  try {
    ReadDirection(text);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(ReadDirection, NamesAndCodes) {
  const std::pair<const char*, int> rows[] = {{"right", 1}, {"up", 9},    {"left", 17}, {"down", 25}, {"in", 34},
                                              {"out", 35},  {"home", 33}, {"5", 5},     {"0", 0},     {"99", 99}};
  for (const auto& [text, code] : rows) EXPECT_EQ(ReadDirection(text), code) << text;
}

TEST(ReadDirection, NearMisses) {
  for (const char* text : {"", "Left", "left ", "+1", "-1", "1.0"}) {
    EXPECT_THAT(ErrorOfDirection(text),
                testing::HasSubstr("is no direction; give right, up, left, down, in, out, home"))
        << text;
  }
  EXPECT_THAT(ErrorOfDirection("100"), testing::HasSubstr("from 0 to 99"));
}

TEST(FirstDirection, IsOneThatTheRecordAllows) {
  EXPECT_EQ(FirstDirection(CameraCap(Capabilities{{"pan", "step"}, {"tilt", "step"}, {"zoom", "step"}})), 1);
  EXPECT_EQ(FirstDirection(CameraCap(Capabilities{{"tilt", "step"}, {"zoom", "step"}})), 9);
  EXPECT_EQ(FirstDirection(CameraCap(Capabilities{{"zoom", "step"}})), 34);
  EXPECT_EQ(FirstDirection(CameraCap()), 1);
}

TEST(StopLens, TriesThreeTimes) {
  LiveCamera live("ptz-dome");
  Connection connection = live.GetConnection();
  connection.profiles = "nosuch";
  connection.capabilities = {{"ptz_entry", live.Camera().Model().paths.ptz}, {"pan", "continuous"}};
  Session session(connection);
  int exchanges = 0;
  session.SetListener([&exchanges](const Evidence&) { ++exchanges; });
  EXPECT_EQ(StopLens(1).run(session).result, 1);
  EXPECT_EQ(exchanges, 3);
}

TEST(StopLens, DirectionThatTheModelLacksIsNotTried) {
  Connection connection;
  Session session(connection);
  EXPECT_EQ(StopLens(1).run(session).result, 7);
  EXPECT_FALSE(session.LastEvidence().has_value());
}

}  // namespace
}  // namespace camctl
