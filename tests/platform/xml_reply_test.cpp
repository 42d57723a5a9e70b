#include "platform/xmlreply.h"

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <cstdio>

#include "tests/support/envelope.h"
#include "tests/support/unique_fd.h"

namespace {

using std::string_literals::operator""s;

/// All text of the document; "(refused)" without one.
std::string ContentOf(const std::string& text) {
  const XML_REPLY reply = ParseXmlReply(text);
  if (reply.eResult != XML_REPLY_RESULT::Parsed || !reply.pDoc) return "(refused)";
  const OwnedXmlText content(xmlNodeGetContent(xmlDocGetRootElement(reply.pDoc.get())));
  return reinterpret_cast<const char*>(content.get());
}

TEST(ParseXmlReply, DocumentsThatAreRead) {
  const struct {
    std::string text;
    std::string content;
  } kCases[] = {
      {"<a/>", ""},
      {"<a>x</a>", "x"},
      {"<a>x</a>\r\n \n", "x"},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\xc3\xa9</a>", "\xc3\xa9"},
      {"\xef\xbb\xbf<?xml version=\"1.0\" encoding=\"utf-8\"?><a>x</a>", "x"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9</a>", "\xc3\xa9"},
      {"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "\xe2\x82\xac"},
      {"<?xml version='1.0' encoding='GBK'?><a>\xc4\xe3\xba\xc3</a>", "\xe4\xbd\xa0\xe5\xa5\xbd"},
      {"\xff\xfe<\0a\0>\0\xe9\0<\0/\0a\0>\0"s, "\xc3\xa9"},
      {"\xfe\xff\0<\0a\0>\0\xe9\0<\0/\0a\0>"s, "\xc3\xa9"},
      {"<\0a\0>\0\xe9\0<\0/\0a\0>\0"s, "\xc3\xa9"},
      {"\0<\0a\0>\0\xe9\0<\0/\0a\0>"s, "\xc3\xa9"},
      {"<!-- <b> <!DOCTYPE c> > ' --><a>x<!-- </a> -->y</a><!-- <d> -->", "xy"},
      {"<a><![CDATA[<b> & <!DOCTYPE c> ']]></a>", "<b> & <!DOCTYPE c> '"},
      {"<?p <b> > ' ?><a><?q </a>?>x</a>", "x"},
      {"<a b='>' c=\"'>\" d='\"/>'>x</a>", "x"},
      {"<a>&amp;&lt;&gt;&quot;&apos;&#233;&#x41;</a>",
       "&<>\"'\xc3\xa9"
       "A"},
      {"<a>don't \"quote\" > me</a>", "don't \"quote\" > me"},
      {"<a xmlns='urn:x'><b xmlns=''>x</b></a>", "x"},
      {"<undeclared:a>x</undeclared:a>", "x"},
      {"<a\n b = '1'\t>x</a\n>", "x"},
      {testsupport::FaultEnvelope("ter:NotAuthorized", ""), "soapenv:Senderter:NotAuthorized"},
  };
  for (const auto& c : kCases) EXPECT_EQ(ContentOf(c.text), c.content) << testing::PrintToString(c.text);
}

// libxml2 complains about them, and no more.
TEST(ParseXmlReply, OddNamespacesAreRead) {
  for (const char* text :
       {"<a xmlns:xml='urn:x'/>", "<a xmlns='http://www.w3.org/XML/1998/namespace'/>",
        "<a xmlns:b='http://www.w3.org/XML/1998/namespace'/>", "<a xmlns:b='http://www.w3.org/2000/xmlns/'/>",
        "<a xmlns:xmlns='http://www.w3.org/2000/xmlns/'/>", "<a xmlns:b=''/>", "<a xmlns=''/>",
        "<a xmlns:b='not a URI'/>"}) {
    EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed) << text;
  }
}

TEST(ParseXmlReply, TextsThatAreNoDocument) {
  const std::string kCases[] = {
      "",
      " ",
      "text",
      "<",
      "<a",
      "<a>",
      "</a>",
      "<a></b>",
      "<a><b></a></b>",
      "<a/><b/>",
      "<a/>text",
      "text<a/>",
      "<a b=1/>",
      "<a b/>",
      "<a b='1' b='2'/>",
      "<a b='<'/>",
      "<a b='1\"/>",
      "<a>&nbsp;</a>",
      "<a>&</a>",
      "<a>&#0;</a>",
      "<a>&#xD800;</a>",
      "<a>\x01</a>",
      "<a>]]></a>",
      "<1/>",
      "< a/>",
      " <?xml version='1.0'?><a/>",
      "<?xml version='1.0'?>",
      "<?xml version='1.0' encoding='x-none'?><a/>",
      "<!-- only -->",
      "<a><!-- -- --></a>",
      "<a><!-- </a>",
      "<a><![CDATA[ </a>",
      "<a><?p </a>",
      "<a>\0</a>"s,
      "<a/>\0"s,
      "\0"s,
      "\xef\xbb\xbf",
      "\xff\xfe",
      "<html><body><br></body></html>",
      "HTTP/1.1 200 OK\r\n\r\n<a/>",
      "{\"a\":1}",
  };
  for (const std::string& text : kCases) {
    const XML_REPLY reply = ParseXmlReply(text);
    EXPECT_EQ(reply.eResult, XML_REPLY_RESULT::NotXml) << testing::PrintToString(text);
    EXPECT_EQ(reply.pDoc, nullptr) << testing::PrintToString(text);
  }
}

// Cameras put names in their own character set into documents that claim UTF-8.
TEST(ParseXmlReply, BadlyEncodedBytesStayAsTheyCame) {
  const struct {
    const char* what;
    std::string text;
    std::string content;
  } kCases[] = {
      {"GBK", "<a>\xc4\xe3\xba\xc3</a>", "\xc4\xe3\xba\xc3"},
      {"GBK beside ASCII", "<a>cam \xc4\xe3 1</a>", "cam \xc4\xe3 1"},
      {"Latin-1", "<a>caf\xe9</a>", "caf\xe9"},
      {"Latin-1 before a tag", "<a>\xe9<b/></a>", "\xe9"},
      {"declared UTF-8", "<?xml version='1.0' encoding='UTF-8'?><a>\xe9t\xe9</a>", "\xe9t\xe9"},
      {"CDATA", "<a><![CDATA[\xc4\xe3]]></a>", "\xc4\xe3"},
      {"valid UTF-8 before", "<a>\xe4\xbd\xa0<b>\xc4\xe3</b></a>", "\xe4\xbd\xa0\xc4\xe3"},
      {"valid UTF-8 behind", "<a><b>\xc4\xe3</b>\xe4\xbd\xa0</a>", "\xc4\xe3\xe4\xbd\xa0"},
      {"truncated sequence", "<a>\xe4\xbd</a>", "\xe4\xbd"},
      {"overlong form", "<a>\xc0\xbc</a>", "\xc0\xbc"},
      {"comment", "<a><!-- \xc4\xe3 -->x</a>", "x"},
      {"byte order mark before", "\xef\xbb\xbf<a>\xe9</a>", "\xe9"},
  };
  for (const auto& c : kCases) EXPECT_EQ(ContentOf(c.text), c.content) << c.what;
}

TEST(ParseXmlReply, BadlyEncodedAttributeStaysAsItCame) {
  const XML_REPLY reply = ParseXmlReply("<a b='\xc4\xe3' c='\xe4\xbd\xa0'/>");
  ASSERT_NE(reply.pDoc, nullptr);
  const xmlNode* root = xmlDocGetRootElement(reply.pDoc.get());
  const auto attribute = [root](const char* name) {
    return OwnedXmlText(xmlGetProp(root, reinterpret_cast<const xmlChar*>(name)));
  };
  const OwnedXmlText first = attribute("b");
  const OwnedXmlText second = attribute("c");
  EXPECT_STREQ(reinterpret_cast<const char*>(first.get()), "\xc4\xe3");
  EXPECT_STREQ(reinterpret_cast<const char*>(second.get()), "\xe4\xbd\xa0");
}

TEST(ParseXmlReply, BadlyEncodedBytesExcuseNoOtherFault) {
  for (const char* text :
       {"<a>\xe9", "<a>\xe9</b>", "<a>\xe9&nbsp;</a>", "<a>&nbsp;\xe9</a>", "<a b='1' b='2'>\xe9</a>",
        "<a>\xe9</a>text", "<a>\xe9\x01</a>", "<a b='\xe9' b=''/>", "\xe9<a/>"}) {
    EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::NotXml) << testing::PrintToString(text);
  }
}

// Well-shaped sequences that stand for no character are another fault than bytes that make no sequence.
TEST(ParseXmlReply, SequencesThatStandForNoCharacterAreRefused) {
  for (const char* text : {"<a>\xed\xa0\x80</a>", "<a>\xf4\x90\x80\x80</a>", "<a>\xef\xbf\xbe</a>"}) {
    EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::NotXml) << testing::PrintToString(text);
  }
}

TEST(ParseXmlReply, BlankTextNodesAreKept) {
  const XML_REPLY reply = ParseXmlReply("<a>\n  <b/> \t<c/>\n</a>");
  ASSERT_NE(reply.pDoc, nullptr);
  std::string children;
  for (const xmlNode* node = xmlDocGetRootElement(reply.pDoc.get())->children; node != nullptr; node = node->next) {
    children += node->type == XML_TEXT_NODE ? "text " : "element ";
  }
  EXPECT_EQ(children, "text element text element text ");
}

TEST(ParseXmlReply, DocumentCutAtAnyByteIsRefused) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><a b='c&amp;'><!-- d --><![CDATA[e]]>\xc3\xa9\xe9<?f g?>&#65;<h/></a>";
  ASSERT_NE(ContentOf(text), "(refused)");
  for (std::size_t length = 0; length < text.size(); ++length) {
    const XML_REPLY reply = ParseXmlReply(text.substr(0, length));
    EXPECT_NE(reply.eResult, XML_REPLY_RESULT::Parsed) << text.substr(0, length);
    EXPECT_EQ(reply.pDoc, nullptr) << text.substr(0, length);
  }
}

TEST(ParseXmlReply, EmptyTextIsNoDocument) {
  EXPECT_EQ(ParseXmlReply("").eResult, XML_REPLY_RESULT::NotXml);
}

/// What is written to standard error while one lives.
class StandardError {
 public:
  StandardError() : m_file(std::tmpfile()), m_previous(dup(STDERR_FILENO)) { dup2(fileno(m_file), STDERR_FILENO); }
  ~StandardError() {
    dup2(m_previous.Get(), STDERR_FILENO);
    std::fclose(m_file);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

  off_t Bytes() const {
    std::fflush(stderr);
    return lseek(fileno(m_file), 0, SEEK_END);
  }

 private:
  std::FILE* m_file;
  testsupport::UniqueFd m_previous;
};

TEST(ParseXmlReply, ComplaintsReachNeitherStandardErrorNorTheHostsHandlers) {
  static int calls = 0;
  xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) { ++calls; });
  const StandardError error;
  for (const char* text :
       {"<a>", "<a>\xe9</a>", "<a:b/>", "<a>&x;</a>", "<!DOCTYPE a><a/>", "<a xmlns='not a uri %'/>"}) {
    ParseXmlReply(text);
  }
  const xmlStructuredErrorFunc handler = xmlStructuredError;
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  EXPECT_EQ(calls, 0);
  EXPECT_NE(handler, nullptr) << "the host's handler is gone";
  ParseXmlReply("<a>");
  EXPECT_EQ(error.Bytes(), 0);
}

}  // namespace
