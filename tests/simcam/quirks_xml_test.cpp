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

enum class Ask { Information, Profiles, Fault, Encoder };

struct Row {
  const char* quirk;
  Ask ask;
  Text shows;
  std::optional<bool> isXml;  // nothing: parsers differ
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.quirk;
}

std::string AnswerTo(const Bench& bench, Ask ask) {
  switch (ask) {
    case Ask::Information:
      return bench.Device("GetDeviceInformation").body;
    case Ask::Profiles:
      return bench.Media("GetProfiles").body;
    case Ask::Encoder:
      return bench.Media("GetVideoEncoderConfigurations").body;
    case Ask::Fault:
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

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {"xml-undeclared-prefix", Ask::Profiles, AllOf(Not(HasSubstr("xmlns:tt=")), HasSubstr("<tt:Name")), false},
      {"xml-undeclared-prefix=env", Ask::Profiles, Not(HasSubstr("xmlns:env=")), false},
      {"xml-default-namespace", Ask::Profiles,
       AllOf(HasSubstr("<Envelope "), HasSubstr("<Name xmlns=\"http://www.onvif.org/ver10/schema\">"),
             HasSubstr("<GetProfilesResponse xmlns=\"http://www.onvif.org/ver10/media/wsdl\">")),
       true},
      {"xml-prefixes", Ask::Fault, AllOf(HasSubstr("<SOAP-ENV:Fault>"), HasSubstr(">SOAP-ENV:Sender<")), true},
      {"xml-prefixes=s", Ask::Profiles, HasSubstr("<s:Body>"), true},
      {"xml-prefixes=soap", Ask::Profiles, HasSubstr("<soap:Body>"), true},
      {"xml-prefixes=numbered", Ask::Profiles, AllOf(HasSubstr("<ns1:Body>"), HasSubstr("<ns3:Name>")), true},
      {"xml-prefixes=upper", Ask::Fault, AllOf(HasSubstr("<ENV:Body>"), HasSubstr(">TER:InvalidArgVal<")), true},
      {"xml-prefixes=misleading", Ask::Profiles,
       AllOf(HasSubstr("xmlns:tds=\"http://www.onvif.org/ver10/schema\""), HasSubstr("<tds:Name>")), true},
      {"xml-wrong-namespace", Ask::Profiles, HasSubstr("xmlns:trt=\"http://www.onvif.org/ver20/media/wsdl\""), true},
      {"xml-wrong-namespace=schema", Ask::Profiles, HasSubstr("xmlns:tt=\"http://www.onvif.org/ver20/schema\""), true},
      {"xml-soap11", Ask::Profiles, HasSubstr("http://schemas.xmlsoap.org/soap/envelope/"), true},
      {"xml-soap11", Ask::Fault,
       AllOf(HasSubstr("<faultcode>env:Client</faultcode><faultstring>"), HasSubstr("<detail>ter:NoProfile</detail>"),
             Not(HasSubstr("Subcode"))),
       true},
      {"xml-soap11-fault", Ask::Fault, HasSubstr("<faultcode>env:Client</faultcode>"), true},
      {"xml-header-first", Ask::Profiles,
       ContainsRegex("<env:Envelope [^>]*><env:Header [^>]*><wsa:Action>GetProfilesResponse<"), true},
      {"xml-header-first", Ask::Profiles, Not(ContainsRegex("<env:Envelope [^>]*><env:Body>")), true},
      {"xml-no-body", Ask::Profiles, AllOf(HasSubstr("env:Envelope"), Not(HasSubstr("Body"))), true},
      {"xml-empty-body", Ask::Profiles, HasSubstr("<env:Body/>"), true},
      {"xml-response-name", Ask::Profiles, AllOf(HasSubstr("<trt:GetProfiles>"), Not(HasSubstr("Response"))), true},
      {"xml-response-name=lower-case", Ask::Profiles, HasSubstr("<trt:getprofilesresponse>"), true},
      {"xml-response-name=result", Ask::Profiles, HasSubstr("<trt:GetProfilesResult>"), true},
      {"xml-html-page", Ask::Profiles, StartsWith("<!DOCTYPE html>"), false},
      {"xml-empty-answer", Ask::Profiles, IsEmpty(), false},
      {"xml-truncated", Ask::Profiles, Not(HasSubstr("</env:Envelope>")), false},
      {"xml-doubled", Ask::Profiles, HasSubstr(kBoundary), false},
      {"xml-trailing", Ask::Profiles, EndsWith(std::string(">\n\0", 3)), std::nullopt},
      {"xml-trailing=text", Ask::Profiles, EndsWith("--boundary--\r\n"), false},
      {"xml-invalid-bytes", Ask::Information, HasSubstr("\xFF\xC3("), false},
      {"xml-invalid-bytes", Ask::Profiles, HasSubstr("\xFF\xC3("), false},
      {"xml-latin1", Ask::Information, AllOf(HasSubstr("encoding=\"UTF-8\""), HasSubstr(" T\xFCr<")), false},
      {"xml-latin1=declared", Ask::Information, AllOf(HasSubstr("encoding=\"ISO-8859-1\""), HasSubstr(" T\xFCr<")),
       true},
      {"xml-gbk", Ask::Information, HasSubstr(" \xC9\xE3\xCF\xF1\xBB\xFA<"), false},
      {"xml-gbk=declared", Ask::Information, HasSubstr("encoding=\"GBK\""), true},
      {"xml-utf16", Ask::Information, StartsWith(std::string("\xFF\xFE<\0?\0x\0m\0l\0", 12)), true},
      {"xml-utf16=claimed", Ask::Information, StartsWith("<?xml version=\"1.0\" encoding=\"UTF-16\"?>"), std::nullopt},
      {"xml-encoding-name", Ask::Information, HasSubstr("encoding=\"utf8\""), std::nullopt},
      {"xml-encoding-name=GB2312", Ask::Information, HasSubstr("encoding=\"GB2312\""), true},
      {"xml-bom", Ask::Information, StartsWith("\xEF\xBB\xBF<?xml"), true},
      {"xml-leading-blanks", Ask::Information, StartsWith("\r\n\r\n<?xml"), false},
      {"xml-no-declaration", Ask::Information, StartsWith("<env:Envelope"), true},
      {"xml-version-1-1", Ask::Information, StartsWith("<?xml version=\"1.1\""), true},
      {"xml-doctype", Ask::Information, HasSubstr("?>\n<!DOCTYPE Envelope>\n<env:Envelope"), true},
      {"xml-entity", Ask::Information,
       AllOf(HasSubstr("<!ENTITY camera \"camera\">"), HasSubstr("&camera;</tds:Model>")), true},
      {"xml-entity-bomb=3", Ask::Information,
       AllOf(HasSubstr("<!ENTITY e3 \"&e2;&e2;"), HasSubstr("&e3;</tds:Model>"), Counts("&e1;", 10)), true},
      {"xml-deep=500", Ask::Information,
       AllOf(Counts("<Extension>", 500), Counts("</Extension>", 500),
             HasSubstr("</Extension></tds:GetDeviceInformationResponse>")),
       true},
      {"xml-deep=500", Ask::Fault, HasSubstr("</Extension></env:Fault>"), true},
      {"xml-huge=300000", Ask::Information, SizeFrom(300000), true},
      {"xml-huge", Ask::Information, SizeFrom(5 * 1024 * 1024), true},
      {"xml-many-elements=1000", Ask::Information, Counts("<Extension/>", 1000), true},
      {"xml-many-attributes=1000", Ask::Information, AllOf(HasSubstr(" a999=\"\"/>"), Counts("=\"\"", 1000)), true},
      {"xml-blanks-in-values", Ask::Information, ContainsRegex("<tds:Model>\r\n  [^<]* \r\n</tds:Model>"), true},
      {"xml-null-values", Ask::Profiles, HasSubstr("<tt:Name>(null)</tt:Name>"), true},
      {"xml-null-values=Model", Ask::Information, HasSubstr("<tds:Model>(null)</tds:Model>"), true},
      {"xml-empty-values", Ask::Profiles, AllOf(HasSubstr("<tt:Name/>"), Not(HasSubstr("<tt:Name>p"))), true},
      {"xml-nil-values", Ask::Profiles,
       AllOf(HasSubstr("<tt:Name xsi:nil=\"true\"/>"),
             HasSubstr("xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"")),
       true},
      {"xml-decimals", Ask::Encoder, ContainsRegex("<tt:FrameRateLimit>[0-9]+\\.0</tt:FrameRateLimit>"), true},
      {"xml-units", Ask::Encoder,
       AllOf(ContainsRegex("<tt:FrameRateLimit>[0-9]+ fps</"), ContainsRegex("<tt:BitrateLimit>[0-9]+ kbps</"),
             ContainsRegex("<tt:Width>[0-9]+ px</")),
       true},
      {"xml-doubled-values", Ask::Information, AllOf(Counts("</tds:Model>", 2), Counts("</tds:SerialNumber>", 2)),
       true},
      {"xml-markup-in-values", Ask::Information, HasSubstr("<tds:Model><!-- value -->"), true},
      {"xml-markup-in-values=instruction", Ask::Information, HasSubstr("<tds:Model><?value?>"), true},
      {"xml-markup-in-values=cdata", Ask::Information,
       ContainsRegex("<tds:Model><!\\[CDATA\\[[^]]+\\]\\]></tds:Model>"), true},
      {"xml-character-references", Ask::Information, ContainsRegex("<tds:Model>(&#[0-9]+;)+</tds:Model>"), true},
      {"xml-raw-ampersand", Ask::Information, HasSubstr(" & Co</tds:Model>"), false},
  };
  return rows;
}

class XmlQuirk : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(Table, XmlQuirk, testing::ValuesIn(Rows()), [](const auto& row) {
  std::string name = row.param.quirk;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name + "_" + std::to_string(row.index);
});

TEST_P(XmlQuirk, ShowsInTheAnswerAndOnlyThere) {
  const Row& row = GetParam();
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
  EXPECT_THAT(AnswerTo(bench, Ask::Information), HasSubstr("xmlns:env=\"http://www.w3.org/2003/05/soap-envelope\""));
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
      for (const Ask ask : {Ask::Information, Ask::Fault}) {
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
