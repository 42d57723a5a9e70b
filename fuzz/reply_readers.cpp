#include <memory>

#include "fuzz/inprocess.h"
#include "fuzz/require.h"
#include "fuzz/takebyte.h"
#include "fuzz/targets.h"
#include "onvif/camapi-onvif.h"
#include "tests/onvif/operations.h"

namespace camapifuzz {

namespace {

using Texts = std::map<std::string, std::string>;

STM_PROFILE StreamRequest() {
  STM_PROFILE request;
  request.nVdoType = 3;
  request.nStmMode = 1;
  request.strReso = "1280x720";
  request.strFps = "15";
  request.strQual = "3";
  request.strLiveReso = "640x360";
  return request;
}

CameraCap Stored() {
  return CameraCap({{"device_entry", "/d"},
                    {"media_entry", "/m"},
                    {"ptz_entry", "/p"},
                    {"version_major", "2"},
                    {"pan", "step"},
                    {"tilt", "step"},
                    {"zoom", "step"},
                    {"home", "yes"},
                    {"preset", "8"}});
}

void RequireServerCode(int result) {
  Require(result >= CAMERA_OK && result <= CAMERA_NOT_SUPPORTED, "the server gets one of its codes");
}

void GetReport(ONVIFAPI& driver) {
  Texts report;
  RequireServerCode(driver.GetCapability(report));
  // What the server would store and hand to the next object.
  CameraCap cap(report);
  ONVIFAPI next("127.0.0.1", 1, "user", "password", "a,b", cap);
  for (const int code : {1, 9, 17, 25, 33, 34, 35}) {
    RequireServerCode(next.LensPTZ(code));
    RequireServerCode(next.LensPTZStart(code));
  }
}

void GetIdentity(ONVIFAPI& driver) {
  Texts identity;
  RequireServerCode(driver.GetDeviceInfo(identity));
}

void GetPaths(ONVIFAPI& driver) {
  std::string path;
  int port = 0;
  int flag = 0;
  RequireServerCode(driver.GetPathPort(path, port));
  RequireServerCode(driver.GetLivePathPort(path, port));
  RequireServerCode(driver.GetShotPathPort(path, port, flag));
}

void UsePresets(ONVIFAPI& driver) {
  std::map<int, std::string> presets;
  RequireServerCode(driver.GetPresets(presets));
  RequireServerCode(driver.SetPreset(1, ""));
  RequireServerCode(driver.LensPreset(1, ""));
  RequireServerCode(driver.DelPreset(1, ""));
}

using ServerOperation = void (*)(ONVIFAPI& driver);

constexpr ServerOperation kServerOperations[] = {
    GetReport,
    GetIdentity,
    GetPaths,
    UsePresets,
    [](ONVIFAPI& driver) { RequireServerCode(driver.TestConn()); },
    [](ONVIFAPI& driver) { RequireServerCode(driver.SetAudio(2)); },
    [](ONVIFAPI& driver) { RequireServerCode(driver.SetStmProfile(StreamRequest())); },
};

void CallServerOperation(ServerOperation operation) {
  CameraCap cap = Stored();
  ONVIFAPI driver("127.0.0.1", 1, "user", "password", "rec,live", cap);
  operation(driver);
}

void CallService(const testsupport::Operation& operation, bool isVersion10) {
  CameraAPI api("127.0.0.1", 1, "user", "password", "", true);
  testsupport::ServiceClients clients;
  clients.Attach(api, "/onvif");
  if (isVersion10) {
    clients.ptz.UpdateServiceParam(&api, "/onvif", "1", "0");
  }
  const int result = operation.call(clients, "token");
  Require(result >= RET_ONVIF_OK && result <= RET_ONVIF_XML_FAIL, "a client returns one of its results");
}

}  // namespace

void ReplyReaders(std::string_view input) {
  const std::vector<testsupport::Operation>& services = testsupport::AllOperations();
  const std::size_t choice = TakeByte(input) % (2 * services.size() + std::size(kServerOperations));
  const InProcessCamera camera(input);
  if (choice < 2 * services.size()) {
    CallService(services[choice / 2], choice % 2 == 1);
  } else {
    CallServerOperation(kServerOperations[choice - 2 * services.size()]);
  }
}

}  // namespace camapifuzz
