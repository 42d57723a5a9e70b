#include "camctl/tourplan.h"

#include <algorithm>
#include <vector>

#include "camctl/audio.h"
#include "camctl/lens.h"
#include "camctl/streams.h"
#include "camctl/text.h"

namespace camctl {

namespace {

constexpr const char* kUsualLevel = "3";  // of the server's five quality levels
constexpr const char* kLowerLevel = "2";

bool Holds(const std::string& list, const std::string& item) {
  const std::vector<std::string> items = Split(list);
  return std::find(items.begin(), items.end(), item) != items.end();
}

// The server's name of the codec to use: the preferred one, else the best that is reported; empty when there is none.
std::string ChooseCodec(const Capabilities& record, const std::string& preferred) {
  const int type = VideoTypeOf(preferred);
  std::vector<std::string> candidates(std::rbegin(ONVIFAPI::m_rgstrLwrCodec), std::rend(ONVIFAPI::m_rgstrLwrCodec));
  if (type > 0) candidates.insert(candidates.begin(), ONVIFAPI::m_rgstrLwrCodec[type - 1]);
  const auto found = std::find_if(candidates.begin(), candidates.end(), [&](const std::string& codec) {
    return record.count(codec) > 0 && !ValueOf(record, "resolutions_" + codec).empty();
  });
  return found == candidates.end() ? std::string() : *found;
}

std::string DefaultRate(const Capabilities& record, const std::string& codec, const std::string& size) {
  return ValueOf(record, "default_fps_" + codec + "_" + size);
}

// A size other than `size`, the smallest first; `size` when there is no other.
std::string OtherSize(const Capabilities& record, const std::string& codec, const std::string& size) {
  const std::vector<std::string> sizes = Split(ValueOf(record, "resolutions_" + codec));
  const auto found = std::find_if(sizes.begin(), sizes.end(), [&](const std::string& other) { return other != size; });
  return found == sizes.end() ? size : *found;
}

// A frame rate of the size other than `rate`, the lowest that still moves; `rate` when there is no other.
std::string OtherRate(const Capabilities& record, const std::string& codec, const std::string& size,
                      const std::string& rate) {
  constexpr std::size_t position = 4;  // in a list that begins with 1: five frames per second
  std::vector<std::string> rates = Split(ValueOf(record, "fps_" + codec + "_" + size));
  rates.erase(std::remove(rates.begin(), rates.end(), rate), rates.end());
  return rates.empty() ? rate : rates.at(std::min(position, rates.size() - 1));
}

}  // namespace

StreamPlan PlanEqual(const Capabilities& record, const std::string& codec) {
  StreamPlan plan;
  const std::string name = ChooseCodec(record, codec);
  if (name.empty()) plan.excuse = "the camera reports no video codec";
  plan.wanted.nVdoType = VideoTypeOf(name.empty() ? "h264" : name);
  plan.wanted.strReso = ValueOf(record, "default_resolution_" + name);
  plan.wanted.strFps = DefaultRate(record, name, plan.wanted.strReso);
  plan.wanted.strQual = kUsualLevel;
  plan.wanted.strLiveReso = plan.wanted.strReso;
  plan.wanted.strLiveFps = plan.wanted.strFps;
  plan.wanted.strLiveQual = plan.wanted.strQual;
  return plan;
}

StreamPlan PlanDifferent(const Capabilities& record, const std::string& codec, std::size_t profiles) {
  StreamPlan plan = PlanEqual(record, codec);
  STM_PROFILE& wanted = plan.wanted;
  const std::string name = ChooseCodec(record, codec);
  wanted.strLiveReso = OtherSize(record, name, wanted.strReso);
  wanted.strLiveFps = OtherRate(record, name, wanted.strLiveReso, wanted.strFps);
  wanted.strLiveQual = kLowerLevel;
  if (!plan.excuse.empty()) return plan;
  if (!Holds(ValueOf(record, "resolution_independent"), name)) {
    plan.excuse = "the camera reports no second " + name + " stream with settings of its own";
  } else if (profiles < 2) {
    plan.excuse = "the camera has one profile only";
  }
  return plan;
}

AudioPlan PlanAudio(const Capabilities& record, const std::list<OVF_MED_AUD_CONF>& encoders,
                    const std::string& present) {
  AudioPlan plan;
  plan.audioType = AudioTypeOf(present);
  for (const OVF_MED_AUD_CONF& encoder : encoders) {
    const int type = AudioTypeOf(encoder.strEncoding);
    if (type > 0 && (encoder.strEncoding != present || plan.audioType == 0)) plan.audioType = type;
  }
  if (record.count("audio_format") == 0) plan.excuse = "the camera reports no audio codec";
  return plan;
}

LensPlan PlanLens(const Capabilities& record) {
  LensPlan plan;
  plan.direction = FirstDirection(CameraCap(record));
  constexpr int zoomIn = 34;
  const std::string motion = ValueOf(record, plan.direction == zoomIn ? "zoom" : "pan");
  if (motion == "step") plan.startExcuse = "the camera reports that its lens moves in steps only";
  if (motion == "continuous") plan.stepExcuse = "the camera reports that its lens moves continuously";
  return plan;
}

}  // namespace camctl
