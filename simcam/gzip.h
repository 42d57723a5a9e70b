// The gzip coding of HTTP bodies.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace simcam {

std::string Gzip(std::string_view text);

// Small bytes that inflate to `size` blanks.
std::string GzipBlanks(std::size_t size);

}  // namespace simcam
