#pragma once

/// What a camera driver's virtual operations answer to the server.
enum CAMERA_RESULT {
  CAMERA_OK = 0,
  CAMERA_FAILED = 1,          ///< failure without a more precise code
  CAMERA_PRESET_RANGE = 3,    ///< preset number out of range
  CAMERA_UNREACHABLE = 4,     ///< transport failure
  CAMERA_NOT_AUTHORIZED = 5,  ///< the camera refused the credentials
  CAMERA_FAULT = 6,           ///< the camera answered with a fault, or an argument was bad
  CAMERA_NOT_SUPPORTED = 7,   ///< not supported by this camera or driver
};
