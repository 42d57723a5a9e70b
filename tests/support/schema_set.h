#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace testsupport {

/// The published ONVIF schemas. They are loaded at the first check and kept; all operations from any thread.
class SchemaSet {
 public:
  /// Why nothing can be checked here; empty when it can. Schema tests skip with this text.
  static std::string SkipReason();

  /// What is wrong with a SOAP 1.2 message: the envelope against the SOAP schema, each child of the Body against the
  /// schema of its own element (one that no schema declares is wrong), and a UsernameToken's parts if there is one.
  /// Empty when nothing is.
  static std::vector<std::string> Problems(std::string_view envelope);
};

}  // namespace testsupport
