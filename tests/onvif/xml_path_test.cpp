// Paths of element names, against the XPath of libxml2.

#include "onvif/xmlpath.h"

#include <gmock/gmock.h>
#include <libxml/xpathInternals.h>

#include <array>
#include <random>

#include "onvif/onvifservice.h"
#include "onvif/xmlwalk.h"
#include "tests/onvif/service_test.h"

namespace testsupport {
namespace {

constexpr std::array<XmlPath::PREFIX, 2> kPrefixes = {{{"p", "urn:one"}, {"q", "urn:two"}}};

/// What libxml2 finds, with the same prefixes.
std::vector<xmlNode*> FindByXPath(xmlDoc* document, const std::string& path) {
  const XmlXPathContext context(xmlXPathNewContext(document));
  for (const XmlPath::PREFIX& prefix : kPrefixes) {
    xmlXPathRegisterNs(context.get(), XmlChars(std::string(prefix.strPrefix)), XmlChars(prefix.pUri));
  }
  const XmlXPathObject found(xmlXPathEvalExpression(XmlChars(path), context.get()));
  if (!found || xmlXPathNodeSetIsEmpty(found->nodesetval)) return {};
  const XmlNodes nodes(*found);
  return {nodes.begin(), nodes.end()};
}

std::string Dump(xmlDoc* document) {
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document, &text, &size);
  const XmlText owned(text);
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

/// Random trees of few names, so that they nest in themselves, and random paths over the same names.
class Generator {
 public:
  explicit Generator(unsigned seed) : m_random(seed) {}

  XmlDoc Document() {
    XmlDoc document(xmlNewDoc(XmlChars("1.0")));
    m_left = 60;
    // Comments beside the root: they are siblings of it.
    xmlAddChild(reinterpret_cast<xmlNode*>(document.get()), xmlNewComment(XmlChars("before")));
    xmlNode* const root = xmlNewNode(nullptr, XmlChars(Name()));
    xmlAddChild(reinterpret_cast<xmlNode*>(document.get()), root);
    // The document's own prefixes are not those of the paths, and one namespace has two.
    m_spaces = {nullptr, xmlNewNs(root, XmlChars("urn:one"), XmlChars("q")),
                xmlNewNs(root, XmlChars("urn:two"), XmlChars("p")), xmlNewNs(root, XmlChars("urn:one"), XmlChars("z"))};
    xmlSetNs(root, m_spaces[Below(4)]);
    Fill(root, 0);
    return document;
  }

  std::string Path() {
    std::string path = Step();
    for (unsigned steps = Below(5); steps > 0; --steps) path += Below(2) == 0 ? Step() : Step().substr(1);
    return path;
  }

  /// "//p:a"
  std::string Step() {
    const std::string prefix = std::array<const char*, 4>{"", "p:", "q:", "p:"}[Below(4)];
    return "//" + prefix + Name();
  }

 private:
  unsigned Below(unsigned end) { return static_cast<unsigned>(m_random() % end); }

  const char* Name() { return std::array<const char*, 4>{"a", "ab", "c-1.x_", "A"}[Below(4)]; }

  void Fill(xmlNode* parent, int depth) {
    for (unsigned children = Below(5); children > 0 && m_left > 0; --children) {
      if (Below(5) == 0) {
        AddOther(parent);
        continue;
      }
      --m_left;
      xmlNode* const child = xmlNewChild(parent, nullptr, XmlChars(Name()), nullptr);
      xmlSetNs(child, m_spaces[Below(4)]);
      xmlSetProp(child, XmlChars("a"), XmlChars("attribute"));
      if (depth < 8) Fill(child, depth + 1);
    }
  }

  /// What is no element, with the name of one where it has a name.
  void AddOther(xmlNode* parent) {
    switch (Below(4)) {
      case 0:
        xmlAddChild(parent, xmlNewText(XmlChars("a")));
        return;
      case 1:
        xmlAddChild(parent, xmlNewComment(XmlChars("a")));
        return;
      case 2:
        xmlAddChild(parent, xmlNewPI(XmlChars("a"), XmlChars("b")));
        return;
      default:
        xmlAddChild(parent, xmlNewCDataBlock(parent->doc, XmlChars("a"), 1));
    }
  }

  std::mt19937 m_random;
  int m_left = 0;
  std::array<xmlNs*, 4> m_spaces{};
};

TEST(XmlPath, FindsWhatXPathFindsInTheSameOrder) {
  int hits = 0;
  for (unsigned seed = 0; seed < 1000; ++seed) {
    Generator generator(seed);
    const XmlDoc document = generator.Document();
    for (int i = 0; i < 10; ++i) {
      const std::string path = generator.Path();
      const std::optional<XmlPath> parsed = XmlPath::Parse(path, kPrefixes);
      ASSERT_TRUE(parsed) << "seed " << seed << ", path " << path;
      const std::vector<xmlNode*> found = parsed->Find(document.get());
      ASSERT_EQ(found, FindByXPath(document.get(), path)) << "seed " << seed << ", path " << path << "\n"
                                                          << Dump(document.get());
      ASSERT_EQ(parsed->First(document.get()), found.empty() ? nullptr : found.front()) << "seed " << seed << path;
      if (!found.empty()) ++hits;
    }
  }
  EXPECT_GT(hits, 1000) << "too few of the paths find anything";
}

TEST(XmlPath, PathsThatAreLookedForAtOnceFindWhatEachAloneFinds) {
  int hits = 0;
  for (unsigned seed = 0; seed < 1000; ++seed) {
    Generator generator(seed);
    const XmlDoc document = generator.Document();
    for (int i = 0; i < 5; ++i) {
      const std::array<std::string, 4> paths = {generator.Path(), generator.Path(), generator.Step(), generator.Path()};
      const std::optional<XmlPath> together = XmlPath::Parse({paths[0], paths[1], paths[2], paths[3]}, kPrefixes);
      ASSERT_TRUE(together) << "seed " << seed;
      const std::vector<XmlPath::NODES> found = together->FindEach(document.get());
      ASSERT_THAT(found, testing::SizeIs(paths.size()));
      for (std::size_t path = 0; path < paths.size(); ++path) {
        ASSERT_EQ(found[path], FindByXPath(document.get(), paths[path]))
            << "seed " << seed << ", path " << paths[path] << "\n"
            << Dump(document.get());
        if (!found[path].empty()) ++hits;
      }
    }
  }
  EXPECT_GT(hits, 1000) << "too few of the paths find anything";
}

TEST(XmlPath, BelowTheOutermostElementsStandsWhatTheWholePathFinds) {
  int hits = 0;
  for (unsigned seed = 0; seed < 1000; ++seed) {
    Generator generator(seed);
    const XmlDoc document = generator.Document();
    for (int i = 0; i < 10; ++i) {
      const std::string head = generator.Step();
      const std::array<std::string, 2> rests = {generator.Path(), generator.Path()};
      const XmlPath::NODES outermost = XmlPath::Outermost(XmlPath::Parse(head, kPrefixes)->Find(document.get()));
      const std::optional<XmlPath> below = XmlPath::Parse({rests[0], rests[1]}, kPrefixes);
      const std::vector<XmlPath::NODES> found = below->FindEachBelow(outermost);
      ASSERT_THAT(found, testing::SizeIs(rests.size()));
      for (std::size_t rest = 0; rest < rests.size(); ++rest) {
        const std::string path = head + rests[rest];
        ASSERT_EQ(found[rest], FindByXPath(document.get(), path)) << "seed " << seed << ", path " << path << "\n"
                                                                  << Dump(document.get());
        if (!found[rest].empty()) ++hits;
      }
    }
  }
  EXPECT_GT(hits, 1000) << "too few of the paths find anything";
}

/// Every node and attribute of a document.
std::vector<xmlNode*> AllNodes(xmlNode* first) {
  std::vector<xmlNode*> all;
  for (xmlNode* node = first; node != nullptr; node = node->next) {
    all.push_back(node);
    if (node->type != XML_ELEMENT_NODE) continue;
    for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
      all.push_back(reinterpret_cast<xmlNode*>(attribute));
    }
    const std::vector<xmlNode*> below = AllNodes(node->children);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

std::string TextOrNone(const xmlChar* text) {
  return text == nullptr ? "(none)" : reinterpret_cast<const char*>(text);
}

TEST(XmlPath, TextsAreThoseOfLibxml2) {
  OnvifServiceBase service;
  const auto expectSame = [&service](xmlNode* node) {
    std::string text;
    const RET_ONVIF content = service.GetNodeContent(node, text);
    EXPECT_EQ(content == RET_ONVIF_OK ? text : "(none)", TextOrNone(XmlText(xmlNodeGetContent(node)).get()));
    const RET_ONVIF attribute = service.GetNodeAttr(node, "a", text);
    EXPECT_EQ(attribute == RET_ONVIF_OK ? text : "(none)", TextOrNone(XmlText(xmlGetProp(node, XmlChars("a"))).get()));
  };
  for (unsigned seed = 0; seed < 300; ++seed) {
    const XmlDoc document = Generator(seed).Document();
    for (xmlNode* node : AllNodes(document->children)) expectSame(node);
  }
  const XmlDoc document = ParseXml(
      "<r a=''><b/><b></b><b>one</b><b> <c/> </b><b><![CDATA[two]]></b><b>three<![CDATA[four]]></b><b>a&amp;b</b>"
      "<b a='&lt;x' z='y'>a<!-- c -->b</b><x:b xmlns:x='urn:one' x:a='other' a='mine'>\xC3\xA9</x:b></r>");
  for (xmlNode* node : AllNodes(document->children)) expectSame(node);
}

TEST(XmlPath, ParsedDocumentWithDefaultNamespacesIsSearchedByNamespace) {
  const XmlDoc document = ParseXml(
      "<a><a xmlns='urn:one'><b/><b xmlns=''/><x:b xmlns:x='urn:two'><b/></x:b></a><p:a xmlns:p='urn:two'/></a>");
  for (const char* path : {"//a", "//p:a", "//q:a", "//p:a/p:b", "//p:a//p:b", "//p:a/b", "//a//b", "//a/q:a",
                           "//q:b/p:b", "//a/a", "//a//q:b//p:b"}) {
    const std::optional<XmlPath> parsed = XmlPath::Parse(path, kPrefixes);
    ASSERT_TRUE(parsed) << path;
    EXPECT_EQ(parsed->Find(document.get()), FindByXPath(document.get(), path)) << path;
  }
  EXPECT_THAT(XmlPath::Parse("//p:a//p:b", kPrefixes)->Find(document.get()), testing::SizeIs(2));
}

TEST(XmlPath, EachNodeIsFoundOnceHoweverManyWaysLeadToIt) {
  const XmlDoc document = ParseXml("<a><a><a><b/></a></a></a>");
  EXPECT_THAT(XmlPath::Parse("//a//a//b", kPrefixes)->Find(document.get()), testing::SizeIs(1));
  EXPECT_THAT(XmlPath::Parse("//a//b", kPrefixes)->Find(document.get()), testing::SizeIs(1));
  EXPECT_THAT(XmlPath::Parse("//a//a//a//a//b", kPrefixes)->Find(document.get()), testing::IsEmpty());
}

TEST(XmlPath, DocumentWithoutElementsHoldsNothing) {
  const XmlDoc document(xmlNewDoc(XmlChars("1.0")));
  EXPECT_THAT(XmlPath::Parse("//a", kPrefixes)->Find(document.get()), testing::IsEmpty());
}

TEST(XmlPath, OtherFormsAreDeclined) {
  for (const char* path :
       {"",        "/",           "//",        "a",        "/a",          "p:a",        "//a[1]",     "//a[@x='1']",
        "//@a",    "//a/@b",      "//*",       "//p:*",    "//a|//b",     "//a//",      "//a/",       "///a",
        "//a///b", "//./a",       "//..",      "//text()", "//node()",    "//a/text()", "count(//a)", "//child::a",
        "//p:",    "//:a",        "//p:q:a",   "//nope:a", "//a//nope:b", "//P:a",      "//1a",       "//-a",
        "//.a",    "//p:1a",      "// a",      "//a ",     " //a",        "//a b",      "//a\n",      "//\xC3\xA9",
        "//a\xFF", "string(//a)", "//a//b = 1"}) {
    EXPECT_FALSE(XmlPath::Parse(path, kPrefixes)) << path;
  }
  EXPECT_FALSE(XmlPath::Parse(std::string_view("//a\0", 4), kPrefixes)) << "a NUL byte";
}

TEST(XmlPath, NamesMayHoldDigitsDotsDashesAndUnderscores) {
  const XmlDoc document = ParseXml("<r><_1.a-b/><Z9/><div/><and/></r>");
  for (const char* path : {"//_1.a-b", "//Z9", "//r/_1.a-b", "//div", "//r//and"}) {
    const std::optional<XmlPath> parsed = XmlPath::Parse(path, kPrefixes);
    ASSERT_TRUE(parsed) << path;
    EXPECT_THAT(parsed->Find(document.get()), testing::SizeIs(1)) << path;
    EXPECT_EQ(parsed->Find(document.get()), FindByXPath(document.get(), path)) << path;
  }
}

TEST(XmlPath, ThirtyTwoStepsAreTheMost) {
  std::string start;
  std::string end;
  for (int i = 0; i < 40; ++i) {
    start += "<a>";
    end += "</a>";
  }
  const XmlDoc document = ParseXml(start + end);
  for (const char* separator : {"/", "//"}) {
    std::string path = "//a";
    for (int i = 1; i < 32; ++i) path += separator + std::string("a");
    const std::optional<XmlPath> parsed = XmlPath::Parse(path, kPrefixes);
    ASSERT_TRUE(parsed) << path;
    EXPECT_THAT(parsed->Find(document.get()), testing::SizeIs(9)) << path;
    EXPECT_FALSE(XmlPath::Parse(path + separator + "a", kPrefixes)) << separator;
    EXPECT_FALSE(XmlPath::Parse({path, "//a"}, kPrefixes)) << "together, " << separator;
  }
}

/// The look-ups of a service client: paths of both kinds give the same nodes.
using NodeSet = ServiceTest<OnvifServiceBase>;

TEST_F(NodeSet, DeclinedPathsAreStillEvaluated) {
  const XmlDoc document = ParseXml("<r><b t='1'/><b t='2'/></r>");
  std::string value;
  EXPECT_EQ(m_service.GetNodeAttrByPath(document.get(), "//b[2]", "t", value), RET_ONVIF_OK);
  EXPECT_EQ(value, "2");
  EXPECT_EQ(m_service.GetNodeContentByPath(document.get(), "//b[2]/@t", value), RET_ONVIF_OK);
  EXPECT_EQ(value, "2");
}

TEST_F(NodeSet, PathOfMoreThanThirtyTwoStepsIsStillEvaluated) {
  std::string start;
  std::string end;
  std::string path;
  for (int i = 0; i < 33; ++i) {
    start += "<a>";
    end += "</a>";
    path += i == 0 ? "//a" : "/a";
  }
  const XmlDoc document = ParseXml(start + "deep" + end);
  std::string value;
  EXPECT_EQ(m_service.GetNodeContentByPath(document.get(), path, value), RET_ONVIF_OK);
  EXPECT_EQ(value, "deep");
}

TEST_F(NodeSet, PrefixThatOnlyTheRootDeclaresIsStillUnderstood) {
  const XmlDoc document = ParseXml("<v:r xmlns:v='urn:vendor'><v:b>text</v:b></v:r>");
  std::string value;
  EXPECT_EQ(m_service.GetNodeContentByPath(document.get(), "//v:b", value), RET_ONVIF_OK);
  EXPECT_EQ(value, "text");
}

}  // namespace
}  // namespace testsupport
