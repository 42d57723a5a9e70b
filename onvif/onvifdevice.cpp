#include "onvif/onvifdevice.h"

#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"

namespace {

// Where the address of one service stands in a GetCapabilities answer, and where its path goes.
struct XADDR_ROW {
  const char* pXPath;
  std::string OVF_DEV_CAP::*pstrPath;
};

constexpr XADDR_ROW k_rgXAddr[] = {
    {"//tds:GetCapabilitiesResponse//tds:Capabilities//tt:Device//tt:XAddr", &OVF_DEV_CAP::strDeviceXAddrPath},
    {"//tds:GetCapabilitiesResponse//tds:Capabilities//tt:Media//tt:XAddr", &OVF_DEV_CAP::strMediaXAddrPath},
    {"//tds:GetCapabilitiesResponse//tds:Capabilities//tt:PTZ//tt:XAddr", &OVF_DEV_CAP::strPtzXAddrPath},
};

}  // namespace

RET_ONVIF OnvifDeviceService::GetCapabilities(OVF_DEV_CAP& cap) {
  const OnvifReply reply = Exchange(
      "<GetCapabilities xmlns=\"http://www.onvif.org/ver10/device/wsdl\"><Category>All</Category></GetCapabilities>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  // One pair for all addresses, never cleared: an address without "://" takes the path read before it. This is meant.
  std::string strPath;
  std::string strPort;
  for (const XADDR_ROW& row : k_rgXAddr) {
    std::string strXAddr;
    GetNodeContentByPath(reply.pDoc.get(), row.pXPath, strXAddr);
    if (strXAddr.empty()) continue;
    ParseUrlAndGetPathPort(strXAddr, strPath, strPort);
    cap.*row.pstrPath = strPath;
  }
  GetNodeContentByPath(reply.pDoc.get(),
                       "//tds:GetCapabilitiesResponse//tds:Capabilities//tt:Device//tt:System//tt:SupportedVersions"
                       "//tt:Major",
                       cap.strVerMajor);
  GetNodeContentByPath(reply.pDoc.get(),
                       "//tds:GetCapabilitiesResponse//tds:Capabilities//tt:Device//tt:System//tt:SupportedVersions"
                       "//tt:Minor",
                       cap.strVerMinor);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifDeviceService::GetDeviceInformation(OVF_DEV_INFO& info) {
  // Not the manufacturer: after a failed request the old one stays. This is meant.
  info.strModel.clear();
  info.strFirmwareVersion.clear();
  const OnvifReply reply = Exchange("<GetDeviceInformation xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  GetNodeContentByPath(reply.pDoc.get(), "//tds:GetDeviceInformationResponse//tds:Manufacturer", info.strManufacturer);
  GetNodeContentByPath(reply.pDoc.get(), "//tds:GetDeviceInformationResponse//tds:Model", info.strModel);
  GetNodeContentByPath(reply.pDoc.get(), "//tds:GetDeviceInformationResponse//tds:FirmwareVersion",
                       info.strFirmwareVersion);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifDeviceService::GetNetworkInterfaces(OVF_DEV_NET_INTER& inter) {
  const OnvifReply reply = Exchange("<GetNetworkInterfaces xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  GetNodeContentByPath(reply.pDoc.get(),
                       "//tds:GetNetworkInterfacesResponse//tds:NetworkInterfaces//tt:Info//tt:HwAddress",
                       inter.strHwAddress);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifDeviceService::GetNetworkProtocols(std::list<OVF_DEV_NET_PROT>& lstProt) {
  const OnvifReply reply = Exchange("<GetNetworkProtocols xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const XmlXPathObject pProtocols(
      GetXmlNodeSet(reply.pDoc.get(), "//tds:GetNetworkProtocolsResponse//tds:NetworkProtocols"));
  if (!pProtocols) return RET_ONVIF_OK;
  OVF_DEV_NET_PROT prot;  // flag and port live on from protocol to protocol; this is meant
  for (const xmlNode* pProtocol : XmlNodes(*pProtocols)) {
    prot.strName.clear();
    for (xmlNode* pChild : XmlChildren(pProtocol)) {
      if (pChild->type != XML_ELEMENT_NODE) continue;
      std::string strText;
      if (GetNodeContent(pChild, strText) != RET_ONVIF_OK)
        return RET_ONVIF_OK;  // a part of the list is a success; meant
      const std::string_view strName = ElementName(pChild);
      if (strName == "Name") prot.strName = strText;
      if (strName == "Enabled") prot.blEnabled = strText == "true";
      if (strName == "Port") prot.nPort = ReadDecimal(strText);
    }
    lstProt.push_back(prot);
  }
  return RET_ONVIF_OK;
}
