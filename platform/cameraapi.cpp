#include "platform/cameraapi.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/xmlowned.h"
#include "platform/xmlsilence.h"

CameraAPI::CameraAPI(std::string strHost, int nPort, std::string strUser, std::string strPassword, std::string strCH,
                     bool blDefined)
    : m_strHost(std::move(strHost)),
      m_nPort(nPort),
      m_strUser(std::move(strUser)),
      m_strPassword(std::move(strPassword)),
      m_strCH(std::move(strCH)),
      m_blDefined(blDefined),
      m_Http(m_strHost, m_nPort) {}

CameraAPI::~CameraAPI() = default;

int CameraAPI::SetStmProfile(STM_PROFILE const&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetVdoStmType(int, int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetDetVdoStmType(int, int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetStream(std::string, std::string, std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetLiveStream(std::string, std::string, std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetShotReso(std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetPreset(int, std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::DelPreset(int, std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetPresets(std::map<int, std::string>&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetMotion() {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetAlarm() {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetMDParam(int, int, int, int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetAudio(int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetPathPort(std::string&, int&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetLivePathPort(std::string&, int&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetDetPathPort(std::string&, int&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetDiTrigValue(std::string&) {
  return CAMERA_NOT_SUPPORTED;
}
std::string CameraAPI::GetUsrAgent() {
  return {};
}
int CameraAPI::GetShotPathPort(std::string&, int&, int&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetMDParam(int&, int&, int&, int&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensPTZ(int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensPTZStart(int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensPTZSpeedStart(int, int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensPTZStop(int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensABSPosition(int, int) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::LensPreset(int, std::string) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetCapability(std::map<std::string, std::string>&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetDeviceInfo(std::map<std::string, std::string>&) {
  return CAMERA_NOT_SUPPORTED;
}
bool CameraAPI::IsModeledAPI() {
  return false;
}
bool CameraAPI::IsDefinedAPI() {
  return m_blDefined;
}
int CameraAPI::TestConn() {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetCamParam(CAM_PARAM_PROFILE&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::GetStreamFormat() {
  return m_nVdoType;
}
int CameraAPI::GetPort() {
  return m_nPort;
}
std::string CameraAPI::GetCH() {
  return m_strCH;
}
std::string CameraAPI::GetHost() {
  return m_strHost;
}
std::string CameraAPI::GetUser() {
  return m_strUser;
}
std::string CameraAPI::GetPassword() {
  return m_strPassword;
}
int CameraAPI::GetCameraSpecific(std::map<int, std::string>&) {
  return CAMERA_NOT_SUPPORTED;
}
int CameraAPI::SetAutoFocus() {
  return CAMERA_NOT_SUPPORTED;
}

int CameraAPI::SendHttpXmlSocketPost(std::string strPath, std::string strRequest, _xmlDoc*& pResponse,
                                     int nTimeout) noexcept {
  return Post(strPath, strRequest, pResponse, nTimeout);
}

int CameraAPI::SendHttpXmlSocketPost(std::string strPath, _xmlDoc*& pRequest, _xmlDoc*& pResponse,
                                     int nTimeout) noexcept {
  pResponse = nullptr;
  if (pRequest == nullptr) return HTTP_POST_NO_REQUEST;
  xmlChar* pText = nullptr;
  int nBytes = 0;
  bool blWhole = false;
  {
    // A text with bytes of another encoding goes out as it is, and libxml2 would complain.
    const PlatformXmlSilence silence;
    xmlDocDumpMemory(pRequest, &pText, &nBytes);
    blWhole = pText != nullptr && !silence.HadNoMemory();
  }
  const OwnedXmlText pOwned(pText);
  if (!blWhole) return HTTP_POST_OUT_OF_RESOURCES;
  const std::string_view strRequest(reinterpret_cast<const char*>(pText), static_cast<std::size_t>(nBytes));
  return Post(strPath, strRequest, pResponse, nTimeout);
}

void CameraAPI::SetExchangeObserver(std::function<void(const HTTP_EXCHANGE&)> fnObserver) {
  m_fnObserver = std::move(fnObserver);
}

void CameraAPI::SetExchangeGate(std::function<bool()> fnMayAsk) {
  m_fnMayAsk = std::move(fnMayAsk);
}

void CameraAPI::SetTimeoutCap(int nSeconds) {
  m_nTimeoutCap_s = nSeconds;
}

int CameraAPI::Post(const std::string& strPath, std::string_view strRequest, _xmlDoc*& pResponse, int nTimeout) {
  pResponse = nullptr;
  if (m_fnMayAsk && !m_fnMayAsk()) return HTTP_POST_AUTH_REFUSED;
  const int nTimeout_s = m_nTimeoutCap_s > 0 ? std::min(nTimeout, m_nTimeoutCap_s) : nTimeout;
  HTTP_EXCHANGE exchange = m_Http.Post(strPath, strRequest, {m_strUser, m_strPassword}, nTimeout_s);
  if (m_fnObserver) m_fnObserver(exchange);
  pResponse = exchange.pDoc.release();
  return exchange.eResult;
}
