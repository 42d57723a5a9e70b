// Prints the manual page or the completion of a program: camapi-manual man|bash camctl|simcam
#include <cstdio>
#include <exception>
#include <string>

#include "manual/programs.h"

namespace {

constexpr int kExitUsage = 2;

struct Form {
  const char* name;
  std::string (*make)(const manual::Page& page);
};
constexpr Form kForms[] = {{"man", &manual::ManualOf}, {"bash", &manual::CompletionOf}};

struct Program {
  const char* name;
  manual::Page (*describe)();
};
constexpr Program kPrograms[] = {{"camctl", &manual::PageOfCamctl}, {"simcam", &manual::PageOfSimcam}};

template <typename Rows>
auto Find(const Rows& rows, const std::string& name) -> decltype(&rows[0]) {
  for (const auto& row : rows) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

int Run(int argc, char** argv) {
  const Form* const form = argc == 3 ? Find(kForms, argv[1]) : nullptr;
  const Program* const program = argc == 3 ? Find(kPrograms, argv[2]) : nullptr;
  if (form == nullptr || program == nullptr) {
    std::fputs("usage: camapi-manual man|bash camctl|simcam\n", stderr);
    return kExitUsage;
  }
  const std::string text = form->make(program->describe());
  return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "camapi-manual: %s\n", error.what());
    return 1;
  }
}
