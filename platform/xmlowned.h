#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>

// Owners of the libxml2 handles that the framework's stand-in holds. The driver has its own set (onvif/xmlhandles.h):
// it must build against another implementation of the framework as well.

struct XmlOwnedDeleter {
  void operator()(xmlDoc* pDoc) const noexcept { xmlFreeDoc(pDoc); }
  void operator()(xmlParserCtxt* pContext) const noexcept { xmlFreeParserCtxt(pContext); }
  void operator()(xmlChar* pText) const noexcept { xmlFree(pText); }
};

using OwnedXmlDoc = std::unique_ptr<xmlDoc, XmlOwnedDeleter>;
using OwnedXmlParser = std::unique_ptr<xmlParserCtxt, XmlOwnedDeleter>;
using OwnedXmlText = std::unique_ptr<xmlChar, XmlOwnedDeleter>;
