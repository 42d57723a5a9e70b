#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "dupfromhx/hxdebuglog.h"
#include "tests/dupfromhx/log_fixture.h"
#include "tests/support/child_process.h"

namespace {

using DevicePackOwned::HxPrintf;

constexpr int kProcesses = 8;
constexpr int kThreads = 8;
constexpr int kWriters = kProcesses + kThreads;

/// What writer `writer` says in its line `line`: nothing but itself is a prefix or a part of it.
std::string Message(int writer, int line, std::size_t padding) {
  return "<writer " + std::to_string(writer) + " line " + std::to_string(line) + " " + std::string(padding, 'x') + ">";
}

/// All writers at once: processes 0 to 7, threads 8 to 15.
void WriteAll(int lines, std::size_t padding) {
  const auto write = [lines, padding](int writer) {
    for (int line = 0; line < lines; ++line) HxPrintf("%s\n", Message(writer, line, padding).c_str());
    return 0;
  };
  // Forked before the first thread is started: what another thread holds is lost in a child.
  testsupport::Children processes(kProcesses, write);
  std::vector<std::thread> threads;
  for (int writer = kProcesses; writer < kWriters; ++writer) threads.emplace_back(write, writer);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(processes.Succeeded(), kProcesses);
}

std::set<std::string> AllMessages(int lines, std::size_t padding) {
  std::set<std::string> messages;
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int line = 0; line < lines; ++line) messages.insert(Message(writer, line, padding));
  }
  return messages;
}

/// Takes the messages of `text` out of `expected`. Threads may spoil each other's stamp, never a message.
void TakeOut(const std::string& text, std::set<std::string>& expected) {
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    const std::size_t start = line.find('<');
    ASSERT_NE(start, std::string::npos) << "torn line: " << line.substr(0, 100);
    ASSERT_LE(start, kStampBytes) << "torn line: " << line.substr(0, 100);
    ASSERT_EQ(expected.erase(line.substr(start)), 1u) << "torn or repeated line: " << line.substr(0, 100);
  }
}

// Longer than the stream's buffer, so that one message is several writes and only the lock keeps them together.
TEST_F(HxLog, LongLinesOfProcessesAndThreadsAreNeverTornOrLost) {
  constexpr std::size_t kPadding = 12000;
  for (int round = 0; round < 20; ++round) {
    testsupport::ClearLog();
    WriteAll(1, kPadding);
    std::set<std::string> missing = AllMessages(1, kPadding);
    TakeOut(testsupport::LogText(), missing);
    ASSERT_EQ(missing.size(), 0u) << "round " << round << " lost " << missing.begin()->substr(0, 30);
  }
}

TEST_F(HxLog, LinesOfProcessesAndThreadsAreNeverTornAcrossRotations) {
  constexpr int kLines = 200;
  constexpr std::size_t kPadding = 100;
  WriteAll(kLines, kPadding);
  std::set<std::string> missing = AllMessages(kLines, kPadding);
  std::size_t rotations = 0;
  while (rotations <= 9 && std::filesystem::exists(Archive(static_cast<int>(rotations)))) {
    TakeOut(Gunzip(Archive(static_cast<int>(rotations++))), missing);
  }
  TakeOut(testsupport::LogText(), missing);
  ASSERT_GE(rotations, 1u) << "the test did not reach what it is about";
  ASSERT_LE(rotations, 9u) << "archives may have been deleted";
  // A writer that waits for the lock during a rotation writes its line into the file that is gone then.
  EXPECT_LE(missing.size(), rotations * kWriters);
  EXPECT_THAT(testsupport::SyslogMessages(), testing::IsEmpty());
}

}  // namespace
