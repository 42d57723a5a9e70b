// Where the server finds the camera's streams and snapshots.

#include "dupfromhx/hxdebuglog.h"
#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "onvif/onvifnumber.h"
#include "onvif/retry.h"

namespace {

constexpr int k_nDefaultRtspPort = 554;

}  // namespace

int ONVIFAPI::GetPathPort(std::string& strPath, int& nPort) {
  return AtBoundary(__func__,
                    [&]() -> int { return GetStreamPathPort(m_strRecProfileToken, "GetPathPort", strPath, nPort); });
}

int ONVIFAPI::GetLivePathPort(std::string& strPath, int& nPort) {
  return AtBoundary(
      __func__, [&]() -> int { return GetStreamPathPort(m_strLiveProfileToken, "GetLivePathPort", strPath, nPort); });
}

int ONVIFAPI::GetStreamPathPort(const std::string& strToken, const char* pOperation, std::string& strPath, int& nPort) {
  OVF_MED_URI uri;
  const bool blAnswered = TryWithPauses([&](int nTry) {
    const RET_ONVIF eRet = m_MediaService.GetStreamUri(strToken, uri);
    if (eRet == RET_ONVIF_OK) return true;
    DevicePackOwned::HxPrintf("%s:%d:%s(): GetStreamUri failed (%d)... Retry again (#%d).\n", k_pDriverSource, __LINE__,
                              pOperation, eRet, nTry);
    return false;
  });
  if (!blAnswered) return CAMERA_FAILED;
  std::string strPort;
  ParseUrlAndGetPathPort(uri.strUri, strPath, strPort);
  if (strPort.empty()) return GetRTSPPort(nPort);
  nPort = ReadDecimal(strPort);
  return CAMERA_OK;
}

int ONVIFAPI::GetShotPathPort(std::string& strPath, int& nPort, int& nFlag) {
  return AtBoundary(__func__, [&]() -> int {
    OVF_MED_URI uri;
    if (m_MediaService.GetSnapshotUri(m_strLiveProfileToken, uri) != RET_ONVIF_OK) return CAMERA_FAILED;
    std::string strPort;
    ParseUrlAndGetPathPort(uri.strUri, strPath, strPort);
    nPort = strPort.empty() ? GetPort() : ReadDecimal(strPort);
    nFlag = 1;
    return CAMERA_OK;
  });
}

int ONVIFAPI::GetRTSPPort(int& nPort) {
  return AtBoundary(__func__, [&]() -> int {
    nPort = k_nDefaultRtspPort;
    std::list<OVF_DEV_NET_PROT> lstProt;
    if (m_DevService.GetNetworkProtocols(lstProt) != RET_ONVIF_OK) return CAMERA_OK;
    for (const OVF_DEV_NET_PROT& prot : lstProt) {
      if (prot.strName != "RTSP") continue;
      nPort = prot.nPort;
      break;
    }
    return CAMERA_OK;
  });
}
