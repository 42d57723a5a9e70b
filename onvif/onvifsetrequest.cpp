#include "onvif/onvifsetrequest.h"

#include <libxml/parser.h>

#include <algorithm>

#include "onvif/xmlwalk.h"

namespace {

constexpr const char* k_pMediaUri = "http://www.onvif.org/ver10/media/wsdl";
constexpr const char* k_pSchemaUri = "http://www.onvif.org/ver10/schema";

}  // namespace

bool OnvifSetRequest::Open(const std::string& strOperation) {
  m_strOperation = strOperation;
  const std::string strEnvelope = m_Service.GenSOAPMsg("<" + strOperation + "></" + strOperation + ">");
  m_pDoc.reset(xmlReadMemory(strEnvelope.data(), static_cast<int>(strEnvelope.size()), nullptr, nullptr,
                             XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  return m_pDoc != nullptr;
}

bool OnvifSetRequest::AddConfiguration(const std::string& strToken) {
  const std::string strXPath = "//" + m_strOperation;
  if (m_Service.SetNodeAttrByPath(m_pDoc.get(), strXPath, "xmlns", k_pMediaUri) != RET_ONVIF_OK) return false;
  const XmlXPathObject pFound(m_Service.GetXmlNodeSet(m_pDoc.get(), strXPath.c_str()));
  if (!pFound) return false;
  m_pConf = m_Service.InsertChildWithAttr("", *XmlNodes(*pFound).begin(), "Configuration", "token", strToken);
  return m_pConf != nullptr;
}

bool OnvifSetRequest::AddForcePersistence() {
  return AddPlain(m_pConf->parent, "ForcePersistence", "true") != nullptr && !m_Silence.HadNoMemory();
}

xmlNode* OnvifSetRequest::Add(xmlNode* pParent, const char* pName, const std::string& strText) {
  return m_Service.InsertChildWithAttr(strText, pParent, pName, "xmlns", k_pSchemaUri);
}

xmlNode* OnvifSetRequest::AddPlain(xmlNode* pParent, const char* pName, const std::string& strText) {
  return xmlNewTextChild(pParent, nullptr, XmlChars(pName), XmlChars(strText));
}

bool OnvifSetRequest::Copy(xmlNode* pParent, xmlNode* pSource) {
  return m_Service.InsertChildByNodeWithAttr(pSource, pParent, XmlString(pSource->name), "xmlns", k_pSchemaUri) !=
         nullptr;
}

bool OnvifSetRequest::CopyPlain(xmlNode* pParent, xmlNode* pSource) {
  return m_Service.InsertChildByNodeWithAttr(pSource, pParent, XmlString(pSource->name), "", "") != nullptr;
}

bool OnvifSetRequest::CopyPlainChildren(xmlNode* pParent, const xmlNode* pSource,
                                        std::initializer_list<std::string_view> lstName) {
  for (xmlNode* pChild : XmlChildren(pSource)) {
    const bool blListed = std::find(lstName.begin(), lstName.end(), ElementName(pChild)) != lstName.end();
    if (blListed && !CopyPlain(pParent, pChild)) return false;
  }
  return true;
}

bool OnvifSetRequest::AddMulticast(const xmlNode* pSource) {
  xmlNode* const pMulticast = Add(m_pConf, "Multicast", "");
  if (pMulticast == nullptr) return false;
  for (xmlNode* pChild : XmlChildren(pSource)) {
    const std::string_view strName = ElementName(pChild);
    if (strName == "Address") {
      xmlNode* const pAddress = AddPlain(pMulticast, "Address", "");
      if (pAddress == nullptr || !CopyPlainChildren(pAddress, pChild, {"Type", "IPv4Address"})) return false;
    } else if (strName == "Port" || strName == "TTL" || strName == "AutoStart") {
      if (!CopyPlain(pMulticast, pChild)) return false;
    }
  }
  return true;
}
