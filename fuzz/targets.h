// What is fuzzed: functions that take any bytes. They end the process when something is wrong.
#pragma once

#include <string>
#include <string_view>

namespace camapifuzz {

// A request to a simulated camera. The first byte chooses a model, the second how the rest is used:
//   0  as the body of a request, as it stands
//   1  as the content of an operation that the third byte chooses, in a right envelope, signed
//   2  like 1, with a quirk that the fourth byte chooses
// Whatever comes, the answer is a whole envelope, unless a quirk bends it.
void SimcamRequest(std::string_view input);

// The text form of a quirk: what is accepted reads back as the same.
void SimcamQuirk(std::string_view input);

// A model file: what is accepted is a camera that answers.
void SimcamModel(std::string_view input);

// The answer of a camera to everything. The first byte chooses who reads it: an operation of a service client, for a
// camera of version 2.0 or 1.0, or one of the server's. The result is one of those that there are.
void ReplyReaders(std::string_view input);

// The answer of a camera from which an update of an encoder is built; the first byte chooses the encoding. What is sent
// is well-formed.
void SetRequest(std::string_view input);

// An address as a camera reports it.
void UrlSplit(std::string_view input);

// All bytes that come back for a post. It has a result, in time.
void HttpAnswer(std::string_view input);

// The body of an answer: a document that is accepted is within the ceilings.
void XmlReply(std::string_view input);

// A camera file of the workbench, and the record that the server stores: read, or refused with a reason.
void CameraFiles(std::string_view input);

struct Target {
  const char* name;  // as the folder of its corpus
  void (*run)(std::string_view input);
};

inline constexpr Target kTargets[] = {
    {"camera_file", CameraFiles},  {"http_answer", HttpAnswer},       {"reply_readers", ReplyReaders},
    {"set_request", SetRequest},   {"simcam_request", SimcamRequest}, {"simcam_quirk", SimcamQuirk},
    {"simcam_model", SimcamModel}, {"url_split", UrlSplit},           {"xml_reply", XmlReply},
};

}  // namespace camapifuzz
