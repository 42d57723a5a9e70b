#include "bench/soaking/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <map>

namespace soak {

namespace {

constexpr int kExitUsage = 2;

std::string SimcamBesideUs() {
  std::error_code error;
  return (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "simcam").string();
}

const std::map<std::string, SelfCheck>& SelfChecks() {
  static const std::map<std::string, SelfCheck> names = {{"leak", SelfCheck::Leak},
                                                         {"descriptors", SelfCheck::Descriptors},
                                                         {"threads", SelfCheck::Threads},
                                                         {"code", SelfCheck::Code}};
  return names;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, char** argv, int& status) {
  constexpr double kMostMinutes = 24 * 60;
  CLI::App app("Drives simulated cameras that reboot, shift their clock, drop connections and change their account",
               "soak");
  Options options;
  options.simcam = SimcamBesideUs();
  app.add_option("--cameras", options.cameras, "Number of cameras")
      ->check(CLI::Range(1, kMostCameras))
      ->capture_default_str();
  app.add_option("--minutes", options.minutes, "Length of the run; 0.2 and the like are good for a short look")
      ->check(CLI::Range(0.05, kMostMinutes))
      ->capture_default_str();
  app.add_option("--seed", options.seed, "What befalls the cameras; the same seed, the same troubles")
      ->capture_default_str();
  app.add_option("--simcam", options.simcam, "The program simcam; without this the one beside this program");
  app.add_option("--self-check", options.selfCheck,
                 "Do this wrong on purpose, to see that it is caught: leak, descriptors, threads, code")
      ->transform(CLI::CheckedTransformer(SelfChecks()));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    status = app.exit(error) == 0 ? 0 : kExitUsage;
    return std::nullopt;
  }
  return options;
}

}  // namespace soak
