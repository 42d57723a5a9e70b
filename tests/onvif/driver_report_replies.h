#pragma once

#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/onvif/driver_fixture.h"

// What a camera is asked for its capability report and its audio, and what it answers.

namespace testsupport {

/// A request to the media service without arguments, as `Asked` gives it.
std::string AskMedia(std::string_view operation, std::string_view path = "/onvif/media");

/// The same with these argument elements.
std::string AskMediaWith(std::string_view operation, std::string_view arguments,
                         std::string_view path = "/onvif/media");

/// The request for the video options of a configuration; of the camera in general for an empty token.
std::string AskVideoOptions(std::string_view token, std::string_view path = "/onvif/media");

/// The request for the guaranteed encoder instances of a video source configuration.
std::string AskInstances(std::string_view token, std::string_view path = "/onvif/media");

inline constexpr char kAskAudioOptions[] =
    "POST /onvif/media <GetAudioEncoderConfigurationOptions xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />";

/// `<trt:OperationResponse>content</trt:OperationResponse>`, answered with success.
Reply MediaReply(std::string_view operation, std::string_view content = "");

/// A successful answer with one element `name` for each token, and `content` in each.
Reply TokensReply(std::string_view operation, std::string_view name, const std::vector<std::string>& tokens,
                  std::string_view content = "");

Reply ProfilesReply(const std::vector<std::string>& tokens);
Reply EncodersReply(const std::vector<std::string>& tokens);
Reply SourcesReply(const std::vector<std::string>& tokens);

/// A fault that is no refusal of the account.
Reply FaultReply();

/// What a camera says of its services; an empty text leaves its element out.
struct Entries {
  std::string device = "http://10.0.0.1:8080/dev";
  std::string media = "http://10.0.0.1/med?x=1";
  std::string ptz = "http://10.0.0.1/ptz";
  std::string major = "2";
  std::string minor = "60";
};

Reply EntriesReply(const Entries& entries);

/// The codecs as the camera calls them, from the lowest of the server's numbers to the highest.
inline constexpr const char* kCodecs[] = {"JPEG", "MPEG4", "H264"};

/// What an options answer says of one codec. An empty text of a bound leaves its element out.
struct CodecOffer {
  std::string codec;
  std::vector<std::string> sizes;  // "640x480"
  std::string fpsMin;
  std::string fpsMax;
};

Reply VideoOptionsReply(const std::vector<CodecOffer>& offers, std::string_view qualityMin = "1",
                        std::string_view qualityMax = "100");

/// Guaranteed instances; an empty text leaves the element out.
Reply InstancesReply(std::string_view jpeg, std::string_view mpeg4, std::string_view h264);

/// One audio encoder option: encoding, first bit rate, first sample rate.
struct AudioOffer {
  std::string encoding;
  std::string bitrate;
  std::string sampleRate;
};

Reply AudioOptionsReply(const std::vector<AudioOffer>& offers);

/// Answers each operation with its reply, whatever is asked before and after; anything else gets `FaultReply`.
ScriptedCamera::Answerer AnswersTo(std::vector<std::pair<std::string, Reply>> replies);

/// The items with "," between them.
std::string Joined(const std::vector<std::string>& items);

/// A picture size, in the order of the report.
struct Size {
  int width;
  int height;
  bool operator<(const Size& other) const;
  std::string Text() const;
};

/// One to `most` sizes around 640 pixels wide, many of them met again in other draws.
std::set<Size> RandomSizes(std::mt19937& random, int most);

/// Their texts in any order, and joined in ascending order.
std::vector<std::string> Shuffled(const std::set<Size>& sizes, std::mt19937& random);
std::string Texts(const std::set<Size>& sizes);

/// The log's lines without their time stamps, with their line numbers.
std::vector<std::string> LogTexts();

/// Those of `LogTexts` that the driver object itself wrote.
std::vector<std::string> DriverLogTexts();

}  // namespace testsupport
