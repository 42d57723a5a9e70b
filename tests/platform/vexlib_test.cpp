#include "platform/vexlib.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/child_process.h"
#include "tests/support/process_figures.h"

namespace {

TEST(ConvListToStr, ItemsJoinedBySeparator) {
  EXPECT_EQ(ConvListToStr({}, ","), "");
  EXPECT_EQ(ConvListToStr({"a"}, ","), "a");
  EXPECT_EQ(ConvListToStr({"a", "b", "c"}, ", "), "a, b, c");
  EXPECT_EQ(ConvListToStr({"a", "b"}, ""), "ab");
  EXPECT_EQ(ConvListToStr({"", "", ""}, ","), ",,");
  EXPECT_EQ(ConvListToStr({"a,b", "c"}, ","), "a,b,c");
}

TEST(IsQarnPreset, NamesOfTheServer) {
  const struct {
    const char* name;
    int number;
  } kCases[] = {{"qarn0", 0}, {"qarn1", 1}, {"qarn12", 12}, {"qarn100", 100}, {"qarn2147483647", 2147483647}};
  for (const auto& c : kCases) {
    int number = -7;
    EXPECT_NE(IsQarnPreset(c.name, number), 0) << c.name;
    EXPECT_EQ(number, c.number) << c.name;
  }
}

TEST(IsQarnPreset, NearMissesLeaveTheNumber) {
  for (const char* name : {"",
                           "qarn",
                           "qar1",
                           "qarn 1",
                           " qarn1",
                           "qarn1 ",
                           "qarn+1",
                           "qarn-1",
                           "qarn-0",
                           "qarn00",
                           "qarn01",
                           "QARN1",
                           "Qarn1",
                           "qarn1a",
                           "qarn1.0",
                           "qarn0x1",
                           "xqarn1",
                           "qarnqarn1",
                           "qarn2147483648",
                           "qarn99999999999999999999",
                           "qarn\xd9\xa1",
                           "qarn1\n"}) {
    int number = -7;
    EXPECT_EQ(IsQarnPreset(name, number), 0) << name;
    EXPECT_EQ(number, -7) << name;
  }
  int number = -7;
  EXPECT_EQ(IsQarnPreset(std::string("qarn1\0", 6), number), 0) << "a zero byte is part of the name";
}

TEST(VexlibUnicodeIsUTF8, ValidTexts) {
  for (const char* text : {"", "plain", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
                           "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf",
                           "a\xe4\xbd\xa0"
                           "b"}) {
    EXPECT_NE(VexlibUnicodeIsUTF8(text), 0) << testing::PrintToString(text);
  }
  EXPECT_NE(VexlibUnicodeIsUTF8((std::string(5000, 'x') + "\xe4\xbd\xa0").c_str()), 0) << "longer than any buffer";
}

TEST(VexlibUnicodeIsUTF8, InvalidTexts) {
  const struct {
    const char* text;
    const char* why;
  } kCases[] = {
      {"\x80", "continuation alone"},
      {"\xbf"
       "a",
       "continuation first"},
      {"\xc0\x80", "overlong zero"},
      {"\xc1\xbf", "overlong, two bytes"},
      {"\xe0\x9f\xbf", "overlong, three bytes"},
      {"\xf0\x8f\xbf\xbf", "overlong, four bytes"},
      {"\xed\xa0\x80", "first surrogate"},
      {"\xed\xbf\xbf", "last surrogate"},
      {"\xf4\x90\x80\x80", "above U+10FFFF"},
      {"\xf5\x80\x80\x80", "lead byte of nothing"},
      {"\xf8\x88\x80\x80\x80", "five bytes"},
      {"\xff", "never a byte of UTF-8"},
      {"\xc3", "truncated, two bytes"},
      {"\xe4\xbd", "truncated, three bytes"},
      {"\xf0\x9f\x98", "truncated, four bytes"},
      {"\xe4\xbd"
       "a",
       "interrupted"},
      {"\xc4\xe3\xba\xc3", "GBK"},
      {"caf\xe9", "Latin-1"},
  };
  for (const auto& c : kCases) EXPECT_EQ(VexlibUnicodeIsUTF8(c.text), 0) << c.why;
  EXPECT_EQ(VexlibUnicodeIsUTF8(nullptr), 0);
  EXPECT_EQ(VexlibUnicodeIsUTF8((std::string(5000, 'x') + "\xe4").c_str()), 0) << "longer than any buffer";
}

/// A folder with an executable script in it, gone with the test.
class VexlibExecTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = (std::filesystem::temp_directory_path() / "vexlib exec-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    m_folder = folder;
    m_output = folder + "/output";
    setenv("VEXLIB_TEST_OUTPUT", m_output.c_str(), 1);
  }

  void TearDown() override {
    unsetenv("VEXLIB_TEST_OUTPUT");
    std::filesystem::remove_all(m_folder);
  }

  std::string Script(const std::string& text, mode_t mode = 0755) {
    const std::string path = m_folder + "/a script";
    std::ofstream(path) << "#!/bin/sh\n" << text << "\n";
    chmod(path.c_str(), mode);
    return path;
  }

  std::string Output() const {
    std::ifstream file(m_output);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string m_folder;
  std::string m_output;
};

int Exec(const std::string& program) {
  return VexlibExec(program.c_str(), nullptr, nullptr, nullptr, nullptr);
}

TEST_F(VexlibExecTest, ExitStatusIsTheResult) {
  EXPECT_EQ(Exec(Script("exit 0")), 0);
  EXPECT_EQ(Exec(Script("exit 1")), 1);
  EXPECT_EQ(Exec(Script("exit 255")), 255);
}

TEST_F(VexlibExecTest, WhatCannotBeStartedIsMinusOne) {
  EXPECT_EQ(Exec(m_folder + "/none"), -1);
  EXPECT_EQ(Exec(m_folder), -1);
  EXPECT_EQ(Exec(""), -1);
  EXPECT_EQ(Exec(Script("exit 0", 0644)), -1);
}

TEST_F(VexlibExecTest, ProgramIsNotSearchedFor) {
  EXPECT_EQ(Exec("true"), -1);
}

TEST_F(VexlibExecTest, ProgramEndedByASignalIsMinusOne) {
  EXPECT_EQ(Exec(Script("kill -9 $$")), -1);
}

TEST_F(VexlibExecTest, ArgumentsArriveAsTheyAreWithoutAShell) {
  const std::string script = Script("for a in \"$@\"; do echo \"[$a]\"; done >\"$VEXLIB_TEST_OUTPUT\"");
  EXPECT_EQ(VexlibExec(script.c_str(), "; exit 9", "$HOME *", "", "a\nb"), 0);
  EXPECT_EQ(Output(), "[; exit 9]\n[$HOME *]\n[]\n[a\nb]\n");
}

TEST_F(VexlibExecTest, ArgumentsEndAtTheFirstNull) {
  const std::string script = Script("echo $# >\"$VEXLIB_TEST_OUTPUT\"");
  EXPECT_EQ(VexlibExec(script.c_str(), "a", nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(Output(), "1\n");
  EXPECT_EQ(Exec(script), 0);
  EXPECT_EQ(Output(), "0\n");
}

TEST_F(VexlibExecTest, ProgramHasEndedWhenTheCallReturns) {
  EXPECT_EQ(Exec(Script("sleep 0.05; echo done >\"$VEXLIB_TEST_OUTPUT\"")), 0);
  EXPECT_EQ(Output(), "done\n");
}

TEST_F(VexlibExecTest, NothingStaysBehind) {
  const int before = testsupport::OpenDescriptors();
  const std::string script = Script("exit 0");
  EXPECT_EQ(testsupport::RunInChild([&script] {
              for (int i = 0; i < 20; ++i) Exec(script);
              return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD ? 0 : 1;
            }),
            0)
      << "an unwaited child";
  EXPECT_EQ(testsupport::OpenDescriptors(), before);
}

// A host that ignores SIGCHLD has the system throw the status away.
TEST_F(VexlibExecTest, StatusThatTheHostThrowsAwayIsMinusOne) {
  const std::string script = Script("exit 0");
  EXPECT_EQ(testsupport::RunInChild([&script] {
              signal(SIGCHLD, SIG_IGN);
              return Exec(script) == -1 ? 0 : 1;
            }),
            0);
}

}  // namespace
