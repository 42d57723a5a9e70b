#include "bench/soaking/soak.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "bench/soaking/camera.h"
#include "bench/soaking/footprint.h"
#include "bench/soaking/pool.h"
#include "bench/soaking/sabotage.h"
#include "bench/soaking/simcamprocess.h"
#include "bench/soaking/tally.h"

namespace soak {

namespace {

constexpr int kThreads = 16;
constexpr double kRoundsPerSecond = 60;  // of all cameras together: some 40 % of a core, with the cameras
constexpr int kTenths = 10;
constexpr int kMostLooks = 10;  // in each tenth; one a second in a short run, because each waits until all rest

using std::chrono::steady_clock;

double ProcessorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

steady_clock::duration Seconds(double seconds) {
  return std::chrono::duration_cast<steady_clock::duration>(std::chrono::duration<double>(seconds));
}

// Waits until `time`; false when a signal came before.
bool WaitUntil(steady_clock::time_point time, const sigset_t& signals) {
  const auto left = std::max(steady_clock::duration::zero(), time - steady_clock::now());
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(left);
  timespec patience{};
  patience.tv_sec = whole.count();
  patience.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - whole).count());  // below a second
  return sigtimedwait(&signals, nullptr, &patience) == -1;
}

// The cameras' programs and the server's side of each camera.
class Site {
 public:
  Site(const Options& options, Tally& tally) {
    for (std::size_t i = 0; i < kModelCount; ++i) {
      const int count = (options.cameras + static_cast<int>(kModelCount - 1 - i)) / static_cast<int>(kModelCount);
      if (count > 0) m_programs.push_back(std::make_unique<SimcamProcess>(options.simcam, ModelAt(i).name, count));
    }
    for (std::size_t i = 0; i < m_programs.size(); ++i) {
      for (const CameraPorts& ports : m_programs[i]->Cameras()) Add(options, tally, ModelAt(i), ports);
    }
  }

  const std::vector<std::unique_ptr<Camera>>& Cameras() const { return m_cameras; }

  bool IsRunning() const {
    return std::all_of(m_programs.begin(), m_programs.end(), [](const auto& program) { return program->IsRunning(); });
  }

  void EndPrograms() { m_programs.clear(); }

 private:
  void Add(const Options& options, Tally& tally, const Model& model, const CameraPorts& ports) {
    CameraPlan plan;
    plan.number = static_cast<unsigned>(m_cameras.size());
    plan.model = &model;
    plan.ports = ports;
    plan.seed = options.seed;
    plan.interval = Seconds(options.cameras / kRoundsPerSecond);
    // A camera without PTZ, whose connection test is expected to say so.
    plan.expectsWrongCode = options.selfCheck == SelfCheck::Code && !model.hasPtz;
    m_cameras.push_back(std::make_unique<Camera>(plan, tally));
    m_cameras.back()->Prepare();
  }

  std::vector<std::unique_ptr<SimcamProcess>> m_programs;
  std::vector<std::unique_ptr<Camera>> m_cameras;
};

struct Record {
  std::vector<Footprint> tenths;  // the most of each
  bool isWhole = true;
};

void PrintHead() {
  std::printf("%5s %8s %9s %6s %9s %11s %13s %12s %8s\n", "tenth", "minutes", "calls", "wrong", "troubles",
              "in use KiB", "resident KiB", "descriptors", "threads");
  std::fflush(stdout);
}

void PrintTenth(int tenth, double minutes, const Tally& tally, const Footprint& most) {
  std::printf("%5d %8.2f %9llu %6llu %9llu %11ld %13ld %12ld %8ld\n", tenth, minutes,
              static_cast<unsigned long long>(tally.Calls()), static_cast<unsigned long long>(tally.Wrong()),
              static_cast<unsigned long long>(tally.Troubles()), most.inUse / 1024, most.resident / 1024,
              most.descriptors, most.threads);
  std::fflush(stdout);
}

Record Watch(const Options& options, Pool& pool, const Tally& tally, const sigset_t& signals) {
  Record record;
  const steady_clock::time_point start = steady_clock::now();
  const int looks = std::clamp(static_cast<int>(options.minutes * 60 / kTenths), 1, kMostLooks);
  PrintHead();
  for (int tenth = 1; tenth <= kTenths; ++tenth) {
    Footprint most;
    for (int look = 1; look <= looks; ++look) {
      const double part = static_cast<double>((tenth - 1) * looks + look) / (kTenths * looks);
      if (!WaitUntil(start + Seconds(options.minutes * 60 * part), signals)) {
        record.isWhole = false;
        return record;
      }
      pool.AtRest([&most] { most = Most(most, Measure()); });
    }
    PrintTenth(tenth, options.minutes * tenth / kTenths, tally, most);
    record.tenths.push_back(most);
  }
  return record;
}

void PrintSummary(const Options& options, const Tally& tally, double self_s, double cameras_s) {
  const double wall_s = options.minutes * 60;
  std::printf("%d cameras, seed %u: %llu calls, %llu wrong\n", options.cameras, options.seed,
              static_cast<unsigned long long>(tally.Calls()), static_cast<unsigned long long>(tally.Wrong()));
  std::printf("results: %s\n", tally.ResultText().c_str());
  std::printf("troubles: %s\n", tally.TroubleText().c_str());
  std::printf("processor: %.2f of a core here, %.2f for the cameras\n", self_s / wall_s, cameras_s / wall_s);
}

bool Judge(const Options& options, const Record& record) {
  std::vector<std::string> lines;
  const bool isWithin = IsWithin(LimitsFor(options.cameras), record.tenths.at(1), record.tenths.back(), lines);
  for (const std::string& line : lines) std::printf("%s\n", line.c_str());
  return isWithin;
}

}  // namespace

int Run(const Options& options, const sigset_t& signals) {
  // A script that became this program may have had children before: its compilers.
  const double before_s = ProcessorSeconds(RUSAGE_CHILDREN);
  Tally tally;
  Site site(options, tally);
  Sabotage sabotage(options.selfCheck);
  Record record;
  {
    Pool pool(site.Cameras(), kThreads, [&sabotage] { sabotage.Act(); });
    record = Watch(options, pool, tally, signals);
    tally.Close();
  }
  const double self_s = ProcessorSeconds(RUSAGE_SELF);
  const bool areRunning = site.IsRunning();
  site.EndPrograms();
  if (!record.isWhole) {
    std::printf("ended early by a signal, without a judgement\n");
    return 1;
  }
  PrintSummary(options, tally, self_s, ProcessorSeconds(RUSAGE_CHILDREN) - before_s);
  const bool isWithin = Judge(options, record);
  if (!areRunning) std::printf("WRONG: a program simcam has ended by itself\n");
  return isWithin && areRunning && tally.Wrong() == 0 ? 0 : 1;
}

}  // namespace soak
