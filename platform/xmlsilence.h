#pragma once

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

/// Keeps libxml2's messages of this thread to itself while it lives. The handlers are per thread and put back at the end.
class PlatformXmlSilence {
 public:
  PlatformXmlSilence() {
    xmlSetGenericErrorFunc(nullptr, IgnoreText);
    xmlSetStructuredErrorFunc(nullptr, IgnoreError);
  }
  ~PlatformXmlSilence() {
    xmlSetGenericErrorFunc(m_pGenericContext, m_fnGeneric);
    xmlSetStructuredErrorFunc(m_pStructuredContext, m_fnStructured);
  }
  PlatformXmlSilence(const PlatformXmlSilence&) = delete;
  PlatformXmlSilence& operator=(const PlatformXmlSilence&) = delete;

 private:
  // A variadic function because libxml2 asks for one.
  static void IgnoreText(void*, const char*, ...) {}
  static void IgnoreError(void*, xmlErrorPtr) {}

  xmlGenericErrorFunc m_fnGeneric = xmlGenericError;
  void* m_pGenericContext = xmlGenericErrorContext;
  xmlStructuredErrorFunc m_fnStructured = xmlStructuredError;
  void* m_pStructuredContext = xmlStructuredErrorContext;
};
