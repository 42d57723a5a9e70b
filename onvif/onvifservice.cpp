#include "onvif/onvifservice.h"

#include <utility>

#include "dupfromhx/hxdebuglog.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"
#include "platform/cameraapi.h"
#include "platform/devicepackowned.h"

namespace {

constexpr const char* k_pServiceSource = "onvif/onvifservice";

// What `CameraAPI::SendHttpXmlSocketPost` answers besides 0, as far as it matters here.
constexpr int k_nHostAuthRefused = 5;
constexpr int k_nHostErrorStatusWithBody = 6;

bool HasFaultChild(const xmlNode* pNode) {
  for (const xmlNode* pChild : XmlChildren(pNode)) {
    if (ElementName(pChild) == "Fault") return true;
  }
  return false;
}

bool IsAuthSubcode(const std::string& strSubcode) {
  return strSubcode == "ter:NotAuthorized" || strSubcode == "wsse:FailedAuthentication";
}

}  // namespace

void ParseUrlAndGetPathPort(std::string strUrl, std::string& strPath, std::string& strPort) {
  constexpr std::string_view strSchemeEnd = "://";
  const std::size_t nScheme = strUrl.find(strSchemeEnd);
  if (nScheme == std::string::npos) return;
  const std::size_t nStart = nScheme + strSchemeEnd.size();
  const std::size_t nAt = strUrl.find('@', nStart);
  strUrl.erase(0, nAt == std::string::npos ? nStart : nAt);  // the "@" itself stays
  const std::size_t nColon = strUrl.find(':');
  const std::size_t nSlash = strUrl.find('/');
  strPort.clear();
  if (nColon != std::string::npos) {
    // A "/" before the ":" leaves the end open: everything behind the ":" is the port. This is meant.
    const bool blEnds = nSlash != std::string::npos && nSlash > nColon;
    strPort = strUrl.substr(nColon + 1, blEnds ? nSlash - nColon - 1 : std::string::npos);
  }
  strPath = nSlash == std::string::npos ? std::string() : strUrl.substr(nSlash);
}

void OnvifServiceBase::UpdateServiceParam(CameraAPI* pCamApi, std::string strServicePath, std::string strVerMajor,
                                          std::string strVerMinor) {
  m_pCamApi = pCamApi;
  m_strServicePath = std::move(strServicePath);
  m_strVerMajor = std::move(strVerMajor);
  m_strVerMinor = std::move(strVerMinor);
}

bool OnvifServiceBase::IsSupported() const {
  return !m_strServicePath.empty();
}

bool OnvifServiceBase::IsVersion10() const {
  return m_strVerMajor == "1" && m_strVerMinor == "0";
}

std::string OnvifServiceBase::GenSOAPMsg(std::string strBody) {
  const WsseUsernameToken token = DevicePackOwned::GenWSSEUsernameToken(m_pCamApi->GetUser(), m_pCamApi->GetPassword());
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\">\n"
         "<s:Header>\n"
         "<wsse:Security"
         " xmlns:wsse=\"http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd\""
         " xmlns:wsu=\"http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd\">\n"
         "<wsse:UsernameToken>\n"
         "<wsse:Username>" +
         token.strUsername +
         "</wsse:Username>\n"
         "<wsse:Password"
         " Type=\"http://docs.oasis-open.org/wss/2004/01/"
         "oasis-200401-wss-username-token-profile-1.0#PasswordDigest\">" +
         token.strPasswordDigest +
         "</wsse:Password>\n"
         "<wsse:Nonce>" +
         token.strNonce +
         "</wsse:Nonce>\n"
         "<wsu:Created>" +
         token.strCreated +
         "</wsu:Created>\n"
         "</wsse:UsernameToken>\n"
         "</wsse:Security>\n"
         "</s:Header>\n"
         "<s:Body xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
         " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">\n" +
         strBody +
         "</s:Body>\n"
         "</s:Envelope>";
}

RET_ONVIF OnvifServiceBase::SendSOAPMsg(std::string strBody, _xmlDoc*& pResponse) {
  const int nHostResult = m_pCamApi->SendHttpXmlSocketPost(m_strServicePath, GenSOAPMsg(std::move(strBody)), pResponse,
                                                           ONVIF_EXCHANGE_TIMEOUT_S);
  return Classify(nHostResult, pResponse);
}

RET_ONVIF OnvifServiceBase::SendSOAPMsg(_xmlDoc*& pRequest, _xmlDoc*& pResponse) {
  const int nHostResult =
      m_pCamApi->SendHttpXmlSocketPost(m_strServicePath, pRequest, pResponse, ONVIF_EXCHANGE_TIMEOUT_S);
  return Classify(nHostResult, pResponse);
}

RET_ONVIF OnvifServiceBase::Classify(int nHostResult, _xmlDoc* pResponse) {
  if (nHostResult != 0) {
    DevicePackOwned::HxPrintf("%s:%d:%s(): SendHttpXmlSocketPost failed. %d [%s]\n", k_pServiceSource, __LINE__,
                              "SendSOAPMsg", nHostResult, m_strServicePath.c_str());
    if (nHostResult == k_nHostAuthRefused) return RET_ONVIF_NOT_AUTHORIZED;
    if (nHostResult != k_nHostErrorStatusWithBody) return RET_ONVIF_SEND_FAIL;
  }
  std::string strSubcode;
  std::string strReason;
  if (!IsSOAPFaultMsg(pResponse, strSubcode, strReason)) return RET_ONVIF_OK;
  DevicePackOwned::HxPrintf("%s:%d:%s(): SOAP fault: [subcode:%s][reason:%s]\n", k_pServiceSource, __LINE__,
                            "SendSOAPMsg", strSubcode.c_str(), strReason.c_str());
  return IsAuthSubcode(strSubcode) ? RET_ONVIF_NOT_AUTHORIZED : RET_ONVIF_SOAP_FAULT;
}

bool OnvifServiceBase::IsSOAPFaultMsg(_xmlDoc* pDoc, std::string& strSubcode, std::string& strReason) {
  bool blFault = false;
  for (const xmlNode* pChild : XmlChildren(pDoc == nullptr ? nullptr : xmlDocGetRootElement(pDoc))) {
    blFault = blFault || (pChild->type == XML_ELEMENT_NODE && HasFaultChild(pChild));
  }
  if (!blFault) return false;
  // Only the Subcode that is a child of Code counts; a nested one is not looked at. This is meant.
  if (GetNodeContentByPath(pDoc, "//soapenv:Code/soapenv:Subcode/soapenv:Value", strSubcode) != RET_ONVIF_OK) {
    strSubcode = "Get return subcode failed.";
  }
  if (GetNodeContentByPath(pDoc, "//soapenv:Reason/soapenv:Text", strReason) != RET_ONVIF_OK) {
    strReason = "Get return reason failed.";
  }
  return true;
}

OnvifReply OnvifServiceBase::Exchange(std::string strBody) {
  xmlDoc* pResponse = nullptr;
  const RET_ONVIF eRet = SendSOAPMsg(std::move(strBody), pResponse);
  return {eRet, XmlDoc(pResponse)};
}

OnvifReply OnvifServiceBase::Exchange(_xmlDoc* pRequest) {
  xmlDoc* pResponse = nullptr;
  const RET_ONVIF eRet = SendSOAPMsg(pRequest, pResponse);
  return {eRet, XmlDoc(pResponse)};
}
