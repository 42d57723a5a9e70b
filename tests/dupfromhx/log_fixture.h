#pragma once

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "tests/support/private_log.h"

/// What `time` answers to the log while one lives.
class FakeTime {
 public:
  explicit FakeTime(std::time_t now);
  ~FakeTime();
  FakeTime(const FakeTime&) = delete;
  FakeTime& operator=(const FakeTime&) = delete;
};

/// The local zone of this process while one lives.
class FakeZone {
 public:
  explicit FakeZone(const std::string& zone);
  ~FakeZone();
  FakeZone(const FakeZone&) = delete;
  FakeZone& operator=(const FakeZone&) = delete;

 private:
  std::string m_previous;
};

/// A file laid over another one, for this process and its children, while one lives. A file under such a mount can
/// neither be renamed nor removed.
class Overlay {
 public:
  Overlay(const std::string& path, const std::string& over);
  ~Overlay();
  Overlay(const Overlay&) = delete;
  Overlay& operator=(const Overlay&) = delete;

 private:
  std::string m_over;
};

/// A shell script in the place of /bin/gzip while one lives.
class FakeGzip {
 public:
  explicit FakeGzip(const std::string& script);

 private:
  Overlay m_overlay;
};

/// 5 November 2023, 13:07:42 UTC.
constexpr std::time_t kFifthOfNovember = 1699189662;

constexpr std::size_t kMostBytes = 204800;

/// Length of a time stamp and its blank.
constexpr std::size_t kStampBytes = sizeof("Nov  5 13:07:42 ") - 1;

/// Every log test begins with an empty, private /var/log and no message in the system log.
class HxLog : public testing::Test {
 protected:
  void SetUp() override;
};

/// Names in /var/log, sorted.
std::vector<std::string> LogFolder();

void WriteFile(const std::string& path, const std::string& text);
std::string ReadFile(const std::string& path);

/// The uncompressed content of a gzip file; "(no gzip file)" when it is none.
std::string Gunzip(const std::string& path);

/// Path of archive `number` of the log.
std::string Archive(int number);

/// Fills the log up so that a message of `messageBytes` bytes leaves it `size` bytes long.
void FillLogFor(std::size_t size, std::size_t messageBytes);
