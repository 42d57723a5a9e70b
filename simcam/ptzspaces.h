// The generic coordinate spaces of the standard, the only ones that the simulated lenses know.
#pragma once

namespace simcam::spaces {

constexpr const char* kPanTiltPosition = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/PositionGenericSpace";
constexpr const char* kZoomPosition = "http://www.onvif.org/ver10/tptz/ZoomSpaces/PositionGenericSpace";
constexpr const char* kPanTiltTranslation = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/TranslationGenericSpace";
constexpr const char* kZoomTranslation = "http://www.onvif.org/ver10/tptz/ZoomSpaces/TranslationGenericSpace";
constexpr const char* kPanTiltVelocity = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/VelocityGenericSpace";
constexpr const char* kZoomVelocity = "http://www.onvif.org/ver10/tptz/ZoomSpaces/VelocityGenericSpace";
constexpr const char* kPanTiltSpeed = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/GenericSpeedSpace";
constexpr const char* kZoomSpeed = "http://www.onvif.org/ver10/tptz/ZoomSpaces/ZoomGenericSpeedSpace";

}  // namespace simcam::spaces
