#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "onvif/xmlhandles.h"
#include "platform/cameraapi.h"
#include "tests/support/scripted_camera.h"

namespace testsupport {

inline constexpr char kUser[] = "admin";
inline constexpr char kPassword[] = "s3cret word";
inline constexpr char kServicePath[] = "/onvif/service";

/// The whole request that must stand around `body`. Nonce and creation time are taken from `sent`; the digest is
/// computed anew from them and `password`.
std::string SignedEnvelope(std::string_view body, std::string_view sent, std::string_view user = kUser,
                           std::string_view password = kPassword);

/// How the PTZ service's namespace stands in its requests, for a camera of version 1.0 and of any other.
inline const std::string kPtz10 = R"(xmlns="http://www.onvif.org/ver10/ptz/wsdl")";
inline const std::string kPtz20 = R"(xmlns="http://www.onvif.org/ver20/ptz/wsdl")";

/// Messages of the SOAP layer in the log: what stands behind "STAMP onvif/onvifservice:LINE:SendSOAPMsg(): ".
/// A log line that does not begin so is here whole.
std::vector<std::string> SoapLog();

/// A document for a test; fails the test and is null when `text` is not well formed.
XmlDoc ParseXml(std::string_view text);

/// The element of that local name, the first in document order; fails the test and is null when there is none.
xmlNode* FindElement(const XmlDoc& document, std::string_view name);

/// A scripted camera and the driver base that talks to it over HTTP. At its end, every scripted answer must have been
/// fetched and no other request made.
class CameraTest : public testing::Test {
 protected:
  CameraTest();
  void TearDown() override;

  /// Fails unless the camera was asked for exactly these bodies in this order, each posted to `path` in a signed
  /// envelope of its own.
  void ExpectAsked(const std::vector<std::string>& bodies, const std::string& path = kServicePath) const;

  ScriptedCamera m_camera;
  CameraAPI m_api;
};

/// The same with a service client of a camera of version 2.0.
template <typename Service>
class ServiceTest : public CameraTest {
 protected:
  ServiceTest() { m_service.UpdateServiceParam(&m_api, kServicePath, "2", "0"); }

  Service m_service;
};

}  // namespace testsupport
