// Writes XML text. Everything that goes in is escaped; names are written as given ("tt:Uri").
#pragma once

#include <string>
#include <string_view>

#include "simcam/xmlhandles.h"

namespace simcam {

// Elements are opened and closed in pairs; Finish() closes what is still open. An allocation that fails throws
// std::bad_alloc. One writer belongs to one thread.
class XmlWriter {
 public:
  XmlWriter();

  XmlWriter& Open(const char* name);
  XmlWriter& Open(const std::string& name) { return Open(name.c_str()); }
  XmlWriter& Attribute(const char* name, const std::string& value);
  XmlWriter& Attribute(const char* name, bool value);
  XmlWriter& Attribute(const char* name, int value);
  XmlWriter& Attribute(const char* name, double value);
  XmlWriter& Text(const std::string& text);
  XmlWriter& Close();

  // A whole element with text.
  XmlWriter& Element(const char* name, const std::string& text);
  XmlWriter& Element(const char* name, const char* text);
  XmlWriter& Element(const char* name, bool value);
  XmlWriter& Element(const char* name, int value);
  XmlWriter& Element(const char* name, double value);

  // Ends the document and returns it.
  std::string Finish();

 private:
  XmlBuffer m_buffer;
  XmlTextWriter m_writer;
};

// Shortest plain decimal that reads back as the same number.
std::string FormatNumber(double value);

// Opens Envelope and Body with all prefixes of the services declared; `ptzNamespace` is bound to tptz.
void OpenEnvelope(XmlWriter& writer, const std::string& ptzNamespace);

}  // namespace simcam
