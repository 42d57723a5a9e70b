#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "onvif/onvifservice.h"
#include "onvif/xmlhandles.h"

/// A Set request that is built by walking the camera's present configuration.
///
/// Elements of the common schema carry it as their default namespace; the elements inside them carry nothing and
/// inherit it. Every writer returns false (or null) when libxml2 refuses. While one lives, libxml2 is silent in its
/// thread.
class OnvifSetRequest {
 public:
  explicit OnvifSetRequest(OnvifServiceBase& service) : m_Service(service) {}

  /// Wraps and signs an empty `strOperation` element. False when the envelope does not parse, as with an "&" in the
  /// user name.
  bool Open(const std::string& strOperation);

  /// Adds the element "Configuration" with its token. `Conf` is there only after this.
  bool AddConfiguration(const std::string& strToken);

  /// Adds what ends every Set request. False also when memory ran out on the way, for then the request may lack any of
  /// its parts: it must not be sent.
  bool AddForcePersistence();

  xmlNode* Conf() const { return m_pConf; }
  xmlDoc* Doc() const { return m_pDoc.get(); }

  /// New element of the schema, with a text.
  xmlNode* Add(xmlNode* pParent, const char* pName, const std::string& strText);
  /// New element without namespace, with a text.
  xmlNode* AddPlain(xmlNode* pParent, const char* pName, const std::string& strText);
  /// Copy of a camera element's name and text, as an element of the schema.
  bool Copy(xmlNode* pParent, xmlNode* pSource);
  /// Copy of a camera element's name and text, without namespace.
  bool CopyPlain(xmlNode* pParent, xmlNode* pSource);
  /// `CopyPlain` of those element children of `pSource` whose names are listed, in the camera's order.
  bool CopyPlainChildren(xmlNode* pParent, const xmlNode* pSource, std::initializer_list<std::string_view> lstName);
  /// Rebuilds a Multicast element under `Conf`.
  bool AddMulticast(const xmlNode* pSource);

 private:
  const XmlSilence m_Silence;
  OnvifServiceBase& m_Service;
  XmlDoc m_pDoc;
  std::string m_strOperation;
  xmlNode* m_pConf = nullptr;  // part of the document
};
