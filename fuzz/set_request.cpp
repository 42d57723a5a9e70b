#include <memory>

#include "fuzz/inprocess.h"
#include "fuzz/require.h"
#include "fuzz/takebyte.h"
#include "fuzz/targets.h"
#include "onvif/onvifmedia.h"
#include "onvif/xmlhandles.h"
#include "platform/cameraapi.h"
#include "platform/vexlib.h"

#include <libxml/parser.h>

namespace camapifuzz {

namespace {

constexpr const char* kEncodings[] = {"JPEG", "MPEG4", "H264"};

bool IsWellFormed(const std::string& text) {
  const XmlDoc document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE));
  xmlResetLastError();
  return document != nullptr;
}

RET_ONVIF Set(OnvifMediaService& media, std::size_t choice) {
  if (choice == std::size(kEncodings)) {
    OVF_MED_AUD_CONF conf{"source", "encoder", "G711", "64", "8"};
    return media.SetAudioEncoderConfiguration(conf);
  }
  OVF_MED_VDO_CONF conf{"source", "encoder", kEncodings[choice], "1280", "720", "15", "3", "", "", ""};
  return media.SetVideoEncoderConfiguration(conf);
}

}  // namespace

void SetRequest(std::string_view input) {
  const std::size_t choice = TakeByte(input) % (std::size(kEncodings) + 1);
  const InProcessCamera camera(input);
  CameraAPI api("127.0.0.1", 1, "user", "password", "", true);
  OnvifMediaService media;
  media.UpdateServiceParam(&api, "/media", "2", "0");
  const RET_ONVIF result = Set(media, choice);
  Require(result >= RET_ONVIF_OK && result <= RET_ONVIF_XML_FAIL, "an update returns one of its results");
  for (const std::string& request : camera.Requests()) {
    // Bytes of another encoding go back to the camera as they came.
    if (VexlibUnicodeIsUTF8(request.c_str()) != 0) {
      Require(IsWellFormed(request), "a request is well-formed");
    }
  }
}

}  // namespace camapifuzz
