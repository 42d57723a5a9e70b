// What many driver objects hold: bytes of the heap, idle and connected, and TCP connections. Prints a JSON array.

#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/canned_camera.h"
#include "onvif/camapi-onvif.h"
#include "tests/support/process_figures.h"

namespace {

using Texts = std::map<std::string, std::string>;

constexpr char kServicePath[] = "/onvif/service";

/// The part of a driver that is the server's own: what the heap holds of it is the base of every driver.
class BaseOnly : public CameraAPI {
 public:
  using CameraAPI::CameraAPI;
};

template <typename OBJECT>
std::vector<std::unique_ptr<OBJECT>> Reserved(int count) {
  std::vector<std::unique_ptr<OBJECT>> objects;
  objects.reserve(static_cast<std::size_t>(count));
  return objects;
}

long BytesPerBase(int count, int port) {
  auto objects = Reserved<BaseOnly>(count);
  const long before = testsupport::HeapBytes();
  for (int i = 0; i < count; ++i) {
    objects.push_back(std::make_unique<BaseOnly>("127.0.0.1", port, "admin", "password12", "p0,p1", true));
  }
  return (testsupport::HeapBytes() - before) / count;
}

struct Operation {
  const char* name;
  int result;
};

/// The server calls these of every camera, again and again.
void Tour(ONVIFAPI& driver) {
  Texts texts;
  std::map<int, std::string> presets;
  std::string path;
  int port = 0;
  int flag = 0;
  const Operation operations[] = {
      {"GetDeviceInfo", driver.GetDeviceInfo(texts)},
      {"GetCapability", driver.GetCapability(texts)},
      {"GetPathPort", driver.GetPathPort(path, port)},
      {"GetLivePathPort", driver.GetLivePathPort(path, port)},
      {"GetShotPathPort", driver.GetShotPathPort(path, port, flag)},
      {"GetPresets", driver.GetPresets(presets)},
  };
  for (const Operation& operation : operations) {
    if (operation.result == CAMERA_OK) continue;
    throw std::runtime_error(operation.name + std::string(" answered ") + std::to_string(operation.result));
  }
}

void Measure(int count, const char* end) {
  const bench::CannedCamera camera(bench::MakeAnswers({}));
  CameraCap cap(Texts{{"media_entry", kServicePath}, {"ptz_entry", kServicePath}, {"preset", "63"}});
  {
    // What a first call leaves to the whole process is not an object's.
    ONVIFAPI first("127.0.0.1", camera.Port(), "admin", "password12", "p0,p1", cap);
    Tour(first);
  }
  const long base = BytesPerBase(count, camera.Port());
  auto drivers = Reserved<ONVIFAPI>(count);
  const long connectionsBefore = camera.Connections();
  const long before = testsupport::HeapBytes();
  for (int i = 0; i < count; ++i) {
    drivers.push_back(std::make_unique<ONVIFAPI>("127.0.0.1", camera.Port(), "admin", "password12", "p0,p1", cap));
  }
  const long idle = testsupport::HeapBytes();
  for (const auto& driver : drivers) Tour(*driver);
  const long connected = testsupport::HeapBytes();
  std::printf("  {\"objects\": %d, \"base\": %ld, \"idle\": %ld, \"connected\": %ld, \"connections\": %ld}%s\n", count,
              base, (idle - before) / count, (connected - before) / count, camera.Connections() - connectionsBefore,
              end);
}

}  // namespace

int main() {
  try {
    std::printf("[\n");
    Measure(200, ",");
    Measure(1000, "");
    std::printf("]\n");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "object-bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
