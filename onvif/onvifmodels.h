#pragma once

#include <string>

/// A camera model with a fisheye lens.
struct OVF_FISHEYE_MODEL {
  std::string strVendor;
  std::string strModel;
};

/// Known fisheye models; ends with an empty vendor.
extern const OVF_FISHEYE_MODEL grgOnvifFisheyeModelList[];

/// Whether the table of fisheye models holds vendor and model, ignoring letter case (ASCII).
bool IsFisheye(const std::string& strVendor, const std::string& strModel);

/// Whether cameras of `strVendor`, a name in lower case, run two streams independently of each other.
bool IsVendorSupportDualStream(const std::string& strVendor);
