// The XML namespaces of the wire and the prefixes that answers use for them.
#pragma once

namespace simcam::ns {

constexpr const char* kEnvelope = "http://www.w3.org/2003/05/soap-envelope";
constexpr const char* kSchema = "http://www.onvif.org/ver10/schema";
constexpr const char* kError = "http://www.onvif.org/ver10/error";
constexpr const char* kDevice = "http://www.onvif.org/ver10/device/wsdl";
constexpr const char* kMedia = "http://www.onvif.org/ver10/media/wsdl";
constexpr const char* kPtz10 = "http://www.onvif.org/ver10/ptz/wsdl";
constexpr const char* kPtz20 = "http://www.onvif.org/ver20/ptz/wsdl";
constexpr const char* kSecurity = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd";
constexpr const char* kSecurityUtility =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd";

}  // namespace simcam::ns
