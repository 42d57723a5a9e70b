// The envelope around every request.

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "onvif/onvifservice.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

using GenSOAPMsg = ServiceTest<OnvifServiceBase>;

void Replace(std::string& text, const std::string& what, const std::string& by) {
  const std::size_t at = text.find(what);
  ASSERT_NE(at, std::string::npos) << what << " is not in " << text;
  text.replace(at, what.size(), by);
}

/// The request without what may differ from one to the next.
std::string WithoutToken(std::string message) {
  const ParsedRequest request(message);
  Replace(message, ">" + request.digest + "<", ">DIGEST<");
  Replace(message, ">" + request.nonce + "<", ">NONCE<");
  Replace(message, ">" + request.created + "<", ">CREATED<");
  return message;
}

TEST_F(GenSOAPMsg, EnvelopeIsTheFixedTextAroundTheBody) {
  const std::string body = R"(<GetDeviceInformation xmlns="http://www.onvif.org/ver10/device/wsdl" />)";
  const std::string message = m_service.GenSOAPMsg(body);
  EXPECT_EQ(message, SignedEnvelope(body, message));
}

TEST_F(GenSOAPMsg, NonceIsRandomBytesInBase64AndCreatedIsUtc) {
  const ParsedRequest request(m_service.GenSOAPMsg("<a/>"));
  EXPECT_GE(FromBase64(request.nonce).size(), 16U) << request.nonce;
  EXPECT_THAT(request.created, testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}Z"));
}

TEST_F(GenSOAPMsg, EmptyBodyPutsTheBodysEndRightBehindItsStartLine) {
  const std::string message = m_service.GenSOAPMsg("");
  EXPECT_EQ(message, SignedEnvelope("", message));
  EXPECT_THAT(message, testing::EndsWith("xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">\n</s:Body>\n</s:Envelope>"));
}

TEST_F(GenSOAPMsg, EmptyUserNameStillHasTheWholeSecurityHeader) {
  CameraAPI nobody("127.0.0.1", 80, "", "", "", true);
  m_service.UpdateServiceParam(&nobody, kServicePath, "2", "0");
  const std::string message = m_service.GenSOAPMsg("<a/>");
  EXPECT_EQ(message, SignedEnvelope("<a/>", message, "", ""));
  EXPECT_THAT(message, testing::HasSubstr("<wsse:UsernameToken>\n<wsse:Username></wsse:Username>\n<wsse:Password "));
}

TEST_F(GenSOAPMsg, BodyWithLineFeedsAndDeclarationGoesInUnchanged) {
  const std::string body = "<?xml version=\"1.0\"?>\n<a b='1'>\n  & < > \" ' </s:Body>\r\n</a>\n";
  const std::string message = m_service.GenSOAPMsg(body);
  EXPECT_EQ(message, SignedEnvelope(body, message));
}

TEST_F(GenSOAPMsg, BodyMayHoldAnyBytes) {
  std::string body;
  for (int byte = 0; byte < 256; ++byte) body.push_back(static_cast<char>(byte));
  const std::string message = m_service.GenSOAPMsg(body);
  EXPECT_EQ(message, SignedEnvelope(body, message));
}

TEST_F(GenSOAPMsg, UserNameIsNotEscaped) {
  CameraAPI odd("127.0.0.1", 80, "o'brien & <sons> \"\xE9\"", "p&<>\"\xE9", "", true);
  m_service.UpdateServiceParam(&odd, kServicePath, "2", "0");
  const std::string message = m_service.GenSOAPMsg("<a/>");
  EXPECT_EQ(message, SignedEnvelope("<a/>", message, "o'brien & <sons> \"\xE9\"", "p&<>\"\xE9"));
}

TEST_F(GenSOAPMsg, EnormousAccountAndBodyAreTakenWhole) {
  const std::string huge(4 << 20, 'x');
  CameraAPI driver("127.0.0.1", 80, huge, huge, "", true);
  m_service.UpdateServiceParam(&driver, kServicePath, "2", "0");
  const std::string message = m_service.GenSOAPMsg(huge);
  EXPECT_TRUE(message == SignedEnvelope(huge, message, huge, huge)) << message.size();
}

TEST_F(GenSOAPMsg, PasswordItselfIsNotSent) {
  EXPECT_THAT(m_service.GenSOAPMsg("<a/>"), testing::Not(testing::HasSubstr(kPassword)));
}

TEST_F(GenSOAPMsg, TwoRequestsDifferOnlyInNonceCreatedAndDigest) {
  const std::string first = m_service.GenSOAPMsg("<a/>");
  const std::string second = m_service.GenSOAPMsg("<a/>");
  EXPECT_EQ(WithoutToken(first), WithoutToken(second));
  EXPECT_NE(ParsedRequest(first).nonce, ParsedRequest(second).nonce);
  EXPECT_NE(ParsedRequest(first).digest, ParsedRequest(second).digest);
}

TEST_F(GenSOAPMsg, NoNonceComesTwice) {
  std::set<std::string> nonces;
  for (int i = 0; i < 200; ++i) nonces.insert(ParsedRequest(m_service.GenSOAPMsg("")).nonce);
  EXPECT_EQ(nonces.size(), 200U);
}

/// A driver whose account changes while the service client lives.
class ChangingAccount : public CameraAPI {
 public:
  ChangingAccount() : CameraAPI("127.0.0.1", 80, "first", "one", "", true) {}
  void Change() {
    m_strUser = "second";
    m_strPassword = "two";
  }
};

TEST_F(GenSOAPMsg, CredentialsAreThoseThatTheDriverHoldsNow) {
  ChangingAccount driver;
  m_service.UpdateServiceParam(&driver, kServicePath, "2", "0");
  const std::string before = m_service.GenSOAPMsg("<a/>");
  driver.Change();
  const std::string after = m_service.GenSOAPMsg("<a/>");
  EXPECT_EQ(before, SignedEnvelope("<a/>", before, "first", "one"));
  EXPECT_EQ(after, SignedEnvelope("<a/>", after, "second", "two"));
}

}  // namespace
}  // namespace testsupport
