#pragma once

#include <string>
#include <string_view>

namespace testsupport {

inline constexpr std::string_view kPtz20Namespace = "http://www.onvif.org/ver20/ptz/wsdl";
inline constexpr std::string_view kPtz10Namespace = "http://www.onvif.org/ver10/ptz/wsdl";

/// An answer of a camera: a SOAP 1.2 envelope with the usual prefixes (soapenv, tt, tds, trt, tptz, ter) on its root
/// and `body` as its Body's content.
std::string Envelope(std::string_view body, std::string_view ptzNamespace = kPtz20Namespace);

/// `<name>content</name>`, both as they are.
std::string Element(std::string_view name, std::string_view content);

/// The envelope of a fault with one Subcode and one Reason, both pasted in as they are.
std::string FaultEnvelope(std::string_view subcode, std::string_view reason);

/// What a signed request says, cut out of its text without an XML parser: a part that is missing is empty.
struct ParsedRequest {
  explicit ParsedRequest(std::string_view envelope);

  std::string user;
  std::string digest;
  std::string nonce;  // as sent: Base64
  std::string created;
  std::string body;

  /// The digest that this nonce, time and password ought to have. "not Base64" when the nonce is none.
  std::string RecomputedDigest(std::string_view password) const;
};

/// The bytes between the Body's start tag with its line feed, and "</s:Body>"; empty when there are not exactly those.
std::string BodyOf(std::string_view envelope);

/// Base64 of these bytes, and back. Decoding throws std::invalid_argument for what is not Base64.
std::string Base64(std::string_view bytes);
std::string FromBase64(std::string_view text);

}  // namespace testsupport
