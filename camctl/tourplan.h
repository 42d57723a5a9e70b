#pragma once

#include <list>
#include <string>

#include "camctl/session.h"
#include "platform/streamprofile.h"

namespace camctl {

/// What the tour asks of the streams, chosen from what the camera reports; `excuse` says why the camera may refuse,
/// empty: it ought to do it.
struct StreamPlan {
  STM_PROFILE wanted;
  std::string excuse;
};

/// Both streams alike: the default size and frame rate of a codec.
/// \param codec that is preferred, as on the wire
StreamPlan PlanEqual(const Capabilities& record, const std::string& codec);

/// The streams unlike each other: the live one smaller or slower, in the same codec.
/// \param profiles number of profiles of the camera
StreamPlan PlanDifferent(const Capabilities& record, const std::string& codec, std::size_t profiles);

/// An audio codec that can be chosen without changing an encoder: one that is set on an encoder of the camera, if there
/// is one other than `present`.
struct AudioPlan {
  int audioType = 0;  ///< as `AudioTypeOf`
  std::string excuse;
};
AudioPlan PlanAudio(const Capabilities& record, const std::list<OVF_MED_AUD_CONF>& encoders,
                    const std::string& present);

/// What the tour asks of the lens.
struct LensPlan {
  int direction = 0;
  std::string stepExcuse;
  std::string startExcuse;
};
LensPlan PlanLens(const Capabilities& record);

}  // namespace camctl
