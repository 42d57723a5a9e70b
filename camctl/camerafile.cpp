#include "camctl/camerafile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace camctl {

namespace {

// A file beside the one to be written, gone at the end unless it was moved there.
class TemporaryNeighbour {
 public:
  explicit TemporaryNeighbour(const std::string& path) : m_path(path + ".XXXXXX"), m_file(mkstemp(m_path.data())) {}
  ~TemporaryNeighbour() {
    if (m_file < 0) return;
    close(m_file);
    unlink(m_path.c_str());
  }
  TemporaryNeighbour(const TemporaryNeighbour&) = delete;
  TemporaryNeighbour& operator=(const TemporaryNeighbour&) = delete;

  const std::string& Path() const { return m_path; }

  /// Whether all of it is on the disk; errno says why not.
  bool Fill(std::string_view text) const {
    if (m_file < 0) return false;
    while (!text.empty()) {
      const ssize_t written = write(m_file, text.data(), text.size());
      if (written < 0 && errno != EINTR) return false;
      if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    return fsync(m_file) == 0;
  }

 private:
  std::string m_path;
  int m_file;
};

// Whether a new file would take the place of something that is none: a device, a pipe.
bool IsSpecial(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

// Gives a file a name that is free; 0, or -1 and errno. A link never replaces a file either, and is for file systems that
// do not know the other way; those that know no links (FAT) do.
int TakeFreeName(const char* path, const char* name) {
  const int moved = renameat2(AT_FDCWD, path, AT_FDCWD, name, RENAME_NOREPLACE);
  return moved != 0 && (errno == EINVAL || errno == ENOSYS) ? link(path, name) : moved;
}

}  // namespace

std::string WriteWhole(const std::string& path, const std::string& text, bool replace) {
  if (IsSpecial(path)) return "it is no regular file";
  const TemporaryNeighbour file(path);
  if (!file.Fill(text)) return std::strerror(errno);
  const int moved =
      replace ? rename(file.Path().c_str(), path.c_str()) : TakeFreeName(file.Path().c_str(), path.c_str());
  if (moved == 0) return {};
  return errno == EEXIST ? "the file is there already" : std::strerror(errno);
}

}  // namespace camctl
