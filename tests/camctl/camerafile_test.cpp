#include "camctl/camerafile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

// What the file system refuses; 0: nothing.
struct Refusals {
  int link = 0;  // errno
  int move = 0;  // errno of a move that never replaces
};
Refusals refusals;

}  // namespace

// In place of the system's.
extern "C" int link(const char* path, const char* name) noexcept {
  errno = refusals.link;
  return refusals.link != 0 ? -1 : linkat(AT_FDCWD, path, AT_FDCWD, name, 0);
}

extern "C" int renameat2(int folder, const char* path, int target, const char* name, unsigned flags) noexcept {
  errno = refusals.move;
  return refusals.move != 0 ? -1 : static_cast<int>(syscall(SYS_renameat2, folder, path, target, name, flags));
}

namespace camctl {
namespace {

namespace fs = std::filesystem;

class WriteWholeTest : public testing::Test {
 protected:
  WriteWholeTest() : m_folder(fs::path(testing::TempDir()) / ("camerafile-" + std::to_string(getpid()))) {
    fs::create_directory(m_folder);
  }
  ~WriteWholeTest() override {
    refusals = Refusals();
    fs::remove_all(m_folder);
  }

  std::string Path() const { return (m_folder / "cam.json").string(); }

  std::string Content() const {
    std::ostringstream text;
    text << std::ifstream(Path()).rdbuf();
    return text.str();
  }

  std::ptrdiff_t Files() const { return std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()); }

  fs::path m_folder;
};

TEST_F(WriteWholeTest, WritesForItsOwnerAlone) {
  EXPECT_EQ(WriteWhole(Path(), "one", false), "");
  EXPECT_EQ(Content(), "one");
  struct stat status {};
  ASSERT_EQ(stat(Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(Files(), 1) << "nothing temporary stays";
}

TEST_F(WriteWholeTest, FileThatIsThereStaysUnlessItIsToBeReplaced) {
  ASSERT_EQ(WriteWhole(Path(), "one", false), "");
  EXPECT_EQ(WriteWhole(Path(), "two", false), "the file is there already");
  EXPECT_EQ(Content(), "one");
  EXPECT_EQ(Files(), 1);
  EXPECT_EQ(WriteWhole(Path(), "two", true), "");
  EXPECT_EQ(Content(), "two");
  EXPECT_EQ(Files(), 1);
}

TEST_F(WriteWholeTest, NewFileNeedsNoLinks) {
  refusals.link = EPERM;  // FAT
  EXPECT_EQ(WriteWhole(Path(), "one", false), "");
  EXPECT_EQ(WriteWhole(Path(), "two", false), "the file is there already");
  EXPECT_EQ(Content(), "one");
  EXPECT_EQ(Files(), 1);
}

TEST_F(WriteWholeTest, NewFileIsLinkedWhereNoMoveSparesFiles) {
  for (const int error : {EINVAL, ENOSYS}) {  // the file system, the kernel
    refusals.move = error;
    EXPECT_EQ(WriteWhole(Path(), "one", false), "") << error;
    EXPECT_EQ(WriteWhole(Path(), "two", false), "the file is there already") << error;
    EXPECT_EQ(Content(), "one");
    EXPECT_EQ(Files(), 1);
    fs::remove(Path());
  }
}

TEST_F(WriteWholeTest, FolderThatIsMissingIsTold) {
  EXPECT_EQ(WriteWhole((m_folder / "nosuch" / "cam.json").string(), "one", true), "No such file or directory");
}

TEST_F(WriteWholeTest, FolderInPlaceOfTheFileIsTold) {
  fs::create_directory(Path());
  EXPECT_EQ(WriteWhole(Path(), "one", true), "Is a directory");
  EXPECT_EQ(Files(), 1);
}

TEST_F(WriteWholeTest, WhatIsNoFileIsNotReplaced) {
  ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
  EXPECT_EQ(WriteWhole(Path(), "one", true), "it is no regular file");
  EXPECT_TRUE(fs::is_fifo(Path()));
  EXPECT_EQ(Files(), 1);
}

}  // namespace
}  // namespace camctl
