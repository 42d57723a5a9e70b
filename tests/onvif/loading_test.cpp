// The shared library as the server meets it: a file that is loaded and unloaded at run time.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "onvif/camapi-onvif.h"
#include "tests/onvif/command_lines.h"
#include "tests/support/process_figures.h"
#include "tests/support/scripted_camera.h"

namespace testsupport {
namespace {

using testing::IsEmpty;

#ifdef CAMAPI_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// The address space is the emulator's, which keeps the code that it translated.
#ifdef CAMAPI_EMULATED
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#endif

// `ONVIFAPI::ONVIFAPI(string, int, string, string, string, CameraCap&)`, complete object.
constexpr char kConstructor[] =
    "_ZN8ONVIFAPIC1ENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEiS5_S5_S5_R9CameraCap";
using Constructor = void (*)(void*, std::string, int, std::string, std::string, std::string, CameraCap&);

struct Unload {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, Unload>;

Library Load() {
  Library library(dlopen(CAMAPI_ONVIF_LIBRARY, RTLD_NOW | RTLD_LOCAL));
  if (!library) throw std::runtime_error(dlerror());
  return library;
}

// A driver object of a library that is not linked; it must go before the library.
std::unique_ptr<CameraAPI> MakeDriver(void* library, int port) {
  const auto construct = reinterpret_cast<Constructor>(dlsym(library, kConstructor));
  if (construct == nullptr) throw std::runtime_error(dlerror());
  CameraCap cap(CameraCap::MAP{{"media_entry", "/onvif/media"}});
  void* const memory = ::operator new(sizeof(ONVIFAPI));
  construct(memory, "127.0.0.1", port, "user", "password", "P", cap);
  return std::unique_ptr<CameraAPI>(static_cast<ONVIFAPI*>(memory));
}

bool IsLoaded() {
  return Library(dlopen(CAMAPI_ONVIF_LIBRARY, RTLD_NOW | RTLD_NOLOAD)) != nullptr;
}

struct Usage {
  long heapBytes;
  int descriptors;
  std::size_t mappings;
  long pages;  // of address space

  static Usage Now() {
    std::ifstream maps("/proc/self/maps");
    std::size_t mappings = 0;
    for (std::string line; std::getline(maps, line);) ++mappings;
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return {static_cast<long>(mallinfo2().uordblks), OpenDescriptors(), mappings, pages};
  }
};

// The allocator hands out 24 bytes and more: one block lost in every third load is above this, or one page in every
// twentieth. Less is what the allocator and the loader keep for themselves.
constexpr long kHeapSlack = 8000;
constexpr long kPageSlack = 50;

void ExpectNoGrowth(const Usage& before, const Usage& after) {
  EXPECT_LE(after.descriptors, before.descriptors) << "open descriptors";
  // A sanitizer keeps records of every library that ever was loaded; it has its own check for lost memory.
  if (kSanitized) return;
  EXPECT_LT(after.heapBytes - before.heapBytes, kHeapSlack) << "heap bytes in use";
  EXPECT_LE(after.mappings, before.mappings) << "mappings";
  if (!kEmulated) {
    EXPECT_LT(after.pages - before.pages, kPageSlack) << "pages of address space";
  }
}

// The platform's library stays, as in the server's process: this program is linked with it.
TEST(Loading, AThousandTimesLeavesNothingBehind) {
  constexpr int first = 50;
  constexpr int all = 1000 + first;
  Usage before{};
  for (int i = 0; i < all; ++i) {
    if (i == first) before = Usage::Now();
    ASSERT_NE(Load(), nullptr);
    ASSERT_FALSE(IsLoaded()) << "the library stayed after load " << i;
  }
  ExpectNoGrowth(before, Usage::Now());
}

TEST(Loading, AThousandDriverObjectsOfOneLibraryLeaveNothingBehind) {
  constexpr int first = 50;
  constexpr int all = 1000 + first;
  const Library library = Load();
  Usage before{};
  for (int i = 0; i < all; ++i) {
    if (i == first) before = Usage::Now();
    MakeDriver(library.get(), 80);
  }
  ExpectNoGrowth(before, Usage::Now());
}

TEST(Loading, WithCallsToACameraLeavesNothingBehind) {
  constexpr int first = 20;
  constexpr int all = 100 + first;
  ScriptedCamera camera;
  camera.AnswerAll([](const HttpRequest&) { return Reply::Status(401); });
  Usage before{};
  for (int i = 0; i < all; ++i) {
    if (i == first) before = Usage::Now();
    const Library library = Load();
    ASSERT_EQ(MakeDriver(library.get(), camera.Port())->TestConn(), 5);
  }
  const Usage after = Usage::Now();
  EXPECT_FALSE(IsLoaded());
  EXPECT_EQ(camera.Requests().size(), static_cast<std::size_t>(all));
  // The camera's own records are on the same heap, and its end of the last connection may still be open.
  EXPECT_LE(after.descriptors, before.descriptors + 1);
  if (!kSanitized) {
    EXPECT_LE(after.mappings, before.mappings + 1);
  }
}

// The names that the library's dynamic section says it needs.
std::vector<std::string> NeededLibraries() {
  std::vector<std::string> needed;
  const std::regex pattern(".*\\(NEEDED\\).*\\[(.*)\\]");
  for (const std::string& line : LinesOf(CAMAPI_READELF " -dW '" CAMAPI_ONVIF_LIBRARY "'")) {
    std::smatch match;
    if (std::regex_match(line, match, pattern)) needed.push_back(match[1]);
  }
  return needed;
}

bool IsLanguageRuntime(const std::string& name) {
  static const std::regex runtime("(libstdc\\+\\+|libgcc_s|libm|libc|ld-linux[a-z0-9-]*)\\.so\\.[0-9]+");
  static const std::regex sanitizer("lib(asan|ubsan|tsan)\\.so\\.[0-9]+");
  return std::regex_match(name, runtime) || (kSanitized && std::regex_match(name, sanitizer));
}

TEST(DriverLibrary, NeedsThePlatformAndLibxml2OnlyBesidesTheRuntime) {
  std::vector<std::string> needed = NeededLibraries();
  needed.erase(std::remove_if(needed.begin(), needed.end(), IsLanguageRuntime), needed.end());

  EXPECT_THAT(needed, testing::UnorderedElementsAre("libcamapi-platform.so.0.1", testing::StartsWith("libxml2.so.")));
}

bool IsOfThePublicClasses(const std::string& name) {
  static const std::regex pattern(
      "(vtable for |typeinfo for |typeinfo name for )?"
      "(ONVIFAPI|Onvif(ServiceBase|DeviceService|MediaService|PtzService))(::.*)?"
      "|ParseUrlAndGetPathPort\\(.*\\)");
  return std::regex_match(name, pattern);
}

// A name as it is where `long` has 64 bits; elsewhere std::chrono counts in `long long`.
std::string OnEveryMachine(const std::string& name) {
  static const std::regex wide("(long|[0-9]l)( long|l)");
  return std::regex_replace(name, wide, "$1");
}

// Demangled names of what the library shows, but for weak functions: inline ones are there without optimisation only.
std::set<std::string> ShownNames() {
  std::set<std::string> names;
  const std::regex pattern("[0-9a-f]* *([A-Za-z]) (.*)");
  for (const std::string& line : LinesOf(CAMAPI_NM " -DC --defined-only '" CAMAPI_ONVIF_LIBRARY "'")) {
    std::smatch match;
    if (!std::regex_match(line, match, pattern)) throw std::runtime_error("not a line of nm: " + line);
    if (match[1] != "W") names.insert(OnEveryMachine(match[2]));
  }
  return names;
}

std::set<std::string> RecordedNames() {
  std::ifstream record(CAMAPI_ONVIF_SYMBOLS);
  std::set<std::string> names;
  for (std::string line; std::getline(record, line);) names.insert(OnEveryMachine(line));
  return names;
}

std::vector<std::string> Without(const std::set<std::string>& names, const std::set<std::string>& others) {
  std::vector<std::string> rest;
  std::set_difference(names.begin(), names.end(), others.begin(), others.end(), std::back_inserter(rest));
  return rest;
}

TEST(DriverLibrary, ShowsThePublicClassesOnly) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer adds symbols of its own";
  const std::set<std::string> shown = ShownNames();
  std::vector<std::string> strange;
  std::copy_if(shown.begin(), shown.end(), std::back_inserter(strange), std::not_fn(IsOfThePublicClasses));
  EXPECT_GT(shown.size(), 50U) << "the public classes must be visible";
  EXPECT_THAT(strange, IsEmpty());
}

TEST(DriverLibrary, ShowsWhatIsRecorded) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer adds symbols of its own";
  const std::string renew =
      "\nWhere it is meant: cmake --build build/release --target record-symbols, and say so in CHANGELOG.md.\n"
      "A name that went breaks programs built before: raise the version.";
  EXPECT_THAT(Without(ShownNames(), RecordedNames()), IsEmpty()) << "new names" << renew;
  EXPECT_THAT(Without(RecordedNames(), ShownNames()), IsEmpty()) << "names that went" << renew;
}

}  // namespace
}  // namespace testsupport
