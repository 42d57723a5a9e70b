// The program simcam: simulated cameras until SIGINT or SIGTERM.
#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simcam/programoptions.h"
#include "simcam/quirklist.h"
#include "simcam/quirks/quirkset.h"
#include "simcam/rtspserver.h"
#include "simcam/simcamera.h"

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

void PrintModels() {
  for (const std::string& name : simcam::ModelNames()) {
    std::printf("%-15s %s\n", name.c_str(), simcam::LoadModel(name).title.c_str());
  }
}

void PrintQuirks() {
  std::fputs(simcam::QuirkList().c_str(), stdout);
}

// The end of a run that was to print something: all of it must have gone out.
int FinishOutput() {
  const bool isFlushed = std::fflush(stdout) == 0;
  if (!isFlushed || std::ferror(stdout) != 0) {
    throw std::runtime_error(std::string("the output cannot be written: ") + std::strerror(errno));
  }
  return 0;
}

// To be called before any thread starts, so that all threads inherit the mask.
sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

// Takes the streams back where they cannot be served, and returns why; empty when they can.
std::string DecideOnStreams(std::optional<std::uint16_t>& rtspPort) {
  std::string reason = "switched off by --no-rtsp";
  if (rtspPort && !simcam::RtspServer::IsAvailable(reason)) {
    rtspPort.reset();
  }
  return rtspPort ? std::string() : reason;
}

void PrintReady(const simcam::SimCamera& camera, const std::string& user, const std::string& noStreams) {
  std::printf("simcam: %s listening on http://127.0.0.1:%u%s (user %s)\n", camera.Model().name.c_str(),
              unsigned{camera.Port()}, camera.Model().paths.device.c_str(), user.c_str());
  if (camera.StreamPort()) {
    std::printf("simcam: streams on rtsp://127.0.0.1:%u\n", unsigned{*camera.StreamPort()});
  } else {
    std::printf("simcam: no streams: %s\n", noStreams.c_str());
  }
  if (camera.ControlPort() != 0) {
    std::printf("simcam: control on http://127.0.0.1:%u/\n", unsigned{camera.ControlPort()});
  }
}

// The port of the next camera; one that the system picks stays so.
void Advance(std::uint16_t& port) {
  port = static_cast<std::uint16_t>(port == 0 ? 0 : port + 1);
}

int Serve(const simcam::ProgramOptions& options) {
  const simcam::CameraModel model = simcam::LoadModel(options.model);
  simcam::ParseQuirks(options.camera.quirks);  // wrong use is told before a camera starts
  const sigset_t signals = BlockEndSignals();
  std::vector<std::unique_ptr<simcam::SimCamera>> cameras;
  simcam::CameraOptions next = options.camera;
  const std::string noStreams = DecideOnStreams(next.rtspPort);
  for (int i = 0; i < options.count; ++i) {
    cameras.push_back(std::make_unique<simcam::SimCamera>(model, next));
    PrintReady(*cameras.back(), next.user, noStreams);
    Advance(next.port);
    for (std::optional<std::uint16_t>* const port : {&next.controlPort, &next.rtspPort}) {
      if (*port) {
        Advance(**port);
      }
    }
  }
  std::fflush(stdout);
  int signal = 0;
  sigwait(&signals, &signal);
  return 0;
}

int Run(int argc, char** argv) {
  const std::optional<simcam::ProgramOptions> options = simcam::ReadProgramOptions(argc, argv);
  if (!options) {
    return FinishOutput();
  }
  if (options->isQuirkListAsked) {
    PrintQuirks();
    return FinishOutput();
  }
  if (options->isListAsked) {
    PrintModels();
    return FinishOutput();
  }
  return Serve(*options);
}

int Fail(int status, const char* reason) {
  std::fprintf(stderr, "simcam: %s\n", reason);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const simcam::UsageError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const simcam::QuirkError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const simcam::ModelError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const std::exception& error) {
    return Fail(kExitFailure, error.what());
  }
}
