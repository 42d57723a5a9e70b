#include <sys/mman.h>
#include <unistd.h>

#include "camctl/documents.h"
#include "camctl/usageerror.h"
#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "platform/cameracap.h"
#include "tests/support/unique_fd.h"

namespace camapifuzz {

namespace {

void ReadCameraFile(std::string_view input) {
  try {
    const camctl::CameraFile file = camctl::ParseCameraFile(input, "input");
    Require(!file.port || (*file.port >= 1 && *file.port <= 65535), "a port is one");
    const std::string text = camctl::CameraFileText(file);
    Require(camctl::CameraFileText(camctl::ParseCameraFile(text, "text")) == text, "a file reads back as the same");
  } catch (const camctl::UsageError& error) {
    Require(std::string_view(error.what()).substr(0, 6) == "input:", "a refusal names the file");
  }
}

// Through a file, because there is no other way in.
void ReadRecord(std::string_view input) {
  const testsupport::UniqueFd file(memfd_create("record", MFD_CLOEXEC));
  Require(write(file.Get(), input.data(), input.size()) == static_cast<ssize_t>(input.size()), "the rig has memory");
  const std::string path = "/proc/self/fd/" + std::to_string(file.Get());
  CameraCap cap(CameraCap::MAP{{"old", "text"}});
  std::string error;
  const bool isRead = CameraCap::LoadJson(path, cap, error);
  Require(isRead == error.empty(), "a refusal has its reason");
  Require(isRead || cap.Map().count("old") == 1, "a refusal touches nothing");
  for (int code = 0; code <= 40; ++code) {
    cap.IsPTZValid(code);
  }
  Require(cap.GetPresetCnt() >= 0, "a number of presets is none below 0");
}

}  // namespace

void CameraFiles(std::string_view input) {
  ReadCameraFile(input);
  ReadRecord(input);
}

}  // namespace camapifuzz
