#include "platform/xmlencoding.h"

#include <gtest/gtest.h>

namespace {

using std::string_literals::operator""s;

TEST(XmlTextToUtf8, EncodingIsFoundAndConverted) {
  const struct {
    std::string text;
    std::string utf8;
  } kCases[] = {
      {"", ""},
      {"<a>\xc3\xa9</a>", "<a>\xc3\xa9</a>"},
      {"\xef\xbb\xbf<a>\xc3\xa9</a>", "<a>\xc3\xa9</a>"},
      {"\xff\xfe<\0a\0/\0>\0"s, "<a/>"},
      {"\xfe\xff\0<\0a\0/\0>"s, "<a/>"},
      {"<\0a\0>\0\xe9\0"s, "<a>\xc3\xa9"},
      {"\0<\0a\0>\0\xe9"s, "<a>\xc3\xa9"},
      {"\xff\xfe<\0\x3d\xd8\0\xde"s, "<\xf0\x9f\x98\x80"},
      {"\xff\xfe\0\0<\0\0\0\xe9\0\0\0"s, "<\xc3\xa9"},
      {"\0\0\xfe\xff\0\0\0<\0\0\0\xe9"s, "<\xc3\xa9"},
      {"<\0\0\0a\0\0\0"s, "<a"},
      {"\0\0\0<\0\0\0a"s, "<a"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe9</a>",
       "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xc3\xa9</a>"},
      {"<?xml version=\"1.0\" encoding = \"gb2312\"?><a>\xc4\xe3</a>",
       "<?xml version=\"1.0\" encoding = \"gb2312\"?><a>\xe4\xbd\xa0</a>"},
      {"<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xe9</a>",
       "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xe9</a>"},
  };
  for (const auto& c : kCases) {
    const auto utf8 = XmlTextToUtf8(c.text);
    ASSERT_TRUE(utf8.has_value()) << testing::PrintToString(c.text);
    EXPECT_EQ(*utf8, c.utf8) << testing::PrintToString(c.text);
  }
}

// A document that can be read byte by byte is not in the wide encoding that it claims.
TEST(XmlTextToUtf8, FalseClaimOfAWideEncodingIsTakenForUtf8) {
  for (const char* name : {"UTF-16", "utf-16le", "UTF-32", "UCS-2", "utf8", "UTF-8"}) {
    const std::string text = "<?xml version='1.0' encoding='"s + name + "'?><a>\xc3\xa9</a>";
    EXPECT_EQ(XmlTextToUtf8(text), text) << name;
  }
}

TEST(XmlTextToUtf8, BytesThatDoNotConvertStay) {
  EXPECT_EQ(XmlTextToUtf8("\xff\xfe<\0a\0x"s), "<ax") << "half a unit at the end";
  const std::string start = "<?xml version='1.0' encoding='US-ASCII'?>";
  EXPECT_EQ(XmlTextToUtf8(start + "a\xe9z"), start + "a\xe9z");
}

TEST(XmlTextToUtf8, EncodingThatNobodyKnowsIsNothing) {
  EXPECT_EQ(XmlTextToUtf8("<?xml version='1.0' encoding='x-none'?><a/>"), std::nullopt);
}

TEST(XmlTextToUtf8, WordEncodingElsewhereIsNoDeclaration) {
  for (const char* text : {"<?xml version='1.0'?><a encoding='x-none'/>", "<a>encoding='x-none'</a>",
                           "<?xmlish encoding?><a/>", "<?xml encoding", "<?xml encoding='utf-8"}) {
    EXPECT_EQ(XmlTextToUtf8(text), text);
  }
}

}  // namespace
