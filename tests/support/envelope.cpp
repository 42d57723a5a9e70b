#include "tests/support/envelope.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>
#include <limits>
#include <stdexcept>
#include <vector>

namespace testsupport {
namespace {

std::string_view Between(std::string_view text, std::string_view before, std::string_view after) {
  const std::size_t start = text.find(before);
  if (start == std::string_view::npos) return {};
  text.remove_prefix(start + before.size());
  const std::size_t end = text.find(after);
  return end == std::string_view::npos ? std::string_view{} : text.substr(0, end);
}

int Length(std::string_view text) {
  if (text.size() > std::numeric_limits<int>::max()) throw std::invalid_argument("too long for Base64");
  return static_cast<int>(text.size());
}

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

std::string Envelope(std::string_view body, std::string_view ptzNamespace) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<soapenv:Envelope";
  text += " xmlns:soapenv=\"http://www.w3.org/2003/05/soap-envelope\"";
  text += " xmlns:tt=\"http://www.onvif.org/ver10/schema\"";
  text += " xmlns:tds=\"http://www.onvif.org/ver10/device/wsdl\"";
  text += " xmlns:trt=\"http://www.onvif.org/ver10/media/wsdl\"";
  text += " xmlns:tptz=\"" + std::string(ptzNamespace) + "\"";
  text += " xmlns:ter=\"http://www.onvif.org/ver10/error\">";
  return text + "<soapenv:Body>" + std::string(body) + "</soapenv:Body></soapenv:Envelope>";
}

std::string Element(std::string_view name, std::string_view content) {
  return "<" + std::string(name) + ">" + std::string(content) + "</" + std::string(name) + ">";
}

std::string FaultEnvelope(std::string_view subcode, std::string_view reason) {
  std::string fault = "<soapenv:Fault><soapenv:Code><soapenv:Value>soapenv:Sender</soapenv:Value>";
  fault += "<soapenv:Subcode><soapenv:Value>" + std::string(subcode) + "</soapenv:Value></soapenv:Subcode>";
  fault += "</soapenv:Code><soapenv:Reason><soapenv:Text xml:lang=\"en\">" + std::string(reason);
  return Envelope(fault + "</soapenv:Text></soapenv:Reason></soapenv:Fault>");
}

ParsedRequest::ParsedRequest(std::string_view envelope)
    : user(Between(envelope, "<wsse:Username>", "</wsse:Username>")),
      digest(Between(Between(envelope, "<wsse:Password ", "/wsse:Password>"), ">", "<")),
      nonce(Between(envelope, "<wsse:Nonce>", "</wsse:Nonce>")),
      created(Between(envelope, "<wsu:Created>", "</wsu:Created>")),
      body(BodyOf(envelope)) {}

std::string ParsedRequest::RecomputedDigest(std::string_view password) const {
  std::string hashed;
  try {
    hashed = FromBase64(nonce);
  } catch (const std::invalid_argument&) {
    return "not Base64";
  }
  hashed += created;
  hashed += password;
  std::array<unsigned char, SHA_DIGEST_LENGTH> sha1{};
  SHA1(Bytes(hashed), hashed.size(), sha1.data());
  return Base64({reinterpret_cast<const char*>(sha1.data()), sha1.size()});
}

std::string BodyOf(std::string_view envelope) {
  const std::string_view fromBody = Between(envelope, "<s:Body", "</s:Body>");
  const std::size_t tagEnd = fromBody.find(">\n");
  return tagEnd == std::string_view::npos ? std::string{} : std::string(fromBody.substr(tagEnd + 2));
}

std::string Base64(std::string_view bytes) {
  std::vector<unsigned char> text((bytes.size() + 2) / 3 * 4 + 1);
  const int length = EVP_EncodeBlock(text.data(), Bytes(bytes), Length(bytes));
  return {text.begin(), text.begin() + length};
}

std::string FromBase64(std::string_view text) {
  std::vector<unsigned char> bytes(text.size() / 4 * 3 + 3);
  const int length = EVP_DecodeBlock(bytes.data(), Bytes(text), Length(text));
  if (length < 0) throw std::invalid_argument("not Base64");
  // The library counts the bytes that the padding stands for.
  const std::size_t last = text.find_last_not_of('=');
  const std::size_t padding = last == std::string_view::npos ? 0 : text.size() - last - 1;
  return {bytes.begin(), bytes.begin() + length - static_cast<int>(padding)};
}

}  // namespace testsupport
