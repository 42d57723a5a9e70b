#include "simcam/soaprequest.h"

#include <libxml/xmlerror.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "simcam/namespaces.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

const xmlNode* FirstElement(const xmlNode* node) {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) {
    node = node->next;
  }
  return node;
}

std::string Take(xmlChar* text) {
  const XmlText owner(text);
  return std::string(FromXml(text));
}

std::string Trim(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) {
    return std::string();
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool HasTooLongTag(std::string_view text) {
  for (std::size_t start = text.find('<'); start != std::string_view::npos; start = text.find('<', start + 1)) {
    const std::size_t end = text.find('>', start);
    if (std::min(end, text.size()) - start > kMaxTagLength) {
      return true;
    }
  }
  return false;
}

// Called by the parser at a DOCTYPE, before anything of it is read.
void RefuseDoctype(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  auto* const parser = static_cast<xmlParserCtxt*>(context);
  *static_cast<bool*>(parser->_private) = true;
  xmlStopParser(parser);
}

SoapFault NotWellFormed(const std::string& reason) {
  return SoapFault("Sender", {"WellFormed"}, reason);
}

XmlDocument Parse(std::string_view text) {
  if (HasTooLongTag(text)) {
    throw NotWellFormed("a tag is longer than " + std::to_string(kMaxTagLength) + " bytes");
  }
  const XmlParserContext parser(xmlNewParserCtxt());
  if (!parser) {
    throw SoapFault("Receiver", {"OutofMemory"}, "no memory for the parser");
  }
  bool hasDoctype = false;
  parser->_private = &hasDoctype;
  parser->sax->internalSubset = RefuseDoctype;
  XmlDocument document(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  // The last error hangs on the thread; the parser has been asked all there is to know.
  xmlResetLastError();
  if (hasDoctype) {
    throw NotWellFormed("a document type declaration is not accepted");
  }
  if (!document) {
    throw NotWellFormed("the request is not well-formed XML");
  }
  return document;
}

bool IsUnderstood(const XmlElement& header) {
  const std::string must = header.Attribute(ns::kEnvelope, "mustUnderstand").value_or("false");
  return (must != "true" && must != "1") || (header.Namespace() == ns::kSecurity && header.Name() == "Security");
}

void CheckHeaders(const XmlElement& headers) {
  for (XmlElement header = headers.FirstChild(); header.Exists(); header = header.NextSibling()) {
    if (!IsUnderstood(header)) {
      throw SoapFault("MustUnderstand", {}, "header block not understood: " + std::string(header.Name()));
    }
  }
}

}  // namespace

std::string_view XmlElement::Name() const {
  return m_node == nullptr ? std::string_view() : FromXml(m_node->name);
}

std::string_view XmlElement::Namespace() const {
  return m_node == nullptr || m_node->ns == nullptr ? std::string_view() : FromXml(m_node->ns->href);
}

XmlElement XmlElement::Child(const char* nameSpace, const char* name) const {
  XmlElement child = FirstChild();
  while (child.Exists() && (child.Name() != name || child.Namespace() != nameSpace)) {
    child = child.NextSibling();
  }
  return child;
}

XmlElement XmlElement::FirstChild() const {
  return XmlElement(m_node == nullptr ? nullptr : FirstElement(m_node->children));
}

XmlElement XmlElement::NextSibling() const {
  return XmlElement(m_node == nullptr ? nullptr : FirstElement(m_node->next));
}

std::string XmlElement::RawText() const {
  return m_node == nullptr ? std::string() : Take(xmlNodeGetContent(m_node));
}

std::string XmlElement::Text() const {
  return Trim(RawText());
}

std::optional<std::string> XmlElement::Attribute(const char* name) const {
  return Attribute(nullptr, name);
}

std::optional<std::string> XmlElement::Attribute(const char* nameSpace, const char* name) const {
  if (m_node == nullptr) {
    return std::nullopt;
  }
  xmlChar* const value =
      nameSpace == nullptr ? xmlGetNoNsProp(m_node, ToXml(name)) : xmlGetNsProp(m_node, ToXml(name), ToXml(nameSpace));
  if (value == nullptr) {
    return std::nullopt;
  }
  return Take(value);
}

SoapRequest::SoapRequest(std::string_view text) : m_document(Parse(text)) {
  const XmlElement envelope(xmlDocGetRootElement(m_document.get()));
  if (envelope.Name() != "Envelope") {
    throw NotWellFormed("the request is not a SOAP envelope");
  }
  if (envelope.Namespace() != ns::kEnvelope) {
    throw SoapFault("VersionMismatch", {}, "the envelope is not a SOAP 1.2 envelope");
  }
  const XmlElement headers = envelope.Child(ns::kEnvelope, "Header");
  CheckHeaders(headers);
  m_security = headers.Child(ns::kSecurity, "Security");
  m_operation = envelope.Child(ns::kEnvelope, "Body").FirstChild();
  if (!m_operation.Exists()) {
    throw NotWellFormed("the envelope has no operation in its Body");
  }
}

XmlElement SoapRequest::OptionalArgument(const char* name) const {
  return m_operation.Child(std::string(m_operation.Namespace()).c_str(), name);
}

XmlElement SoapRequest::Argument(const char* name) const {
  const XmlElement argument = OptionalArgument(name);
  if (!argument.Exists()) {
    throw SoapFault("Sender", {"InvalidArgs"}, std::string("the request lacks ") + name);
  }
  return argument;
}

bool ReadBoolean(const XmlElement& element) {
  const std::string text = element.Text();
  const bool isTrue = text == "true" || text == "1";
  if (!isTrue && text != "false" && text != "0") {
    throw SoapFault("Sender", {"InvalidArgVal"}, "not a boolean: " + text);
  }
  return isTrue;
}

int ReadWhole(const XmlElement& element) {
  const std::string text = element.Text();
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) {
    throw SoapFault("Sender", {"InvalidArgVal"}, std::string(element.Name()) + " is not a whole number: " + text);
  }
  return value;
}

double ReadNumber(const XmlElement& element) {
  const std::optional<double> value = ParseNumber(element.Text());
  if (!value) {
    throw SoapFault("Sender", {"InvalidArgVal"}, std::string(element.Name()) + " is not a number: " + element.Text());
  }
  return *value;
}

std::optional<double> ParseNumber(std::string_view text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

XmlElement RequiredChild(const XmlElement& element, const char* name) {
  const XmlElement child = element.Child(ns::kSchema, name);
  if (!child.Exists()) {
    throw SoapFault("Sender", {"InvalidArgs"}, std::string(element.Name()) + " lacks " + name);
  }
  return child;
}

}  // namespace simcam
