#pragma once

#include <string>
#include <vector>

#include "bench/canned_camera.h"
#include "bench/floor_client.h"
#include "onvif/camapi-onvif.h"

namespace bench {

/// One camera, and all that can call it.
class Callers {
 public:
  explicit Callers(const CameraSize& size);

  CannedCamera camera;
  FloorClient floor;
  ONVIFAPI driver;
  OnvifDeviceService device;
  OnvifMediaService media;
  OnvifPtzService ptz;
};

/// An operation of a service: through its client, and its request for those who do without one.
struct Operation {
  const char* name;
  const char* body;
  void (*call)(Callers& callers);
};

/// What a server does with a camera when it comes to know it: ten calls.
const std::vector<Operation>& TenCalls();

/// Something that is measured. It throws std::runtime_error when it does not get what it asks for.
struct Case {
  const char* name;
  void (*call)(Callers& callers);
};

/// One GetStreamUri, from its parts over the floor to the whole driver.
const std::vector<Case>& StreamUriCases();

/// Single operations: those of the services in the ten calls, and some of the server's, which have their class before them.
const std::vector<Case>& OperationCases();

/// The ten calls: as little as is possible, and through the service clients.
const std::vector<Case>& TenCallCases();

}  // namespace bench
