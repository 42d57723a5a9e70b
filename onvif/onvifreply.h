#pragma once

#include "onvif/onvifservice.h"
#include "onvif/xmlhandles.h"

/// Outcome of one exchange with a camera.
struct OnvifReply {
  RET_ONVIF eRet;
  XmlDoc pDoc;  ///< may be there also when `eRet` is not 0, and may be null when it is
};
