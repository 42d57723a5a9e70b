#pragma once

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

/// Keeps libxml2's messages of this thread to itself while it lives, and remembers whether one of them says that memory
/// ran out: for many a call of libxml2 that is the only sign. The handlers are per thread and put back at the end.
class PlatformXmlSilence {
 public:
  PlatformXmlSilence() {
    xmlSetGenericErrorFunc(nullptr, IgnoreText);
    xmlSetStructuredErrorFunc(this, NoteError);
  }
  ~PlatformXmlSilence() {
    xmlSetGenericErrorFunc(m_pGenericContext, m_fnGeneric);
    xmlSetStructuredErrorFunc(m_pStructuredContext, m_fnStructured);
  }
  PlatformXmlSilence(const PlatformXmlSilence&) = delete;
  PlatformXmlSilence& operator=(const PlatformXmlSilence&) = delete;

  /// Whether libxml2 asked for memory in vain.
  bool HadNoMemory() const { return m_blNoMemory; }

  /// The same for an error that libxml2 reports elsewhere.
  static bool IsNoMemory(const xmlError& error) { return error.code == XML_ERR_NO_MEMORY; }

 private:
  // A variadic function because libxml2 asks for one.
  static void IgnoreText(void*, const char*, ...) {}
  static void NoteError(void* pSelf, xmlErrorPtr pError) {
    if (IsNoMemory(*pError)) static_cast<PlatformXmlSilence*>(pSelf)->m_blNoMemory = true;
  }

  xmlGenericErrorFunc m_fnGeneric = xmlGenericError;
  void* m_pGenericContext = xmlGenericErrorContext;
  xmlStructuredErrorFunc m_fnStructured = xmlStructuredError;
  void* m_pStructuredContext = xmlStructuredErrorContext;
  bool m_blNoMemory = false;
};
