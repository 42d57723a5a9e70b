#include "tests/camctl/temporary_file.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>

namespace camctl {

TemporaryFile::TemporaryFile(std::string_view content) : m_path(testing::TempDir() + "/camctl-XXXXXX") {
  const int file = mkstemp(m_path.data());
  EXPECT_GE(file, 0) << "cannot make " << m_path;
  close(file);
  std::ofstream(m_path, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile() {
  unlink(m_path.c_str());
}

}  // namespace camctl
