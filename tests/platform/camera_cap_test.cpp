#include "platform/cameracap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

CameraCap CapOf(CameraCap::MAP map) {
  return CameraCap(std::move(map));
}

Texts Entries(const CameraCap& cap) {
  Texts texts{"old", "old", "old", "old", "old"};
  cap.GetServiceEnt(texts[0], texts[1], texts[2]);
  cap.GetONVIFVersion(texts[3], texts[4]);
  return texts;
}

Texts Range(const CameraCap& cap) {
  const PTZ_RANGE range = cap.GetPTZRange();
  return {range.strXMin, range.strXMax, range.strYMin, range.strYMax, range.strZoomMin, range.strZoomMax};
}

/// The map that a dome camera's driver reports.
CameraCap::MAP DomeMap() {
  return {{"device_entry", "/onvif/device"},
          {"media_entry", "/onvif/media"},
          {"ptz_entry", "/onvif/ptz"},
          {"version_major", "2"},
          {"version_minor", "4"},
          {"quality_min", "10"},
          {"quality_max", "90"},
          {"pan", "continuous"},
          {"tilt", "continuous"},
          {"zoom", "continuous"},
          {"home", "yes"},
          {"preset", "16"},
          {"ptz_xmin", "-1"},
          {"ptz_xmax", "1"},
          {"ptz_ymin", "-0.5"},
          {"ptz_ymax", "0.5"},
          {"ptz_zmin", "0"},
          {"ptz_zmax", "1.0"}};
}

void ExpectDome(const CameraCap& cap) {
  EXPECT_EQ(Entries(cap), (Texts{"/onvif/device", "/onvif/media", "/onvif/ptz", "2", "4"}));
  EXPECT_EQ(cap.GetMinQual() + " " + cap.GetMaxQual(), "10 90");
  EXPECT_EQ(Range(cap), (Texts{"-1", "1", "-0.5", "0.5", "0", "1.0"}));
  EXPECT_EQ(cap.GetPtzCap(), 7u);
  EXPECT_EQ(cap.GetPresetCnt(), 16);
}

TEST(CameraCap, EmptyRecordKnowsNothing) {
  const CameraCap cap;
  EXPECT_EQ(Entries(cap), (Texts{"", "", "", "", ""}));
  EXPECT_EQ(cap.GetMinQual() + " " + cap.GetMaxQual(), "1 100");
  EXPECT_EQ(Range(cap), (Texts{"-INF", "INF", "-INF", "INF", "-INF", "INF"}));
  EXPECT_EQ(cap.GetPtzCap(), 0u);
  EXPECT_EQ(cap.GetPresetCnt(), 0);
  for (int code = -1; code <= 40; ++code) EXPECT_EQ(cap.IsPTZValid(code), 0) << code;
}

TEST(CameraCap, MapThatADriverReportedIsReadBack) {
  ExpectDome(CameraCap(DomeMap()));
  EXPECT_EQ(CameraCap(DomeMap()).Map(), DomeMap());
}

TEST(CameraCap, EachAxisIsABit) {
  EXPECT_EQ(CapOf({{"pan", "step"}}).GetPtzCap(), 1u);
  EXPECT_EQ(CapOf({{"tilt", "step"}}).GetPtzCap(), 2u);
  EXPECT_EQ(CapOf({{"zoom", "step"}}).GetPtzCap(), 4u);
}

TEST(CameraCap, EmptyValueIsAMissingOne) {
  const CameraCap cap = CapOf({{"pan", ""}, {"quality_min", ""}, {"ptz_xmin", ""}, {"home", ""}});
  EXPECT_EQ(cap.GetPtzCap(), 0u);
  EXPECT_EQ(cap.GetMinQual(), "1");
  EXPECT_EQ(Range(cap)[0], "-INF");
  EXPECT_EQ(cap.IsPTZValid(33), 0);
}

TEST(CameraCap, PresetCountIsReadWithoutTrust) {
  const std::vector<std::pair<const char*, int>> cases{
      {"0", 0}, {"1", 1}, {"-1", 0}, {"", 0}, {"abc", 0}, {"99999999999999999999", 65535}, {" 12x", 12}};
  for (const auto& [text, count] : cases) EXPECT_EQ(CapOf({{"preset", text}}).GetPresetCnt(), count) << text;
}

TEST(CameraCap, KeysThatItDoesNotKnowStayInTheRecord) {
  CameraCap::MAP map = DomeMap();
  map["fps_h264_1280x720"] = "1,2,3";
  map[""] = "empty key";
  map["empty value"] = "";
  EXPECT_EQ(CapOf(map).Map(), map);
}

// What a driver reports, what is stored, and what the next driver object is made with are the same record.
TEST(CameraCap, RecordOfARecordsMapIsTheSame) {
  const CameraCap first(DomeMap());
  const CameraCap second(first.Map());
  const CameraCap copied = second;
  ExpectDome(second);
  ExpectDome(copied);
  EXPECT_EQ(copied.Map(), first.Map());
  for (int code = -1; code <= 40; ++code) EXPECT_EQ(copied.IsPTZValid(code), first.IsPTZValid(code)) << code;
}

TEST(CameraCap, RecordKeepsItsOwnCopyOfTheMap) {
  CameraCap::MAP map = DomeMap();
  const CameraCap cap(map);
  map.clear();
  ExpectDome(cap);
}

TEST(CameraCap, TextsComeBackAsTheyWereReported) {
  const CameraCap cap = CapOf({{"ptz_xmin", "-INF"},
                               {"ptz_xmax", " 1 "},
                               {"ptz_ymin", "left"},
                               {"ptz_ymax", "0,5"},
                               {"ptz_zmin", "1e3"},
                               {"quality_min", "-5"},
                               {"quality_max", "high"},
                               {"version_major", "02"}});
  EXPECT_EQ(Range(cap), (Texts{"-INF", " 1 ", "left", "0,5", "1e3", "INF"}));
  EXPECT_EQ(cap.GetMinQual() + " " + cap.GetMaxQual(), "-5 high");
  EXPECT_EQ(Entries(cap), (Texts{"", "", "", "02", ""}));
}

// Each side of each axis has a key of its own.
TEST(CameraCap, EachBoundIsReadFromItsKey) {
  const char* const keys[] = {"ptz_xmin", "ptz_xmax", "ptz_ymin", "ptz_ymax", "ptz_zmin", "ptz_zmax"};
  for (std::size_t i = 0; i < std::size(keys); ++i) {
    Texts expected{"-INF", "INF", "-INF", "INF", "-INF", "INF"};
    expected[i] = "42";
    EXPECT_EQ(Range(CapOf({{keys[i], "42"}})), expected) << keys[i];
  }
}

TEST(CameraCap, EachSetOfAxesIsAMask) {
  for (unsigned mask = 0; mask < 8; ++mask) {
    CameraCap::MAP map;
    if ((mask & 1U) != 0) map["pan"] = "continuous";
    if ((mask & 2U) != 0) map["tilt"] = "step";
    if ((mask & 4U) != 0) map["zoom"] = "anything";
    EXPECT_EQ(CapOf(map).GetPtzCap(), mask);
  }
}

TEST(CameraCap, WholeDomeAllowsTheCodes1To35) {
  const CameraCap dome(DomeMap());
  for (int code = -1; code <= 40; ++code) EXPECT_EQ(dome.IsPTZValid(code), code >= 1 && code <= 35 ? 1 : 0) << code;
  for (const int code : {2147483647, -2147483647 - 1, 257}) EXPECT_EQ(dome.IsPTZValid(code), 0) << code;
}

// 1 and 17 are along pan, 9 and 25 along tilt, everything between needs both.
TEST(CameraCap, DirectionsNeedTheirAxes) {
  const CameraCap pan = CapOf({{"pan", "step"}});
  const CameraCap tilt = CapOf({{"tilt", "step"}});
  const CameraCap both = CapOf({{"pan", "step"}, {"tilt", "step"}});
  for (int code = -1; code <= 40; ++code) {
    EXPECT_EQ(pan.IsPTZValid(code), code == 1 || code == 17 ? 1 : 0) << code;
    EXPECT_EQ(tilt.IsPTZValid(code), code == 9 || code == 25 ? 1 : 0) << code;
    EXPECT_EQ(both.IsPTZValid(code), code >= 1 && code <= 32 ? 1 : 0) << code;
  }
}

TEST(CameraCap, HomeAndZoomNeedTheirKeys) {
  const CameraCap home = CapOf({{"home", "yes"}});
  const CameraCap zoom = CapOf({{"zoom", "step"}});
  for (int code = -1; code <= 40; ++code) {
    EXPECT_EQ(home.IsPTZValid(code), code == 33 ? 1 : 0) << code;
    EXPECT_EQ(zoom.IsPTZValid(code), code == 34 || code == 35 ? 1 : 0) << code;
  }
}

/// A file that is gone with the test.
class CameraCapFile : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = (fs::temp_directory_path() / "camera-cap-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    m_folder = folder;
    m_path = folder + "/cap.json";
  }

  void TearDown() override { fs::remove_all(m_folder); }

  void Write(const std::string& text) { std::ofstream(m_path) << text; }

  fs::path m_folder;
  std::string m_path;
};

TEST_F(CameraCapFile, ObjectOfTextsIsRead) {
  std::string json;
  for (const auto& [key, value] : DomeMap()) json += (json.empty() ? "{" : ",") + ("\"" + key + "\":\"" + value + "\"");
  Write(json + "}");
  CameraCap cap;
  std::string error = "untouched";
  ASSERT_TRUE(CameraCap::LoadJson(m_path, cap, error)) << error;
  EXPECT_EQ(error, "untouched");
  ExpectDome(cap);
}

TEST_F(CameraCapFile, WhatIsWrongIsSaidWithTheFilesName) {
  const struct {
    const char* json;
    const char* reason;
  } kCases[] = {
      {"", "is no JSON"},
      {"{", "is no JSON"},
      {"{\"pan\":\"step\"} x", "is no JSON"},
      {"{\"pan\":\"\xff\"}", "is no JSON"},
      {"[]", "one JSON object"},
      {"\"pan\"", "one JSON object"},
      {"null", "one JSON object"},
      {"{\"preset\":16}", "\"preset\""},
      {"{\"a\":\"b\",\"pan\":{}}", "\"pan\""},
      {"{\"pan\":null}", "\"pan\""},
  };
  for (const auto& c : kCases) {
    Write(c.json);
    CameraCap cap = CapOf({{"zoom", "step"}});
    std::string error;
    EXPECT_FALSE(CameraCap::LoadJson(m_path, cap, error)) << c.json;
    EXPECT_EQ(error.find(m_path), 0u) << error;
    EXPECT_THAT(error, testing::HasSubstr(c.reason));
    EXPECT_THAT(error, testing::Not(testing::HasSubstr("\n"))) << "one line";
    EXPECT_EQ(cap.GetPtzCap(), 4u) << "the record was touched by " << c.json;
  }
}

TEST_F(CameraCapFile, MissingFileAndFolderAreSaid) {
  CameraCap cap;
  std::string error;
  EXPECT_FALSE(CameraCap::LoadJson(m_path, cap, error));
  EXPECT_THAT(error, testing::AllOf(testing::HasSubstr(m_path), testing::HasSubstr("No such file")));
  EXPECT_FALSE(CameraCap::LoadJson(m_folder.string(), cap, error));
  EXPECT_THAT(error, testing::HasSubstr(m_folder.string()));
}

TEST_F(CameraCapFile, EmptyObjectIsAnEmptyRecord) {
  Write("{}");
  CameraCap cap = CapOf({{"zoom", "step"}});
  std::string error;
  EXPECT_TRUE(CameraCap::LoadJson(m_path, cap, error));
  EXPECT_TRUE(cap.Map().empty());
}

}  // namespace
