#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "onvif/camapi-onvif.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/sleep_counter.h"

namespace testsupport {

inline constexpr char kUser[] = "operator";
inline constexpr char kPassword[] = "s3cret & <more>";

/// What the server has stored of a camera with all three services: /onvif/device, /onvif/media, /onvif/ptz,
/// version 2.0.
CameraCap StoredCap();

/// The driver object of a scripted camera, made as the server makes it.
std::unique_ptr<ONVIFAPI> MakeDriver(const ScriptedCamera& camera, const std::string& profilePair = "Rec,Live",
                                     CameraCap cap = StoredCap());

/// What the camera was asked, one text for each request: "POST /target BODY". A request whose token does not prove the
/// account says so in its text.
std::vector<std::string> Asked(const ScriptedCamera& camera);

/// A request to the PTZ service about the profile "Rec", as `Asked` gives it.
std::string AskLens(const std::string& operation, const std::string& content);

/// The request for the address of a profile's stream, as `Asked` gives it.
std::string AskStreamUri(const std::string& token, const std::string& path = "/onvif/media");

/// A way in which one request can fail, on a fresh connection, and what becomes of it.
struct RequestFailure {
  const char* name;
  Reply reply;
  int serviceResult;  // RET_ONVIF
  int serverCode;
  std::vector<std::string> logged;  // by the SOAP layer, as LogMessages gives it; "%PATH%" is the service's path
};

void PrintTo(const RequestFailure& failure, std::ostream* out);

/// Failures of each class of service results, by each of the roads that lead to it.
std::vector<RequestFailure> RequestFailures();

/// The lines that the SOAP layer logs for a failure of a request to the service at `path`.
std::vector<std::string> LoggedBy(const RequestFailure& failure, const std::string& path);

/// Name of a row with a field `name`, for INSTANTIATE_TEST_SUITE_P.
template <typename Row>
std::string NameOfRow(const testing::TestParamInfo<Row>& info) {
  return info.param.name;
}

/// The log without its time stamps, and "LINE" in place of the source line's number. A line whose start is not as it
/// must be comes unchanged.
std::vector<std::string> LogMessages();

/// Every driver test begins with an empty log and no pause counted, and must end with all of its script played and
/// nothing asked beyond it.
class Driver : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  ScriptedCamera m_camera;
};

}  // namespace testsupport
