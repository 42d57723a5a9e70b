#include "tests/support/schema_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/envelope.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view kToken =
    "<wsse:Security xmlns:wsse=\"http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd\">"
    "<wsse:UsernameToken><wsse:Username>user</wsse:Username><wsse:Password>x</wsse:Password>"
    "<wsse:Nonce>x</wsse:Nonce><Created>2010-09-16T07:50:45.5Z</Created></wsse:UsernameToken></wsse:Security>";

std::string WithHeader(std::string_view header) {
  std::string text = Envelope("<tds:GetDeviceInformation/>");
  return text.insert(text.find("<soapenv:Body>"), "<soapenv:Header>" + std::string(header) + "</soapenv:Header>");
}

class SchemaSetTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!SchemaSet::SkipReason().empty()) GTEST_SKIP() << SchemaSet::SkipReason();
  }
};

TEST_F(SchemaSetTest, RightMessagesHaveNoProblems) {
  EXPECT_THAT(SchemaSet::Problems(Envelope("<tds:GetDeviceInformation/>")), IsEmpty());
  EXPECT_THAT(SchemaSet::Problems(Envelope("<trt:GetProfile><trt:ProfileToken>a</trt:ProfileToken></trt:GetProfile>")),
              IsEmpty());
  EXPECT_THAT(SchemaSet::Problems(FaultEnvelope("ter:NotAuthorized", "no")), IsEmpty());
  EXPECT_THAT(SchemaSet::Problems(WithHeader(kToken)), IsEmpty());
}

TEST_F(SchemaSetTest, WrongMessagesAreNamed) {
  const struct {
    std::string message;
    const char* problem;
  } kCases[] = {
      {"<a>", "not well formed"},
      {"<a/>", "not a SOAP 1.2 Envelope"},
      {Envelope(""), "Body is empty"},
      {Envelope("<tds:NoSuchOperation/>"), "No matching global"},
      {Envelope("<trt:GetProfile/>"), "Missing child element"},
      {Envelope("<trt:GetProfile><trt:Token>a</trt:Token></trt:GetProfile>"), "not expected"},
      {FaultEnvelope("undeclared:NotAuthorized", "no"), "QName"},
      {WithHeader("plain text"), "Character content"},
  };
  for (const auto& c : kCases) {
    EXPECT_THAT(SchemaSet::Problems(c.message), Contains(HasSubstr(c.problem))) << c.message;
  }
}

TEST_F(SchemaSetTest, TokenPartsAreLookedAt) {
  std::string localTime(kToken);
  localTime.replace(localTime.find("Z</Created>"), 1, "+09:00");
  EXPECT_THAT(SchemaSet::Problems(WithHeader(localTime)), Contains(HasSubstr("Created is not UTC")));
  std::string withoutNonce(kToken);
  withoutNonce.replace(withoutNonce.find("<wsse:Nonce>x"), 13, "<wsse:Nonce>");
  EXPECT_THAT(SchemaSet::Problems(WithHeader(withoutNonce)), Contains("UsernameToken: no Nonce"));
}

}  // namespace
}  // namespace testsupport
