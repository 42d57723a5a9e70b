#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace camctl {

/// What the command line says to one command: the words behind its name, and its own options.
struct Request {
  std::vector<std::string> words;
  std::map<std::string, std::string> options;  ///< "--save" to its value; a switch has an empty one

  bool Has(const std::string& option) const { return options.count(option) > 0; }

  std::optional<std::string> Option(const std::string& option) const {
    const auto found = options.find(option);
    return found == options.end() ? std::nullopt : std::optional(found->second);
  }
};

}  // namespace camctl
