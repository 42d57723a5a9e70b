// What counts as a fault, and which of its texts are read.

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include "onvif/onvifservice.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// An answer with status 200, and what the exchange makes of it.
class SoapFault : public ServiceTest<OnvifServiceBase> {
 protected:
  void SetUp() override {
    if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  }

  RET_ONVIF ResultOf(const std::string& answer) {
    ClearLog();
    m_camera.Answer(Reply::Ok(answer));
    xmlDoc* response = nullptr;
    const RET_ONVIF result = m_service.SendSOAPMsg("<a/>", response);
    const XmlDoc owned(response);
    EXPECT_TRUE(owned) << "a parsed answer is handed out whatever the result";
    return result;
  }
};

TEST_F(SoapFault, NotAuthorizedSubcodeIsNotAuthorized) {
  EXPECT_EQ(ResultOf(FaultEnvelope("ter:NotAuthorized", "Sender not authorized")), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:ter:NotAuthorized][reason:Sender not authorized]"));
}

TEST_F(SoapFault, FailedAuthenticationSubcodeIsNotAuthorized) {
  EXPECT_EQ(ResultOf(FaultEnvelope("wsse:FailedAuthentication", "bad digest")), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:wsse:FailedAuthentication][reason:bad digest]"));
}

TEST_F(SoapFault, SubcodeIsComparedWholeWithPrefixAndCase) {
  const char* const nearMisses[] = {
      "NotAuthorized",        "ter:notauthorized",         "TER:NotAuthorized",        " ter:NotAuthorized",
      "ter:NotAuthorized ",   "ter:NotAuthorized\n",       "env:NotAuthorized",        "ter:NotAuthorizedX",
      "FailedAuthentication", "wsse:failedAuthentication", "ter:FailedAuthentication", "wsse:NotAuthorized"};
  for (const char* subcode : nearMisses) {
    EXPECT_EQ(ResultOf(FaultEnvelope(subcode, "r")), RET_ONVIF_SOAP_FAULT) << "[" << subcode << "]";
  }
}

TEST_F(SoapFault, EmptySubcodeValueIsEmptyAndNoFailedRead) {
  EXPECT_EQ(ResultOf(FaultEnvelope("", "")), RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:][reason:]"));
}

TEST_F(SoapFault, FaultWithoutSubcodeSaysSoInTheLog) {
  EXPECT_EQ(ResultOf(Envelope("<soapenv:Fault><soapenv:Code><soapenv:Value>soapenv:Receiver</soapenv:Value>"
                              "</soapenv:Code><soapenv:Reason><soapenv:Text>Oops</soapenv:Text></soapenv:Reason>"
                              "</soapenv:Fault>")),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:Get return subcode failed.][reason:Oops]"));
}

TEST_F(SoapFault, FaultWithoutReasonSaysSoInTheLog) {
  EXPECT_EQ(ResultOf(Envelope("<soapenv:Fault><soapenv:Code><soapenv:Value>soapenv:Sender</soapenv:Value>"
                              "<soapenv:Subcode><soapenv:Value>ter:NotAuthorized</soapenv:Value></soapenv:Subcode>"
                              "</soapenv:Code></soapenv:Fault>")),
            RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:ter:NotAuthorized][reason:Get return reason failed.]"));
}

TEST_F(SoapFault, Soap11FaultYieldsTheTwoFailureTexts) {
  EXPECT_EQ(ResultOf("<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><e:Fault>"
                     "<faultcode>e:Client</faultcode><faultstring>ter:NotAuthorized</faultstring>"
                     "</e:Fault></e:Body></e:Envelope>"),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(),
              ElementsAre("SOAP fault: [subcode:Get return subcode failed.][reason:Get return reason failed.]"));
}

TEST_F(SoapFault, AuthorisationSubcodeOneLevelDeeperIsASoapFault) {
  EXPECT_EQ(ResultOf(Envelope("<soapenv:Fault><soapenv:Code><soapenv:Value>soapenv:Sender</soapenv:Value>"
                              "<soapenv:Subcode><soapenv:Value>ter:InvalidArgVal</soapenv:Value>"
                              "<soapenv:Subcode><soapenv:Value>ter:NotAuthorized</soapenv:Value></soapenv:Subcode>"
                              "</soapenv:Subcode></soapenv:Code></soapenv:Fault>")),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:ter:InvalidArgVal][reason:Get return reason failed.]"));
}

TEST_F(SoapFault, SubcodeOnlyOneLevelDeeperIsNotRead) {
  EXPECT_EQ(ResultOf(Envelope("<soapenv:Fault><soapenv:Code><soapenv:Subcode><soapenv:Subcode>"
                              "<soapenv:Value>ter:NotAuthorized</soapenv:Value>"
                              "</soapenv:Subcode></soapenv:Subcode></soapenv:Code></soapenv:Fault>")),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(),
              ElementsAre("SOAP fault: [subcode:Get return subcode failed.][reason:Get return reason failed.]"));
}

TEST_F(SoapFault, PrefixOfTheCameraDoesNotMatter) {
  EXPECT_EQ(ResultOf("<S:Envelope xmlns:S=\"http://www.w3.org/2003/05/soap-envelope\"><S:Body><S:Fault><S:Code>"
                     "<S:Value>S:Sender</S:Value><S:Subcode><S:Value>ter:NotAuthorized</S:Value></S:Subcode></S:Code>"
                     "<S:Reason><S:Text>No</S:Text></S:Reason></S:Fault></S:Body></S:Envelope>"),
            RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:ter:NotAuthorized][reason:No]"));
}

TEST_F(SoapFault, UnprefixedRootHidesTheTextsOfItsFault) {
  EXPECT_EQ(ResultOf("<Envelope xmlns=\"http://www.w3.org/2003/05/soap-envelope\"><Body><Fault><Code>"
                     "<Subcode><Value>ter:NotAuthorized</Value></Subcode></Code>"
                     "<Reason><Text>No</Text></Reason></Fault></Body></Envelope>"),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(),
              ElementsAre("SOAP fault: [subcode:Get return subcode failed.][reason:Get return reason failed.]"));
}

TEST_F(SoapFault, EveryElementBelowTheRootIsSearchedWhateverItsName) {
  const char* const faults[] = {"<r><Header><Fault/></Header><Body/></r>", "<r><a/>text<Other><x/><Fault/></Other></r>",
                                "<p:r xmlns:p='urn:p'><p:Body><p:Fault/></p:Body></p:r>"};
  for (const char* answer : faults) EXPECT_EQ(ResultOf(answer), RET_ONVIF_SOAP_FAULT) << answer;
}

TEST_F(SoapFault, WhatIsNotAtDepthTwoOrNotNamedFaultIsNoFault) {
  const char* const noFaults[] = {"<Fault/>",
                                  "<r><Fault/></r>",
                                  "<r><Body><x><Fault/></x></Body></r>",
                                  "<r><Body><fault/></Body></r>",
                                  "<r><Body><Faults/></Body></r>",
                                  "<r><Body Fault='1'>Fault<!--Fault--><?Fault?></Body></r>"};
  for (const char* answer : noFaults) {
    EXPECT_EQ(ResultOf(answer), RET_ONVIF_OK) << answer;
    EXPECT_THAT(SoapLog(), IsEmpty()) << answer;
  }
}

TEST_F(SoapFault, TextsAreTheFirstInTheWholeDocument) {
  std::string answer = FaultEnvelope("ter:NotAuthorized", "in the body");
  const std::string header =
      "<soapenv:Header><soapenv:Code><soapenv:Subcode><soapenv:Value>ter:First</soapenv:Value></soapenv:Subcode>"
      "</soapenv:Code><soapenv:Reason><soapenv:Text>in the header</soapenv:Text></soapenv:Reason></soapenv:Header>";
  answer.insert(answer.find("<soapenv:Body>"), header);
  EXPECT_EQ(ResultOf(answer), RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:ter:First][reason:in the header]"));
}

TEST_F(SoapFault, FirstOfSeveralReasonsIsRead) {
  EXPECT_EQ(ResultOf(Envelope("<soapenv:Fault><soapenv:Reason><soapenv:Text xml:lang=\"de\">Nein</soapenv:Text>"
                              "<soapenv:Text xml:lang=\"en\">No</soapenv:Text></soapenv:Reason></soapenv:Fault>")),
            RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:Get return subcode failed.][reason:Nein]"));
}

class IsSOAPFaultMsg : public testing::Test {
 protected:
  bool Ask(xmlDoc* document) { return m_service.IsSOAPFaultMsg(document, m_subcode, m_reason); }

  OnvifServiceBase m_service;
  std::string m_subcode = "old subcode";
  std::string m_reason = "old reason";
};

TEST_F(IsSOAPFaultMsg, NullDocumentIsNoFaultAndTouchesNothing) {
  EXPECT_FALSE(Ask(nullptr));
  EXPECT_EQ(m_subcode, "old subcode");
  EXPECT_EQ(m_reason, "old reason");
}

TEST_F(IsSOAPFaultMsg, DocumentWithoutRootIsNoFault) {
  const XmlDoc empty(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
  EXPECT_FALSE(Ask(empty.get()));
  EXPECT_EQ(m_subcode, "old subcode");
}

TEST_F(IsSOAPFaultMsg, NormalAnswerTouchesNothing) {
  EXPECT_FALSE(Ask(ParseXml(Envelope("<tds:GetDeviceInformationResponse/>")).get()));
  EXPECT_EQ(m_subcode, "old subcode");
  EXPECT_EQ(m_reason, "old reason");
}

TEST_F(IsSOAPFaultMsg, FaultFillsBothTexts) {
  EXPECT_TRUE(Ask(ParseXml(FaultEnvelope("ter:NoProfile", "Profile is missing")).get()));
  EXPECT_EQ(m_subcode, "ter:NoProfile");
  EXPECT_EQ(m_reason, "Profile is missing");
}

}  // namespace
}  // namespace testsupport
