#include "simcam/soapfault.h"

#include <utility>

#include "simcam/namespaces.h"
#include "simcam/xmlwriter.h"

namespace simcam {

SoapFault::SoapFault(std::string code, std::vector<std::string> subcodes, std::string reason)
    : m_code(std::move(code)), m_subcodes(std::move(subcodes)), m_reason(std::move(reason)) {}

SoapFault SoapFault::WithStatus(int status) const {
  SoapFault changed(*this);
  changed.m_status = status;
  return changed;
}

int SoapFault::HttpStatus() const {
  if (m_status != 0) {
    return m_status;
  }
  return m_code == "Sender" ? 400 : 500;
}

std::string SoapFault::Message() const {
  XmlWriter writer;
  OpenEnvelope(writer, ns::kPtz20);
  writer.Open("env:Fault").Open("env:Code").Element("env:Value", "env:" + m_code);
  for (const std::string& subcode : m_subcodes) {
    writer.Open("env:Subcode").Element("env:Value", "ter:" + subcode);
  }
  for (std::size_t i = 0; i < m_subcodes.size(); ++i) {
    writer.Close();
  }
  writer.Close().Open("env:Reason");
  writer.Open("env:Text").Attribute("xml:lang", std::string("en")).Text(m_reason);
  return writer.Finish();
}

SoapFault InvalidArgument(const std::string& subcode, const std::string& reason) {
  return SoapFault("Sender", {"InvalidArgVal", subcode}, reason);
}

SoapFault ActionFailed(const std::string& subcode, const std::string& reason) {
  return SoapFault("Receiver", {"Action", subcode}, reason);
}

SoapFault ActionNotSupported(const std::string& reason) {
  return SoapFault("Receiver", {"ActionNotSupported"}, reason);
}

SoapFault AudioNotSupported() {
  return SoapFault("Receiver", {"ActionNotSupported", "AudioNotSupported"}, "the camera has no audio");
}

}  // namespace simcam
