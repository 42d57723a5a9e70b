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

/// Keeps libxml2's messages of this thread to itself while it lives. The handlers are per thread and put back at the
/// end.
class XmlSilence {
 public:
  XmlSilence() {
    xmlSetGenericErrorFunc(nullptr, IgnoreText);
    xmlSetStructuredErrorFunc(nullptr, IgnoreError);
  }
  ~XmlSilence() {
    xmlSetGenericErrorFunc(m_pGenericContext, m_fnGeneric);
    xmlSetStructuredErrorFunc(m_pStructuredContext, m_fnStructured);
  }
  XmlSilence(const XmlSilence&) = delete;
  XmlSilence& operator=(const XmlSilence&) = delete;

 private:
  // A variadic function because libxml2 asks for one.
  static void IgnoreText(void*, const char*, ...) {}
  static void IgnoreError(void*, xmlErrorPtr) {}

  xmlGenericErrorFunc m_fnGeneric = xmlGenericError;
  void* m_pGenericContext = xmlGenericErrorContext;
  xmlStructuredErrorFunc m_fnStructured = xmlStructuredError;
  void* m_pStructuredContext = xmlStructuredErrorContext;
};
