#include "camctl/secrets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "camctl/usageerror.h"
#include "tests/camctl/temporary_file.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string ReadFrom(std::string_view content) {
  return ReadPasswordFile(TemporaryFile(content).Path());
}

std::string ErrorFor(std::string_view content) {
  try {
    ReadFrom(content);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(ReadPasswordFile, FirstLineWithoutItsEnd) {
  EXPECT_EQ(ReadFrom("se cret \nsecond"), "se cret ");
  EXPECT_EQ(ReadFrom("secret\r\n"), "secret");
  EXPECT_EQ(ReadFrom("secret"), "secret");
}

TEST(ReadPasswordFile, EmptyFirstLineIsRefused) {
  EXPECT_THAT(ErrorFor(""), HasSubstr("its first line is empty"));
  EXPECT_THAT(ErrorFor("\nsecret\n"), HasSubstr("its first line is empty"));
  EXPECT_THAT(ErrorFor("\r\n"), HasSubstr("its first line is empty"));
}

TEST(ReadPasswordFile, LongestPassword) {
  const std::string longest(1024, 'x');
  EXPECT_EQ(ReadFrom(longest), longest);
  EXPECT_EQ(ReadFrom(longest + "\nmore"), longest);
  const std::string error = ErrorFor(longest + "x");
  EXPECT_THAT(error, HasSubstr("too long"));
  EXPECT_THAT(error, Not(HasSubstr("xxxx")));
  EXPECT_THAT(ErrorFor(longest + "x\n"), HasSubstr("too long"));
}

TEST(ReadPasswordFile, UnreadableFileSaysWhy) {
  try {
    ReadPasswordFile("/nonexistent/pw");
    FAIL() << "a file that does not exist was read";
  } catch (const UsageError& error) {
    EXPECT_STREQ(error.what(), "--password-file /nonexistent/pw: cannot be read: No such file or directory");
  }
  EXPECT_THROW(ReadPasswordFile(testing::TempDir()), UsageError);
}

TEST(TakeEnvironmentPassword, TakesItOutOfTheEnvironment) {
  setenv(kPasswordVariable, "secret", 1);
  EXPECT_EQ(TakeEnvironmentPassword(), "secret");
  EXPECT_EQ(getenv(kPasswordVariable), nullptr);
  EXPECT_FALSE(TakeEnvironmentPassword().has_value());
}

TEST(TakeEnvironmentPassword, EmptyOneIsAPassword) {
  setenv(kPasswordVariable, "", 1);
  EXPECT_EQ(TakeEnvironmentPassword(), "");
}

TEST(HidePassword, EachOccurrence) {
  EXPECT_EQ(HidePassword("/a?pw=secret&again=secret", "secret"), "/a?pw=********&again=********");
}

TEST(HidePassword, AlsoWhereItIsEncodedAsInAddresses) {
  const std::pair<const char*, const char*> rows[] = {
      {"p@ss word", "p%40ss%20word"}, {"p@ss word", "p@ss+word"},
      {"p@ss word", "p%40ss word"},   {"p@ss word", "%70%40%73%73%20%77%6f%72%64"},
      {"a/b?c=d", "a%2fb%3Fc%3dd"},   {"50%25%", "50%25%"},
      {"50%25%", "50%2525%25"},       {"50%25%", "50%25%25"},
      {"50%25%", "50%2525%"},         {"gr\xC3\xBCn", "gr%C3%bcn"}};
  for (const auto& [password, written] : rows) {
    EXPECT_EQ(HidePassword(std::string("/live?pw=") + written + "&again=" + written, password).substr(0, 24),
              "/live?pw=********&again=")
        << written;
    EXPECT_EQ(HidePassword(written, password).substr(0, 8), "********") << written;
  }
}

TEST(HidePassword, WhatOnlyLooksLikeItStays) {
  for (const char* const other : {"p%4", "p%", "p%40ss%2", "p%40ss%2Bword", "p%4@ss word", "p%+4ss word", "p@ss%word",
                                  "p@ss-word", "p@ss wor", "p+ss word"}) {
    EXPECT_EQ(HidePassword(other, "p@ss word"), other);
  }
  EXPECT_EQ(HidePassword("a+b+c", "a b+d"), "a+b+c");
  EXPECT_EQ(HidePassword("tab%9zz", "tab\tz"), "tab%9zz") << "one digit is too few";
}

TEST(HidePassword, ShortOnesAreLeftAlone) {
  EXPECT_EQ(HidePassword("/a/abc", "abc"), "/a/abc");
  EXPECT_EQ(HidePassword("/a/abc", ""), "/a/abc");
}

}  // namespace
}  // namespace camctl
