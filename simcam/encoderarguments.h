// Reads the configurations of the Set requests of the media service.
#pragma once

#include <string>
#include <vector>

#include "simcam/callrules.h"
#include "simcam/model.h"
#include "simcam/soaprequest.h"

namespace simcam {

// Sets `encoder` as the request's configuration asks. Throws SoapFault: ter:InvalidArgs when an element that the schema
// requires is missing, ter:InvalidArgVal when a number is none, and with ter:ConfigModify for what the encoder does not
// offer. Settings that the schema lets a client leave out stay as they are, or take the codec's least when the codec
// changes. The rules may have it clamp values and ignore settings.
void ReadVideoEncoder(const XmlElement& configuration, const VideoEncoderOptions& options, const CallRules& rules,
                      VideoEncoderConfiguration& encoder);

// As above.
void ReadAudioEncoder(const XmlElement& configuration, const std::vector<AudioCodecOptions>& codecs,
                      const CallRules& rules, AudioEncoderConfiguration& encoder);

// The token of a request's configuration. Throws SoapFault (ter:InvalidArgs) when it has none.
std::string ReadConfigurationToken(const XmlElement& configuration);

}  // namespace simcam
