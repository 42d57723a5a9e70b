#pragma once

#include <string>
#include <string_view>

namespace camctl {

/// A file with a content, for as long as the object lives.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

}  // namespace camctl
