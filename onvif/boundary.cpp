#include "onvif/boundary.h"

#include <exception>

#include "dupfromhx/hxdebuglog.h"
#include "platform/cameraresult.h"

namespace {

constexpr const char* k_pBoundarySource = "onvif/boundary";

void Log(const char* pOperation, const char* pWhat) {
  DevicePackOwned::HxPrintf("%s:%d:%s(): The operation broke off: %s\n", k_pBoundarySource, __LINE__, pOperation,
                            pWhat);
}

}  // namespace

int FailedAtBoundary(const char* pOperation) noexcept {
  try {
    throw;
  } catch (const std::exception& error) {
    Log(pOperation, error.what());
  } catch (...) {
    Log(pOperation, "unknown exception");
  }
  return CAMERA_FAILED;
}
