#pragma once

#include <functional>
#include <string>
#include <vector>

#include "onvif/onvifdevice.h"
#include "onvif/onvifmedia.h"
#include "onvif/onvifptz.h"

namespace testsupport {

/// The three service clients of one camera.
struct ServiceClients {
  OnvifDeviceService device;
  OnvifMediaService media;
  OnvifPtzService ptz;

  /// All at one path, of a camera of version 2.0.
  void Attach(CameraAPI& driver, const std::string& path);
};

/// One operation of a service client, for what must hold for all of them.
struct Operation {
  std::string name;
  /// Calls it with `token` as every token or name that it takes, and forgets what it reads.
  std::function<RET_ONVIF(ServiceClients&, const std::string& token)> call;
  /// The body that it sends, with "$" where the token goes.
  std::string body;
  /// Its result when the answer is a success that holds nothing of what it reads.
  RET_ONVIF resultOfEmptyAnswer = RET_ONVIF_OK;
  /// The body that it sends for an empty token, where the token's element is then left out.
  std::string bodyWithoutToken = {};
  /// A device of version 1.0 is told a preset's name, which the schema does not know.
  bool namesPreset10 = false;

  /// The body that it sends for `token`.
  std::string BodyFor(const std::string& token) const;
};

/// Every operation of every service client.
const std::vector<Operation>& AllOperations();

}  // namespace testsupport
