// Readers of answers: namespaces, node sets, texts and attributes.

#include <gmock/gmock.h>
#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <array>

#include "onvif/onvifservice.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

const xmlChar* Chars(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

std::string UriOf(xmlXPathContext* context, const char* prefix) {
  const xmlChar* const uri = xmlXPathNsLookup(context, Chars(prefix));
  return uri == nullptr ? "" : reinterpret_cast<const char*>(uri);
}

OnvifServiceBase ServiceOfVersion(const std::string& major, const std::string& minor) {
  OnvifServiceBase service;
  service.UpdateServiceParam(nullptr, "/p", major, minor);
  return service;
}

TEST(RegistNsForONVIF, RegistersTheSevenFixedPrefixes) {
  const XmlXPathContext context(xmlXPathNewContext(nullptr));
  OnvifServiceBase service;
  ASSERT_EQ(service.RegistNsForONVIF(context.get()), RET_ONVIF_OK);
  EXPECT_EQ(UriOf(context.get(), "soapenv"), "http://www.w3.org/2003/05/soap-envelope");
  EXPECT_EQ(UriOf(context.get(), "tev"), "http://www.onvif.org/ver10/events/wsdl");
  EXPECT_EQ(UriOf(context.get(), "timg"), "http://www.onvif.org/ver10/imaging/wsdl");
  EXPECT_EQ(UriOf(context.get(), "tds"), "http://www.onvif.org/ver10/device/wsdl");
  EXPECT_EQ(UriOf(context.get(), "trt"), "http://www.onvif.org/ver10/media/wsdl");
  EXPECT_EQ(UriOf(context.get(), "tptz"), "http://www.onvif.org/ver20/ptz/wsdl");
  EXPECT_EQ(UriOf(context.get(), "tt"), "http://www.onvif.org/ver10/schema");
}

TEST(RegistNsForONVIF, OnlyVersionOneZeroUsesTheVer10PtzNamespace) {
  const std::string ver10 = "http://www.onvif.org/ver10/ptz/wsdl";
  const std::string ver20 = "http://www.onvif.org/ver20/ptz/wsdl";
  const std::vector<std::array<std::string, 3>> cases = {{"1", "0", ver10},  {"2", "0", ver20},  {"", "", ver20},
                                                         {"1", "", ver20},   {"", "0", ver20},   {"1", "1", ver20},
                                                         {"1", "00", ver20}, {"01", "0", ver20}, {" 1", "0", ver20},
                                                         {"10", "0", ver20}, {"0", "1", ver20}};
  for (const auto& [major, minor, uri] : cases) {
    const XmlXPathContext context(xmlXPathNewContext(nullptr));
    ASSERT_EQ(ServiceOfVersion(major, minor).RegistNsForONVIF(context.get()), RET_ONVIF_OK);
    EXPECT_EQ(UriOf(context.get(), "tptz"), uri) << "[" << major << "].[" << minor << "]";
  }
}

TEST(RegistNsForONVIF, NoContextIsXmlFail) {
  EXPECT_EQ(OnvifServiceBase().RegistNsForONVIF(nullptr), RET_ONVIF_XML_FAIL);
}

/// One document and a fresh service of version 2.0.
class XmlReaders : public testing::Test {
 protected:
  /// Whether the XPath finds something in a document of this text.
  bool Finds(const std::string& text, const char* xpath) {
    const XmlDoc document = ParseXml(text);
    return XmlXPathObject(m_service.GetXmlNodeSet(document.get(), xpath)) != nullptr;
  }

  RET_ONVIF Content(const std::string& text, const std::string& xpath) {
    m_out = "old";
    return m_service.GetNodeContentByPath(ParseXml(text).get(), xpath, m_out);
  }

  RET_ONVIF Attr(const std::string& text, const std::string& xpath, const std::string& name) {
    m_out = "old";
    return m_service.GetNodeAttrByPath(ParseXml(text).get(), xpath, name, m_out);
  }

  OnvifServiceBase m_service = ServiceOfVersion("2", "0");
  std::string m_out;
};

using GetXmlNodeSet = XmlReaders;

TEST_F(GetXmlNodeSet, HoldsEveryMatchInDocumentOrder) {
  const XmlDoc document = ParseXml("<r><a i='1'/><b><a i='2'/></b><a i='3'/></r>");
  const XmlXPathObject found(m_service.GetXmlNodeSet(document.get(), "//a"));
  ASSERT_TRUE(found);
  ASSERT_EQ(found->nodesetval->nodeNr, 3);
  EXPECT_EQ(found->nodesetval->nodeTab[0], FindElement(document, "a"));
}

TEST_F(GetXmlNodeSet, FixedPrefixesFindElementsOfAnyPrefix) {
  EXPECT_TRUE(Finds("<x:r xmlns:x='http://www.onvif.org/ver10/schema'/>", "/tt:r"));
  EXPECT_TRUE(Finds("<r><y:a xmlns:y='http://www.onvif.org/ver10/media/wsdl'/></r>", "//trt:a"));
  EXPECT_FALSE(Finds("<tt:r xmlns:tt='urn:other'/>", "/tt:r")) << "the fixed prefix wins over the camera's own";
}

TEST_F(GetXmlNodeSet, PrefixesThatTheRootDeclaresCanBeUsed) {
  const std::string text = "<p:r xmlns:p='urn:p' xmlns:q='urn:q'><q:a/></p:r>";
  EXPECT_TRUE(Finds(text, "/p:r/q:a"));
}

TEST_F(GetXmlNodeSet, OnlyDeclarationsFromTheRootsOwnNamespaceOnAreRegistered) {
  EXPECT_FALSE(Finds("<p:r xmlns:q='urn:q' xmlns:p='urn:p'><q:a/></p:r>", "//q:a"));
  EXPECT_FALSE(Finds("<r xmlns:q='urn:q'><q:a/></r>", "//q:a")) << "a root without namespace registers nothing";
}

TEST_F(GetXmlNodeSet, RootWithDefaultNamespaceYieldsNothingForAnyXPath) {
  const std::string text = "<r xmlns='http://www.onvif.org/ver10/schema'><a/></r>";
  for (const char* xpath : {"//*", "/tt:r", "//tt:a", "/", "//node()"}) EXPECT_FALSE(Finds(text, xpath)) << xpath;
}

TEST_F(GetXmlNodeSet, DefaultNamespaceDeclaredBehindTheRootsOwnYieldsNothing) {
  EXPECT_FALSE(Finds("<p:r xmlns:p='urn:p' xmlns='urn:d'/>", "//*"));
  EXPECT_TRUE(Finds("<p:r xmlns='urn:d' xmlns:p='urn:p'/>", "//*")) << "one declared before it is not looked at";
}

TEST_F(GetXmlNodeSet, DefaultNamespaceBelowTheRootIsNoTrouble) {
  EXPECT_TRUE(Finds("<r><a xmlns='http://www.onvif.org/ver10/schema'/></r>", "//tt:a"));
}

TEST_F(GetXmlNodeSet, PtzElementsAreFoundInTheNamespaceOfTheVersion) {
  const std::string ver10 = Envelope("<tptz:StopResponse/>", kPtz10Namespace);
  const std::string ver20 = Envelope("<tptz:StopResponse/>");
  EXPECT_TRUE(Finds(ver20, "//tptz:StopResponse"));
  EXPECT_FALSE(Finds(ver10, "//tptz:StopResponse"));
  m_service = ServiceOfVersion("1", "0");
  EXPECT_FALSE(Finds(ver20, "//tptz:StopResponse"));
  EXPECT_TRUE(Finds(ver10, "//tptz:StopResponse"));
}

TEST_F(GetXmlNodeSet, NoDocumentOrNoRootYieldsNothing) {
  EXPECT_EQ(m_service.GetXmlNodeSet(nullptr, "//a"), nullptr);
  const XmlDoc empty(xmlNewDoc(Chars("1.0")));
  EXPECT_EQ(m_service.GetXmlNodeSet(empty.get(), "/"), nullptr);
}

TEST_F(GetXmlNodeSet, WhatIsNoNodeSetYieldsNothing) {
  for (const char* xpath : {"//none", "1 + 1", "'text'", "true()", "count(//r)"}) {
    EXPECT_FALSE(Finds("<r/>", xpath)) << xpath;
  }
}

TEST_F(GetXmlNodeSet, BadXPathYieldsNothingAndStaysSilent) {
  const std::string deep(100000, '(');
  testing::internal::CaptureStderr();
  for (const char* xpath : {"", " ", "//", "//a[", "//nobody:a", "//a[@b=']", "\xFF\xFE", "//a)", deep.c_str()}) {
    EXPECT_FALSE(Finds("<r><a/></r>", xpath)) << std::string(xpath).substr(0, 20);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(GetXmlNodeSet, XPathWithUnknownNamesYieldsNothingAndStaysSilent) {
  testing::internal::CaptureStderr();
  for (const char* xpath : {"nobody()", "//a[nobody()]", "no:body()", "$nobody", "$no:body"}) {
    EXPECT_FALSE(Finds("<r><a/></r>", xpath)) << xpath;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(GetXmlNodeSet, ErrorHandlersOfTheHostHearNothing) {
  int heard = 0;
  const auto count = [](void* counter, xmlErrorPtr) { ++*static_cast<int*>(counter); };
  xmlSetStructuredErrorFunc(&heard, count);
  EXPECT_FALSE(Finds("<r/>", "//a["));
  EXPECT_EQ(xmlStructuredErrorContext, &heard) << "the host's handler must stay in place";
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  EXPECT_EQ(heard, 0);
}

using GetNodeAttr = XmlReaders;

TEST_F(GetNodeAttr, ReadsTheAttributeAsItIs) {
  const XmlDoc document = ParseXml("<a token=' x&amp;y '/>");
  EXPECT_EQ(m_service.GetNodeAttr(FindElement(document, "a"), "token", m_out), RET_ONVIF_OK);
  EXPECT_EQ(m_out, " x&y ");
}

TEST_F(GetNodeAttr, EmptyAttributeIsFound) {
  const XmlDoc document = ParseXml("<a token=''/>");
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeAttr(FindElement(document, "a"), "token", m_out), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeAttr, MissingAttributeIsXmlFailAndClearsTheOutput) {
  const XmlDoc document = ParseXml("<a Token='x'/>");
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeAttr(FindElement(document, "a"), "token", m_out), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeAttr, NullNodeIsInvalidAndLeavesTheOutput) {
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeAttr(nullptr, "token", m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_out, "old");
}

TEST_F(GetNodeAttr, NodeThatIsNoElementHasNoAttribute) {
  const XmlDoc document = ParseXml("<a>text</a>");
  EXPECT_EQ(m_service.GetNodeAttr(FindElement(document, "a")->children, "token", m_out), RET_ONVIF_XML_FAIL);
}

using GetNodeContent = XmlReaders;

TEST_F(GetNodeContent, JoinsTheTextsOfTheNodeAndItsDescendantsUntrimmed) {
  const XmlDoc document = ParseXml("<a> one<b>two<![CDATA[<3>]]></b>&lt;four\n</a>");
  EXPECT_EQ(m_service.GetNodeContent(FindElement(document, "a"), m_out), RET_ONVIF_OK);
  EXPECT_EQ(m_out, " onetwo<3><four\n");
}

TEST_F(GetNodeContent, EmptyElementIsFoundAndGivesAnEmptyText) {
  const XmlDoc document = ParseXml("<a/>");
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeContent(FindElement(document, "a"), m_out), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeContent, NullNodeIsInvalidAndLeavesTheOutput) {
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeContent(nullptr, m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_out, "old");
}

/// The first entry below the root of a document.
class GetFirstSubNodeContent : public XmlReaders {
 protected:
  RET_ONVIF First(const std::string& text) {
    m_out = "old";
    const XmlDoc document = ParseXml(text);
    return m_service.GetFirstSubNodeContent(xmlDocGetRootElement(document.get()), m_out);
  }
};

TEST_F(GetFirstSubNodeContent, EmptyFirstChildIsPassedOver) {
  EXPECT_EQ(First("<l><a/><b>text</b></l>"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "text");
}

TEST_F(GetFirstSubNodeContent, FirstChildWithAnyChildEndsTheWalk) {
  EXPECT_EQ(First("<l>\n <a> one </a><b>two</b></l>"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, " one ");
}

TEST_F(GetFirstSubNodeContent, OnlyTheFirstChildOfThatChildIsRead) {
  EXPECT_EQ(First("<l><a><x>1</x><y>2</y></a></l>"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "1");
  EXPECT_EQ(First("<l><a><x/><y>2</y></a><b>3</b></l>"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "") << "an empty element is content too";
}

TEST_F(GetFirstSubNodeContent, NoChildThatHasOneIsXmlFailAndClearsTheOutput) {
  for (const char* text : {"<l/>", "<l>text</l>", "<l><a/><b></b> </l>", "<l><!--c--></l>"}) {
    EXPECT_EQ(First(text), RET_ONVIF_XML_FAIL) << text;
    EXPECT_EQ(m_out, "") << text;
  }
}

TEST_F(GetFirstSubNodeContent, NullNodeIsInvalidAndLeavesTheOutput) {
  m_out = "old";
  EXPECT_EQ(m_service.GetFirstSubNodeContent(nullptr, m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_out, "old");
}

using GetNodeContentByPath = XmlReaders;

TEST_F(GetNodeContentByPath, LeadingBlanksAndTrailingLineFeedStay) {
  EXPECT_EQ(Content("<r><a>  text\n</a></r>", "//a"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "  text\n");
}

TEST_F(GetNodeContentByPath, FirstOfSeveralNodesInDocumentOrderIsRead) {
  EXPECT_EQ(Content("<r><b><a>deep</a></b><a>flat</a></r>", "//a"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "deep");
}

TEST_F(GetNodeContentByPath, EmptyFirstNodeIsNotPassedOver) {
  EXPECT_EQ(Content("<r><a/><a>second</a></r>", "//a"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeContentByPath, ReadsAttributesAndTextsToo) {
  EXPECT_EQ(Content("<r><a b='value'>text</a></r>", "//a/@b"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "value");
  EXPECT_EQ(Content("<r><a>text</a></r>", "//a/text()"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "text");
}

TEST_F(GetNodeContentByPath, MissingNodeIsXmlFailAndClearsTheOutput) {
  EXPECT_EQ(Content("<r/>", "//a"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_out, "");
  EXPECT_EQ(Content("<r/>", "//a["), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeContentByPath, EmptyXPathIsTwoAndLeavesTheOutput) {
  EXPECT_EQ(Content("<r/>", ""), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_out, "old");
}

TEST_F(GetNodeContentByPath, NullDocumentIsInvalidAndComesBeforeTheEmptyXPath) {
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeContentByPath(nullptr, "", m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_service.GetNodeContentByPath(nullptr, "//a", m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_out, "old");
}

using GetNodeAttrByPath = XmlReaders;

TEST_F(GetNodeAttrByPath, ReadsTheFirstNodesAttribute) {
  EXPECT_EQ(Attr("<r><a t='1'/><a t='2'/></r>", "//a", "t"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "1");
  EXPECT_EQ(Attr("<r><a t=''/></r>", "//a", "t"), RET_ONVIF_OK);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeAttrByPath, FirstNodeWithoutTheAttributeIsNotPassedOver) {
  EXPECT_EQ(Attr("<r><a/><a t='2'/></r>", "//a", "t"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeAttrByPath, MissingNodeIsXmlFailAndClearsTheOutput) {
  EXPECT_EQ(Attr("<r/>", "//a", "t"), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_out, "");
}

TEST_F(GetNodeAttrByPath, EmptyXPathIsTwoAlsoWithEmptyAttributeName) {
  EXPECT_EQ(Attr("<r/>", "", ""), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_out, "old");
  EXPECT_EQ(Attr("<r/>", "", "t"), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_out, "old");
}

TEST_F(GetNodeAttrByPath, EmptyAttributeNameIsThreeAndLeavesTheOutput) {
  EXPECT_EQ(Attr("<r t='1'/>", "/r", ""), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_EQ(m_out, "old");
}

TEST_F(GetNodeAttrByPath, NullDocumentIsInvalidAndComesFirst) {
  m_out = "old";
  EXPECT_EQ(m_service.GetNodeAttrByPath(nullptr, "", "", m_out), RET_ONVIF_INVALID_ARG);
  EXPECT_EQ(m_out, "old");
}

}  // namespace
}  // namespace testsupport
