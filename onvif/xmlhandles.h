#pragma once

#include <libxml/globals.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <memory>

// Owners of the libxml2 handles that the driver obtains. Nothing else in the driver frees one.

struct XmlHandleDeleter {
  void operator()(xmlDoc* pDoc) const noexcept { xmlFreeDoc(pDoc); }
  void operator()(xmlXPathContext* pContext) const noexcept { xmlXPathFreeContext(pContext); }
  void operator()(xmlXPathObject* pObject) const noexcept { xmlXPathFreeObject(pObject); }
  void operator()(xmlChar* pText) const noexcept { xmlFree(pText); }
};

using XmlDoc = std::unique_ptr<xmlDoc, XmlHandleDeleter>;
using XmlXPathContext = std::unique_ptr<xmlXPathContext, XmlHandleDeleter>;
using XmlXPathObject = std::unique_ptr<xmlXPathObject, XmlHandleDeleter>;
using XmlText = std::unique_ptr<xmlChar, XmlHandleDeleter>;

/// The first node that a look-up found, null when it found none. Some nodes live no longer than the result that holds
/// them.
struct XmlFirstNode {
  xmlNode* pNode = nullptr;
  XmlXPathObject pResult;
};

/// Keeps libxml2's messages of this thread to itself while it lives, and remembers whether one of them says that memory
/// ran out: for many a call of libxml2 that is the only sign. One may live inside another, which then knows as well.
/// The handlers are per thread and put back at the end.
class XmlSilence {
 public:
  XmlSilence() {
    xmlSetGenericErrorFunc(nullptr, IgnoreText);
    xmlSetStructuredErrorFunc(this, NoteError);
  }
  ~XmlSilence() {
    xmlSetGenericErrorFunc(m_pGenericContext, m_fnGeneric);
    xmlSetStructuredErrorFunc(m_pStructuredContext, m_fnStructured);
    if (m_fnStructured == NoteError && m_blNoMemory)
      static_cast<XmlSilence*>(m_pStructuredContext)->m_blNoMemory = true;
  }
  XmlSilence(const XmlSilence&) = delete;
  XmlSilence& operator=(const XmlSilence&) = delete;

  /// Whether libxml2 asked for memory in vain.
  bool HadNoMemory() const { return m_blNoMemory; }

 private:
  // A variadic function because libxml2 asks for one.
  static void IgnoreText(void*, const char*, ...) {}
  static void NoteError(void* pSelf, xmlErrorPtr pError) {
    // A namespace for which there is no memory is reported as an empty one. The driver itself writes none.
    const bool blNoMemory = pError->code == XML_ERR_NO_MEMORY || pError->code == XML_NS_ERR_XML_NAMESPACE;
    if (blNoMemory) static_cast<XmlSilence*>(pSelf)->m_blNoMemory = true;
  }

  xmlGenericErrorFunc m_fnGeneric = xmlGenericError;
  void* m_pGenericContext = xmlGenericErrorContext;
  xmlStructuredErrorFunc m_fnStructured = xmlStructuredError;
  void* m_pStructuredContext = xmlStructuredErrorContext;
  bool m_blNoMemory = false;
};
