// How long a capability report and its longest answer take, by what the camera has. Times are processor times of the driver alone, so that
// other load on the machine counts little; they end with a judgement on their growth.

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "bench/answers.h"
#include "bench/canned_camera.h"
#include "bench/growth_report.h"
#include "onvif/camapi-onvif.h"

namespace {

using bench::CameraSize;

constexpr int kRepetitions = 5;
constexpr double kLeastTime_s = 0.2;  // of each repetition

/// Whether the report holds all that the camera has: what is cut short would be measured too fast.
bool IsWhole(const std::map<std::string, std::string>& report, const CameraSize& size) {
  const auto value = [&](const std::string& key) {
    const auto found = report.find(key);
    return found == report.end() ? std::string("(none)") : found->second;
  };
  const std::string lastProfile = ",p" + std::to_string(size.profiles - 1);
  const std::string profiles = value("multi_channel_audio");
  const std::string largest = std::to_string(16 * size.resolutions) + "x" + std::to_string(9 * size.resolutions);
  return profiles.size() > lastProfile.size() &&
         profiles.compare(profiles.size() - lastProfile.size(), lastProfile.size(), lastProfile) == 0 &&
         value("default_fps_h264_" + largest) == "10" && value("default_fps_h264_16x9") == "10" &&
         value("resolution_independent") == "h264,mjpeg,mpeg4" && value("single_stream") == "yes";
}

void Report(benchmark::State& state, const CameraSize& size) {
  const bench::CannedCamera camera(bench::MakeAnswers(size));
  for ([[maybe_unused]] auto iteration : state) {
    CameraCap cap;
    ONVIFAPI driver("127.0.0.1", camera.Port(), "user", "password", "p0,p1", cap);
    std::map<std::string, std::string> report;
    const int result = driver.GetCapability(report);
    if (result == CAMERA_OK && IsWhole(report, size)) continue;
    state.SkipWithError(("the report is not whole, result " + std::to_string(result)).c_str());
    return;
  }
}

void ReportByProfiles(benchmark::State& state) {
  CameraSize size;
  size.profiles = state.range(0);
  size.resolutions = 1;  // little beside the profiles
  Report(state, size);
}

void ReportByEncoderConfigurations(benchmark::State& state) {
  CameraSize size;
  size.encoderConfigurations = state.range(0);
  Report(state, size);
}

void ReportByResolutions(benchmark::State& state) {
  CameraSize size;
  size.resolutions = state.range(0);
  Report(state, size);
}

void OptionsBySizes(benchmark::State& state) {
  CameraSize size;
  size.resolutions = state.range(0);
  size.isH264Only = true;
  const bench::CannedCamera camera(bench::MakeAnswers(size));
  CameraCap cap;
  ONVIFAPI driver("127.0.0.1", camera.Port(), "user", "password", "p0,p1", cap);
  OnvifMediaService media;
  media.UpdateServiceParam(&driver, "/onvif/media", "2", "40");
  for ([[maybe_unused]] auto iteration : state) {
    OVF_MED_VDO_ENC_OPT options;
    const RET_ONVIF result = media.GetVideoEncoderConfigurationOptions("v0", options);
    const bool isWhole = result == RET_ONVIF_OK && options.lstCodec.size() == 1 &&
                         options.lstCodec.front().lstReso.size() == static_cast<std::size_t>(size.resolutions);
    if (isWhole) continue;
    state.SkipWithError(("the options are not whole, result " + std::to_string(result)).c_str());
    return;
  }
}

void Register(const char* name, void (*function)(benchmark::State&), const std::vector<std::int64_t>& sizes) {
  benchmark::internal::Benchmark* const family = benchmark::RegisterBenchmark(name, function);
  for (const std::int64_t size : sizes) family->Arg(size);
  family->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond)->MinTime(kLeastTime_s)->Repetitions(kRepetitions);
}

}  // namespace

int main(int argc, char** argv) {
  Register("ReportByProfiles", ReportByProfiles, {2, 16, 64, 256});
  Register("ReportByEncoderConfigurations", ReportByEncoderConfigurations, {2, 16, 64, 256});
  Register("ReportByResolutions", ReportByResolutions, {12, 200, 2000});
  Register("OptionsBySizes", OptionsBySizes, {12, 200, 2000, 20000});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  bench::GrowthReport report;
  benchmark::RunSpecifiedBenchmarks(&report);
  return report.Failed() ? 1 : 0;
}
