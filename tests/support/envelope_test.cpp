#include "tests/support/envelope.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace testsupport {
namespace {

// Values of the ONVIF Application Programmer's Guide's worked example.
constexpr std::string_view kSigned =
    "<s:Envelope><s:Header><wsse:Security><wsse:UsernameToken>\n"
    "<wsse:Username>user</wsse:Username>\n"
    "<wsse:Password Type=\"any#PasswordDigest\">tuOSpGlFlIXsozq4HFNeeGeFLEI=</wsse:Password>\n"
    "<wsse:Nonce>LKqI6G/AikKCQrN0zqZFlg==</wsse:Nonce>\n"
    "<wsu:Created>2010-09-16T07:50:45Z</wsu:Created>\n"
    "</wsse:UsernameToken></wsse:Security></s:Header>\n"
    "<s:Body xmlns:xsi=\"any\">\n<Op>\n</Op></s:Body>\n</s:Envelope>";

TEST(ParsedRequest, EveryPartIsCutOut) {
  const ParsedRequest request(kSigned);
  EXPECT_EQ(request.user, "user");
  EXPECT_EQ(request.digest, "tuOSpGlFlIXsozq4HFNeeGeFLEI=");
  EXPECT_EQ(request.nonce, "LKqI6G/AikKCQrN0zqZFlg==");
  EXPECT_EQ(request.created, "2010-09-16T07:50:45Z");
  EXPECT_EQ(request.body, "<Op>\n</Op>");
}

TEST(ParsedRequest, DigestIsThatOfThePublishedExample) {
  const ParsedRequest request(kSigned);
  EXPECT_EQ(request.RecomputedDigest("userpassword"), request.digest);
  EXPECT_NE(request.RecomputedDigest("userpasswort"), request.digest);
}

TEST(ParsedRequest, TextWithoutTheParts) {
  const ParsedRequest request("<s:Body>");
  EXPECT_EQ(request.user + request.digest + request.nonce + request.created + request.body, "");
  EXPECT_EQ(ParsedRequest("<wsse:Nonce>?</wsse:Nonce>").RecomputedDigest("any"), "not Base64");
}

TEST(BodyOf, EmptyBodyAndMissingLineFeed) {
  EXPECT_EQ(BodyOf("<s:Body xmlns:a=\"b\">\n</s:Body>"), "");
  EXPECT_EQ(BodyOf("<s:Body xmlns:a=\"b\">text</s:Body>"), "") << "without the line feed these are not a body's bytes";
}

TEST(Base64, EveryPaddingGoesThereAndBack) {
  const struct {
    std::string_view bytes;
    std::string_view text;
  } kCases[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xff\xfe", "//4="}};
  for (const auto& c : kCases) {
    EXPECT_EQ(Base64(c.bytes), c.text);
    EXPECT_EQ(FromBase64(c.text), c.bytes) << c.text;
  }
  EXPECT_THROW(FromBase64("Zg="), std::invalid_argument);
}

TEST(Envelope, BodyAndFaultTextsStandInIt) {
  EXPECT_NE(Envelope("<tds:A/>").find("<soapenv:Body><tds:A/></soapenv:Body></soapenv:Envelope>"), std::string::npos);
  EXPECT_NE(Envelope("", kPtz10Namespace).find("xmlns:tptz=\"http://www.onvif.org/ver10/ptz/wsdl\""),
            std::string::npos);
  const std::string fault = FaultEnvelope("ter:NotAuthorized", "who are you");
  EXPECT_NE(fault.find("<soapenv:Subcode><soapenv:Value>ter:NotAuthorized</soapenv:Value>"), std::string::npos)
      << fault;
  EXPECT_NE(fault.find(">who are you</soapenv:Text>"), std::string::npos) << fault;
}

}  // namespace
}  // namespace testsupport
