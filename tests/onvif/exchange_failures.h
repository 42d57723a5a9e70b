#pragma once

#include <utility>
#include <vector>

#include "onvif/onvifservice.h"
#include "tests/support/envelope.h"
#include "tests/support/scripted_camera.h"

namespace testsupport {

/// One answer for each way in which an exchange fails, and the result that every operation must hand on.
inline const std::vector<std::pair<Reply, RET_ONVIF>>& ExchangeFailures() {
  static const std::vector<std::pair<Reply, RET_ONVIF>> failures = {
      {Reply::Status(503), RET_ONVIF_SEND_FAIL},
      {Reply::Ok("no XML"), RET_ONVIF_SEND_FAIL},
      {Reply::Raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<cut"), RET_ONVIF_SEND_FAIL},
      {Reply::Status(401), RET_ONVIF_NOT_AUTHORIZED},
      {Reply::Ok(FaultEnvelope("ter:NotAuthorized", "no")), RET_ONVIF_NOT_AUTHORIZED},
      {Reply::Status(400, FaultEnvelope("wsse:FailedAuthentication", "no")), RET_ONVIF_NOT_AUTHORIZED},
      {Reply::Status(400, FaultEnvelope("ter:ActionNotSupported", "no")), RET_ONVIF_SOAP_FAULT},
      {Reply::Ok(FaultEnvelope("ter:NoConfig", "no")), RET_ONVIF_SOAP_FAULT},
  };
  return failures;
}

}  // namespace testsupport
