// camctl info: what the camera is.

#include "camctl/commands.h"
#include "camctl/text.h"

namespace camctl {

namespace {

constexpr KeyLabel kLabels[] = {{"vendor", "Vendor"},
                                {"model", "Model"},
                                {"firmware_version", "Firmware"},
                                {"mac_address", "MAC address"},
                                {"fisheye", "Fisheye lens of"},
                                {"rtp_tcp_only", "RTP over TCP only"},
                                {"rtsp_keepalive", "RTSP keep-alive"}};

void ShowFact(Console& console, const std::string& label, const std::string& value) {
  constexpr std::size_t columns = 19;
  console.Line(PaddedRight(label, columns), Colour::Faint, value);
}

}  // namespace

void RunInfoCommand(Runner& runner) {
  if (!runner.Discover() || !runner.Run({&kIdentity})) return;
  Console& console = runner.GetConsole();
  const CameraReport& camera = runner.GetSession().Camera();
  ShowFact(console, "Address", HostPort(camera.host, camera.port));
  for (const KeyLabel& row : kLabels) {
    const auto found = camera.facts.find(row.key);
    if (found != camera.facts.end()) ShowFact(console, row.label, found->second);
  }
}

}  // namespace camctl
