#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "dupfromhx/hxdebuglog.h"
#include "tests/dupfromhx/log_fixture.h"
#include "tests/support/process_figures.h"

namespace {

using DevicePackOwned::HxPrintf;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::kLogPath;
using testsupport::SyslogMessages;

/// Rotates a log that begins with `text`.
void RotateLogOf(const std::string& text) {
  WriteFile(kLogPath, text + std::string(kMostBytes, '.'));
  HxPrintf("last of %s\n", text.c_str());
}

TEST_F(HxLog, FileOfExactlyTheLimitStays) {
  FillLogFor(kMostBytes, 2);
  HxPrintf("x\n");
  EXPECT_EQ(std::filesystem::file_size(kLogPath), kMostBytes);
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log"));
}

TEST_F(HxLog, OneByteOverTheLimitRotatesIntoArchiveZero) {
  FillLogFor(kMostBytes + 1, 2);
  const std::string before = testsupport::LogText();
  const FakeTime now(kFifthOfNovember);
  HxPrintf("x\n");
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0.gz"));
  const std::string archived = Gunzip(Archive(0));
  EXPECT_TRUE(archived == before + "Nov  5 18:37:42 x\n") << archived.size() << " bytes";
  EXPECT_THAT(SyslogMessages(), IsEmpty());
}

TEST_F(HxLog, MessageAfterARotationBeginsANewLog) {
  RotateLogOf("old");
  const FakeTime now(kFifthOfNovember);
  HxPrintf("new\n");
  EXPECT_EQ(testsupport::LogText(), "Nov  5 18:37:42 new\n");
}

TEST_F(HxLog, OneMessageOverTheLimitIsArchivedWhole) {
  const FakeTime now(kFifthOfNovember);
  const std::string text(300000, 'a');
  HxPrintf("%s\n", text.c_str());
  EXPECT_TRUE(Gunzip(Archive(0)) == "Nov  5 18:37:42 " + text + "\n");
}

TEST_F(HxLog, ElevenRotationsKeepTheNewestTen) {
  const FakeTime now(kFifthOfNovember);
  for (int rotation = 1; rotation <= 11; ++rotation) RotateLogOf("rotation " + std::to_string(rotation));
  std::vector<std::string> names;
  for (int number = 0; number <= 9; ++number) {
    const std::string text = "rotation " + std::to_string(11 - number);
    EXPECT_TRUE(Gunzip(Archive(number)) ==
                text + std::string(kMostBytes, '.') + "Nov  5 18:37:42 last of " + text + "\n")
        << "archive " << number << " begins with " << Gunzip(Archive(number)).substr(0, 12);
    names.push_back("hexwatch.log." + std::to_string(number) + ".gz");
  }
  EXPECT_EQ(LogFolder(), names);
  EXPECT_THAT(SyslogMessages(), IsEmpty());
}

TEST_F(HxLog, GapsInTheNumbersStay) {
  WriteFile(Archive(2), "two");
  WriteFile(Archive(5), "five");
  WriteFile(Archive(9), "nine");
  RotateLogOf("new");
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0.gz", "hexwatch.log.3.gz", "hexwatch.log.6.gz"));
  EXPECT_EQ(ReadFile(Archive(3)), "two");
  EXPECT_EQ(ReadFile(Archive(6)), "five");
}

TEST_F(HxLog, ArchiveNumbersBeyondNineAreLeftAlone) {
  WriteFile(Archive(10), "ten");
  RotateLogOf("new");
  EXPECT_EQ(ReadFile(Archive(10)), "ten");
}

// The compressor is the platform's own program, and is told one name.
TEST_F(HxLog, GzipIsGivenTheUncompressedNameAlone) {
  const FakeGzip gzip("echo \"$#:$1\" >/dev/gzip-arguments");
  RotateLogOf("new");
  EXPECT_EQ(ReadFile("/dev/gzip-arguments"), "1:/var/log/hexwatch.log.0\n");
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0"));
}

// A child that inherits the descriptor keeps the lock for as long as it lives.
TEST_F(HxLog, CompressorInheritsNoDescriptorOfTheLog) {
  const FakeGzip gzip("readlink /proc/$$/fd/* >/dev/gzip-descriptors");
  RotateLogOf("new");
  const std::string inherited = ReadFile("/dev/gzip-descriptors");
  EXPECT_NE(inherited, "");
  EXPECT_EQ(inherited.find("hexwatch"), std::string::npos) << inherited;
}

// The compressor runs under the lock: it finds the file that it compresses locked.
TEST_F(HxLog, LockIsHeldWhileTheCompressorRuns) {
  const FakeGzip gzip("flock -n \"$1\" true; echo $? >/dev/gzip-lock");
  RotateLogOf("new");
  EXPECT_EQ(ReadFile("/dev/gzip-lock"), "1\n");
}

// Compressing four gigabytes is not what is tested.
TEST_F(HxLog, SizesBeyondFourGigabytesRotate) {
  const FakeGzip gzip("exit 0");
  WriteFile(kLogPath, "");
  ASSERT_EQ(truncate(kLogPath, (off_t{1} << 32) + 10), 0) << strerror(errno);
  HxPrintf("x\n");
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log.0"));
  testsupport::ClearLog();
}

TEST_F(HxLog, RotationLeavesNoDescriptorOpen) {
  const int before = testsupport::OpenDescriptors();
  RotateLogOf("one");
  RotateLogOf("two");
  EXPECT_EQ(testsupport::OpenDescriptors(), before);
}

TEST_F(HxLog, AnyPathIsArchivedBesideItself) {
  WriteFile("/var/log/other.txt", "other");
  WriteFile("/var/log/other.txt.0.gz", "older");
  HxArchiveLogs("/var/log/other.txt");
  EXPECT_THAT(LogFolder(), ElementsAre("other.txt.0.gz", "other.txt.1.gz"));
  EXPECT_EQ(Gunzip("/var/log/other.txt.0.gz"), "other");
  EXPECT_EQ(ReadFile("/var/log/other.txt.1.gz"), "older");
}

TEST_F(HxLog, NullPathDoesNothing) {
  WriteFile(kLogPath, "stays");
  HxArchiveLogs(nullptr);
  EXPECT_THAT(LogFolder(), ElementsAre("hexwatch.log"));
  EXPECT_THAT(SyslogMessages(), IsEmpty());
}

}  // namespace
