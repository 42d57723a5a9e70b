// No exception leaves what the server calls.
//
// Memory fails at every place of every operation, that of `operator new` and that of libxml2. Without `operator new`
// the code means failure, unless the operation forgives the failure of one of its requests. Without libxml2's memory a
// text may count as not there, which many readers take for a success. There is no leak in either case, and the next
// call on the same object has its full result.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include "onvif/camapi-onvif.h"
#include "tests/memory/every_failure.h"
#include "tests/memory/failing_new.h"
#include "tests/memory/learning_camera.h"
#include "tests/support/sleep_counter.h"
#include "tests/support/xml_leaks.h"

namespace testsupport {

/// What an operation gave.
struct Outcome {
  int code = CAMERA_OK;
  std::map<std::string, std::string> keys;
  std::map<int, std::string> presets;
  std::string path;
  int port = 0;
  int flag = 0;

  std::string Text() const {
    return std::to_string(code) + " " + testing::PrintToString(keys) + " " + testing::PrintToString(presets) + " " +
           path + " " + std::to_string(port) + " " + std::to_string(flag);
  }
};

/// An operation as the server calls it. It asks for no memory itself.
struct ServerCall {
  const char* name;
  std::function<void(ONVIFAPI&, Outcome&)> call;
  /// It may succeed although a request failed: it tries again, goes another way, or does without.
  bool forgives = false;
  const char* profiles = "main,sub";
  const char* model = "step-dome";
};

void PrintTo(const ServerCall& row, std::ostream* out) {
  *out << row.name;
}

namespace {

constexpr int kPreset = 3;
constexpr int kAac = 1;

STM_PROFILE Stream(int videoType, const char* size, const char* liveSize) {
  STM_PROFILE profile;
  profile.nVdoType = videoType;
  profile.nStmMode = 1;
  profile.strReso = size;
  profile.strLiveReso = liveSize;
  profile.strFps = profile.strLiveFps = "10";
  profile.strQual = profile.strLiveQual = "2";
  return profile;
}

void AddReports(std::vector<ServerCall>& all) {
  all.push_back({"TestConn", [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.TestConn(); }, true});
  all.push_back(
      {"GetDeviceInfo", [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetDeviceInfo(outcome.keys); }});
  all.push_back({"GetCapability",
                 [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetCapability(outcome.keys); }, true});
}

void AddPaths(std::vector<ServerCall>& all) {
  all.push_back(
      {"GetPathPort",
       [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetPathPort(outcome.path, outcome.port); },
       true});
  all.push_back(
      {"GetLivePathPort",
       [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetLivePathPort(outcome.path, outcome.port); },
       true});
  all.push_back({"GetShotPathPort", [](ONVIFAPI& driver, Outcome& outcome) {
                   outcome.code = driver.GetShotPathPort(outcome.path, outcome.port, outcome.flag);
                 }});
  all.push_back({"GetRTSPPort",
                 [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetRTSPPort(outcome.port); }, true});
}

void AddSettings(std::vector<ServerCall>& all) {
  const auto add = [&all](const char* name, const STM_PROFILE& profile, const char* profiles) {
    const auto call = [profile](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.SetStmProfile(profile); };
    all.push_back({name, call, true, profiles});
  };
  add("SetStmProfileBothAlike", Stream(3, "640x360", "640x360"), "main,sub");
  add("SetStmProfileOtherCodec", Stream(1, "640x360", "1280x720"), "main,sub");
  add("SetStmProfileOtherLiveProfile", Stream(3, "1280x720", "320x180"), "main");
  const auto audio = [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.SetAudio(kAac); };
  all.push_back({"SetAudio", audio, true, "profile_1,profile_2", "ptz-dome"});
}

void AddLens(std::vector<ServerCall>& all) {
  const auto add = [&all](const char* name, int (ONVIFAPI::*operation)(int), int code) {
    const auto call = [operation, code](ONVIFAPI& driver, Outcome& outcome) {
      outcome.code = (driver.*operation)(code);
    };
    all.push_back({name, call, false, "profile_1", "ptz-dome"});
  };
  add("LensPTZ", &ONVIFAPI::LensPTZ, 1);
  add("LensPTZHome", &ONVIFAPI::LensPTZ, 33);
  add("LensPTZStart", &ONVIFAPI::LensPTZStart, 9);
  add("LensPTZStop", &ONVIFAPI::LensPTZStop, 1);
  const auto speedStart = [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.LensPTZSpeedStart(34, 3); };
  all.push_back({"LensPTZSpeedStart", speedStart, false, "profile_1", "ptz-dome"});
}

void AddPresets(std::vector<ServerCall>& all) {
  all.push_back(
      {"GetPresets", [](ONVIFAPI& driver, Outcome& outcome) { outcome.code = driver.GetPresets(outcome.presets); }});
  const auto add = [&all](const char* name, int (ONVIFAPI::*operation)(int, std::string)) {
    all.push_back({name, [operation](ONVIFAPI& driver, Outcome& outcome) {
                     outcome.code = (driver.*operation)(kPreset, std::string());
                   }});
  };
  add("SetPreset", &ONVIFAPI::SetPreset);
  add("DelPreset", &ONVIFAPI::DelPreset);
  add("LensPreset", &ONVIFAPI::LensPreset);
}

std::vector<ServerCall> ServerCalls() {
  std::vector<ServerCall> all;
  AddReports(all);
  AddPaths(all);
  AddSettings(all);
  AddLens(all);
  AddPresets(all);
  return all;
}

CameraCap Stored() {
  return CameraCap({{"device_entry", "/onvif/device_service"},
                    {"media_entry", "/onvif/media_service"},
                    {"ptz_entry", "/onvif/ptz_service"},
                    {"version_major", "2"},
                    {"version_minor", "60"},
                    {"quality_min", "1"},
                    {"quality_max", "10"},
                    {"pan", "continuous"},
                    {"tilt", "continuous"},
                    {"zoom", "continuous"},
                    {"home", "yes"},
                    {"preset", "64"}});
}

class Boundary : public testing::TestWithParam<ServerCall> {
 protected:
  std::unique_ptr<ONVIFAPI> MakeDriver() {
    return std::make_unique<ONVIFAPI>("127.0.0.1", m_camera.Port(), "operator", "a password of some length",
                                      GetParam().profiles, m_cap);
  }

  std::string CallText(ONVIFAPI& driver) const {
    Outcome outcome;
    GetParam().call(driver, outcome);
    return outcome.Text();
  }

  /// Has the camera learn what the operation asks; returns what it gives.
  std::string Learn() {
    const std::unique_ptr<ONVIFAPI> driver = MakeDriver();
    driver->SetPreset(kPreset, "");  // so that there is a preset of the server's
    const std::string first = CallText(*driver);
    const std::string good = CallText(*MakeDriver());
    EXPECT_EQ(first, good);
    KeepRoomForPauses();
    return good;
  }

  /// The rig's list of pauses must not grow where memory is counted.
  static void KeepRoomForPauses() {
    for (int pause = 0; pause < 100; ++pause) sleep(1);
    ClearSleeps();
  }

  /// One call on a fresh object while memory fails as `Memory` says, and a second one with memory.
  /// \return the first one's code; `struck` tells whether memory failed
  template <typename Memory>
  int CallAndCallAgain(long nth, Failing which, const std::string& good, bool& struck) {
    const long news = OutstandingNews();
    const long xml = OutstandingXmlAllocations();
    int code = CAMERA_OK;
    ClearSleeps();
    {
      const std::unique_ptr<ONVIFAPI> driver = MakeDriver();
      Outcome outcome;
      {
        const Memory failing(nth, which);
        GetParam().call(*driver, outcome);
        struck = failing.Struck();
      }
      code = outcome.code;
      EXPECT_EQ(CallText(*driver), good);
    }
    EXPECT_EQ(OutstandingNews(), news);
    EXPECT_EQ(OutstandingXmlAllocations(), xml);
    return code;
  }

  CameraCap m_cap = Stored();
  LearningCamera m_camera{GetParam().model, LearningCamera::Refusal::kStays};
};

INSTANTIATE_TEST_SUITE_P(Operations, Boundary, testing::ValuesIn(ServerCalls()),
                         [](const auto& row) { return std::string(row.param.name); });

/// Sanitizers and emulation take their time; they are shown a part. The readers have every failure of libxml2 in the
/// tests of the service clients.
#if defined CAMAPI_SANITIZED || defined CAMAPI_EMULATED
constexpr long kStep = 7;
constexpr long kXmlStep = 49;
#else
constexpr long kStep = 1;
constexpr long kXmlStep = 7;
#endif

TEST_P(Boundary, FailureOfNewIsACodeAndTheNextCallIsWhole) {
  const std::string good = Learn();
  ASSERT_EQ(good.front(), '0') << good;
  FailEveryAllocation(
      [&](long nth, Failing which) {
        bool struck = false;
        const int code = CallAndCallAgain<FailingNew>(nth, which, good, struck);
        EXPECT_THAT(code, testing::AnyOf(CAMERA_OK, CAMERA_FAILED, CAMERA_UNREACHABLE));
        if (struck && !GetParam().forgives) {
          EXPECT_NE(code, CAMERA_OK);
        }
        return struck;
      },
      kStep);
}

TEST_P(Boundary, FailureOfLibxmlIsACodeAndTheNextCallIsWhole) {
  const std::string good = Learn();
  FailEveryAllocation(
      [&](long nth, Failing which) {
        bool struck = false;
        const int code = CallAndCallAgain<FailingXmlMemory>(nth, which, good, struck);
        EXPECT_THAT(code, testing::AnyOf(CAMERA_OK, CAMERA_FAILED, CAMERA_UNREACHABLE, CAMERA_FAULT));
        return struck;
      },
      kXmlStep);
}

TEST(BoundaryOfTheObject, ConstructorWithoutMemoryThrowsAndLeavesNothing) {
  CameraCap cap = Stored();
  FailEveryAllocation([&cap](long nth, Failing which) {
    const long before = OutstandingNews();
    std::string host = "a.host.with.a.long.name.example";
    std::string pair = "a recording token of some length,a live-view token of some length";
    bool struck = false;
    bool thrown = false;
    {
      const FailingNew failing(nth, which);
      try {
        const ONVIFAPI driver(std::move(host), 80, std::string(), std::string(), std::move(pair), cap);
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
      struck = failing.Struck();
    }
    EXPECT_EQ(thrown, struck);
    host = std::string();
    pair = std::string();
    EXPECT_EQ(OutstandingNews(), before);
    return struck;
  });
}

}  // namespace
}  // namespace testsupport
