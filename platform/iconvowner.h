#pragma once

#include <iconv.h>

#include <cstdint>
#include <memory>

struct IconvCloser {
  void operator()(void* pConverter) const noexcept { iconv_close(pConverter); }
};

/// Owner of a character set converter.
using OwnedIconv = std::unique_ptr<void, IconvCloser>;

/// \return null when the system does not know one of the two names
inline OwnedIconv OpenIconv(const char* pTo, const char* pFrom) {
  iconv_t pConverter = iconv_open(pTo, pFrom);
  if (reinterpret_cast<std::intptr_t>(pConverter) == -1) return nullptr;
  return OwnedIconv(pConverter);
}
