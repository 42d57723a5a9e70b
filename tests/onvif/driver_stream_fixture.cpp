#include "tests/onvif/driver_stream_fixture.h"

namespace testsupport {
namespace {

constexpr char kMediaNs[] = " xmlns=\"http://www.onvif.org/ver10/media/wsdl\"";
constexpr char kSchemaNs[] = " xmlns=\"http://www.onvif.org/ver10/schema\"";

std::string Media(const std::string& operation, const std::string& content) {
  return "POST /onvif/media <" + operation + kMediaNs + ">" + content + "</" + operation + ">";
}

std::string MediaWithoutContent(const std::string& operation) {
  return "POST /onvif/media <" + operation + kMediaNs + " />";
}

std::string SchemaElement(const std::string& name, const std::string& content) {
  return "<" + name + kSchemaNs + ">" + content + "</" + name + ">";
}

Reply Answered(const std::string& body) {
  return Reply::Ok(Envelope(body));
}

std::string ListOf(const std::string& element, const std::vector<std::string>& tokens, const std::string& content) {
  std::string list;
  for (const std::string& token : tokens) {
    list += "<" + element + " token=\"" + token + "\">";
    list += content + "</" + element + ">";
  }
  return list;
}

std::string SizeXml(const std::string& element, const std::string& width, const std::string& height) {
  return Element(element, Element("tt:Width", width) + Element("tt:Height", height));
}

std::string EncoderXml(const MediaProfile& profile) {
  return Element("tt:Name", "enc") + Element("tt:UseCount", "1") + Element("tt:Encoding", profile.codec) +
         SizeXml("tt:Resolution", profile.width, profile.height) + Element("tt:Quality", profile.quality) +
         Element("tt:RateControl", Element("tt:FrameRateLimit", profile.rate) + Element("tt:EncodingInterval", "1") +
                                       Element("tt:BitrateLimit", "2048"));
}

std::string ProfileXml(const std::string& element, const MediaProfile& profile) {
  std::string xml = "<" + element + " token=\"" + profile.token + "\"><tt:Name>profile</tt:Name>";
  if (!profile.source.empty()) xml += ListOf("tt:VideoSourceConfiguration", {profile.source}, "");
  if (!profile.encoder.empty()) xml += ListOf("tt:VideoEncoderConfiguration", {profile.encoder}, EncoderXml(profile));
  if (!profile.ptz.empty()) xml += ListOf("tt:PTZConfiguration", {profile.ptz}, "");
  return xml + "</" + element + ">";
}

}  // namespace

const std::string kAskProfiles = MediaWithoutContent("GetProfiles");
const std::string kAskEncoders = MediaWithoutContent("GetVideoEncoderConfigurations");
const std::string kAskSources = MediaWithoutContent("GetVideoSourceConfigurations");
const std::string kAskPtzConf = "POST /onvif/ptz <GetConfigurations xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\" />";

STM_PROFILE StreamRequest() {
  STM_PROFILE request;
  request.nVdoType = 3;
  request.nStmMode = 1;
  request.strReso = request.strLiveReso = "1280x720";
  request.strFps = request.strLiveFps = "25";
  return request;
}

std::string AskProfile(const std::string& token) {
  return Media("GetProfile", Element("ProfileToken", token));
}

std::string AskCreate(const std::string& name) {
  return Media("CreateProfile", Element("Name", name));
}

std::string AskOptions(const std::string& encoder) {
  return Media("GetVideoEncoderConfigurationOptions",
               std::string("<ConfigurationToken") + kMediaNs + ">" + encoder + "</ConfigurationToken>");
}

std::string AskBind(const std::string& kind, const std::string& token, const std::string& conf) {
  return Media("Add" + kind + "Configuration", Element("ProfileToken", token) + Element("ConfigurationToken", conf));
}

std::string AskCurrent(const std::string& encoder) {
  return Media("GetVideoEncoderConfiguration", Element("ConfigurationToken", encoder));
}

std::string AskSet(const MediaProfile& wanted) {
  const std::string codec =
      wanted.codec == "JPEG" ? "" : SchemaElement(wanted.codec, Element("GovLength", wanted.rate));
  return Media(
      "SetVideoEncoderConfiguration",
      "<Configuration token=\"" + wanted.encoder + "\">" + SchemaElement("Name", "enc") +
          SchemaElement("UseCount", "1") + SchemaElement("Encoding", wanted.codec) +
          SchemaElement("Resolution", Element("Width", wanted.width) + Element("Height", wanted.height)) +
          SchemaElement("Quality", wanted.quality) +
          SchemaElement("RateControl", Element("FrameRateLimit", wanted.rate) + Element("EncodingInterval", "1") +
                                           Element("BitrateLimit", "2048")) +
          codec + "</Configuration><ForcePersistence>true</ForcePersistence>");
}

Reply Done() {
  return Answered("<trt:Response/>");
}

Reply Refused() {
  return Reply::Status(400, FaultEnvelope("ter:NoConfig", "Refused"));
}

Reply OneProfile(const MediaProfile& profile) {
  return Answered(Element("trt:GetProfileResponse", ProfileXml("trt:Profile", profile)));
}

Reply Profiles(const std::vector<MediaProfile>& profiles) {
  std::string list;
  for (const MediaProfile& profile : profiles) list += ProfileXml("trt:Profiles", profile);
  return Answered(Element("trt:GetProfilesResponse", list));
}

Reply Created(const std::string& token) {
  return Answered(Element("trt:CreateProfileResponse", ListOf("trt:Profile", {token}, "")));
}

Reply Encoders(const std::vector<std::string>& tokens) {
  return Answered(Element("trt:GetVideoEncoderConfigurationsResponse",
                          ListOf("trt:Configurations", tokens, Element("tt:Encoding", "H264"))));
}

Reply Sources(const std::vector<std::string>& tokens) {
  return Answered(Element("trt:GetVideoSourceConfigurationsResponse", ListOf("trt:Configurations", tokens, "")));
}

Reply PtzConf(const std::string& token) {
  return Answered(Element("tptz:GetConfigurationsResponse", ListOf("tptz:PTZConfiguration", {token}, "")));
}

Reply Options(const std::string& codec, const std::vector<std::string>& sizes) {
  std::string list;
  for (const std::string& size : sizes) {
    const std::size_t cross = size.find('x');
    list += SizeXml("tt:ResolutionsAvailable", size.substr(0, cross), size.substr(cross + 1));
  }
  return Answered(
      Element("trt:GetVideoEncoderConfigurationOptionsResponse", Element("trt:Options", Element("tt:" + codec, list))));
}

Reply CurrentEncoder() {
  const std::string gop = Element("tt:GovLength", "30");
  return Answered(Element("trt:GetVideoEncoderConfigurationResponse",
                          ListOf("trt:Configuration", {"any"},
                                 EncoderXml(MediaProfile()) + Element("tt:MPEG4", gop) + Element("tt:H264", gop))));
}

std::vector<std::string> StreamDriver::Stored() const {
  return {m_strReso, m_strFps, m_strQual, m_strLiveReso, m_strLiveFps, m_strLiveQual};
}

void StreamDriver::Store(const std::vector<std::string>& texts) {
  std::string* const fields[] = {&m_strReso, &m_strFps, &m_strQual, &m_strLiveReso, &m_strLiveFps, &m_strLiveQual};
  for (std::size_t i = 0; i < std::size(fields); ++i) *fields[i] = texts[i];
}

void Stream::TearDown() {
  EXPECT_EQ(Asked(m_camera), m_conversation);
  Driver::TearDown();
}

void Stream::Talk(const std::string& question, const Reply& reply) {
  m_conversation.push_back(question);
  m_camera.Answer(reply);
}

void Stream::TalkSet(const MediaProfile& wanted) {
  Talk(AskCurrent(wanted.encoder), CurrentEncoder());
  Talk(AskSet(wanted), Done());
}

void Stream::TalkRefusedSet(const std::string& encoder) {
  Talk(AskCurrent(encoder), Refused());
  Talk(kAskProfiles, Refused());
}

StreamDriver Stream::MakeStreamDriver(const std::string& pair, CameraCap cap) const {
  return StreamDriver("127.0.0.1", m_camera.Port(), kUser, kPassword, pair, cap);
}

void Stream::ExpectTokens(ONVIFAPI& driver, const std::string& rec, const std::string& live) {
  std::string path;
  int port = 0;
  const Reply uri = Answered(
      "<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>rtsp://h:554/p</tt:Uri></trt:MediaUri>"
      "</trt:GetStreamUriResponse>");
  Talk(AskStreamUri(rec), uri);
  EXPECT_EQ(driver.GetPathPort(path, port), 0);
  Talk(AskStreamUri(live), uri);
  EXPECT_EQ(driver.GetLivePathPort(path, port), 0);
}

CameraCap CapWithoutPtz() {
  return CameraCap({{"device_entry", "/onvif/device"},
                    {"media_entry", "/onvif/media"},
                    {"version_major", "2"},
                    {"version_minor", "0"},
                    {"quality_min", "0"},
                    {"quality_max", "5"}});
}

}  // namespace testsupport
