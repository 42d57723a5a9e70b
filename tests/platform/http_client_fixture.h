#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/cameraapi.h"
#include "platform/xmlowned.h"
#include "tests/support/scripted_camera.h"

inline constexpr char kLoopback[] = "127.0.0.1";
inline constexpr int kTimeout_s = 60;

/// A document of exactly `size` bytes.
std::string DocumentOf(std::size_t size);

/// What one post brought.
struct Posted {
  int result = -1;
  OwnedXmlDoc document;

  /// The document as text without XML declaration and last line feed; "(none)" without a document.
  std::string Text() const;
};

/// A driver that overrides nothing, over the real client.
class PlainCamera : public CameraAPI {
 public:
  explicit PlainCamera(int port, const std::string& host = kLoopback)
      : CameraAPI(host, port, "user", "s3cret word", "profile", true) {}

  Posted Post(const std::string& path = "/onvif/x", const std::string& request = "<q/>", int timeout_s = kTimeout_s);
};

/// A scripted camera and a client of it.
class HttpClientTest : public testing::Test {
 protected:
  testsupport::ScriptedCamera m_camera;
  PlainCamera m_client{m_camera.Port()};
};
