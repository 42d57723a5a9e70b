#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "tests/support/scripted_camera.h"

namespace testsupport {

/// A camera that answers each request with a recorded file: `FOLDER/OPERATION.xml`, where the operation is the first
/// element of the request's body. What was not recorded gets the fault "ter:ActionNotSupported".
class ReplayCamera {
 public:
  /// `otherFiles` names, for an operation, another file of the folder (without ".xml").
  explicit ReplayCamera(std::filesystem::path folder, std::map<std::string, std::string> otherFiles = {});

  std::uint16_t Port() const { return m_camera.Port(); }

  /// Operations that were asked for and are not recorded.
  std::set<std::string> Unrecorded() const;

  /// How often an operation was asked for.
  std::size_t Count(const std::string& operation) const;

 private:
  Reply ReplyTo(const HttpRequest& request);

  const std::filesystem::path m_folder;
  const std::map<std::string, std::string> m_otherFiles;
  mutable std::mutex m_mutex;
  std::set<std::string> m_unrecorded;
  ScriptedCamera m_camera;  // last: its thread uses the others
};

/// Name of the first element of a request's body, without what stands behind it.
std::string OperationOf(const HttpRequest& request);

}  // namespace testsupport
