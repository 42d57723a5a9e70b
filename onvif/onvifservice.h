#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "onvif/camapi-export.h"

struct _xmlDoc;
struct _xmlNode;
struct _xmlXPathContext;
struct _xmlXPathObject;
class CameraAPI;
struct OnvifReply;
class XmlPath;
struct XmlFirstNode;

/// Result of every service operation. The numbers are a contract: they are compared and mapped elsewhere. 2 and 3 mean
/// one thing for an exchange and another for the XML helpers; both are meant, the server's codes are mapped by number.
enum RET_ONVIF : int {
  RET_ONVIF_OK = 0,              ///< success
  RET_ONVIF_INVALID_ARG = 1,     ///< a null document or node
  RET_ONVIF_SEND_FAIL = 2,       ///< the HTTP exchange failed; XML helpers: the XPath is empty
  RET_ONVIF_NOT_AUTHORIZED = 3,  ///< the camera refused the credentials; XML helpers: the attribute name is empty
  RET_ONVIF_SOAP_FAULT = 4,      ///< the camera answered with any other SOAP fault
  RET_ONVIF_XML_FAIL = 5,        ///< an expected node, attribute or text is missing, or libxml2 failed
};

/// Longest time that one exchange may take, in seconds; a fixed number of the contract with the server.
inline constexpr int ONVIF_EXCHANGE_TIMEOUT_S = 120;

/// Cuts the address that a camera reports into path and port.
///
/// "http://192.168.1.10/onvif/device_service" gives "/onvif/device_service" and an empty port;
/// "rtsp://user:pw@10.0.0.5:554/stream1?x=1" gives "/stream1?x=1" and "554"; "http://cam:81" gives an empty path and
/// "81". IPv6 literals are not understood: the first ":" inside the brackets counts as the port separator. An "@"
/// anywhere behind the scheme drops everything before it. Never throws, save std::bad_alloc.
/// \param[out] strPath from the first "/" to the end, query included; empty without one
/// \param[out] strPort the text behind the first ":" as it stands, empty without one Both outputs keep their values
/// when `strUrl` holds no "://".
CAMAPI_ONVIF_EXPORT void ParseUrlAndGetPathPort(std::string strUrl, std::string& strPath, std::string& strPort);

/// Base of the clients of one camera's ONVIF services: where the service is reached, the exchange of SOAP messages, and
/// the tools to read and build XML. Copies share the driver they point to. One thread at a time. Nothing here and in the
/// clients throws anything but std::bad_alloc.
class CAMAPI_ONVIF_EXPORT OnvifServiceBase {
 public:
  OnvifServiceBase() = default;

  /// Points the client at a service.
  /// \param pCamApi the driver that posts the requests and holds the credentials; it must outlive this object
  /// \param strServicePath HTTP path of the service, empty when the camera does not offer it
  /// \param strVerMajor, strVerMinor ONVIF version as the camera reports it, empty when unknown
  void UpdateServiceParam(CameraAPI* pCamApi, std::string strServicePath, std::string strVerMajor,
                          std::string strVerMinor);

  /// Whether the camera offers this service, that is, whether it has a path.
  bool IsSupported() const;

  /// A complete SOAP 1.2 request around `strBody`, which goes in as it is, with a fresh UsernameToken of the driver's
  /// account. The security header is there also for an empty user name. Needs `UpdateServiceParam` first.
  std::string GenSOAPMsg(std::string strBody);

  /// Wraps `strBody` with `GenSOAPMsg`, posts it and classifies the answer. Needs `UpdateServiceParam` first. A failed
  /// post and a fault are logged.
  /// \param strBody what stands in the body of the envelope
  /// \param[out] pResponse what the camera answered, also when the result is not 0; null when nothing was parsed. The
  /// caller frees it with xmlFreeDoc.
  /// \return RET_ONVIF_OK, RET_ONVIF_SEND_FAIL, RET_ONVIF_NOT_AUTHORIZED (HTTP 401, or a fault whose subcode is
  /// "ter:NotAuthorized" or "wsse:FailedAuthentication"), RET_ONVIF_SOAP_FAULT. An HTTP error status with a body that
  /// is no fault counts as success; this is meant.
  RET_ONVIF SendSOAPMsg(std::string strBody, _xmlDoc*& pResponse);

  /// The same for a request that the caller built as a complete, signed envelope. It stays the caller's.
  RET_ONVIF SendSOAPMsg(_xmlDoc*& pRequest, _xmlDoc*& pResponse);

  /// Whether a child of the root's element children is an element named "Fault", in whatever namespace.
  /// \param pDoc the answer
  /// \param[out] strSubcode, strReason texts of the fault, or what says that they could not be read; untouched without
  /// fault
  bool IsSOAPFaultMsg(_xmlDoc* pDoc, std::string& strSubcode, std::string& strReason);

  /// Registers the fixed prefixes soapenv, tev, timg, tds, trt, tptz and tt. tptz is the ver10 PTZ namespace for a
  /// service whose version is exactly 1.0, the ver20 one otherwise; this narrow test is meant.
  /// \return RET_ONVIF_OK, or RET_ONVIF_XML_FAIL at the first prefix that libxml2 refuses
  RET_ONVIF RegistNsForONVIF(_xmlXPathContext* pContext);

  /// Evaluates an XPath with the prefixes that the root declares and, stronger, the fixed ones. A root that is in a
  /// default namespace, or declares one behind that of its own prefix, yields no node set for any XPath; this is meant.
  /// \return an object with at least one node, which the caller frees with xmlXPathFreeObject; else null
  _xmlXPathObject* GetXmlNodeSet(_xmlDoc* pDoc, const char* pXPath);

  // Readers. Texts come as libxml2 gives them, neither trimmed nor converted. The output is cleared once the arguments
  // are found good, so that a failed look-up leaves it empty. Of several nodes the first in document order counts.

  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null node); RET_ONVIF_XML_FAIL (no such attribute)
  RET_ONVIF GetNodeAttr(_xmlNode* pNode, std::string strAttr, std::string& strValue);
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null node); RET_ONVIF_XML_FAIL (no content)
  RET_ONVIF GetNodeContent(_xmlNode* pNode, std::string& strContent);
  /// Content of the first child of the first child that has any: the first entry of a list.
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null node); RET_ONVIF_XML_FAIL (no child yields content)
  RET_ONVIF GetFirstSubNodeContent(_xmlNode* pNode, std::string& strContent);
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null document); RET_ONVIF_SEND_FAIL (empty XPath);
  /// RET_ONVIF_NOT_AUTHORIZED (empty attribute name); RET_ONVIF_XML_FAIL (no node, no attribute)
  RET_ONVIF GetNodeAttrByPath(_xmlDoc* pDoc, std::string strXPath, std::string strAttr, std::string& strValue);
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null document); RET_ONVIF_SEND_FAIL (empty XPath); RET_ONVIF_XML_FAIL
  /// (no node, no content)
  RET_ONVIF GetNodeContentByPath(_xmlDoc* pDoc, std::string strXPath, std::string& strContent);

  /// Creates or replaces an attribute of the first node that the XPath finds.
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null document); RET_ONVIF_SEND_FAIL (empty XPath); RET_ONVIF_XML_FAIL
  /// (no node, or the attribute could not be set)
  RET_ONVIF SetNodeAttrByPath(_xmlDoc* pDoc, std::string strXPath, std::string strAttr, std::string strValue);

  // Inserters: make a new last child, named `strName`, under `pParent`, with a text (libxml2 escapes it) and, but for
  // the second, an attribute. All return the child, which belongs to the parent's tree, or null when a step failed; a
  // child whose attribute failed stays in the tree.

  /// The text is `strContent`.
  _xmlNode* InsertChildWithAttr(std::string strContent, _xmlNode* pParent, std::string strName, std::string strAttr,
                                std::string strValue);
  /// The text is the content of the first node that the XPath finds.
  _xmlNode* InsertChildByPath(_xmlDoc* pDoc, std::string strXPath, _xmlNode* pParent, std::string strName);
  /// The same with an attribute.
  _xmlNode* InsertChildByPathWithAttr(_xmlDoc* pDoc, std::string strXPath, _xmlNode* pParent, std::string strName,
                                      std::string strAttr, std::string strValue);
  /// The text is the content of `pSource`. Here alone an empty attribute name means "no attribute".
  _xmlNode* InsertChildByNodeWithAttr(_xmlNode* pSource, _xmlNode* pParent, std::string strName, std::string strAttr,
                                      std::string strValue);

 protected:
  /// Whether the service reports exactly version 1.0.
  bool IsVersion10() const;

  /// Sends `strBody` and takes the answer into ownership.
  OnvifReply Exchange(std::string strBody);

  /// Sends a request document, which stays the caller's, and takes the answer into ownership.
  OnvifReply Exchange(_xmlDoc* pRequest);

  /// The first node of what `GetXmlNodeSet` gives.
  XmlFirstNode GetFirstXmlNode(_xmlDoc* pDoc, const char* pXPath);

  using NODES = std::vector<_xmlNode*>;
  using PATHS = std::initializer_list<std::string_view>;

  /// Paths of the driver's own that are looked for in one walk: literals, which the result refers to, of element names,
  /// with the fixed prefixes and 32 steps together. Anything else is a mistake of the driver's and throws.
  XmlPath FixedPaths(PATHS paths) const;

  /// For each path the elements that it finds and that lie in no other of them; nothing in a document that
  /// `GetXmlNodeSet` refuses.
  std::vector<NODES> FindOutermost(_xmlDoc* pDoc, PATHS paths) const;

  CameraAPI* m_pCamApi = nullptr;
  std::string m_strServicePath;
  std::string m_strVerMajor;
  std::string m_strVerMinor;

 private:
  RET_ONVIF Classify(int nHostResult, _xmlDoc* pResponse);
  _xmlXPathObject* EvaluateXPath(_xmlDoc* pDoc, const char* pXPath);
};
