#include "tests/support/test_locale.h"

#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>

#include "tests/support/child_process.h"

namespace testsupport {
namespace {

constexpr char kLocale[] = "fi_FI.UTF-8";

int CompileLocale(const std::string& path) {
  return RunInChild([&path] {
    execl("/usr/bin/localedef", "localedef", "--quiet", "-i", "fi_FI", "-f", "UTF-8", path.c_str(), nullptr);
    return 127;
  });
}

}  // namespace

CommaLocale::CommaLocale() {
  std::string folder = (std::filesystem::temp_directory_path() / "test-locale-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    m_reason = "no temporary folder for a locale";
    return;
  }
  m_folder = folder;
  const int result = CompileLocale(folder + "/" + kLocale);
  setenv("LOCPATH", folder.c_str(), 1);
  if (result != 0 || setlocale(LC_ALL, kLocale) == nullptr) {
    m_reason = "localedef cannot compile a Finnish locale here (package locales), result " + std::to_string(result);
  }
}

CommaLocale::~CommaLocale() {
  setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
  if (!m_folder.empty()) std::filesystem::remove_all(m_folder);
}

}  // namespace testsupport
