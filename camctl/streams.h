#pragma once

#include <string>
#include <vector>

#include "camctl/session.h"
#include "camctl/steps.h"
#include "platform/streamprofile.h"

namespace camctl {

/// What one stream is set to, texts as the camera writes them.
struct StreamState {
  std::string profile;
  std::string codec;       ///< "JPEG", "MPEG4" or "H264"
  std::string resolution;  ///< "WIDTHxHEIGHT"
  std::string fps;
  std::string quality;  ///< on the camera's scale
  std::string audio;    ///< codec, as the camera writes it; empty: no sound
};

/// The recording and the live stream.
struct StreamStates {
  StreamState recording;
  StreamState live;
};

/// Number of a codec in `STM_PROFILE::nVdoType`, by its name on the wire ("JPEG") or that of the server ("mjpeg"); 0 for
/// any other text.
int VideoTypeOf(const std::string& codec);

/// Name of such a number on the wire; empty when it is none.
std::string CodecOnTheWire(int videoType);

/// Reads what the stream of one profile is set to.
/// \return result code of the server
int ReadStream(Session& session, const std::string& profile, StreamState& state);

/// Reads what both streams are set to.
/// \param[out] states filled in when the step is run; must outlive it
Step ReadStreams(StreamStates& states);

/// Sets both streams. The session then uses the profiles that carry them.
/// \param name of the step
Step SetStreams(const char* name, const STM_PROFILE& wanted);

/// What came of `wanted`: the settings of both streams, before and after.
std::vector<Setting> Compare(Session& session, const STM_PROFILE& wanted, const StreamStates& before,
                             const StreamStates& after);

/// One line that names what was not taken; empty when everything was.
std::string NotTaken(const std::vector<Setting>& settings);

}  // namespace camctl
