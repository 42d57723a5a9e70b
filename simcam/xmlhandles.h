// Owners of what libxml2 hands out.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlwriter.h>

#include <memory>
#include <string>
#include <string_view>

namespace simcam {

struct XmlDeleter {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
  void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
  void operator()(xmlChar* text) const { xmlFree(text); }
};

using XmlDocument = std::unique_ptr<xmlDoc, XmlDeleter>;
using XmlParserContext = std::unique_ptr<xmlParserCtxt, XmlDeleter>;
using XmlBuffer = std::unique_ptr<xmlBuffer, XmlDeleter>;
using XmlTextWriter = std::unique_ptr<xmlTextWriter, XmlDeleter>;
using XmlText = std::unique_ptr<xmlChar, XmlDeleter>;

inline const xmlChar* ToXml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}
inline const xmlChar* ToXml(const std::string& text) {
  return ToXml(text.c_str());
}

// A null pointer becomes an empty view.
inline std::string_view FromXml(const xmlChar* text) {
  return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

}  // namespace simcam
