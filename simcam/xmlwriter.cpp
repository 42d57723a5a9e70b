#include "simcam/xmlwriter.h"

#include <array>
#include <charconv>
#include <new>

#include "simcam/namespaces.h"

namespace simcam {

namespace {

// Writing into memory fails only when there is none left.
void Require(int result) {
  if (result < 0) {
    throw std::bad_alloc();
  }
}

const char* BooleanText(bool value) {
  return value ? "true" : "false";
}

struct Prefix {
  const char* attribute;
  const char* uri;
};

constexpr Prefix kPrefixes[] = {
    {"xmlns:env", ns::kEnvelope}, {"xmlns:ter", ns::kError}, {"xmlns:tt", ns::kSchema},
    {"xmlns:tds", ns::kDevice},   {"xmlns:trt", ns::kMedia},
};

}  // namespace

XmlWriter::XmlWriter() : m_buffer(xmlBufferCreate()) {
  if (!m_buffer) {
    throw std::bad_alloc();
  }
  m_writer.reset(xmlNewTextWriterMemory(m_buffer.get(), 0));
  if (!m_writer) {
    throw std::bad_alloc();
  }
  Require(xmlTextWriterStartDocument(m_writer.get(), "1.0", "UTF-8", nullptr));
}

XmlWriter& XmlWriter::Open(const char* name) {
  Require(xmlTextWriterStartElement(m_writer.get(), ToXml(name)));
  return *this;
}

XmlWriter& XmlWriter::Attribute(const char* name, const std::string& value) {
  Require(xmlTextWriterWriteAttribute(m_writer.get(), ToXml(name), ToXml(value)));
  return *this;
}

XmlWriter& XmlWriter::Attribute(const char* name, bool value) {
  return Attribute(name, std::string(BooleanText(value)));
}

XmlWriter& XmlWriter::Attribute(const char* name, int value) {
  return Attribute(name, std::to_string(value));
}

XmlWriter& XmlWriter::Attribute(const char* name, double value) {
  return Attribute(name, FormatNumber(value));
}

XmlWriter& XmlWriter::Text(const std::string& text) {
  Require(xmlTextWriterWriteString(m_writer.get(), ToXml(text)));
  return *this;
}

XmlWriter& XmlWriter::Close() {
  Require(xmlTextWriterEndElement(m_writer.get()));
  return *this;
}

XmlWriter& XmlWriter::Element(const char* name, const char* text) {
  Require(xmlTextWriterWriteElement(m_writer.get(), ToXml(name), ToXml(text)));
  return *this;
}

XmlWriter& XmlWriter::Element(const char* name, const std::string& text) {
  return Element(name, text.c_str());
}

XmlWriter& XmlWriter::Element(const char* name, bool value) {
  return Element(name, BooleanText(value));
}

XmlWriter& XmlWriter::Element(const char* name, int value) {
  return Element(name, std::to_string(value));
}

XmlWriter& XmlWriter::Element(const char* name, double value) {
  return Element(name, FormatNumber(value));
}

std::string XmlWriter::Finish() {
  Require(xmlTextWriterEndDocument(m_writer.get()));
  Require(xmlTextWriterFlush(m_writer.get()));
  return std::string(FromXml(xmlBufferContent(m_buffer.get())));
}

std::string FormatNumber(double value) {
  // The longest plain decimal of a double has a sign, 309 digits before or 1074 after the point.
  std::array<char, 1100> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return std::string(text.data(), result.ptr);
}

void OpenEnvelope(XmlWriter& writer, const std::string& ptzNamespace) {
  writer.Open("env:Envelope");
  for (const Prefix& prefix : kPrefixes) {
    writer.Attribute(prefix.attribute, std::string(prefix.uri));
  }
  writer.Attribute("xmlns:tptz", ptzNamespace);
  writer.Open("env:Body");
}

}  // namespace simcam
