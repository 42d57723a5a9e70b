#include <cstdio>
#include <utility>

#include "platform/cameraapi.h"
#include "platform/devicepackowned.h"
#include "platform/vexlib.h"

CameraCap::CameraCap(MAP mapCap) : m_mapCap(std::move(mapCap)) {}

void CameraCap::GetServiceEnt(std::string& strDevice, std::string& strMedia, std::string& strPtz) const {
  for (const auto& [pKey, pText] :
       {std::pair{"device_entry", &strDevice}, std::pair{"media_entry", &strMedia}, std::pair{"ptz_entry", &strPtz}}) {
    const auto it = m_mapCap.find(pKey);
    *pText = it == m_mapCap.end() ? "" : it->second;
  }
}

void CameraCap::GetONVIFVersion(std::string& strMajor, std::string& strMinor) const {
  strMajor.clear();
  strMinor.clear();
}

CameraAPI::CameraAPI(std::string strHost, int nPort, std::string strUser, std::string strPassword, std::string strCH,
                     bool blDefined)
    : m_strHost(std::move(strHost)),
      m_nPort(nPort),
      m_strUser(std::move(strUser)),
      m_strPassword(std::move(strPassword)),
      m_strCH(std::move(strCH)),
      m_blDefined(blDefined) {}

int CameraAPI::SendHttpXmlSocketPost(std::string strPath, std::string /*strRequest*/, _xmlDoc*& pResponse,
                                     int /*nTimeout*/) noexcept {
  constexpr int no_connection = 1;
  std::printf("the foreign framework posts to %s\n", strPath.c_str());
  pResponse = nullptr;
  return no_connection;
}

int CameraAPI::SendHttpXmlSocketPost(std::string strPath, _xmlDoc*& /*pRequest*/, _xmlDoc*& pResponse,
                                     int nTimeout) noexcept {
  return SendHttpXmlSocketPost(std::move(strPath), std::string(), pResponse, nTimeout);
}

namespace DevicePackOwned {

std::string itos(long long nValue) {
  return std::to_string(nValue);
}
std::string ftos(double dbValue) {
  return std::to_string(dbValue);
}
void StripStr(std::string& /*strText*/) {}
void StringToLowerCase(std::string& /*strText*/) {}
std::string GetAudioType(int /*nCode*/) {
  return {};
}
WsseUsernameToken GenWSSEUsernameToken(std::string strUser, std::string /*strPassword*/) {
  return {std::move(strUser), "", "", ""};
}
TokenClockOffset::TokenClockOffset(std::chrono::milliseconds /*offset*/) {}

}  // namespace DevicePackOwned

std::string ConvListToStr(const std::list<std::string>& /*lstItems*/, const std::string& /*strSeparator*/) {
  return {};
}
int IsQarnPreset(std::string /*strName*/, int& /*nNumber*/) {
  return 0;
}
int VexlibUnicodeIsUTF8(const char* /*pText*/) {
  return 1;
}
int VexlibExec(const char* /*pProgram*/, const char* /*pArg1*/, const char* /*pArg2*/, const char* /*pArg3*/,
               const char* /*pArg4*/) {
  return 0;
}
