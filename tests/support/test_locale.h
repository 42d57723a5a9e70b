#pragma once

#include <string>

namespace testsupport {

/// A locale with decimal comma and month names unlike the English ones (Finnish), compiled for this process alone
/// with the system's localedef. Where that cannot be done, Reason() says why and tests skip with it.
class CommaLocale {
 public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  /// Empty when the locale is the process's own, from construction to destruction.
  const std::string& Reason() const { return m_reason; }

 private:
  std::string m_folder;
  std::string m_reason;
};

}  // namespace testsupport
