// A SOAP 1.2 request: the parsed document, its operation element, and total reads on it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simcam/xmlhandles.h"

namespace simcam {

// A start tag longer than this is refused: libxml2 compares the attributes of an element with each other, and some
// ten thousand of them would keep the camera busy for seconds.
constexpr std::size_t kMaxTagLength = std::size_t{8} * 1024;

// An element of a request, or none. Every read is defined on none as well. Valid as long as the request lives.
class XmlElement {
 public:
  explicit XmlElement(const xmlNode* node = nullptr) : m_node(node) {}

  bool Exists() const { return m_node != nullptr; }
  std::string_view Name() const;
  std::string_view Namespace() const;

  // The first child element of that name in the namespace.
  XmlElement Child(const char* nameSpace, const char* name) const;
  XmlElement FirstChild() const;
  XmlElement NextSibling() const;

  // All text inside, with blanks trimmed at both ends. `RawText` keeps them.
  std::string Text() const;
  std::string RawText() const;

  // The attribute without namespace; nothing when it is missing.
  std::optional<std::string> Attribute(const char* name) const;
  std::optional<std::string> Attribute(const char* nameSpace, const char* name) const;

 private:
  const xmlNode* m_node;
};

// Reads an XML boolean: true, false, 1 or 0. Throws SoapFault (ter:InvalidArgVal) for anything else.
bool ReadBoolean(const XmlElement& element);

// Reads an xs:int. Throws SoapFault (ter:InvalidArgVal) for anything else.
int ReadWhole(const XmlElement& element);

// Reads a finite number. Throws SoapFault (ter:InvalidArgVal) for anything else.
double ReadNumber(const XmlElement& element);

// A whole plain or exponential decimal; nothing for anything else, also for infinity and NaN.
std::optional<double> ParseNumber(std::string_view text);

// The child of that name in the common schema's namespace. Throws SoapFault (ter:InvalidArgs) when there is none.
XmlElement RequiredChild(const XmlElement& element, const char* name);

class SoapRequest {
 public:
  // Reads `text`. Throws SoapFault: not well-formed, a DOCTYPE, not a SOAP 1.2 envelope, a mandatory header block that
  // is not understood, no operation in the Body.
  explicit SoapRequest(std::string_view text);

  XmlElement Operation() const { return m_operation; }

  // The WS-Security header; does not exist when the request has none.
  XmlElement Security() const { return m_security; }

  // The child of the operation with that name, in the operation's own namespace. `Argument` throws SoapFault
  // (ter:InvalidArgs) when there is none; `OptionalArgument` returns an element that does not exist.
  XmlElement Argument(const char* name) const;
  XmlElement OptionalArgument(const char* name) const;

 private:
  XmlDocument m_document;
  XmlElement m_operation;
  XmlElement m_security;
};

}  // namespace simcam
