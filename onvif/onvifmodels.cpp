#include "onvif/onvifmodels.h"

#include "platform/devicepackowned.h"

namespace {

// Letter case is ASCII's, whatever the process's locale is.
bool EqualsIgnoringCase(std::string strOne, std::string strOther) {
  DevicePackOwned::StringToLowerCase(strOne);
  DevicePackOwned::StringToLowerCase(strOther);
  return strOne == strOther;
}

}  // namespace

const OVF_FISHEYE_MODEL grgOnvifFisheyeModelList[] = {
    {"geovision", "GV-FE520/FE521"},
    {"", ""},
};

bool IsFisheye(const std::string& strVendor, const std::string& strModel) {
  for (const OVF_FISHEYE_MODEL* pModel = grgOnvifFisheyeModelList; !pModel->strVendor.empty(); ++pModel) {
    if (EqualsIgnoringCase(pModel->strVendor, strVendor) && EqualsIgnoringCase(pModel->strModel, strModel)) return true;
  }
  return false;
}

bool IsVendorSupportDualStream(const std::string& strVendor) {
  static constexpr const char* rgVendor[] = {"axis", "panasonic", "vivotek"};
  for (const char* pVendor : rgVendor) {
    if (strVendor == pVendor) return true;
  }
  return false;
}
