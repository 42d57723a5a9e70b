#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "dupfromhx/hxdebuglog.h"
#include "tests/dupfromhx/log_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/process_figures.h"
#include "tests/support/unique_fd.h"

namespace {

using DevicePackOwned::HxPrintf;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::kLogPath;
using testsupport::SyslogMessage;
using testsupport::SyslogMessages;

constexpr int kUserError = 11;  // LOG_USER | LOG_ERR

const SyslogMessage kOpenFailed{kUserError, "dupfromhx/hxdebuglog:109:HxPrintf(): Open hxlog file failed."};
const SyslogMessage kDupFailed{kUserError, "dupfromhx/hxdebuglog:116:HxPrintf(): Get hxlog file descriptor failed."};

SyslogMessage RotationFailed(int line, const std::string& what) {
  return {kUserError, "dupfromhx/hxdebuglog:" + std::to_string(line) + ":HxArchiveLogs(): Failed to " + what};
}

void WriteFullLog() {
  WriteFile(kLogPath, std::string(kMostBytes, '.'));
}

/// /var/log cannot be written while one lives.
class ReadOnlyLogFolder {
 public:
  ReadOnlyLogFolder() { Remount(MS_RDONLY); }
  ~ReadOnlyLogFolder() { Remount(0); }
  ReadOnlyLogFolder(const ReadOnlyLogFolder&) = delete;
  ReadOnlyLogFolder& operator=(const ReadOnlyLogFolder&) = delete;

 private:
  static void Remount(unsigned long flags) {
    if (mount("tmpfs", "/var/log", "tmpfs", MS_REMOUNT | MS_NOSUID | flags, nullptr) != 0) {
      ADD_FAILURE() << "remount: " << strerror(errno);
    }
  }
};

TEST_F(HxLog, UnwritableFolderIsReportedOncePerMessage) {
  const ReadOnlyLogFolder readOnly;
  const int before = testsupport::OpenDescriptors();
  for (int i = 0; i < 3; ++i) HxPrintf("%d\n", i);
  EXPECT_THAT(SyslogMessages(), ElementsAre(kOpenFailed, kOpenFailed, kOpenFailed));
  EXPECT_LE(testsupport::OpenDescriptors(), before + 1) << "only syslog's own may have been opened";
}

TEST_F(HxLog, FolderInTheFilesPlaceIsReported) {
  std::filesystem::create_directory(kLogPath);
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(kOpenFailed));
}

TEST_F(HxLog, MessageAfterAFailureIsWritten) {
  {
    const ReadOnlyLogFolder readOnly;
    HxPrintf("lost\n");
  }
  const FakeTime now(kFifthOfNovember);
  HxPrintf("written\n");
  EXPECT_EQ(testsupport::LogText(), "Nov  5 18:37:42 written\n");
}

/// In a child: leaves room for one descriptor, logs, and returns how many are open too many afterwards.
int LogWithOneDescriptorLeft() {
  openlog(nullptr, LOG_NDELAY, LOG_USER);
  const int before = testsupport::OpenDescriptors();
  const int lowest = dup(0);
  close(lowest);
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t previous = limit.rlim_cur;
  limit.rlim_cur = static_cast<rlim_t>(lowest) + 1;
  setrlimit(RLIMIT_NOFILE, &limit);
  HxPrintf("x\n");
  limit.rlim_cur = previous;
  setrlimit(RLIMIT_NOFILE, &limit);
  return testsupport::OpenDescriptors() - before;
}

TEST_F(HxLog, DescriptorThatCannotBeDuplicatedIsReported) {
  EXPECT_EQ(testsupport::RunInChild(LogWithOneDescriptorLeft), 0) << "descriptors left open";
  EXPECT_THAT(SyslogMessages(), ElementsAre(kDupFailed));
  EXPECT_EQ(testsupport::LogText(), "");
}

/// In a child: another holder has the lock, and a signal interrupts the wait for it.
int LogWhileAnotherHoldsTheLock() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const testsupport::UniqueFd holder(open(kLogPath, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  if (flock(holder.Get(), LOCK_EX) != 0) return 100;
  const int before = testsupport::OpenDescriptors();
  const itimerval every10ms{{0, 10000}, {0, 10000}};
  setitimer(ITIMER_REAL, &every10ms, nullptr);
  HxPrintf("x\n");
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  return testsupport::OpenDescriptors() - before;
}

TEST_F(HxLog, MessageWhoseLockFailsIsDroppedSilently) {
  EXPECT_EQ(testsupport::RunInChild(LogWhileAnotherHoldsTheLock), 0) << "descriptors left open";
  EXPECT_EQ(testsupport::LogText(), "");
  EXPECT_THAT(SyslogMessages(), IsEmpty());
}

TEST_F(HxLog, OldestArchiveThatCannotBeRemovedStopsTheRotation) {
  std::filesystem::create_directories(Archive(9) + "/not-empty");
  WriteFile(Archive(3), "three");
  WriteFullLog();
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(66, "remove the oldest log /var/log/hexwatch.log.9.gz")));
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log", "hexwatch.log.3.gz", "hexwatch.log.9.gz"));
}

TEST_F(HxLog, ArchiveThatCannotBeRenamedStopsTheRotation) {
  WriteFile(Archive(6), "six");
  WriteFile(Archive(4), "four");
  WriteFile(Archive(1), "one");
  WriteFullLog();
  const Overlay pinned(Archive(4), Archive(4));
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(73, "rename hexwatch log /var/log/hexwatch.log.4.gz")));
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log", "hexwatch.log.1.gz", "hexwatch.log.4.gz", "hexwatch.log.7.gz"));
}

TEST_F(HxLog, LogThatCannotBeRenamedStopsTheRotation) {
  std::filesystem::create_directories(std::string(kLogPath) + ".0/not-empty");
  WriteFile(Archive(0), "zero");
  WriteFullLog();
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(84, "rename hexwatch log /var/log/hexwatch.log")));
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log", "hexwatch.log.0", "hexwatch.log.1.gz"));
}

TEST_F(HxLog, CompressorThatFailsLeavesTheUncompressedFile) {
  const FakeGzip gzip("exit 3");
  WriteFullLog();
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(89, "archive hexwatch log /var/log/hexwatch.log.0")));
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0"));
}

TEST_F(HxLog, CompressorThatIsKilledIsAFailure) {
  const FakeGzip gzip("kill -9 $$");
  WriteFullLog();
  HxPrintf("x\n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(89, "archive hexwatch log /var/log/hexwatch.log.0")));
}

TEST_F(HxLog, RotationOfAFileThatIsNotThereIsReported) {
  HxArchiveLogs("/var/log/none");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(84, "rename hexwatch log /var/log/none")));
}

TEST_F(HxLog, NextMessageOverTheLimitTriesTheRotationAgain) {
  WriteFullLog();
  {
    const Overlay pinned(kLogPath, kLogPath);
    HxPrintf("one\n");
  }
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log"));
  HxPrintf("two\n");
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0.gz"));
}

TEST_F(HxLog, FailureTextsAreNotFormats) {
  HxArchiveLogs("/var/log/%s%n");
  EXPECT_THAT(SyslogMessages(), ElementsAre(RotationFailed(84, "rename hexwatch log /var/log/%s%n")));
}

}  // namespace
