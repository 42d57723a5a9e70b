#include "dupfromhx/hxdebuglog.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <memory>

#include "platform/vexlib.h"

namespace {

constexpr const char* k_pLogPath = "/var/log/hexwatch.log";
constexpr const char* k_pSource = "dupfromhx/hxdebuglog";

constexpr off_t k_nMaxLogBytes = 204800;
constexpr int k_nOldestArchive = 9;

// The lines that the system log entries carry are part of their texts: those who watch for them match the numbers.
constexpr int k_nLineRemoveFailed = 66;
constexpr int k_nLineMoveArchiveFailed = 73;
constexpr int k_nLineMoveLogFailed = 84;
constexpr int k_nLineCompressFailed = 89;
constexpr int k_nLineOpenFailed = 109;
constexpr int k_nLineDescriptorFailed = 116;

using PATH_BUFFER = std::array<char, 4097>;

struct FileCloser {
  void operator()(std::FILE* pFile) const noexcept { std::fclose(pFile); }
};
using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

// Owner of a descriptor that holds the lock of the log.
class LockedDescriptor {
 public:
  explicit LockedDescriptor(int nFd) : m_nFd(nFd), m_blLocked(nFd != -1 && flock(nFd, LOCK_EX) == 0) {}
  ~LockedDescriptor() {
    if (m_blLocked) flock(m_nFd, LOCK_UN);
    if (m_nFd != -1) close(m_nFd);
  }
  LockedDescriptor(const LockedDescriptor&) = delete;
  LockedDescriptor& operator=(const LockedDescriptor&) = delete;

  bool IsOpen() const { return m_nFd != -1; }
  bool IsLocked() const { return m_blLocked; }

 private:
  int m_nFd;
  bool m_blLocked;
};

bool Exists(const char* pName) {
  struct stat info;
  return stat(pName, &info) == 0;
}

bool IsTooLong(const char* pPath) {
  struct stat info;
  return stat(pPath, &info) == 0 && info.st_size > k_nMaxLogBytes;
}

void ReportArchive(int nLine, const char* pWhat, const char* pName) {
  syslog(LOG_ERR, "%s:%d:%s(): Failed to %s %s", k_pSource, nLine, "HxArchiveLogs", pWhat, pName);
}

PATH_BUFFER ArchiveName(const char* pPath, int nNumber) {
  PATH_BUFFER rgName;
  std::snprintf(rgName.data(), rgName.size(), "%s.%d.gz", pPath, nNumber);
  return rgName;
}

// Makes room for archive 0. False when a step failed.
bool MoveArchivesUp(const char* pPath) {
  for (int nNumber = k_nOldestArchive; nNumber >= 0; --nNumber) {
    const PATH_BUFFER rgName = ArchiveName(pPath, nNumber);
    if (!Exists(rgName.data())) continue;
    if (nNumber == k_nOldestArchive) {
      if (std::remove(rgName.data()) == 0) continue;
      ReportArchive(k_nLineRemoveFailed, "remove the oldest log", rgName.data());
      return false;
    }
    if (std::rename(rgName.data(), ArchiveName(pPath, nNumber + 1).data()) != 0) {
      ReportArchive(k_nLineMoveArchiveFailed, "rename hexwatch log", rgName.data());
      return false;
    }
  }
  return true;
}

void WriteMessage(std::FILE* pFile, const char* pFormat, std::va_list args) {
  std::fprintf(pFile, "%s ", DevicePackOwned::HxTimeStamp());
  std::vfprintf(pFile, pFormat, args);
  std::fflush(pFile);
}

void ReportPrintf(int nLine, const char* pWhat) {
  syslog(LOG_ERR, "%s:%d:%s(): %s", k_pSource, nLine, "HxPrintf", pWhat);
}

}  // namespace

void HxArchiveLogs(const char* pPath) {
  if (pPath == nullptr) return;
  if (!MoveArchivesUp(pPath)) return;
  PATH_BUFFER rgName;
  std::snprintf(rgName.data(), rgName.size(), "%s.%d", pPath, 0);
  if (std::rename(pPath, rgName.data()) != 0) {
    ReportArchive(k_nLineMoveLogFailed, "rename hexwatch log", pPath);
    return;
  }
  if (VexlibExec("/bin/gzip", rgName.data(), nullptr, nullptr, nullptr) != 0) {
    ReportArchive(k_nLineCompressFailed, "archive hexwatch log", rgName.data());
  }
}

namespace DevicePackOwned {

const char* HxTimeStamp() {
  static std::array<char, 128> rgStamp;
  rgStamp.fill('\0');
  const std::time_t nNow = std::time(nullptr);
  std::tm tmLocal{};
  if (localtime_r(&nNow, &tmLocal) != nullptr) std::strftime(rgStamp.data(), rgStamp.size(), "%b %e %T", &tmLocal);
  return rgStamp.data();
}

void HxPrintf(const char* pFormat, ...) {
  OwnedFile pFile(std::fopen(k_pLogPath, "ae"));
  if (!pFile) {
    ReportPrintf(k_nLineOpenFailed, "Open hxlog file failed.");
    return;
  }
  // Close-on-exec, or a child of the server that starts at this moment would keep the lock for as long as it lives.
  const LockedDescriptor lock(fcntl(fileno(pFile.get()), F_DUPFD_CLOEXEC, 0));
  if (!lock.IsOpen()) {
    ReportPrintf(k_nLineDescriptorFailed, "Get hxlog file descriptor failed.");
    return;
  }
  if (!lock.IsLocked()) return;
  std::va_list args;
  va_start(args, pFormat);
  WriteMessage(pFile.get(), pFormat, args);
  va_end(args);
  pFile.reset();
  if (IsTooLong(k_pLogPath)) HxArchiveLogs(k_pLogPath);
}

}  // namespace DevicePackOwned
