// Writers: attributes of a found node, and children copied into a request tree.

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include "onvif/onvifservice.h"
#include "tests/onvif/service_test.h"

namespace testsupport {
namespace {

/// A document to copy from and a tree to build.
class XmlWriters : public testing::Test {
 protected:
  xmlNode* Parent() { return xmlDocGetRootElement(m_request.get()); }

  /// The tree that is being built, as text.
  std::string Built() const {
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemory(m_request.get(), &text, &size);
    const XmlText owned(text);
    std::string built(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
    return built.substr(built.find('\n') + 1);
  }

  OnvifServiceBase m_service;
  XmlDoc m_answer = ParseXml("<r><a t='1'> x<b>&amp;y</b> </a><a>second</a><e/></r>");
  XmlDoc m_request = ParseXml("<p/>");
};

using SetNodeAttrByPath = XmlWriters;

TEST_F(SetNodeAttrByPath, CreatesAnAttributeOfTheFirstNode) {
  m_request = ParseXml("<p><a/><a/></p>");
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "//a", "t", "v<&\">"), RET_ONVIF_OK);
  EXPECT_EQ(Built(), "<p><a t=\"v&lt;&amp;&quot;&gt;\"/><a/></p>\n");
}

TEST_F(SetNodeAttrByPath, ReplacesAnAttribute) {
  m_request = ParseXml("<p><a s='1' t='old' u='2'/></p>");
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "//a", "t", "new"), RET_ONVIF_OK);
  EXPECT_EQ(Built(), "<p><a s=\"1\" t=\"new\" u=\"2\"/></p>\n");
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "//a", "t", ""), RET_ONVIF_OK);
  EXPECT_EQ(Built(), "<p><a s=\"1\" t=\"\" u=\"2\"/></p>\n");
}

TEST_F(SetNodeAttrByPath, NullDocumentIsInvalidAndComesBeforeTheEmptyXPath) {
  EXPECT_EQ(m_service.SetNodeAttrByPath(nullptr, "", "t", "v"), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_service.SetNodeAttrByPath(nullptr, "//a", "t", "v"), RET_ONVIF_INVALID_ARG);
}

TEST_F(SetNodeAttrByPath, EmptyXPathIsTwo) {
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "", "t", "v"), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(Built(), "<p/>\n");
}

TEST_F(SetNodeAttrByPath, MissingNodeIsXmlFail) {
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "//a", "t", "v"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(Built(), "<p/>\n");
}

TEST_F(SetNodeAttrByPath, NodeThatIsNoElementIsXmlFail) {
  m_request = ParseXml("<p t='1'>text</p>");
  for (const char* xpath : {"//text()", "//@t", "/"}) {
    EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), xpath, "t", "v"), RET_ONVIF_XML_FAIL) << xpath;
  }
  EXPECT_EQ(Built(), "<p t=\"1\">text</p>\n");
}

using InsertChildWithAttr = XmlWriters;

TEST_F(InsertChildWithAttr, AppendsAChildWithEscapedTextAndAttribute) {
  m_request = ParseXml("<p><first/></p>");
  xmlNode* const child = m_service.InsertChildWithAttr("1 < 2 & \"3\"", Parent(), "c", "t", "a<b");
  EXPECT_EQ(child, FindElement(m_request, "c"));
  EXPECT_EQ(Built(), "<p><first/><c t=\"a&lt;b\">1 &lt; 2 &amp; \"3\"</c></p>\n");
}

TEST_F(InsertChildWithAttr, EmptyContentAndValueAreWritten) {
  EXPECT_NE(m_service.InsertChildWithAttr("", Parent(), "c", "t", ""), nullptr);
  EXPECT_EQ(FindElement(m_request, "c")->ns, nullptr);
  EXPECT_THAT(Built(), testing::AnyOf("<p><c t=\"\"/></p>\n", "<p><c t=\"\"></c></p>\n"));
}

TEST_F(InsertChildWithAttr, AttributeIsSetAlsoWhenItsNameIsEmpty) {
  xmlNode* const child = m_service.InsertChildWithAttr("x", Parent(), "c", "", "v");
  ASSERT_NE(child, nullptr);
  EXPECT_NE(child->properties, nullptr);
}

TEST_F(InsertChildWithAttr, NoParentOrOneThatIsNoElementGivesNull) {
  m_request = ParseXml("<p>text</p>");
  EXPECT_EQ(m_service.InsertChildWithAttr("x", nullptr, "c", "t", "v"), nullptr);
  EXPECT_EQ(m_service.InsertChildWithAttr("x", Parent()->children, "c", "t", "v"), nullptr);
  EXPECT_EQ(Built(), "<p>text</p>\n");
}

using InsertChildByPath = XmlWriters;

TEST_F(InsertChildByPath, ContentOfTheFirstNodeBecomesTheText) {
  xmlNode* const child = m_service.InsertChildByPath(m_answer.get(), "//a", Parent(), "c");
  EXPECT_EQ(child, FindElement(m_request, "c"));
  EXPECT_EQ(Built(), "<p><c> x&amp;y </c></p>\n");
}

TEST_F(InsertChildByPath, MissingNodeBadPathOrDocumentGivesNullAndNoChild) {
  EXPECT_EQ(m_service.InsertChildByPath(m_answer.get(), "//none", Parent(), "c"), nullptr);
  EXPECT_EQ(m_service.InsertChildByPath(m_answer.get(), "//a[", Parent(), "c"), nullptr);
  EXPECT_EQ(m_service.InsertChildByPath(m_answer.get(), "", Parent(), "c"), nullptr);
  EXPECT_EQ(m_service.InsertChildByPath(nullptr, "//a", Parent(), "c"), nullptr);
  EXPECT_EQ(Built(), "<p/>\n");
}

TEST_F(InsertChildByPath, NoParentGivesNull) {
  EXPECT_EQ(m_service.InsertChildByPath(m_answer.get(), "//a", nullptr, "c"), nullptr);
}

TEST_F(InsertChildByPath, SourceAndTargetMayBeOneTree) {
  m_request = ParseXml("<p><a>one</a></p>");
  EXPECT_NE(m_service.InsertChildByPath(m_request.get(), "//a", Parent(), "c"), nullptr);
  EXPECT_EQ(Built(), "<p><a>one</a><c>one</c></p>\n");
}

using InsertChildByPathWithAttr = XmlWriters;

TEST_F(InsertChildByPathWithAttr, CopiesTheTextAndSetsTheAttribute) {
  xmlNode* const child = m_service.InsertChildByPathWithAttr(m_answer.get(), "//a[2]", Parent(), "c", "t", "v");
  EXPECT_EQ(child, FindElement(m_request, "c"));
  EXPECT_EQ(Built(), "<p><c t=\"v\">second</c></p>\n");
}

TEST_F(InsertChildByPathWithAttr, AttributeIsSetAlsoWhenItsNameIsEmpty) {
  xmlNode* const child = m_service.InsertChildByPathWithAttr(m_answer.get(), "//a", Parent(), "c", "", "v");
  ASSERT_NE(child, nullptr);
  EXPECT_NE(child->properties, nullptr);
}

TEST_F(InsertChildByPathWithAttr, MissingNodeDocumentOrParentGivesNull) {
  EXPECT_EQ(m_service.InsertChildByPathWithAttr(m_answer.get(), "//none", Parent(), "c", "t", "v"), nullptr);
  EXPECT_EQ(m_service.InsertChildByPathWithAttr(nullptr, "//a", Parent(), "c", "t", "v"), nullptr);
  EXPECT_EQ(m_service.InsertChildByPathWithAttr(m_answer.get(), "//a", nullptr, "c", "t", "v"), nullptr);
  EXPECT_EQ(Built(), "<p/>\n");
}

using InsertChildByNodeWithAttr = XmlWriters;

TEST_F(InsertChildByNodeWithAttr, CopiesTheTextAndSetsTheAttribute) {
  xmlNode* const source = FindElement(m_answer, "a");
  xmlNode* const child = m_service.InsertChildByNodeWithAttr(source, Parent(), "c", "t", "v");
  EXPECT_EQ(child, FindElement(m_request, "c"));
  EXPECT_EQ(Built(), "<p><c t=\"v\"> x&amp;y </c></p>\n");
}

TEST_F(InsertChildByNodeWithAttr, EmptyAttributeNameMeansNoAttribute) {
  xmlNode* const child = m_service.InsertChildByNodeWithAttr(FindElement(m_answer, "b"), Parent(), "c", "", "v");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->properties, nullptr);
  EXPECT_EQ(Built(), "<p><c>&amp;y</c></p>\n");
}

TEST_F(InsertChildByNodeWithAttr, EmptySourceGivesAnEmptyChild) {
  xmlNode* const child = m_service.InsertChildByNodeWithAttr(FindElement(m_answer, "e"), Parent(), "c", "", "");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(XmlText(xmlNodeGetContent(child)).get()[0], '\0');
}

TEST_F(InsertChildByNodeWithAttr, NoSourceOrNoParentGivesNull) {
  EXPECT_EQ(m_service.InsertChildByNodeWithAttr(nullptr, Parent(), "c", "t", "v"), nullptr);
  EXPECT_EQ(m_service.InsertChildByNodeWithAttr(FindElement(m_answer, "a"), nullptr, "c", "t", "v"), nullptr);
  EXPECT_EQ(Built(), "<p/>\n");
}

TEST_F(XmlWriters, BytesThatAreNotUtf8AreWrittenInSilence) {
  const std::string latin1 = "caf\xE9 <&>";
  testing::internal::CaptureStderr();
  EXPECT_NE(m_service.InsertChildWithAttr(latin1, Parent(), "c", "t", latin1), nullptr);
  EXPECT_EQ(m_service.SetNodeAttrByPath(m_request.get(), "//c", "t", latin1), RET_ONVIF_OK);
  EXPECT_NE(m_service.InsertChildByPathWithAttr(m_request.get(), "//c", Parent(), "d", "t", latin1), nullptr);
  EXPECT_NE(m_service.InsertChildByNodeWithAttr(FindElement(m_request, "c"), Parent(), "f", "t", latin1), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  std::string read;
  for (const char* name : {"c", "d", "f"}) {
    EXPECT_EQ(m_service.GetNodeAttr(FindElement(m_request, name), "t", read), RET_ONVIF_OK) << name;
    EXPECT_EQ(read, latin1) << name;
    EXPECT_EQ(m_service.GetNodeContent(FindElement(m_request, name), read), RET_ONVIF_OK) << name;
    EXPECT_EQ(read, latin1) << name;
  }
}

}  // namespace
}  // namespace testsupport
