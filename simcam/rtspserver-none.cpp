// The streams of a build without GStreamer: none.
#include <stdexcept>

#include "simcam/rtspserver.h"

namespace simcam {

class RtspServer::Core {};

bool IsSameStream(const StreamDescription&, const StreamDescription&) {
  return true;
}

bool RtspServer::IsAvailable(std::string& reason) {
  reason = "this program was built without GStreamer; install libgstrtspserver-1.0-dev and build it again";
  return false;
}

RtspServer::RtspServer(const RtspOptions&, const std::string&, MomentSource) {
  std::string reason;
  IsAvailable(reason);
  throw std::runtime_error(reason);
}

RtspServer::~RtspServer() = default;

std::uint16_t RtspServer::Port() const {
  return 0;
}

void RtspServer::Update(const std::vector<StreamDescription>&) {}

void RtspServer::DropConnections() {}

void RtspServer::ChangeAccount(const std::string&, const std::string&) {}

std::size_t RtspServer::Viewers() const {
  return 0;
}

void RtspServer::Stop() {}

}  // namespace simcam
