// What a description says of the tracks of a stream, and what of GStreamer takes them.

#include "camctl/trackformat.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "camctl/gsthandles.h"
#include "camctl/text.h"

namespace camctl {

namespace {

constexpr std::size_t kLongestName = 32;  // bytes of a codec's name

// How a codec is decoded; the first decoder that this machine has is used.
struct VideoRow {
  std::string_view encoding;  // in the description of the stream
  const char* codec;          // as the camera's media service names it
  const char* depayloader;
  const char* parser;  // for cameras that send several pictures in one packet; left out where it is missing
  std::array<const char*, 2> decoders;
};

constexpr VideoRow kVideo[] = {{"H264", "H264", "rtph264depay", "h264parse", {"avdec_h264", "openh264dec"}},
                               {"MP4V-ES", "MPEG4", "rtpmp4vdepay", "mpeg4videoparse", {"avdec_mpeg4", "avdec_mpeg4"}},
                               {"JPEG", "JPEG", "rtpjpegdepay", "jpegparse", {"jpegdec", "avdec_mjpeg"}}};

struct AudioRow {
  std::string_view prefix;  // of the encoding in the description
  const char* codec;
};

constexpr AudioRow kAudio[] = {{"PCMU", "G711"},      {"PCMA", "G711"},         {"G726", "G726"},
                               {"AAL2-G726", "G726"}, {"MPEG4-GENERIC", "AAC"}, {"MP4A-LATM", "AAC"}};

const VideoRow* FindVideo(const std::string& encoding) {
  for (const VideoRow& row : kVideo) {
    if (row.encoding == encoding) return &row;
  }
  return nullptr;
}

// Payload types with a fixed meaning, for which a description may leave the name out.
struct FixedRow {
  int payload;
  const char* encoding;
  int rate;  // of the clock, per second
};

constexpr FixedRow kFixed[] = {{0, "PCMU", 8000}, {8, "PCMA", 8000}, {26, "JPEG", 90000}};

const FixedRow* FindFixed(const GstStructure* structure) {
  int payload = -1;
  gst_structure_get_int(structure, "payload", &payload);
  for (const FixedRow& row : kFixed) {
    if (row.payload == payload) return &row;
  }
  return nullptr;
}

}  // namespace

bool HasElement(const char* name) {
  return Owned<GstElementFactory>(gst_element_factory_find(name)) != nullptr;
}

std::string TextField(const GstStructure* structure, const char* field) {
  const gchar* const text = gst_structure_get_string(structure, field);
  return text == nullptr ? std::string() : Shortened(OneLine(text), kLongestName);
}

std::string EncodingOf(const GstStructure* structure) {
  const std::string name = TextField(structure, "encoding-name");
  const FixedRow* const row = name.empty() ? FindFixed(structure) : nullptr;
  return row == nullptr ? name : row->encoding;
}

int SampleRateOf(const GstStructure* structure) {
  const FixedRow* const row = FindFixed(structure);
  int rate = row == nullptr ? 0 : row->rate;
  gst_structure_get_int(structure, "clock-rate", &rate);
  return rate;
}

std::string VideoName(const std::string& encoding) {
  const VideoRow* const row = FindVideo(encoding);
  return row == nullptr ? encoding : row->codec;
}

std::string AudioName(const std::string& encoding) {
  for (const AudioRow& row : kAudio) {
    if (encoding.compare(0, row.prefix.size(), row.prefix) == 0) return row.codec;
  }
  return encoding;
}

std::string DecodingOf(const std::string& encoding) {
  const VideoRow* const row = FindVideo(encoding);
  if (row == nullptr || !HasElement(row->depayloader)) return {};
  const auto* const decoder = std::find_if(row->decoders.begin(), row->decoders.end(), &HasElement);
  if (decoder == row->decoders.end()) return {};
  const std::string parsing = HasElement(row->parser) ? std::string(row->parser) + " ! " : "";
  return std::string(row->depayloader) + " ! " + parsing + *decoder + " ! ";
}

}  // namespace camctl
