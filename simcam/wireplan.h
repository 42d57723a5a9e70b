// How the bytes of an answer travel when they do not travel as they should.
#pragma once

namespace simcam {

struct WirePlan {
  bool closesAfterAnswer = false;  // "Connection: close", and the connection ends
};

}  // namespace simcam
