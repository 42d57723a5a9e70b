#include "camctl/text.h"

#include <gtest/gtest.h>

namespace camctl {
namespace {

using namespace std::string_literals;

TEST(OneLine, ControlCharactersBecomeBlanks) {
  EXPECT_EQ(OneLine("a\nb\tc\x1b[31md\x7f"), "a b c [31md ");
  EXPECT_EQ(OneLine("x\0y"s), "x y");
}

TEST(OneLine, ControlCharactersOfTwoBytesBecomeBlanks) {
  EXPECT_EQ(OneLine("a\xc2\x9b"
                    "31mb"),
            "a 31mb");
}

TEST(OneLine, Utf8StaysAsItIs) {
  EXPECT_EQ(OneLine("K\xc3\xb6ln \xe2\x82\xac \xf0\x9f\x93\xb7"), "K\xc3\xb6ln \xe2\x82\xac \xf0\x9f\x93\xb7");
}

TEST(OneLine, BytesThatAreNoUtf8BecomeQuestionMarks) {
  EXPECT_EQ(OneLine("a\xff"
                    "b\xc3"),
            "a?b?");
  EXPECT_EQ(OneLine("\xe2\x82"), "??");
}

TEST(Shortened, CutsBetweenCharacters) {
  EXPECT_EQ(Shortened("abcdefgh", 8), "abcdefgh");
  EXPECT_EQ(Shortened("abcdefghi", 8), "abcde...");
  EXPECT_EQ(Shortened("abcd\xc3\xb6xyz", 8), "abcd...");
}

TEST(ReplaceAll, ReplacementThatHoldsThePatternEnds) {
  EXPECT_EQ(ReplaceAll("aXa", "a", "aa"), "aaXaa");
  EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
}

TEST(Padded, CountsCharactersNotBytes) {
  EXPECT_EQ(PaddedRight("K\xc3\xb6ln", 6), "K\xc3\xb6ln  ");
  EXPECT_EQ(PaddedLeft("554", 6), "   554");
  EXPECT_EQ(PaddedLeft("1234567", 6), "1234567");
}

TEST(HostPort, BareIpv6AddressGetsBrackets) {
  EXPECT_EQ(HostPort("cam", 80), "cam:80");
  EXPECT_EQ(HostPort("fe80::1", 80), "[fe80::1]:80");
  EXPECT_EQ(HostPort("[fe80::1]", 80), "[fe80::1]:80");
}

TEST(Duration, SecondsFromOneSecondOn) {
  EXPECT_EQ(Duration(0.04), "0.0 ms");
  EXPECT_EQ(Duration(12.34), "12.3 ms");
  EXPECT_EQ(Duration(10040), "10.04 s");
}

}  // namespace
}  // namespace camctl
