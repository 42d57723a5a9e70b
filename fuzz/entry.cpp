// The entry of a fuzzer. CAMAPI_FUZZ_TARGET names the function that it runs.
#include <cstddef>
#include <cstdint>

#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  camapifuzz::CAMAPI_FUZZ_TARGET(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}

// In the place of `sleep` (--wrap=sleep): the driver's pauses are not waited for.
extern "C" unsigned __wrap_sleep(unsigned seconds);
extern "C" unsigned __wrap_sleep(unsigned) {
  return 0;
}
