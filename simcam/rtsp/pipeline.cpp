#include "simcam/rtsp/pipeline.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace simcam {

namespace {

constexpr int kBitsPerKbit = 1000;

// Before each payloader: a viewer who wants pictures alone leaves the sound unlinked, which must not end the stream.
constexpr char kPart[] = " ! errorignore ignore-notlinked=true ignore-error=false convert-to=ok ! ";

struct ProfileRow {
  std::string_view asked;
  std::string_view made;
};

// What the encoder makes of the profile that is asked for; players learn the truth from the stream's description.
constexpr ProfileRow kH264Profiles[] = {
    {"Baseline", "constrained-baseline"},
    {"Main", "main"},
    {"Extended", "constrained-baseline"},
    {"High", "high"},
};

std::string H264Profile(const std::string& asked) {
  const auto* const row = std::find_if(std::begin(kH264Profiles), std::end(kH264Profiles),
                                       [&](const ProfileRow& candidate) { return candidate.asked == asked; });
  return std::string(row == std::end(kH264Profiles) ? kH264Profiles[0].made : row->made);
}

std::string Number(int value) {
  return std::to_string(value);
}

std::string H264(const StreamDescription& stream) {
  return "openh264enc name=" + std::string(kEncoderElement) + " rate-control=bitrate complexity=low multi-thread=1" +
         " bitrate=" + Number(stream.video.bitrate * kBitsPerKbit) + " gop-size=" + Number(stream.video.govLength) +
         " ! video/x-h264,profile=" + H264Profile(stream.video.codecProfile) +
         " ! h264parse ! video/x-h264,stream-format=avc" + kPart + "rtph264pay name=pay0 pt=96 config-interval=-1";
}

// Without the limit of 1 ns several small frames would share a packet, and a time.
std::string Mpeg4(const StreamDescription& stream) {
  return "avenc_mpeg4 name=" + std::string(kEncoderElement) +
         " bitrate=" + Number(stream.video.bitrate * kBitsPerKbit) + " gop-size=" + Number(stream.video.govLength) +
         kPart + "rtpmp4vpay name=pay0 pt=96 config-interval=1 max-ptime=1";
}

std::string Jpeg(const StreamDescription& stream) {
  return "jpegenc name=" + std::string(kEncoderElement) + " quality=" + Number(stream.jpegQuality) + kPart +
         "rtpjpegpay name=pay0 pt=26";
}

std::string VideoText(const StreamDescription& stream) {
  constexpr std::string (*kCodecs[kVideoCodecs])(const StreamDescription&) = {Jpeg, Mpeg4, H264};
  const VideoEncoderConfiguration& video = stream.video;
  return "appsrc name=" + std::string(kPictureElement) + " format=time is-live=true max-buffers=1" +
         " caps=video/x-raw,format=BGRx,width=" + Number(video.width) + ",height=" + Number(video.height) +
         ",framerate=" + Number(video.frameRate) + "/1,pixel-aspect-ratio=1/1,interlace-mode=progressive" +
         " ! identity sync=true ! videoconvert ! video/x-raw,format=I420 ! " +
         kCodecs[static_cast<std::size_t>(video.codec)](stream);
}

// Models name sample rates in whole kHz; three usual rates are not whole.
int SampleRate(int kilohertz) {
  switch (kilohertz) {
    case 11:
      return 11025;
    case 22:
      return 22050;
    case 44:
      return 44100;
    default:
      return kilohertz * 1000;
  }
}

std::string G711(const AudioEncoderConfiguration&) {
  return std::string("mulawenc") + kPart + "rtppcmupay name=pay1 pt=0";
}

std::string G726(const AudioEncoderConfiguration& audio) {
  constexpr int kBitrates[] = {16, 24, 32, 40};  // kbit/s
  const auto isNearer = [&](int left, int right) {
    return std::abs(left - audio.bitrate) < std::abs(right - audio.bitrate);
  };
  const int bitrate = *std::min_element(std::begin(kBitrates), std::end(kBitrates), isNearer);
  return "avenc_g726 bitrate=" + Number(bitrate * kBitsPerKbit) + kPart + "rtpg726pay name=pay1 pt=97 force-aal2=false";
}

std::string Aac(const AudioEncoderConfiguration& audio) {
  return "avenc_aac bitrate=" + Number(audio.bitrate * kBitsPerKbit) + " ! aacparse" + kPart +
         "rtpmp4gpay name=pay1 pt=97";
}

struct AudioRow {
  std::string_view encoding;
  int sampleRate;  // kHz; 0: that of the configuration
  std::string (*text)(const AudioEncoderConfiguration& audio);
};

constexpr AudioRow kAudioCodecs[] = {{"G711", 8, G711}, {"G726", 8, G726}, {"AAC", 0, Aac}};

// A beep each second.
std::string AudioText(const AudioEncoderConfiguration& audio) {
  const auto* const row = std::find_if(std::begin(kAudioCodecs), std::end(kAudioCodecs),
                                       [&](const AudioRow& candidate) { return candidate.encoding == audio.encoding; });
  if (row == std::end(kAudioCodecs)) {
    return {};
  }
  const int rate = SampleRate(row->sampleRate == 0 ? audio.sampleRate : row->sampleRate);
  return " audiotestsrc name=" + std::string(kSoundElement) +
         " is-live=true wave=ticks freq=880 volume=0.2 sine-periods-per-tick=88 ! audioconvert" +
         (" ! audio/x-raw,channels=1,rate=" + Number(rate)) + " ! " + row->text(audio);
}

}  // namespace

std::string PipelineText(const StreamDescription& stream) {
  return "( " + VideoText(stream) + (stream.audio ? AudioText(*stream.audio) : std::string()) + " )";
}

}  // namespace simcam
