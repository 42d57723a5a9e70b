#pragma once

#include <string>
#include <string_view>

#include "tests/onvif/update_test.h"

// What the tests of the video encoder's update have in common: one camera's configuration, and the conversation.

namespace testsupport {

/// The request for the present configuration.
inline std::string AskCurrent(const std::string& token) {
  return R"(<GetVideoEncoderConfiguration xmlns="http://www.onvif.org/ver10/media/wsdl"><ConfigurationToken>)" + token +
         "</ConfigurationToken></GetVideoEncoderConfiguration>";
}

/// The request for what a configuration offers.
inline std::string AskOptions(const std::string& token) {
  return R"(<GetVideoEncoderConfigurationOptions xmlns="http://www.onvif.org/ver10/media/wsdl">)"
         R"(<ConfigurationToken xmlns="http://www.onvif.org/ver10/media/wsdl">)" +
         token + "</ConfigurationToken></GetVideoEncoderConfigurationOptions>";
}

/// The Body of the camera's present configuration.
inline std::string Current(std::string_view elements) {
  return "<trt:GetVideoEncoderConfigurationResponse><trt:Configuration token='ve1'>" + std::string(elements) +
         "</trt:Configuration></trt:GetVideoEncoderConfigurationResponse>";
}

/// The Body of options that describe one codec with this range of GOP lengths, and its profile.
inline std::string Options(const std::string& codec, const std::string& gop, const std::string& profile) {
  return OneLine(R"(
    <trt:GetVideoEncoderConfigurationOptionsResponse><trt:Options><tt:)" +
                 codec + R"(>
      <tt:ResolutionsAvailable><tt:Width>640</tt:Width><tt:Height>480</tt:Height></tt:ResolutionsAvailable>)" +
                 gop + profile + "</tt:" + codec + "></trt:Options></trt:GetVideoEncoderConfigurationOptionsResponse>");
}

/// A range of GOP lengths in the options.
inline std::string GopRange(const std::string& min, const std::string& max) {
  return "<tt:GovLengthRange><tt:Min>" + min + "</tt:Min><tt:Max>" + max + "</tt:Max></tt:GovLengthRange>";
}

/// The body of the update.
inline std::string SetVideo(const std::string& elements, const std::string& token = "ve1") {
  return SetBody("SetVideoEncoderConfiguration", token, elements);
}

/// Size of the records in these tests, as a Set request holds it.
inline const std::string kSize = Schema("Resolution", "<Width>1280</Width><Height>720</Height>");

/// What the tests set.
inline OVF_MED_VDO_CONF Record(const std::string& encoding, const std::string& frameRate = "20") {
  return {"", "ve1", encoding, "1280", "720", frameRate, "7.5", "r1", "r2", "r3"};
}

/// A whole configuration in the order of the schema.
inline const std::string kWhole = OneLine(R"(
    <tt:Name>Main &amp; only</tt:Name><tt:UseCount>2</tt:UseCount><tt:Encoding>H264</tt:Encoding>
    <tt:Resolution><tt:Width>640</tt:Width><tt:Height>480</tt:Height></tt:Resolution><tt:Quality>3</tt:Quality>
    <tt:RateControl><tt:FrameRateLimit>10</tt:FrameRateLimit><tt:EncodingInterval>1</tt:EncodingInterval>
    <tt:BitrateLimit>2048</tt:BitrateLimit></tt:RateControl>
    <tt:H264><tt:GovLength>50</tt:GovLength><tt:H264Profile>Main</tt:H264Profile></tt:H264>
    <tt:Multicast><tt:Address><tt:Type>IPv4</tt:Type><tt:IPv4Address>239.0.0.1</tt:IPv4Address></tt:Address>
    <tt:Port>32000</tt:Port><tt:TTL>4</tt:TTL><tt:AutoStart>false</tt:AutoStart></tt:Multicast>
    <tt:SessionTimeout>PT60S</tt:SessionTimeout>)");

/// What becomes of the elements of `kWhole` before its codec element, and of those behind it.
inline std::string WholeHead(const std::string& encoding) {
  return Schema("Name", "Main &amp; only") + Schema("UseCount", "2") + Schema("Encoding", encoding) + kSize +
         Schema("Quality", "7.5") +
         Schema("RateControl",
                "<FrameRateLimit>20</FrameRateLimit><EncodingInterval>1</EncodingInterval>"
                "<BitrateLimit>2048</BitrateLimit>");
}

inline const std::string kWholeTail =
    Schema("Multicast",
           "<Address><Type>IPv4</Type><IPv4Address>239.0.0.1</IPv4Address></Address><Port>32000</Port><TTL>4</TTL>"
           "<AutoStart>false</AutoStart>") +
    Schema("SessionTimeout", "PT60S");

/// Updates of a video encoder.
class SetVideoEncoder : public UpdateTest {
 protected:
  RET_ONVIF Update(OVF_MED_VDO_CONF conf) { return m_service.SetVideoEncoderConfiguration(conf); }

  /// An update from the template `elements`, and the elements that it must send.
  void ExpectFromTemplate(const std::string& elements, const OVF_MED_VDO_CONF& conf, const std::string& sent) {
    AnswerBody(Current(elements));
    AnswerUpdated();
    EXPECT_EQ(Update(conf), RET_ONVIF_OK) << elements;
    ExpectReadAndSet({AskCurrent("ve1")}, SetVideo(sent));
  }

  /// An update whose codec element comes from these options.
  void ExpectFromOptions(const OVF_MED_VDO_CONF& conf, const std::string& options, const std::string& codec) {
    AnswerBody(Current(""));
    AnswerBody(options);
    AnswerUpdated();
    EXPECT_EQ(Update(conf), RET_ONVIF_OK) << options;
    ExpectReadAndSet({AskCurrent("ve1"), AskOptions("ve1")}, SetVideo(codec));
  }
};

}  // namespace testsupport
