// An RTSP server for which the query of an address is a part of what names a stream, as cameras have it.
#pragma once

#include <gst/rtsp-server/rtsp-server.h>

#include "simcam/rtsp/handles.h"

namespace simcam {

ObjectPtr<GstRTSPServer> MakeServer();
ObjectPtr<GstRTSPMountPoints> MakeMountPoints();

}  // namespace simcam
