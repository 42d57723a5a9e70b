// Answers that are not quite XML: each quirk shows in the answer, and the same call without it is right.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>
#include <regex>

#include "tests/simcam/bench.h"

namespace {

using simcamtest::Bench;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::ResultOf;
using testing::StartsWith;

using Text = testing::Matcher<const std::string&>;

enum class Question { Information, Profiles, Fault, Encoder };

struct XmlRow {
  const char* quirk;
  Question ask;
  Text shows;
  std::optional<bool> isXml;  // nothing: parsers differ
};

void PrintTo(const XmlRow& row, std::ostream* out) {
  *out << row.quirk;
}

std::string AnswerTo(const Bench& bench, Question ask) {
  switch (ask) {
    case Question::Information:
      return bench.Device("GetDeviceInformation").body;
    case Question::Profiles:
      return bench.Media("GetProfiles").body;
    case Question::Encoder:
      return bench.Media("GetVideoEncoderConfigurations").body;
    case Question::Fault:
      break;
  }
  return bench.Media("GetProfile", "<ProfileToken>unknown</ProfileToken>").body;
}

bool IsXml(const std::string& text) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE),
      xmlFreeDoc);
  const xmlError* const error = xmlGetLastError();
  const bool isNamespaceWrong = error != nullptr && error->domain == XML_FROM_NAMESPACE;
  xmlResetLastError();
  return document != nullptr && !isNamespaceWrong;
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + part.size())) {
    ++count;
  }
  return count;
}

Text Counts(const std::string& part, std::size_t count) {
  return ResultOf([part](const std::string& text) { return CountOf(text, part); }, testing::Eq(count));
}

Text SizeFrom(std::size_t least) {
  return ResultOf([](const std::string& text) { return text.size(); },
                  AllOf(testing::Ge(least), testing::Le(least + 2000)));
}

const std::string kBoundary = "</env:Envelope>\n<?xml ";

const std::vector<XmlRow>& XmlRows() {
  static const std::vector<XmlRow> rows = {
      {"xml-undeclared-prefix", Question::Profiles, AllOf(Not(HasSubstr("xmlns:tt=")), HasSubstr("<tt:Name")), false},
      {"xml-undeclared-prefix=env", Question::Profiles, Not(HasSubstr("xmlns:env=")), false},
      {"xml-default-namespace", Question::Profiles,
       AllOf(HasSubstr("<Envelope "), HasSubstr("<Name xmlns=\"http://www.onvif.org/ver10/schema\">"),
             HasSubstr("<GetProfilesResponse xmlns=\"http://www.onvif.org/ver10/media/wsdl\">")),
       true},
      {"xml-prefixes", Question::Fault, AllOf(HasSubstr("<SOAP-ENV:Fault>"), HasSubstr(">SOAP-ENV:Sender<")), true},
      {"xml-prefixes=s", Question::Profiles, HasSubstr("<s:Body>"), true},
      {"xml-prefixes=soap", Question::Profiles, HasSubstr("<soap:Body>"), true},
      {"xml-prefixes=numbered", Question::Profiles, AllOf(HasSubstr("<ns1:Body>"), HasSubstr("<ns3:Name>")), true},
      {"xml-prefixes=upper", Question::Fault, AllOf(HasSubstr("<ENV:Body>"), HasSubstr(">TER:InvalidArgVal<")), true},
      {"xml-prefixes=misleading", Question::Profiles,
       AllOf(HasSubstr("xmlns:tds=\"http://www.onvif.org/ver10/schema\""), HasSubstr("<tds:Name>")), true},
      {"xml-wrong-namespace", Question::Profiles, HasSubstr("xmlns:trt=\"http://www.onvif.org/ver20/media/wsdl\""),
       true},
      {"xml-wrong-namespace=schema", Question::Profiles, HasSubstr("xmlns:tt=\"http://www.onvif.org/ver20/schema\""),
       true},
      {"xml-soap11", Question::Profiles, HasSubstr("http://schemas.xmlsoap.org/soap/envelope/"), true},
      {"xml-soap11", Question::Fault,
       AllOf(HasSubstr("<faultcode>env:Client</faultcode><faultstring>"), HasSubstr("<detail>ter:NoProfile</detail>"),
             Not(HasSubstr("Subcode"))),
       true},
      {"xml-soap11-fault", Question::Fault, HasSubstr("<faultcode>env:Client</faultcode>"), true},
      {"xml-header-first", Question::Profiles,
       ContainsRegex("<env:Envelope [^>]*><env:Header [^>]*><wsa:Action>GetProfilesResponse<"), true},
      {"xml-header-first", Question::Profiles, Not(ContainsRegex("<env:Envelope [^>]*><env:Body>")), true},
      {"xml-no-body", Question::Profiles, AllOf(HasSubstr("env:Envelope"), Not(HasSubstr("Body"))), true},
      {"xml-empty-body", Question::Profiles, HasSubstr("<env:Body/>"), true},
      {"xml-response-name", Question::Profiles, AllOf(HasSubstr("<trt:GetProfiles>"), Not(HasSubstr("Response"))),
       true},
      {"xml-response-name=lower-case", Question::Profiles, HasSubstr("<trt:getprofilesresponse>"), true},
      {"xml-response-name=result", Question::Profiles, HasSubstr("<trt:GetProfilesResult>"), true},
      {"xml-html-page", Question::Profiles, StartsWith("<!DOCTYPE html>"), false},
      {"xml-empty-answer", Question::Profiles, IsEmpty(), false},
      {"xml-truncated", Question::Profiles, Not(HasSubstr("</env:Envelope>")), false},
      {"xml-doubled", Question::Profiles, HasSubstr(kBoundary), false},
      {"xml-trailing", Question::Profiles, EndsWith(std::string(">\n\0", 3)), std::nullopt},
      {"xml-trailing=text", Question::Profiles, EndsWith("--boundary--\r\n"), false},
      {"xml-invalid-bytes", Question::Information, HasSubstr("\xFF\xC3("), false},
      {"xml-invalid-bytes", Question::Profiles, HasSubstr("\xFF\xC3("), false},
      {"xml-latin1", Question::Information, AllOf(HasSubstr("encoding=\"UTF-8\""), HasSubstr(" T\xFCr<")), false},
      {"xml-latin1=declared", Question::Information, AllOf(HasSubstr("encoding=\"ISO-8859-1\""), HasSubstr(" T\xFCr<")),
       true},
      {"xml-gbk", Question::Information, HasSubstr(" \xC9\xE3\xCF\xF1\xBB\xFA<"), false},
      {"xml-gbk=declared", Question::Information, HasSubstr("encoding=\"GBK\""), true},
      {"xml-utf16", Question::Information, StartsWith(std::string("\xFF\xFE<\0?\0x\0m\0l\0", 12)), true},
      {"xml-utf16=claimed", Question::Information, StartsWith("<?xml version=\"1.0\" encoding=\"UTF-16\"?>"),
       std::nullopt},
      {"xml-encoding-name", Question::Information, HasSubstr("encoding=\"utf8\""), std::nullopt},
      {"xml-encoding-name=GB2312", Question::Information, HasSubstr("encoding=\"GB2312\""), true},
      {"xml-bom", Question::Information, StartsWith("\xEF\xBB\xBF<?xml"), true},
      {"xml-leading-blanks", Question::Information, StartsWith("\r\n\r\n<?xml"), false},
      {"xml-no-declaration", Question::Information, StartsWith("<env:Envelope"), true},
      {"xml-version-1-1", Question::Information, StartsWith("<?xml version=\"1.1\""), true},
      {"xml-doctype", Question::Information, HasSubstr("?>\n<!DOCTYPE Envelope>\n<env:Envelope"), true},
      {"xml-entity", Question::Information,
       AllOf(HasSubstr("<!ENTITY camera \"camera\">"), HasSubstr("&camera;</tds:Model>")), true},
      {"xml-entity-bomb=3", Question::Information,
       AllOf(HasSubstr("<!ENTITY e3 \"&e2;&e2;"), HasSubstr("&e3;</tds:Model>"), Counts("&e1;", 10)), true},
      {"xml-deep=500", Question::Information,
       AllOf(Counts("<Extension>", 500), Counts("</Extension>", 500),
             HasSubstr("</Extension></tds:GetDeviceInformationResponse>")),
       true},
      {"xml-deep=500", Question::Fault, HasSubstr("</Extension></env:Fault>"), true},
      {"xml-huge=300000", Question::Information, SizeFrom(300000), true},
      {"xml-huge", Question::Information, SizeFrom(5 * 1024 * 1024), true},
      {"xml-many-elements=1000", Question::Information, Counts("<Extension/>", 1000), true},
      {"xml-many-attributes=1000", Question::Information, AllOf(HasSubstr(" a999=\"\"/>"), Counts("=\"\"", 1000)),
       true},
      {"xml-blanks-in-values", Question::Information, ContainsRegex("<tds:Model>\r\n  [^<]* \r\n</tds:Model>"), true},
      {"xml-null-values", Question::Profiles, HasSubstr("<tt:Name>(null)</tt:Name>"), true},
      {"xml-null-values=Model", Question::Information, HasSubstr("<tds:Model>(null)</tds:Model>"), true},
      {"xml-empty-values", Question::Profiles, AllOf(HasSubstr("<tt:Name/>"), Not(HasSubstr("<tt:Name>p"))), true},
      {"xml-nil-values", Question::Profiles,
       AllOf(HasSubstr("<tt:Name xsi:nil=\"true\"/>"),
             HasSubstr("xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"")),
       true},
      {"xml-decimals", Question::Encoder, ContainsRegex("<tt:FrameRateLimit>[0-9]+\\.0</tt:FrameRateLimit>"), true},
      {"xml-units", Question::Encoder,
       AllOf(ContainsRegex("<tt:FrameRateLimit>[0-9]+ fps</"), ContainsRegex("<tt:BitrateLimit>[0-9]+ kbps</"),
             ContainsRegex("<tt:Width>[0-9]+ px</")),
       true},
      {"xml-doubled-values", Question::Information, AllOf(Counts("</tds:Model>", 2), Counts("</tds:SerialNumber>", 2)),
       true},
      {"xml-markup-in-values", Question::Information, HasSubstr("<tds:Model><!-- value -->"), true},
      {"xml-markup-in-values=instruction", Question::Information, HasSubstr("<tds:Model><?value?>"), true},
      {"xml-markup-in-values=cdata", Question::Information,
       ContainsRegex("<tds:Model><!\\[CDATA\\[[^]]+\\]\\]></tds:Model>"), true},
      {"xml-character-references", Question::Information, ContainsRegex("<tds:Model>(&#[0-9]+;)+</tds:Model>"), true},
      {"xml-raw-ampersand", Question::Information, HasSubstr(" & Co</tds:Model>"), false},
  };
  return rows;
}

class XmlQuirk : public testing::TestWithParam<XmlRow> {};

INSTANTIATE_TEST_SUITE_P(Table, XmlQuirk, testing::ValuesIn(XmlRows()), [](const auto& row) {
  std::string name = row.param.quirk;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name + "_" + std::to_string(row.index);
});

TEST_P(XmlQuirk, ShowsInTheAnswerAndOnlyThere) {
  const XmlRow& row = GetParam();
  const Bench bench("ptz-dome");
  const std::string plain = AnswerTo(bench, row.ask);
  EXPECT_TRUE(IsXml(plain));
  EXPECT_FALSE(row.shows.Matches(plain)) << "without the quirk:\n" << plain;

  Bench bent("ptz-dome");
  bent.Quirks().SwitchOn(simcam::ParseQuirk(row.quirk));
  const std::string answer = AnswerTo(bent, row.ask);
  EXPECT_TRUE(row.shows.Matches(answer)) << answer.substr(0, 3000);
  if (row.isXml) {
    EXPECT_EQ(IsXml(answer), *row.isXml) << answer.substr(0, 3000);
  }
}

TEST(XmlQuirks, Soap11FaultLeavesOtherAnswersAsTheyAre) {
  Bench bench("ptz-dome");
  bench.Quirks().SwitchOn(simcam::ParseQuirk("xml-soap11-fault"));
  EXPECT_THAT(AnswerTo(bench, Question::Information),
              HasSubstr("xmlns:env=\"http://www.w3.org/2003/05/soap-envelope\""));
}

// Every quirk of the group meets what every other has left: nothing may fail.
TEST(XmlQuirks, StandEachOther) {
  for (const simcam::Quirk& first : simcam::XmlQuirks().quirks) {
    for (const simcam::Quirk& second : simcam::XmlQuirks().quirks) {
      Bench bench("fixed-box");
      const auto textOf = [](const simcam::Quirk& quirk) {
        return std::string(quirk.name) +
               (quirk.parameter.kind == simcam::QuirkParameter::Kind::Whole ? "=3" : "");  // small, for speed
      };
      bench.Quirks().SwitchOn(simcam::ParseQuirk(textOf(first)));
      bench.Quirks().SwitchOn(simcam::ParseQuirk(textOf(second)));
      for (const Question ask : {Question::Information, Question::Fault}) {
        EXPECT_NO_THROW(AnswerTo(bench, ask)) << first.name << " " << second.name;
      }
    }
  }
}

TEST(XmlQuirks, AnEmptyResponseTakesWhatIsPutIntoIt) {
  Bench bench("ptz-dome");
  bench.Quirks().SwitchOn(simcam::ParseQuirk("xml-many-elements=2@Stop"));
  const std::string answer =
      bench.Ptz("Stop", "<ProfileToken>" + bench.Model().profiles.front().token + "</ProfileToken>").body;
  EXPECT_THAT(answer, HasSubstr("<tptz:StopResponse><Extension/><Extension/></tptz:StopResponse>"));
}

TEST(XmlQuirks, WhatACharsetLacksBecomesAQuestionMark) {
  Bench bench("ptz-dome");
  bench.Quirks().SwitchOn(simcam::ParseQuirk("xml-latin1=declared"));
  const std::string answer = bench.Media("CreateProfile", "<Name>\xE6\x91\x84</Name>").body;
  EXPECT_THAT(answer, HasSubstr("<tt:Name>??? T\xFCr</tt:Name>"));
  EXPECT_TRUE(IsXml(answer));
}

}  // namespace
