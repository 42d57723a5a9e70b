#pragma once

#include <cstddef>
#include <string_view>

namespace simcam {

// A model file that was compiled into the library: its name without extension, and its text.
struct EmbeddedFile {
  std::string_view name;
  std::string_view text;
};

extern const EmbeddedFile kBuiltinModels[];
extern const std::size_t kBuiltinModelsCount;

}  // namespace simcam
