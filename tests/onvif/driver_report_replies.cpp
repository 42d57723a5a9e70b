#include "tests/onvif/driver_report_replies.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace testsupport {
namespace {

constexpr std::size_t kTimeStampLength = 16;  // "Jan  1 00:00:00 "

std::string ElementIf(std::string_view name, std::string_view content) {
  return content.empty() ? std::string() : Element(name, content);
}

std::string SizeElement(const std::string& size) {
  const std::size_t cross = size.find('x');
  return Element("tt:ResolutionsAvailable",
                 Element("tt:Width", size.substr(0, cross)) + Element("tt:Height", size.substr(cross + 1)));
}

std::string Offer(const CodecOffer& offer) {
  std::string content;
  for (const std::string& size : offer.sizes) content += SizeElement(size);
  content += Element("tt:FrameRateRange", ElementIf("tt:Min", offer.fpsMin) + ElementIf("tt:Max", offer.fpsMax));
  return Element("tt:" + offer.codec, content);
}

}  // namespace

std::string AskMedia(std::string_view operation, std::string_view path) {
  return "POST " + std::string(path) + " <" + std::string(operation) +
         " xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />";
}

std::string AskMediaWith(std::string_view operation, std::string_view arguments, std::string_view path) {
  return "POST " + std::string(path) + " <" + std::string(operation) +
         " xmlns=\"http://www.onvif.org/ver10/media/wsdl\">" + std::string(arguments) + "</" + std::string(operation) +
         ">";
}

std::string AskVideoOptions(std::string_view token, std::string_view path) {
  const std::string argument = token.empty() ? ""
                                             : "<ConfigurationToken xmlns=\"http://www.onvif.org/ver10/media/wsdl\">" +
                                                   std::string(token) + "</ConfigurationToken>";
  return AskMediaWith("GetVideoEncoderConfigurationOptions", argument, path);
}

std::string AskInstances(std::string_view token, std::string_view path) {
  return AskMediaWith("GetGuaranteedNumberOfVideoEncoderInstances", Element("ConfigurationToken", token), path);
}

Reply MediaReply(std::string_view operation, std::string_view content) {
  return Reply::Ok(Envelope(Element("trt:" + std::string(operation) + "Response", content)));
}

Reply TokensReply(std::string_view operation, std::string_view name, const std::vector<std::string>& tokens,
                  std::string_view content) {
  std::string elements;
  for (const std::string& token : tokens) {
    elements += "<trt:" + std::string(name) + " token=\"" + token + "\">" + std::string(content) +
                "</trt:" + std::string(name) + ">";
  }
  return MediaReply(operation, elements);
}

Reply ProfilesReply(const std::vector<std::string>& tokens) {
  return TokensReply("GetProfiles", "Profiles", tokens);
}

Reply EncodersReply(const std::vector<std::string>& tokens) {
  return TokensReply("GetVideoEncoderConfigurations", "Configurations", tokens, "<tt:Encoding>H264</tt:Encoding>");
}

Reply SourcesReply(const std::vector<std::string>& tokens) {
  return TokensReply("GetVideoSourceConfigurations", "Configurations", tokens);
}

Reply FaultReply() {
  return Reply::Ok(FaultEnvelope("ter:ActionNotSupported", "Not here"));
}

Reply EntriesReply(const Entries& entries) {
  return Reply::Ok(
      Envelope("<tds:GetCapabilitiesResponse><tds:Capabilities><tt:Device>" + ElementIf("tt:XAddr", entries.device) +
               "<tt:System><tt:SupportedVersions>" + ElementIf("tt:Major", entries.major) +
               ElementIf("tt:Minor", entries.minor) + "</tt:SupportedVersions></tt:System></tt:Device><tt:Media>" +
               ElementIf("tt:XAddr", entries.media) + "</tt:Media><tt:PTZ>" + ElementIf("tt:XAddr", entries.ptz) +
               "</tt:PTZ></tds:Capabilities></tds:GetCapabilitiesResponse>"));
}

Reply VideoOptionsReply(const std::vector<CodecOffer>& offers, std::string_view qualityMin,
                        std::string_view qualityMax) {
  std::string content = Element("tt:QualityRange", Element("tt:Min", qualityMin) + Element("tt:Max", qualityMax));
  for (const CodecOffer& offer : offers) content += Offer(offer);
  return MediaReply("GetVideoEncoderConfigurationOptions", Element("trt:Options", content));
}

Reply InstancesReply(std::string_view jpeg, std::string_view mpeg4, std::string_view h264) {
  return MediaReply("GetGuaranteedNumberOfVideoEncoderInstances",
                    "<trt:TotalNumber>4</trt:TotalNumber>" + ElementIf("trt:JPEG", jpeg) + ElementIf("trt:H264", h264) +
                        ElementIf("trt:MPEG4", mpeg4));
}

Reply AudioOptionsReply(const std::vector<AudioOffer>& offers) {
  std::string content;
  for (const AudioOffer& offer : offers) {
    content += Element("tt:Options", Element("tt:Encoding", offer.encoding) +
                                         Element("tt:BitrateList", Element("tt:Items", offer.bitrate)) +
                                         Element("tt:SampleRateList", Element("tt:Items", offer.sampleRate)));
  }
  return MediaReply("GetAudioEncoderConfigurationOptions", Element("trt:Options", content));
}

ScriptedCamera::Answerer AnswersTo(std::vector<std::pair<std::string, Reply>> replies) {
  return [replies = std::move(replies)](const HttpRequest& request) {
    for (const auto& [operation, reply] : replies) {
      if (request.body.find("<" + operation + " ") != std::string::npos) return reply;
    }
    return FaultReply();
  };
}

std::string Joined(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : ",") + item;
  return text;
}

bool Size::operator<(const Size& other) const {
  return std::tie(width, height) < std::tie(other.width, other.height);
}

std::string Size::Text() const {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::set<Size> RandomSizes(std::mt19937& random, int most) {
  std::uniform_int_distribution<int> width(400, 900);
  std::uniform_int_distribution<int> height(1, 3);
  std::set<Size> sizes;
  for (int count = std::uniform_int_distribution<int>(1, most)(random); count > 0; --count) {
    sizes.insert({width(random) / 20 * 20, height(random)});
  }
  return sizes;
}

std::vector<std::string> Shuffled(const std::set<Size>& sizes, std::mt19937& random) {
  std::vector<std::string> texts;
  for (const Size& size : sizes) texts.push_back(size.Text());
  std::shuffle(texts.begin(), texts.end(), random);
  return texts;
}

std::string Texts(const std::set<Size>& sizes) {
  std::vector<std::string> texts;
  for (const Size& size : sizes) texts.push_back(size.Text());
  return Joined(texts);
}

std::vector<std::string> LogTexts() {
  std::vector<std::string> texts;
  for (const std::string& line : LogLines()) texts.push_back(line.substr(std::min(kTimeStampLength, line.size())));
  return texts;
}

std::vector<std::string> DriverLogTexts() {
  const std::vector<std::string> all = LogTexts();
  std::vector<std::string> own;
  std::copy_if(all.begin(), all.end(), std::back_inserter(own),
               [](const std::string& text) { return text.rfind("onvif/camapi-onvif:", 0) == 0; });
  return own;
}

}  // namespace testsupport
