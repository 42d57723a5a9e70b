#include "camctl/evidence.h"

#include <gtest/gtest.h>

#include "platform/xmlreply.h"

namespace camctl {
namespace {

std::optional<Fault> FaultIn(const std::string& text) {
  const XML_REPLY reply = ParseXmlReply(text);
  EXPECT_EQ(reply.eResult, XML_REPLY_RESULT::Parsed) << text;
  return ReadFault(reply.pDoc.get());
}

TEST(ReadFault, NestedSubcodesAndReason) {
  const auto fault = FaultIn(
      "<env:Envelope xmlns:env='http://www.w3.org/2003/05/soap-envelope' xmlns:ter='http://www.onvif.org/ver10/error'>"
      "<env:Body><env:Fault><env:Code><env:Value>env:Sender</env:Value><env:Subcode>"
      "<env:Value>ter:InvalidArgVal</env:Value><env:Subcode><env:Value> ter:NoProfile </env:Value></env:Subcode>"
      "</env:Subcode></env:Code><env:Reason><env:Text xml:lang='en'>\n  no such\nprofile \n</env:Text></env:Reason>"
      "</env:Fault></env:Body></env:Envelope>");
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->subcode, "ter:InvalidArgVal/ter:NoProfile");
  EXPECT_EQ(fault->reason, "no such profile");
}

TEST(ReadFault, AnswerWithoutFaultIsNone) {
  EXPECT_FALSE(FaultIn("<e:Envelope xmlns:e='urn:e'><e:Body><e:Answer><Fault/></e:Answer></e:Body></e:Envelope>"));
  EXPECT_FALSE(FaultIn("<html/>"));
  EXPECT_FALSE(ReadFault(nullptr));
}

TEST(ReadFault, EmptyFaultHasEmptyTexts) {
  const auto fault = FaultIn("<e:Envelope xmlns:e='urn:e'><e:Body><e:Fault/></e:Body></e:Envelope>");
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->subcode, "");
  EXPECT_EQ(fault->reason, "");
}

TEST(ReadFault, LongTextsAreCut) {
  const auto fault =
      FaultIn("<E><B><Fault><Reason><Text>" + std::string(100000, 'x') + "</Text></Reason></Fault></B></E>");
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->reason.size(), 300U);
}

TEST(ReadFault, DeepSubcodesEnd) {
  std::string text = "<Value>ter:X</Value>";
  for (int i = 0; i < 100; ++i) text = "<Value>ter:X</Value><Subcode>" + text + "</Subcode>";
  const auto fault = FaultIn("<E><B><Fault><Code><Subcode>" + text + "</Subcode></Code></Fault></B></E>");
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->subcode, "ter:X/ter:X/ter:X/ter:X/ter:X/ter:X/ter:X/ter:X");
}

TEST(MakeEvidence, KeepsWhatTheExchangeSays) {
  HTTP_EXCHANGE exchange;
  exchange.eResult = HTTP_POST_BARE_STATUS;
  exchange.nStatus = 404;
  exchange.strPath = "/x";
  exchange.strError = "none";
  const Evidence evidence = MakeEvidence(exchange);
  EXPECT_EQ(evidence.result, HTTP_POST_BARE_STATUS);
  EXPECT_EQ(evidence.status, 404);
  EXPECT_EQ(evidence.path, "/x");
  EXPECT_EQ(evidence.error, "none");
  EXPECT_FALSE(evidence.fault.has_value());
}

}  // namespace
}  // namespace camctl
