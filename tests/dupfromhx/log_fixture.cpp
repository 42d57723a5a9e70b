#include "tests/dupfromhx/log_fixture.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace {

constexpr std::time_t kRealTime = -1;
std::atomic<std::time_t> g_now{kRealTime};

constexpr char kFakeGzip[] = "/dev/fake-gzip";

std::string WriteScript(const std::string& script) {
  WriteFile(kFakeGzip, "#!/bin/sh\n" + script + "\n");
  chmod(kFakeGzip, 0755);
  return kFakeGzip;
}

}  // namespace

// What `time` is called in the object files: 64-bit times have a name of their own where `long` has 32 bits.
#if __WORDSIZE == 32
#define NAME_OF_TIME "__time64"
#else
#define NAME_OF_TIME "time"
#endif

// The linker puts the second in the place of `time` (--wrap).
extern "C" std::time_t RealTime(std::time_t* out) __asm__("__real_" NAME_OF_TIME);
extern "C" std::time_t WrapTime(std::time_t* out) __asm__("__wrap_" NAME_OF_TIME);
extern "C" std::time_t WrapTime(std::time_t* out) {
  if (g_now == kRealTime) return RealTime(out);
  if (out != nullptr) *out = g_now;
  return g_now;
}

FakeTime::FakeTime(std::time_t now) {
  g_now = now;
}
FakeTime::~FakeTime() {
  g_now = kRealTime;
}

FakeZone::FakeZone(const std::string& zone) : m_previous(std::getenv("TZ")) {
  setenv("TZ", zone.c_str(), 1);
  tzset();
}

FakeZone::~FakeZone() {
  setenv("TZ", m_previous.c_str(), 1);
  tzset();
}

Overlay::Overlay(const std::string& path, const std::string& over) : m_over(over) {
  if (mount(path.c_str(), over.c_str(), "", MS_BIND, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "bind " + path + " over " + over);
  }
}

Overlay::~Overlay() {
  umount(m_over.c_str());
}

FakeGzip::FakeGzip(const std::string& script) : m_overlay(WriteScript(script), "/bin/gzip") {}

void HxLog::SetUp() {
  if (!testsupport::PrivateLogReason().empty()) GTEST_SKIP() << testsupport::PrivateLogReason();
  testsupport::ClearLog();
}

std::vector<std::string> LogFolder() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/var/log")) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  if (!file) throw std::system_error(errno, std::generic_category(), "write " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Gunzip(const std::string& path) {
  FILE* pipe = popen(("/bin/gzip -dc '" + path + "' 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) return "(gzip does not run)";
  std::string text;
  std::array<char, 65536> buffer;
  std::size_t size = 0;
  while ((size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) text.append(buffer.data(), size);
  return pclose(pipe) == 0 ? text : "(no gzip file)";
}

std::string Archive(int number) {
  return testsupport::kLogPath + ("." + std::to_string(number)) + ".gz";
}

void FillLogFor(std::size_t size, std::size_t messageBytes) {
  std::string text(size - messageBytes - kStampBytes, '.');
  text.back() = '\n';
  WriteFile(testsupport::kLogPath, text);
}
