// GetRealQualText and ConvertVideoStrFromOnvifToHx: the server's words for what the camera calls otherwise.

#include <cstdint>
#include <random>

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

class Quality : public Driver {
 protected:
  std::string Mapped(const std::string& level, const std::string& min, const std::string& max) {
    return MakeDriver(m_camera, "Rec,Live", CameraCap({{"quality_min", min}, {"quality_max", max}}))
        ->GetRealQualText(level);
  }

  void TearDown() override {
    EXPECT_TRUE(m_camera.Requests().empty()) << "nothing is asked for it";
    Driver::TearDown();
  }
};

// What is left of a number in 32 bits.
std::int64_t Wrapped(std::int64_t number) {
  constexpr std::int64_t kRound = std::int64_t{1} << 32;
  std::int64_t rest = number % kRound;
  if (rest < -(kRound / 2)) rest += kRound;
  if (rest >= kRound / 2) rest -= kRound;
  return rest;
}

std::string Expected(std::int64_t level, std::int64_t min, std::int64_t max) {
  const std::int64_t product = Wrapped(level * Wrapped(max - min));
  const std::int64_t fifth = product < 0 ? -(-product / 5) : product / 5;
  return std::to_string(Wrapped(fifth + min));
}

TEST_F(Quality, Level3Of0To100Is60) {
  EXPECT_EQ(Mapped("3", "0", "100"), "60");
}

TEST_F(Quality, Level5IsTheHighestAndLevel0TheLowest) {
  for (const auto& [min, max] : {std::pair{"1", "100"}, {"0", "10"}, {"-7", "8"}, {"100", "1"}, {"6", "6"}}) {
    EXPECT_EQ(Mapped("0", min, max), min);
    EXPECT_EQ(Mapped("5", min, max), max);
  }
}

TEST_F(Quality, AllLevelsOfAllSmallBounds) {
  for (int min = -12; min <= 12; ++min) {
    for (int max = -12; max <= 12; ++max) {
      for (int level = 0; level <= 10; ++level) {
        ASSERT_EQ(Mapped(std::to_string(level), std::to_string(min), std::to_string(max)), Expected(level, min, max))
            << level << " of " << min << ".." << max;
      }
    }
  }
}

TEST_F(Quality, DivisionTruncatesTowardsZeroAlsoForReversedBounds) {
  EXPECT_EQ(Mapped("1", "0", "9"), "1");
  EXPECT_EQ(Mapped("1", "9", "0"), "8") << "-9 / 5 is -1";
  EXPECT_EQ(Mapped("-1", "0", "9"), "-1");
}

TEST_F(Quality, WhatIsNoNumberCountsAsZero) {
  EXPECT_EQ(Mapped("", "2", "7"), "2");
  EXPECT_EQ(Mapped("best", "2", "7"), "2");
  EXPECT_EQ(Mapped("3.9", "2.5 of", " 7"), "5");
  EXPECT_EQ(Mapped("5", "low", "high"), "0");
}

TEST_F(Quality, WithoutStoredBoundsTheScaleIs1To100) {
  EXPECT_EQ(MakeDriver(m_camera)->GetRealQualText("5"), "100");
  EXPECT_EQ(MakeDriver(m_camera)->GetRealQualText("0"), "1");
  EXPECT_EQ(MakeDriver(m_camera)->GetRealQualText("1"), "20");
}

TEST_F(Quality, WhatExceeds32BitsWraps) {
  EXPECT_EQ(Mapped("5", "-2147483648", "2147483647"), "2147483647");
  EXPECT_EQ(Mapped("1", "-2147483648", "2147483647"), "-2147483648")
      << "the difference wraps to -1, a fifth of it is 0";
  EXPECT_EQ(Mapped("2", "0", "2147483647"), "0") << "the product wraps to -2";
  EXPECT_EQ(Mapped("5", "0", "858993460"), Expected(5, 0, 858993460));
  EXPECT_EQ(Mapped("-1", "0", "-2147483648"), Expected(-1, 0, -2147483648LL));
  EXPECT_EQ(Mapped("99999999999999999999", "0", "5"), Expected(2147483647, 0, 5)) << "a text is clamped first";
  EXPECT_EQ(Mapped("5", "-99999999999999999999", "0"), Expected(5, -2147483648LL, 0));
}

TEST_F(Quality, RandomBoundsOfAnySize) {
  std::mt19937 random(7);
  std::uniform_int_distribution<std::int32_t> any(INT32_MIN, INT32_MAX);
  for (int round = 0; round < 5000; ++round) {
    const std::int32_t level = round % 2 == 0 ? round % 11 : any(random);
    const std::int32_t min = any(random);
    const std::int32_t max = any(random);
    ASSERT_EQ(Mapped(std::to_string(level), std::to_string(min), std::to_string(max)), Expected(level, min, max))
        << level << " of " << min << ".." << max;
  }
}

using CodecName = Driver;

TEST_F(CodecName, TablesOfBothSidesAgreePositionForPosition) {
  const char* const media[] = {"JPEG", "MPEG4", "H264"};
  const char* const server[] = {"mjpeg", "mpeg4", "h264"};
  const auto driver = MakeDriver(m_camera);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(OnvifMediaService::m_rgstrCodec[i], media[i]);
    EXPECT_EQ(ONVIFAPI::m_rgstrLwrCodec[i], server[i]);
    EXPECT_EQ(driver->ConvertVideoStrFromOnvifToHx(media[i]), server[i]);
  }
}

TEST_F(CodecName, AnyOtherNameIsEmpty) {
  const auto driver = MakeDriver(m_camera);
  for (const char* name : {"h264", "jpeg", "mjpeg", "mpeg4", "H265", "H264 ", " H264", "H26", "H2640", ""}) {
    EXPECT_EQ(driver->ConvertVideoStrFromOnvifToHx(name), "") << '"' << name << '"';
  }
  EXPECT_EQ(driver->ConvertVideoStrFromOnvifToHx(std::string("H264\0", 5)), "");
}

}  // namespace
}  // namespace testsupport
