// Documents that would cost too much. The tests' own time limit is what holds "bounded time".
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>

#include "platform/httplimits.h"
#include "platform/xmlreply.h"

namespace {

using std::string_literals::operator""s;

std::string Repeated(const std::string& piece, std::size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

std::string Utf16(const std::string& ascii) {
  std::string wide = "\xff\xfe";
  for (const char c : ascii) wide += {c, '\0'};
  return wide;
}

/// One start tag of exactly `size` bytes, from '<' to '>'.
std::string TagOf(std::size_t size) {
  return "<a b='" + std::string(size - 9, 'x') + "'/>";
}

void ExpectRefused(const std::string& text, const std::string& what) {
  const XML_REPLY reply = ParseXmlReply(text);
  EXPECT_EQ(reply.eResult, XML_REPLY_RESULT::LimitRefused) << what;
  EXPECT_EQ(reply.pDoc, nullptr) << what;
}

constexpr char kBomb[] =
    "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY x0 'xxxxxxxxxx'><!ENTITY x1 '&x0;&x0;&x0;&x0;&x0;&x0;&x0;&x0;'>"
    "<!ENTITY x2 '&x1;&x1;&x1;&x1;&x1;&x1;&x1;&x1;'><!ENTITY x3 '&x2;&x2;&x2;&x2;&x2;&x2;&x2;&x2;'>"
    "<!ENTITY x4 '&x3;&x3;&x3;&x3;&x3;&x3;&x3;&x3;'><!ENTITY x5 '&x4;&x4;&x4;&x4;&x4;&x4;&x4;&x4;'>]><a>&x5;</a>";

TEST(XmlReplyLimits, DoctypeIsRefusedInEveryForm) {
  ExpectRefused("<!DOCTYPE a><a/>", "bare");
  ExpectRefused("<?xml version='1.0'?>\n<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>", "with an address");
  ExpectRefused("<!DOCTYPE a [<!ENTITY b SYSTEM 'file:///etc/passwd'>]><a>&b;</a>", "with an entity of a file");
  ExpectRefused("<!DOCTYPE html PUBLIC '-//W3C//DTD HTML 4.01//EN'><html/>", "of a page");
  ExpectRefused("<!doctype html><html></html>", "in lower case");
  ExpectRefused("<!-- x --><!DOCTYPE a><a/>", "behind a comment");
  ExpectRefused("<!DOCTYPE", "cut off");
  ExpectRefused(kBomb, "entity bomb");
  ExpectRefused("\xef\xbb\xbf<!DOCTYPE a><a/>", "behind a byte order mark");
  ExpectRefused(Utf16(kBomb), "in UTF-16");
  ExpectRefused("<?xml version='1.0' encoding='UTF-7'?>+ADwAIQ-DOCTYPE a+AD4APA-a/+AD4-", "in UTF-7");
}

TEST(XmlReplyLimits, LongDoctypeIsRefusedToo) {
  ExpectRefused("<!DOCTYPE a [" + Repeated("<!ENTITY x 'y'>", 10000) + "]><a/>", "160 kB of entities");
}

TEST(XmlReplyLimits, ElementsUpToTheCeilingAndOneMore) {
  // The root is one of them.
  const std::string most = "<a>" + Repeated("<b/>", XML_MAX_ELEMENTS - 1) + "</a>";
  EXPECT_EQ(ParseXmlReply(most).eResult, XML_REPLY_RESULT::Parsed);
  ExpectRefused("<a>" + Repeated("<b/>", XML_MAX_ELEMENTS) + "</a>", "100,001 elements");
  ExpectRefused("<a>" + Repeated("<b></b>", XML_MAX_ELEMENTS) + "</a>", "100,001 elements with end tags");
}

TEST(XmlReplyLimits, EndTagsAndCommentsAreNoElements) {
  const std::string text = "<a>" + Repeated("<b></b>", 60000) + Repeated("<!--c-->", 60000) + "</a>";
  EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, StartTagUpToTheCeilingAndOneByteMore) {
  ASSERT_EQ(TagOf(XML_MAX_START_TAG_BYTES).size(), XML_MAX_START_TAG_BYTES);
  EXPECT_EQ(ParseXmlReply(TagOf(XML_MAX_START_TAG_BYTES)).eResult, XML_REPLY_RESULT::Parsed);
  ExpectRefused(TagOf(XML_MAX_START_TAG_BYTES + 1), "one byte over");
}

TEST(XmlReplyLimits, WhatStandsAtTheCeilingOfAStartTagDecides) {
  for (const std::string& start : {std::string("<a"), std::string("<a b='"), std::string("<a b=\"'")}) {
    const std::string tag = start + std::string(XML_MAX_START_TAG_BYTES - start.size(), ' ');
    EXPECT_EQ(ParseXmlReply(tag + "<").eResult, XML_REPLY_RESULT::NotXml) << start;
    EXPECT_EQ(ParseXmlReply(tag + " <").eResult, XML_REPLY_RESULT::LimitRefused) << start;
    EXPECT_EQ(ParseXmlReply(tag).eResult, XML_REPLY_RESULT::NotXml) << start;
    EXPECT_EQ(ParseXmlReply(tag + ">").eResult, XML_REPLY_RESULT::LimitRefused) << start;
  }
}

std::string ManyAttributes(std::size_t count) {
  std::string text = "<a";
  for (std::size_t i = 0; i < count; ++i) text += " b" + std::to_string(i) + "=''";
  return text + "/>";
}

TEST(XmlReplyLimits, EightyThousandAttributesAreRefused) {
  ExpectRefused(ManyAttributes(80000), "in UTF-8");
  ExpectRefused(Utf16(ManyAttributes(80000)), "in UTF-16");
  ExpectRefused("<?xml version='1.0' encoding='ISO-8859-1'?>" + ManyAttributes(80000), "in Latin-1");
}

// What looks like a comment, CDATA or a processing instruction, but libxml2 leaves it where "..." begins.
const std::array<std::string, 9> kFaultySections = {"<?...?>",
                                                    "<?xml version='1.0' x>...?>",
                                                    "<?x \x01...?>",
                                                    "<r><!--\x01...--></r>",
                                                    "<r><!--\xef\xbf\xbf...--></r>",
                                                    "<r><!-- ---><?x -->...?></r>",
                                                    "<r><![CDATA[\xed\xa0\x80...]]></r>",
                                                    "<r><?\xc2\xb7...?></r>",
                                                    "<r><?" + std::string(50001, 'a') + " ...?></r>"};

std::string Filled(std::string section, const std::string& inside) {
  return section.replace(section.find("..."), 3, inside);
}

TEST(XmlReplyLimits, FaultInASectionDoesNotHideWhatCostsTooMuch) {
  const std::string attributes = ManyAttributes(340000);
  ASSERT_LE(attributes.size(), HTTP_MAX_ANSWER_BYTES - 60000);
  for (const std::string& section : kFaultySections) {
    EXPECT_EQ(ParseXmlReply(Filled(section, attributes)).eResult, XML_REPLY_RESULT::NotXml) << section.substr(0, 30);
  }
}

TEST(XmlReplyLimits, InstructionNamedInOtherLettersHoldsNoMarkup) {
  EXPECT_EQ(ParseXmlReply("<a><?\xc3\xa9 x?><!-- --></a>").eResult, XML_REPLY_RESULT::Parsed);
  EXPECT_EQ(ParseXmlReply("<a><?\xc3\xa9 <?><!-- --></a>").eResult, XML_REPLY_RESULT::NotXml);
}

TEST(XmlReplyLimits, SectionsMayHoldWhatLooksLikeMarkup) {
  const std::string attributes = ManyAttributes(80000);
  for (const char* section :
       {"<r><!-- ... --></r>", "<r><![CDATA[...]]></r>", "<r><?x ...?></r>", "<?_x ...?><r/>", "<?xml-x ...?><r/>",
        "<r><!-- \xe2\x80\x93 \xe3\x80\x82 \xf0\x9f\x8e\xa5 ... --></r>",
        "<r><![CDATA[\xe2\x80\x9c...\xe2\x80\x9d]]></r>", "<r><!-- caf\xe9 \xed\xa0 \xc3\xa9\t\r\n ... --></r>"}) {
    EXPECT_EQ(ParseXmlReply(Filled(section, attributes)).eResult, XML_REPLY_RESULT::Parsed) << section;
  }
}

// A '>' in a quoted value must not end the tag for the ceiling alone.
TEST(XmlReplyLimits, QuotedTagEndsDoNotHideALongTag) {
  const std::string attributes = ManyAttributes(80000);
  ExpectRefused("<a x='>'" + attributes.substr(2), "behind a quoted '>'");
  ExpectRefused("<a x=\"'>\"" + attributes.substr(2), "behind a quote in quotes");
}

TEST(XmlReplyLimits, AttributesUpToTheCeilingAndOneMore) {
  EXPECT_EQ(ParseXmlReply(ManyAttributes(XML_MAX_ATTRIBUTES)).eResult, XML_REPLY_RESULT::Parsed);
  ExpectRefused(ManyAttributes(XML_MAX_ATTRIBUTES + 1), "one over");
  const std::string tag = ManyAttributes(XML_MAX_ATTRIBUTES);
  EXPECT_EQ(ParseXmlReply("<a>" + Repeated(tag, 2000) + "</a>").eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, AttributesAreCountedForEachElementAlone) {
  for (const std::size_t count : {XML_MAX_ATTRIBUTES, XML_MAX_ATTRIBUTES + 1}) {
    const std::string text = "<a>" + Repeated("<b c='" + std::string(10, 'x') + "'/>", count) + "</a>";
    EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed) << count;
  }
}

// What only looks like many attributes is no XML at all.
TEST(XmlReplyLimits, ShortTagOfValuesWithoutNamesIsNoDocument) {
  for (const char* piece : {"''", "b=''", "'' ", " xmlns"}) {
    EXPECT_EQ(ParseXmlReply("<a " + Repeated(piece, XML_MAX_ATTRIBUTES + 1) + "/>").eResult, XML_REPLY_RESULT::NotXml)
        << piece;
  }
}

/// Start tag with so many namespace declarations, each of another prefix.
std::string Declaring(std::size_t count, std::size_t first = 0) {
  std::string text = "<a";
  for (std::size_t i = 0; i < count; ++i) text += "\n xmlns:p" + std::to_string(first + i) + "='u'";
  return text;
}

TEST(XmlReplyLimits, NamespacesInScopeUpToTheCeilingAndOneMore) {
  const std::string half = Declaring(XML_MAX_NAMESPACES / 2);
  const std::string rest = Declaring(XML_MAX_NAMESPACES / 2, XML_MAX_NAMESPACES);
  EXPECT_EQ(ParseXmlReply(half + ">" + rest + "/></a>").eResult, XML_REPLY_RESULT::Parsed);
  ExpectRefused(half + ">" + rest + " xmlns='u'/></a>", "one over, the default one");
  ExpectRefused(half + ">" + rest + ">" + Declaring(1) + "/></a></a>", "one over, three deep");
  EXPECT_EQ(ParseXmlReply("<b>" + Repeated(half + "/>" + rest + "></a>", 100) + "</b>").eResult,
            XML_REPLY_RESULT::Parsed)
      << "beside each other";
}

TEST(XmlReplyLimits, ManyNamespacesAreRefusedBeforeTheyCostTime) {
  std::string text;
  constexpr std::size_t depth = 100;
  for (std::size_t level = 0; level < depth; ++level)
    text += Declaring(XML_MAX_ATTRIBUTES, level * XML_MAX_ATTRIBUTES) + ">";
  ExpectRefused(text + Repeated("<p0:a/>", 90000) + Repeated("</a>", depth), "100 levels of 256");
}

TEST(XmlReplyLimits, MostThatIsAllowedIsReadInTime) {
  std::string attributes;
  for (int i = 0; i < 8; ++i) attributes += " p0:" + std::string(1, static_cast<char>('a' + i)) + "=''";
  const std::string text = Declaring(XML_MAX_NAMESPACES) + ">" + Repeated("<p0:a" + attributes + "/>", 50000) + "</a>";
  ASSERT_LE(text.size(), HTTP_MAX_ANSWER_BYTES);
  EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, TagsAtTheCeilingManyTimesAreRead) {
  const std::string tag = TagOf(XML_MAX_START_TAG_BYTES);
  EXPECT_EQ(ParseXmlReply("<a>" + Repeated(tag, 100) + "</a>").eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, DeepNestingIsNoDocument) {
  const auto nested = [](std::size_t depth) { return Repeated("<a>", depth) + Repeated("</a>", depth); };
  EXPECT_EQ(ParseXmlReply(nested(200)).eResult, XML_REPLY_RESULT::Parsed);
  for (const std::size_t depth : {10000U, 50000U}) {
    const XML_REPLY reply = ParseXmlReply(nested(depth));
    EXPECT_EQ(reply.eResult, XML_REPLY_RESULT::NotXml) << depth;
    EXPECT_EQ(reply.pDoc, nullptr) << depth;
  }
}

TEST(XmlReplyLimits, OpenTagsWithoutEndAreNoDocument) {
  EXPECT_EQ(ParseXmlReply(Repeated("<a>", 90000)).eResult, XML_REPLY_RESULT::NotXml);
}

TEST(XmlReplyLimits, ConversionMustNotGrowOverTheAnswersCeiling) {
  const std::string start = "<?xml version='1.0' encoding='ISO-8859-1'?><a>";
  const std::string growing(HTTP_MAX_ANSWER_BYTES / 2, '\xe9');
  ExpectRefused(start + growing + "</a>", "two bytes for each");
  EXPECT_EQ(ParseXmlReply(start + growing.substr(1024) + "</a>").eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, TextsThatGoNowhereAreRefusedInTime) {
  const std::size_t size = HTTP_MAX_ANSWER_BYTES - 16;
  for (const char* piece : {"<", "&", "<!--", "<![CDATA[", "<?", "a", " ", "\xe9", "</", "<a b='", "&#", "<a:"}) {
    const std::string text = Repeated(piece, size / std::string(piece).size());
    EXPECT_NE(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed) << piece;
    EXPECT_NE(ParseXmlReply("<a>" + text).eResult, XML_REPLY_RESULT::Parsed) << "behind a tag: " << piece;
  }
}

TEST(XmlReplyLimits, CommentOfHyphensIsRefusedInTime) {
  const std::string hyphens(HTTP_MAX_ANSWER_BYTES - 32, '-');
  EXPECT_EQ(ParseXmlReply("<r><!--a" + hyphens + "--></r>").eResult, XML_REPLY_RESULT::NotXml);
}

TEST(XmlReplyLimits, CatalogsAreRefusedBeforeTheyCostTime) {
  const std::string catalog = "<?oasis-xml-catalog catalog=''?>";
  ExpectRefused(Repeated(catalog, HTTP_MAX_ANSWER_BYTES / catalog.size() - 1) + "<r/>", "before the root");
}

// Each tag alone is small; libxml2 has a complaint of each attribute, with the long text in it.
TEST(XmlReplyLimits, LongNamesOfElementsAndNamespacesAreRefused) {
  const auto named = [](std::size_t size) { return "<" + std::string(size, 'n') + " p:a=''/><!-- -->"; };
  const auto declaring = [](std::size_t size) {
    return "<a b='' xmlns:p = '" + std::string(size, 'u') + "'/><!-- -->";
  };
  for (const std::function<std::string(std::size_t)>& made : {std::function(named), std::function(declaring)}) {
    EXPECT_EQ(ParseXmlReply(made(XML_MAX_NAME_BYTES)).eResult, XML_REPLY_RESULT::Parsed);
    ExpectRefused(made(XML_MAX_NAME_BYTES + 1), made(1));
  }
  EXPECT_EQ(ParseXmlReply("<a xmlns='u' b='" + std::string(10000, 'x') + "'/><!-- -->").eResult,
            XML_REPLY_RESULT::Parsed)
      << "other values may be long";
}

// libxml2 reports the one empty namespace; what else looks like a declaration is text.
TEST(XmlReplyLimits, ManyNamesOfNamespacesInATextAreReadInTime) {
  const std::string names = Repeated("xmlns:", HTTP_MAX_ANSWER_BYTES / 6 - 10);
  EXPECT_EQ(ParseXmlReply("<a xmlns:b=''><c>" + names + "</c></a>").eResult, XML_REPLY_RESULT::Parsed);
}

TEST(XmlReplyLimits, LargeBadlyEncodedDocumentIsReadInTime) {
  const std::string text = "<a>" + Repeated("\xc4\xe3", HTTP_MAX_ANSWER_BYTES / 2 - 16) + "</a>";
  EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed);
}

// Short texts go to libxml2 at once, but not those with a '!'. Instructions that are named in other letters are refused
// only there.
TEST(XmlReplyLimits, ShortTextIsTheSameAlsoWhenItsMarkupIsLookedAt) {
  constexpr std::array<const char*, 20> pieces = {"<",       ">",  "/",    "a",    " ",        "='",  "'",
                                                  "\"",      "<?", "?>",   "&",    "]]>",      "p:",  "\n",
                                                  "xmlns:p", "=",  "<b/>", "</a>", "\xc3\xa9", "\xe9"};
  std::mt19937 random(1);
  int parsed = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string text = "<a xmlns:p='u' b=\"1\"><p:c d='>'>x&amp;y</p:c><?e f?></a>";
    for (int changes = static_cast<int>(random() % 4); changes > 0; --changes) {
      const std::size_t at = random() % text.size();
      text.replace(at, random() % 3, pieces[random() % pieces.size()]);
    }
    if (text.find("<?\xc3") != std::string::npos || text.find("<?\xe9") != std::string::npos) continue;
    const XML_REPLY_RESULT result = ParseXmlReply(text).eResult;
    ASSERT_EQ(result, ParseXmlReply(text + "<!-- -->").eResult) << text;
    if (result == XML_REPLY_RESULT::Parsed) ++parsed;
  }
  EXPECT_GT(parsed, 5000);
  EXPECT_LT(parsed, 15000);
}

TEST(XmlReplyLimits, NextDocumentIsReadAfterEachRefusal) {
  for (const std::string& text : {std::string(kBomb), ManyAttributes(80000), Repeated("<a>", 10000), ""s}) {
    ParseXmlReply(text);
    EXPECT_EQ(ParseXmlReply("<a/>").eResult, XML_REPLY_RESULT::Parsed);
  }
}

}  // namespace
