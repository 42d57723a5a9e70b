#include "platform/vexlib.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "platform/iconvowner.h"

namespace {

// Exit status of the child `nPid` once it has ended, -1 when it has none.
int WaitFor(pid_t nPid) {
  int nStatus = 0;
  while (waitpid(nPid, &nStatus, 0) == -1) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

}  // namespace

std::string ConvListToStr(const std::list<std::string>& lstItems, const std::string& strSeparator) {
  std::string strJoined;
  for (const std::string& strItem : lstItems) {
    if (&strItem != &lstItems.front()) strJoined += strSeparator;
    strJoined += strItem;
  }
  return strJoined;
}

int IsQarnPreset(std::string strName, int& nNumber) {
  constexpr std::string_view strPrefix = "qarn";
  if (strName.compare(0, strPrefix.size(), strPrefix) != 0) return 0;
  const std::string_view strDigits = std::string_view(strName).substr(strPrefix.size());
  if (strDigits.empty() || strDigits.front() == '-') return 0;
  if (strDigits.front() == '0' && strDigits.size() > 1) return 0;
  int nRead = 0;
  const char* const pEnd = strDigits.data() + strDigits.size();
  const auto [pStop, eError] = std::from_chars(strDigits.data(), pEnd, nRead);
  if (eError != std::errc() || pStop != pEnd) return 0;
  nNumber = nRead;
  return 1;
}

int VexlibUnicodeIsUTF8(const char* pText) {
  if (pText == nullptr) return 0;
  const OwnedIconv pConverter = OpenIconv("UTF-32LE", "UTF-8");
  if (!pConverter) return 0;
  char* pIn = const_cast<char*>(pText);  // iconv's signature; it does not write there
  std::size_t nLeft = std::strlen(pText);
  while (nLeft > 0) {
    std::array<char, 1024> rgChunk;
    char* pOut = rgChunk.data();
    std::size_t nRoom = rgChunk.size();
    if (iconv(pConverter.get(), &pIn, &nLeft, &pOut, &nRoom) == static_cast<std::size_t>(-1) && errno != E2BIG)
      return 0;
  }
  return 1;
}

int VexlibExec(const char* pProgram, const char* pArg1, const char* pArg2, const char* pArg3, const char* pArg4) {
  // posix_spawn's signature; it writes to none of them.
  char* const rgArgs[] = {const_cast<char*>(pProgram), const_cast<char*>(pArg1), const_cast<char*>(pArg2),
                          const_cast<char*>(pArg3),    const_cast<char*>(pArg4), nullptr};
  pid_t nPid = 0;
  if (posix_spawn(&nPid, pProgram, nullptr, nullptr, rgArgs, environ) != 0) return -1;
  return WaitFor(nPid);
}
