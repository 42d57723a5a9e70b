#pragma once

#include <string>
#include <vector>

#include "tests/onvif/driver_fixture.h"

namespace testsupport {

/// A media profile as a camera has it. A configuration with an empty token is not bound.
struct MediaProfile {
  std::string token;
  std::string encoder = "EncA";
  std::string codec = "H264";
  std::string width = "1280";
  std::string height = "720";
  std::string rate = "25";
  std::string quality = "50";
  std::string source = "Src";
  std::string ptz = "Ptz";
};

/// A request for H264 in the only stream mode, both streams alike: 1280x720, 25 frames a second, quality kept.
STM_PROFILE StreamRequest();

/// "Rec" as `StreamRequest` asks for.
inline const MediaProfile kRec{"Rec"};

/// A copy that has another text in one field.
template <typename Record>
Record With(Record record, std::string Record::*field, const std::string& text) {
  record.*field = text;
  return record;
}

// What the driver asks, as `Asked` tells it.
extern const std::string kAskProfiles;
extern const std::string kAskEncoders;
extern const std::string kAskSources;
extern const std::string kAskPtzConf;
std::string AskProfile(const std::string& token);
std::string AskCreate(const std::string& name);
std::string AskOptions(const std::string& encoder);
/// `kind` is the operation without "Add" and "Configuration".
std::string AskBind(const std::string& kind, const std::string& token, const std::string& conf);
/// The reading of the present configuration, which goes ahead of every update.
std::string AskCurrent(const std::string& encoder);
/// The update of an encoder that answered with `CurrentEncoder`.
std::string AskSet(const MediaProfile& wanted);

// What the camera answers.
Reply Done();
Reply Refused();
Reply OneProfile(const MediaProfile& profile);
Reply Profiles(const std::vector<MediaProfile>& profiles);
Reply Created(const std::string& token);
Reply Encoders(const std::vector<std::string>& tokens);
Reply Sources(const std::vector<std::string>& tokens);
Reply PtzConf(const std::string& token);
/// What an encoder offers: one codec with these sizes, "WIDTHxHEIGHT".
Reply Options(const std::string& codec, const std::vector<std::string>& sizes);
/// A configuration with encoding, size, quality and frame rate.
Reply CurrentEncoder();

/// The driver object with its stored stream setting in reach.
class StreamDriver : public ONVIFAPI {
 public:
  using ONVIFAPI::ONVIFAPI;

  /// Size, frame rate and quality of the main stream, then of the live one.
  std::vector<std::string> Stored() const;
  void Store(const std::vector<std::string>& texts);
  int StoredMode() const { return m_nStmMode; }
};

/// Tests that tell their conversation line by line; it must have been held exactly so at the test's end.
class Stream : public Driver {
 protected:
  void TearDown() override;

  /// The driver's next request must be `question`; it is answered with `reply`.
  void Talk(const std::string& question, const Reply& reply);
  /// Reading and update of an encoder, both successful.
  void TalkSet(const MediaProfile& wanted);
  /// One more try to update the encoder, refused at its reading.
  void TalkRefusedSet(const std::string& encoder);

  /// The driver of the camera for the profiles "Rec" and "Live", or another pair.
  StreamDriver MakeStreamDriver(const std::string& pair = "Rec,Live", CameraCap cap = StoredCap()) const;

  /// Fails unless the driver holds these profile tokens, which it is made to tell the camera.
  void ExpectTokens(ONVIFAPI& driver, const std::string& rec, const std::string& live);

  std::vector<std::string> m_conversation;
};

/// The stored record of a camera without PTZ service; quality levels 0 to 5 are quality values 0 to 5.
CameraCap CapWithoutPtz();

}  // namespace testsupport
