#include "tests/onvif/service_test.h"

#include <libxml/parser.h>

#include <cctype>

#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

constexpr std::size_t kStampLength = sizeof("Nov  5 13:07:42 ") - 1;

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

std::string WithoutCaller(const std::string& line) {
  constexpr std::string_view source = "onvif/onvifservice:";
  constexpr std::string_view function = ":SendSOAPMsg(): ";
  std::string_view rest = std::string_view(line).substr(std::min(kStampLength, line.size()));
  if (!StartsWith(rest, source)) return line;
  rest.remove_prefix(source.size());
  const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
  rest.remove_prefix(digits);
  if (digits == 0 || !StartsWith(rest, function)) return line;
  return std::string(rest.substr(function.size()));
}

xmlNode* FindBelow(xmlNode* first, std::string_view name) {
  for (xmlNode* node = first; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    if (reinterpret_cast<const char*>(node->name) == name) return node;
    if (xmlNode* const below = FindBelow(node->children, name)) return below;
  }
  return nullptr;
}

}  // namespace

std::string SignedEnvelope(std::string_view body, std::string_view sent, std::string_view user,
                           std::string_view password) {
  const ParsedRequest request(sent);
  std::string text = R"(<?xml version="1.0" encoding="utf-8"?>
<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope">
<s:Header>
<wsse:Security xmlns:wsse="http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd")";
  text += R"( xmlns:wsu="http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd">
<wsse:UsernameToken>
<wsse:Username>)" +
          std::string(user);
  text += R"(</wsse:Username>
<wsse:Password Type="http://docs.oasis-open.org/wss/2004/01/)";
  text += "oasis-200401-wss-username-token-profile-1.0#PasswordDigest\">" + request.RecomputedDigest(password);
  text += "</wsse:Password>\n<wsse:Nonce>" + request.nonce;
  text += "</wsse:Nonce>\n<wsu:Created>" + request.created;
  text += R"(</wsu:Created>
</wsse:UsernameToken>
</wsse:Security>
</s:Header>
<s:Body xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema">
)" + std::string(body);
  return text + "</s:Body>\n</s:Envelope>";
}

std::vector<std::string> SoapLog() {
  std::vector<std::string> messages;
  for (const std::string& line : LogLines()) messages.push_back(WithoutCaller(line));
  return messages;
}

XmlDoc ParseXml(std::string_view text) {
  XmlDoc document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  EXPECT_TRUE(document) << "the test's own document is not well formed: " << text;
  return document;
}

xmlNode* FindElement(const XmlDoc& document, std::string_view name) {
  xmlNode* const node = document ? FindBelow(xmlDocGetRootElement(document.get()), name) : nullptr;
  EXPECT_NE(node, nullptr) << "the test's own document has no element " << name;
  return node;
}

CameraTest::CameraTest() : m_api("127.0.0.1", m_camera.Port(), kUser, kPassword, "", true) {
  ClearLog();
}

void CameraTest::TearDown() {
  EXPECT_EQ(m_camera.Unexpected(), 0) << "the camera was asked more often than the test says";
  EXPECT_EQ(m_camera.Unused(), 0) << "the camera was asked less often than the test says";
}

void CameraTest::ExpectAsked(const std::vector<std::string>& bodies, const std::string& path) const {
  const std::vector<HttpRequest> requests = m_camera.Requests();
  ASSERT_EQ(requests.size(), bodies.size());
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    EXPECT_EQ(requests[i].method, "POST") << "request " << i;
    EXPECT_EQ(requests[i].target, path) << "request " << i;
    EXPECT_EQ(requests[i].body, SignedEnvelope(bodies[i], requests[i].body)) << "request " << i;
  }
}

}  // namespace testsupport
