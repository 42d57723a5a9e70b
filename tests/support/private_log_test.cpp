#include "tests/support/private_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/support/child_process.h"
#include "tests/support/process_figures.h"
#include "tests/support/test_locale.h"
#include "tests/support/unique_fd.h"

namespace testsupport {
namespace {

class PrivateLog : public testing::Test {
 protected:
  void SetUp() override {
    if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
    ClearLog();
  }
};

/// The device number of a path as a process outside of the namespace sees it; 0 when it has none.
dev_t FileSystemOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

// The parent (CTest or a shell) is in the machine's own namespace.
TEST_F(PrivateLog, LogFolderAndDevicesAreNotTheMachinesOwn) {
  const std::string outside = "/proc/" + std::to_string(getppid()) + "/root";
  if (FileSystemOf(outside + "/var/log") == 0) GTEST_SKIP() << "the parent's file system cannot be looked at here";
  EXPECT_NE(FileSystemOf("/var/log"), FileSystemOf(outside + "/var/log"));
  EXPECT_NE(FileSystemOf("/dev"), FileSystemOf(outside + "/dev"));
}

TEST_F(PrivateLog, LogIsEmptyUntilWrittenAndAfterClearing) {
  EXPECT_THAT(LogLines(), testing::IsEmpty());
  std::ofstream(kLogPath) << "first\nsecond";
  EXPECT_THAT(LogLines(), testing::ElementsAre("first", "second"));
  EXPECT_EQ(LogText(), "first\nsecond");
  ClearLog();
  EXPECT_FALSE(std::filesystem::exists(kLogPath));
}

TEST_F(PrivateLog, SyslogMessagesComeWithPriorityAndTextOnce) {
  syslog(LOG_ERR, "first: %d", 1);
  syslog(LOG_DAEMON | LOG_INFO, "second");
  EXPECT_EQ(SyslogMessages(), (std::vector<SyslogMessage>{{11, "first: 1"}, {30, "second"}}));
  EXPECT_THAT(SyslogMessages(), testing::IsEmpty());
}

// The system queues ten datagrams: without a reader the eleventh call would wait for ever.
TEST_F(PrivateLog, ThousandSyslogMessagesDoNotBlock) {
  for (int i = 0; i < 1000; ++i) syslog(LOG_ERR, "%d", i);
  const std::vector<SyslogMessage> messages = SyslogMessages();
  ASSERT_EQ(messages.size(), 1000u);
  EXPECT_EQ(messages.back().text, "999");
}

TEST_F(PrivateLog, SyslogOfAChildIsRead) {
  EXPECT_EQ(RunInChild([] {
              syslog(LOG_ERR, "from the child");
              return 7;
            }),
            7);
  EXPECT_EQ(SyslogMessages(), (std::vector<SyslogMessage>{{11, "from the child"}}));
}

TEST_F(PrivateLog, UsualDevicesStillWork) {
  std::ifstream random("/dev/urandom", std::ios::binary);
  EXPECT_NE(random.get(), std::ifstream::traits_type::eof());
  std::ofstream null("/dev/null");
  null << "text" << std::flush;
  EXPECT_TRUE(null.good());
}

TEST(ChildProcess, SignalThatEndedTheChildIsTold) {
  EXPECT_EQ(RunInChild([]() -> int { std::_Exit(raise(SIGKILL)); }), -SIGKILL);
  EXPECT_EQ(RunInChild([]() -> int { throw std::runtime_error("any"); }), 255);
}

TEST(ChildProcess, ChildrenThatFailAreNotCounted) {
  EXPECT_EQ(Children(4, [](int index) { return index == 2 ? 1 : 0; }).Succeeded(), 3);
}

TEST(TestZone, LocalTimeIsHalfAnHourBesideUtc) {
  const std::time_t noon = 1700000000 - 1700000000 % 86400 + 43200;
  std::tm local{};
  localtime_r(&noon, &local);
  EXPECT_EQ(local.tm_hour, 17);
  EXPECT_EQ(local.tm_min, 30);
}

TEST(CommaLocale, NumbersHaveACommaWhileItLives) {
  {
    const CommaLocale locale;
    if (!locale.Reason().empty()) GTEST_SKIP() << locale.Reason();
    EXPECT_STREQ(localeconv()->decimal_point, ",");
  }
  EXPECT_STREQ(localeconv()->decimal_point, ".");
}

TEST(OpenDescriptors, OpenedOneIsCounted) {
  const int before = OpenDescriptors();
  const UniqueFd copy(dup(0));
  EXPECT_EQ(OpenDescriptors(), before + 1);
}

}  // namespace
}  // namespace testsupport
