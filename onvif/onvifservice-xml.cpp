// The XML and XPath tools of OnvifServiceBase.

#include <libxml/xpathInternals.h>

#include <array>
#include <utility>

#include "onvif/onvifservice.h"
#include "onvif/xmlhandles.h"
#include "onvif/xmlpath.h"
#include "onvif/xmlwalk.h"

namespace {

using PREFIX_TABLE = std::array<XmlPath::PREFIX, 7>;

// The prefixes of all look-ups, whatever prefixes the camera chose.
constexpr PREFIX_TABLE FixedPrefixes(const char* pPtzUri) {
  return {{
      {"soapenv", "http://www.w3.org/2003/05/soap-envelope"},
      {"tev", "http://www.onvif.org/ver10/events/wsdl"},
      {"timg", "http://www.onvif.org/ver10/imaging/wsdl"},
      {"tds", "http://www.onvif.org/ver10/device/wsdl"},
      {"trt", "http://www.onvif.org/ver10/media/wsdl"},
      {"tptz", pPtzUri},
      {"tt", "http://www.onvif.org/ver10/schema"},
  }};
}

constexpr PREFIX_TABLE k_rgPrefixVer10 = FixedPrefixes("http://www.onvif.org/ver10/ptz/wsdl");
constexpr PREFIX_TABLE k_rgPrefixVer20 = FixedPrefixes("http://www.onvif.org/ver20/ptz/wsdl");

const PREFIX_TABLE& FixedPrefixes(bool blVersion10) {
  return blVersion10 ? k_rgPrefixVer10 : k_rgPrefixVer20;
}

// The path is bound to the text and to constants only.
std::optional<XmlPath> FixedPath(const char* pPath, bool blVersion10) {
  return XmlPath::Parse(pPath, FixedPrefixes(blVersion10));
}

bool Register(xmlXPathContext* pContext, const xmlChar* pPrefix, const xmlChar* pUri) {
  return xmlXPathRegisterNs(pContext, pPrefix, pUri) == 0;
}

// Whether the namespace of the root and those declared behind it have prefixes. A default namespace has none, and makes
// the whole document unsearchable; this is meant.
bool IsSearchable(const xmlDoc* pDoc) {
  const xmlNode* const pRoot = pDoc == nullptr ? nullptr : xmlDocGetRootElement(pDoc);
  if (pRoot == nullptr) return false;
  for (const xmlNs* pNs = pRoot->ns; pNs != nullptr; pNs = pNs->next) {
    if (pNs->prefix == nullptr) return false;
  }
  return true;
}

// The namespace of the root and those declared behind it.
bool RegisterDeclared(xmlXPathContext* pContext, const xmlNode* pRoot) {
  for (const xmlNs* pNs = pRoot->ns; pNs != nullptr; pNs = pNs->next) {
    if (!Register(pContext, pNs->prefix, pNs->href)) return false;
  }
  return true;
}

// An XPath result that holds `nodes`, null for none.
xmlXPathObject* NewNodeSet(const std::vector<xmlNode*>& nodes) {
  if (nodes.empty()) return nullptr;
  const XmlSilence silence;
  XmlXPathObject pObject(xmlXPathNewNodeSet(nodes.front()));
  if (!pObject || xmlXPathNodeSetIsEmpty(pObject->nodesetval)) return nullptr;
  for (auto itNode = nodes.begin() + 1; itNode != nodes.end(); ++itNode) {
    if (xmlXPathNodeSetAddUnique(pObject->nodesetval, *itNode) != 0) return nullptr;
  }
  return pObject.release();
}

RET_ONVIF StoreText(const xmlChar* pText, std::string& strOut) {
  if (pText == nullptr) return RET_ONVIF_XML_FAIL;
  strOut = reinterpret_cast<const char*>(pText);
  return RET_ONVIF_OK;
}

// The content of a text, or of an element or attribute that holds one text and nothing else: of nearly all values of a
// camera, without the copies and buffers of xmlNodeGetContent. Null for everything else.
const xmlChar* PlainContent(const xmlNode* pNode) {
  if (pNode->type == XML_TEXT_NODE) return pNode->content;
  if (pNode->type != XML_ELEMENT_NODE && pNode->type != XML_ATTRIBUTE_NODE) return nullptr;
  const xmlNode* const pText = pNode->children;
  const bool blPlain = pText != nullptr && pText->type == XML_TEXT_NODE && pText->next == nullptr;
  return blPlain ? pText->content : nullptr;
}

// The plain content of an element's attribute, null when it has none such.
const xmlChar* PlainAttr(const xmlNode* pNode, const std::string& strAttr) {
  if (pNode->type != XML_ELEMENT_NODE) return nullptr;
  for (const xmlAttr* pAttr = pNode->properties; pAttr != nullptr; pAttr = pAttr->next) {
    if (strAttr == reinterpret_cast<const char*>(pAttr->name)) {
      return PlainContent(reinterpret_cast<const xmlNode*>(pAttr));
    }
  }
  return nullptr;
}

RET_ONVIF CheckPathArgs(const xmlDoc* pDoc, const std::string& strXPath) {
  if (pDoc == nullptr) return RET_ONVIF_INVALID_ARG;
  return strXPath.empty() ? RET_ONVIF_SEND_FAIL : RET_ONVIF_OK;
}

xmlNode* NewTextChild(xmlNode* pParent, const std::string& strName, const xmlChar* pContent) {
  return xmlNewTextChild(pParent, nullptr, XmlChars(strName), pContent);
}

// Gives `pNode` its attribute; null when there is no node or the attribute fails.
xmlNode* WithAttr(xmlNode* pNode, const std::string& strAttr, const std::string& strValue) {
  if (pNode == nullptr) return nullptr;
  const XmlSilence silence;  // libxml2 takes bytes that are not UTF-8, but complains
  return xmlSetProp(pNode, XmlChars(strAttr), XmlChars(strValue)) == nullptr ? nullptr : pNode;
}

}  // namespace

RET_ONVIF OnvifServiceBase::RegistNsForONVIF(_xmlXPathContext* pContext) {
  for (const XmlPath::PREFIX& prefix : FixedPrefixes(IsVersion10())) {
    if (!Register(pContext, XmlChars(std::string(prefix.strPrefix)), XmlChars(prefix.pUri))) return RET_ONVIF_XML_FAIL;
  }
  return RET_ONVIF_OK;
}

_xmlXPathObject* OnvifServiceBase::GetXmlNodeSet(_xmlDoc* pDoc, const char* pXPath) {
  if (pXPath == nullptr || !IsSearchable(pDoc)) return nullptr;
  if (const std::optional<XmlPath> path = FixedPath(pXPath, IsVersion10())) return NewNodeSet(path->Find(pDoc));
  return EvaluateXPath(pDoc, pXPath);
}

XmlFirstNode OnvifServiceBase::GetFirstXmlNode(_xmlDoc* pDoc, const char* pXPath) {
  if (!IsSearchable(pDoc)) return {};
  if (const std::optional<XmlPath> path = FixedPath(pXPath, IsVersion10())) return {path->First(pDoc), nullptr};
  XmlXPathObject pResult(EvaluateXPath(pDoc, pXPath));
  if (!pResult) return {};
  return {*XmlNodes(*pResult).begin(), std::move(pResult)};
}

XmlPath OnvifServiceBase::FixedPaths(PATHS paths) const {
  return XmlPath::Parse(paths, FixedPrefixes(IsVersion10())).value();
}

std::vector<OnvifServiceBase::NODES> OnvifServiceBase::FindOutermost(_xmlDoc* pDoc, PATHS paths) const {
  if (!IsSearchable(pDoc)) return std::vector<NODES>(paths.size());
  std::vector<NODES> rgFound = FixedPaths(paths).FindEach(pDoc);
  for (NODES& found : rgFound) found = XmlPath::Outermost(found);
  return rgFound;
}

_xmlXPathObject* OnvifServiceBase::EvaluateXPath(_xmlDoc* pDoc, const char* pXPath) {
  const XmlSilence silence;
  const XmlXPathContext pContext(xmlXPathNewContext(pDoc));
  if (!pContext || !RegisterDeclared(pContext.get(), xmlDocGetRootElement(pDoc))) return nullptr;
  // After the declared ones, so that the fixed prefixes win.
  if (RegistNsForONVIF(pContext.get()) != RET_ONVIF_OK) return nullptr;
  XmlXPathObject pObject(xmlXPathEvalExpression(XmlChars(pXPath), pContext.get()));
  if (!pObject || xmlXPathNodeSetIsEmpty(pObject->nodesetval)) return nullptr;
  return pObject.release();
}

RET_ONVIF OnvifServiceBase::GetNodeAttr(_xmlNode* pNode, std::string strAttr, std::string& strValue) {
  if (pNode == nullptr) return RET_ONVIF_INVALID_ARG;
  strValue.clear();
  if (const xmlChar* const pPlain = PlainAttr(pNode, strAttr)) return StoreText(pPlain, strValue);
  const XmlSilence silence;
  return StoreText(XmlText(xmlGetProp(pNode, XmlChars(strAttr))).get(), strValue);
}

RET_ONVIF OnvifServiceBase::GetNodeContent(_xmlNode* pNode, std::string& strContent) {
  if (pNode == nullptr) return RET_ONVIF_INVALID_ARG;
  strContent.clear();
  if (const xmlChar* const pPlain = PlainContent(pNode)) return StoreText(pPlain, strContent);
  const XmlSilence silence;
  return StoreText(XmlText(xmlNodeGetContent(pNode)).get(), strContent);
}

RET_ONVIF OnvifServiceBase::GetFirstSubNodeContent(_xmlNode* pNode, std::string& strContent) {
  if (pNode == nullptr) return RET_ONVIF_INVALID_ARG;
  strContent.clear();
  for (const xmlNode* pChild : XmlChildren(pNode)) {
    if (GetNodeContent(pChild->children, strContent) == RET_ONVIF_OK) return RET_ONVIF_OK;
  }
  return RET_ONVIF_XML_FAIL;
}

RET_ONVIF OnvifServiceBase::GetNodeAttrByPath(_xmlDoc* pDoc, std::string strXPath, std::string strAttr,
                                              std::string& strValue) {
  if (const RET_ONVIF eRet = CheckPathArgs(pDoc, strXPath); eRet != RET_ONVIF_OK) return eRet;
  if (strAttr.empty()) return RET_ONVIF_NOT_AUTHORIZED;
  strValue.clear();
  const XmlFirstNode found = GetFirstXmlNode(pDoc, strXPath.c_str());
  return found.pNode == nullptr ? RET_ONVIF_XML_FAIL : GetNodeAttr(found.pNode, std::move(strAttr), strValue);
}

RET_ONVIF OnvifServiceBase::GetNodeContentByPath(_xmlDoc* pDoc, std::string strXPath, std::string& strContent) {
  if (const RET_ONVIF eRet = CheckPathArgs(pDoc, strXPath); eRet != RET_ONVIF_OK) return eRet;
  strContent.clear();
  const XmlFirstNode found = GetFirstXmlNode(pDoc, strXPath.c_str());
  return found.pNode == nullptr ? RET_ONVIF_XML_FAIL : GetNodeContent(found.pNode, strContent);
}

RET_ONVIF OnvifServiceBase::SetNodeAttrByPath(_xmlDoc* pDoc, std::string strXPath, std::string strAttr,
                                              std::string strValue) {
  if (const RET_ONVIF eRet = CheckPathArgs(pDoc, strXPath); eRet != RET_ONVIF_OK) return eRet;
  const XmlFirstNode found = GetFirstXmlNode(pDoc, strXPath.c_str());
  return WithAttr(found.pNode, strAttr, strValue) == nullptr ? RET_ONVIF_XML_FAIL : RET_ONVIF_OK;
}

_xmlNode* OnvifServiceBase::InsertChildWithAttr(std::string strContent, _xmlNode* pParent, std::string strName,
                                                std::string strAttr, std::string strValue) {
  return WithAttr(NewTextChild(pParent, strName, XmlChars(strContent)), strAttr, strValue);
}

_xmlNode* OnvifServiceBase::InsertChildByPath(_xmlDoc* pDoc, std::string strXPath, _xmlNode* pParent,
                                              std::string strName) {
  const XmlFirstNode found = GetFirstXmlNode(pDoc, strXPath.c_str());
  if (found.pNode == nullptr) return nullptr;
  const XmlText pContent(xmlNodeGetContent(found.pNode));
  if (!pContent) return nullptr;
  return NewTextChild(pParent, strName, pContent.get());
}

_xmlNode* OnvifServiceBase::InsertChildByPathWithAttr(_xmlDoc* pDoc, std::string strXPath, _xmlNode* pParent,
                                                      std::string strName, std::string strAttr, std::string strValue) {
  return WithAttr(InsertChildByPath(pDoc, strXPath, pParent, strName), strAttr, strValue);
}

_xmlNode* OnvifServiceBase::InsertChildByNodeWithAttr(_xmlNode* pSource, _xmlNode* pParent, std::string strName,
                                                      std::string strAttr, std::string strValue) {
  std::string strContent;
  if (GetNodeContent(pSource, strContent) != RET_ONVIF_OK) return nullptr;
  xmlNode* const pChild = NewTextChild(pParent, strName, XmlChars(strContent));
  return strAttr.empty() ? pChild : WithAttr(pChild, strAttr, strValue);
}
