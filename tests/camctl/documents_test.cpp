#include "camctl/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "camctl/usageerror.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string ErrorOf(const std::string& json) {
  try {
    ParseCameraFile(json, "cam.json");
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(ParseCameraFile, AllKeys) {
  const CameraFile file = ParseCameraFile(R"({"host": "10.0.0.9", "port": 8080, "user": "admin", "profiles": "a,b",
      "capabilities": {"media_entry": "/onvif/media", "version_major": "2"}})",
                                          "cam.json");
  EXPECT_EQ(file.host, "10.0.0.9");
  EXPECT_EQ(file.port, 8080);
  EXPECT_EQ(file.user, "admin");
  EXPECT_EQ(file.profiles, "a,b");
  EXPECT_EQ(file.capabilities, (Capabilities{{"media_entry", "/onvif/media"}, {"version_major", "2"}}));
}

TEST(ParseCameraFile, EveryKeyMayBeMissing) {
  const CameraFile file = ParseCameraFile("{}", "cam.json");
  EXPECT_FALSE(file.host.has_value());
  EXPECT_FALSE(file.port.has_value());
  EXPECT_TRUE(file.capabilities.empty());
}

struct NearMiss {
  const char* json;
  const char* error;
};

TEST(ParseCameraFile, NearMissesNameFileKeyAndReason) {
  const NearMiss rows[] = {
      {"", "cam.json: is no JSON: wrong at byte 1"},
      {"{\"host\": }", "cam.json: is no JSON: wrong at byte 10"},
      {R"({"port": 1e999})", "cam.json: holds a number that is too large"},
      {"[]", "cam.json: must hold one JSON object"},
      {R"({"host": 1})", "cam.json: \"host\" must be a text, write it in quotes"},
      {R"({"port": "80"})", "cam.json: \"port\" must be a number from 1 to 65535, without quotes"},
      {R"({"port": 0})", "\"port\" must be a number from 1 to 65535"},
      {R"({"port": 65536})", "\"port\" must be a number from 1 to 65535"},
      {R"({"port": -1})", "\"port\" must be a number from 1 to 65535"},
      {R"({"port": 80.0})", "\"port\" must be a number from 1 to 65535"},
      {R"({"port": 18446744073709551616})", "\"port\" must be a number from 1 to 65535"},
      {R"({"user": null})", "\"user\" must be a text"},
      {R"({"profiles": ["a", "b"]})", "\"profiles\" must be a text"},
      {R"({"capabilities": []})", "\"capabilities\" must be an object of texts"},
      {R"({"capabilities": {"pan": true}})", "\"capabilities.pan\" must be a text"},
      {R"({"Host": "a"})", "unknown key \"Host\"; known are host, port, user, profiles, capabilities"},
  };
  for (const NearMiss& row : rows) EXPECT_THAT(ErrorOf(row.json), HasSubstr(row.error)) << row.json;
}

TEST(ParseCameraFile, PasswordIsRefusedAndNotRepeated) {
  const std::string error = ErrorOf(R"({"host": "a", "password": "hunter2"})");
  EXPECT_THAT(error, HasSubstr("holds a \"password\"; take it out"));
  EXPECT_THAT(error, Not(HasSubstr("hunter2")));
}

TEST(CameraFileText, IsReadBackAsItWasWritten) {
  CameraFile file;
  file.host = "10.0.0.9";
  file.port = 8080;
  file.user = "admin";
  file.profiles = "a,b";
  file.capabilities = {{"media_entry", "/onvif/media?x=\"1\""}, {"pan", "step"}};
  const CameraFile read = ParseCameraFile(CameraFileText(file), "cam.json");
  EXPECT_EQ(read.host, file.host);
  EXPECT_EQ(read.port, file.port);
  EXPECT_EQ(read.user, file.user);
  EXPECT_EQ(read.profiles, file.profiles);
  EXPECT_EQ(read.capabilities, file.capabilities);
}

TEST(CameraFileText, WhatIsNotKnownHasNoKey) {
  EXPECT_EQ(nlohmann::json::parse(CameraFileText(CameraFile())), nlohmann::json::parse(R"({"capabilities": {}})"));
}

TEST(JsonText, WhatTheCommandsFoundIsPartOfTheCamera) {
  Report report;
  report.camera.profiles = "a,b";
  report.camera.capabilities = {{"pan", "step"}};
  report.camera.streams.push_back({"live", "fps", "25", "10", "12"});
  report.camera.presets = std::map<int, std::string>{{3, "qarn3"}};
  EXPECT_EQ(nlohmann::json::parse(JsonText(report)).at("camera"), nlohmann::json::parse(R"({
      "host": "", "port": 0, "profiles": "a,b", "capabilities": {"pan": "step"},
      "streams": [{"stream": "live", "setting": "fps", "before": "25", "asked": "10", "after": "12", "taken": false}],
      "presets": {"3": "qarn3"}})"));
}

TEST(JsonText, WhatWasPlayedAndWrittenIsPartOfTheCamera) {
  Report report;
  Playback& playback = report.camera.played["live"];
  playback.codec = "H264";
  playback.width = 352;
  playback.height = 288;
  playback.frames = 11;
  playback.timed = 11;
  playback.span = 2;
  playback.firstPicture = std::chrono::milliseconds(120);
  playback.audio = AudioTrack{"AAC", 16000, 40};
  report.camera.played["recording"].result = PlayResult::NoConnection;
  report.camera.snapshot = SnapshotFile{"shot.jpg", 352, 288, 12345};
  EXPECT_EQ(nlohmann::json::parse(JsonText(report)).at("camera"), nlohmann::json::parse(R"({
      "host": "", "port": 0,
      "played": {"live": {"codec": "H264", "width": 352, "height": 288, "frames": 11, "seconds": 2.0,
                          "frames_per_second": 5.0, "first_picture_ms": 120,
                          "audio": {"codec": "AAC", "rate": 16000, "packets": 40}}},
      "snapshot": {"file": "shot.jpg", "width": 352, "height": 288, "bytes": 12345}})"));
}

TEST(JsonText, EmptyListOfPresetsIsNotTheSameAsNone) {
  Report report;
  EXPECT_FALSE(nlohmann::json::parse(JsonText(report)).at("camera").contains("presets"));
  report.camera.presets.emplace();
  EXPECT_EQ(nlohmann::json::parse(JsonText(report)).at("camera").at("presets"), nlohmann::json::object());
}

TEST(JsonText, ShapeOfTheDocument) {
  Report report;
  report.camera.host = "10.0.0.9";
  report.camera.port = 80;
  report.camera.facts["model"] = "K-1";
  report.camera.paths["live"] = {"/l", 554, "rtsp://10.0.0.9:554/l"};
  report.steps.push_back({"test", "TestConn", 4, 12.5, "no answer"});
  report.result = 4;
  const auto json = nlohmann::json::parse(JsonText(report));
  EXPECT_EQ(json, nlohmann::json::parse(R"({
      "camera": {"host": "10.0.0.9", "port": 80, "model": "K-1",
                 "paths": {"live": {"path": "/l", "port": 554, "url": "rtsp://10.0.0.9:554/l"}}},
      "steps": [{"step": "test", "operation": "TestConn", "result": 4, "ms": 12.5, "detail": "no answer"}],
      "result": 4})"));
}

TEST(JsonText, RunWithoutStepsHasAnEmptyList) {
  EXPECT_EQ(nlohmann::json::parse(JsonText(Report())).at("steps"), nlohmann::json::array());
}

TEST(JsonText, BytesThatAreNoUtf8AreMended) {
  Report report;
  report.camera.facts["vendor"] = "K\xf6ln";
  const auto json = nlohmann::json::parse(JsonText(report));
  EXPECT_EQ(json.at("camera").at("vendor"), "K\xef\xbf\xbdln");
}

}  // namespace
}  // namespace camctl
