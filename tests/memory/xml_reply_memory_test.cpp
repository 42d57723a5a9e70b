// Parsing an answer while libxml2 gets no memory.

#include <gtest/gtest.h>

#include <string>

#include "platform/xmlreply.h"
#include "tests/memory/every_failure.h"
#include "tests/support/envelope.h"
#include "tests/support/xml_leaks.h"

namespace testsupport {
namespace {

/// A document as text; "(none)" without one.
std::string Text(const OwnedXmlDoc& document) {
  if (!document) return "(none)";
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &text, &size);
  const OwnedXmlText owned(text);
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

/// Every kind of content: namespaces, attributes, entities, CDATA, comments, text long enough to come in pieces.
std::string RichAnswer() {
  std::string list;
  for (int number = 0; number < 20; ++number) {
    list += "<tt:Item xmlns:x" + std::to_string(number) + "='urn:x' token='a&amp;b' x" + std::to_string(number) +
            ":y='longer than a short text' empty='' other=\"\">text &lt;" + std::to_string(number) + "&#38;</tt:Item>";
  }
  return Envelope("<trt:R xml:lang='en' xmlns:none=''><!-- note --><?pi x?><![CDATA[<raw>]]>" + list + "<tt:Long>" +
                  std::string(1500, 'x') + "</tt:Long></trt:R>");
}

TEST(XmlReplyMemory, AnswerThatIsNotReadWholeIsNotTakenForOne) {
  const std::string answer = RichAnswer();
  const std::string whole = Text(ParseXmlReply(answer).pDoc);
  FailEveryAllocation([&](long nth, Failing which) {
    const long before = OutstandingXmlAllocations();
    XML_REPLY reply;
    bool struck = false;
    {
      const FailingXmlMemory failing(nth, which);
      reply = ParseXmlReply(answer);
      struck = failing.Struck();
    }
    if (reply.eResult == XML_REPLY_RESULT::Parsed) {
      EXPECT_EQ(Text(reply.pDoc), whole);
    } else {
      EXPECT_EQ(reply.eResult, XML_REPLY_RESULT::OutOfMemory);
      EXPECT_EQ(reply.pDoc, nullptr);
    }
    reply.pDoc.reset();
    EXPECT_EQ(OutstandingXmlAllocations(), before);
    return struck;
  });
  EXPECT_EQ(Text(ParseXmlReply(answer).pDoc), whole);
}

TEST(XmlReplyMemory, EmptyNamespaceOfTheCameraIsNoLackOfMemory) {
  for (const char* text :
       {"<a xmlns:b=\"\"/>", "<a xmlns:b=''/>", "<a xmlns:b = \n''/>", "<a xmlns:b=''><b xmlns:c=''/></a>"}) {
    EXPECT_EQ(ParseXmlReply(text).eResult, XML_REPLY_RESULT::Parsed) << text;
  }
}

TEST(XmlReplyMemory, NothingIsSaidAboutItOnStandardError) {
  testing::internal::CaptureStderr();
  FailEveryAllocation([](long nth, Failing which) {
    const FailingXmlMemory failing(nth, which);
    ParseXmlReply("<a b='c'><!-- d -->text</a>");
    return failing.Struck();
  });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace testsupport
