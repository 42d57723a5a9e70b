#pragma once

#include <exception>
#include <string>
#include <vector>

namespace simcam {

// A SOAP 1.2 fault as the standard names it. Handlers throw it; the dispatcher turns it into an answer.
class SoapFault : public std::exception {
 public:
  // `code` is the local name of a SOAP code (Sender, Receiver, VersionMismatch, MustUnderstand); `subcodes` go from the
  // outer to the inner one and are local names of the ONVIF error namespace, at most two.
  SoapFault(std::string code, std::vector<std::string> subcodes, std::string reason);

  const std::string& Code() const { return m_code; }
  const std::vector<std::string>& Subcodes() const { return m_subcodes; }
  const std::string& Reason() const { return m_reason; }
  const char* what() const noexcept override { return m_reason.c_str(); }

  // 400 for the sender's faults, 500 for all others, unless WithStatus() said another.
  int HttpStatus() const;

  // The same fault with that HTTP status.
  SoapFault WithStatus(int status) const;

  // The whole fault message.
  std::string Message() const;

 private:
  std::string m_code;
  std::vector<std::string> m_subcodes;
  std::string m_reason;
  int m_status = 0;  // 0: as the code has it
};

// Short forms for what handlers refuse most.
SoapFault InvalidArgument(const std::string& subcode, const std::string& reason);
SoapFault ActionFailed(const std::string& subcode, const std::string& reason);
SoapFault ActionNotSupported(const std::string& reason);
SoapFault AudioNotSupported();

}  // namespace simcam
