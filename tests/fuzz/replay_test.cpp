// Every input that is kept for the fuzzers runs through the same function here, without a fuzzer.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "fuzz/targets.h"
#include "tests/support/sleep_counter.h"

namespace camapifuzz {

void PrintTo(const Target& target, std::ostream* out) {
  *out << target.name;
}

}  // namespace camapifuzz

namespace {

std::vector<std::filesystem::path> FilesOf(const camapifuzz::Target& target) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(CAMAPI_CORPUS_DIR) + "/" + target.name)) {
    files.push_back(entry.path());
  }
  return files;
}

class Replay : public testing::TestWithParam<camapifuzz::Target> {};

INSTANTIATE_TEST_SUITE_P(Corpus, Replay, testing::ValuesIn(camapifuzz::kTargets),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(Replay, EveryInputRunsToItsEnd) {
  const std::vector<std::filesystem::path> files = FilesOf(GetParam());
  EXPECT_GE(files.size(), 3U);
  for (const std::filesystem::path& path : files) {
    std::ifstream file(path, std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_FALSE(input.empty()) << path;
    SCOPED_TRACE(path);
    GetParam().run(input);
    testsupport::ClearSleeps();
  }
}

TEST(Replay, EveryFolderOfTheCorpusHasItsTarget) {
  for (const auto& entry : std::filesystem::directory_iterator(CAMAPI_CORPUS_DIR)) {
    const std::string name = entry.path().filename();
    EXPECT_TRUE(std::any_of(std::begin(camapifuzz::kTargets), std::end(camapifuzz::kTargets),
                            [&name](const camapifuzz::Target& target) { return name == target.name; }))
        << name;
  }
}

}  // namespace
