// The player of a build without GStreamer.

#include "camctl/player.h"

namespace camctl {

bool CanPlay(std::string& reason) {
  reason =
      "this program was built without GStreamer; install libgstrtspserver-1.0-dev, libgstreamer-plugins-base1.0-dev, "
      "gstreamer1.0-plugins-good and gstreamer1.0-libav, then build again";
  return false;
}

Playback Play(const PlayRequest& /*request*/) {
  Playback none;
  none.result = PlayResult::NotAvailable;
  CanPlay(none.error);
  return none;
}

}  // namespace camctl
