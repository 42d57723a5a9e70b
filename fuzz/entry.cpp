// The entry of a fuzzer. CAMAPI_FUZZ_TARGET names the function that it runs.
#include <cstddef>
#include <cstdint>

#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  camapifuzz::CAMAPI_FUZZ_TARGET(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
