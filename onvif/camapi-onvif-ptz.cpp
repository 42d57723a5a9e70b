// The lens: direction codes and speed levels become vectors.

#include <clocale>
#include <cstdlib>

#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"

namespace {

constexpr int k_nDefaultSpeed = 5;  // the level at which an axis moves at the bound of its range
constexpr int k_nCodeHome = 33;
constexpr double k_dbUnboundStep = 0.2;

// One axis of the lens: its component in a vector, its bounds in the model's range, and which part of its range one
// step is.
struct AXIS {
  double OVF_PTZ_MOVE_PARAM::*pdbComponent;
  std::string PTZ_RANGE::*pstrMin;
  std::string PTZ_RANGE::*pstrMax;
  double dbStepPart;
};

// A pan step is half as fine a part of its range as the others. This is meant.
constexpr AXIS k_Pan = {&OVF_PTZ_MOVE_PARAM::dbX, &PTZ_RANGE::strXMin, &PTZ_RANGE::strXMax, 1.0 / 32};
constexpr AXIS k_Tilt = {&OVF_PTZ_MOVE_PARAM::dbY, &PTZ_RANGE::strYMin, &PTZ_RANGE::strYMax, 1.0 / 16};
constexpr AXIS k_Zoom = {&OVF_PTZ_MOVE_PARAM::dbZoom, &PTZ_RANGE::strZoomMin, &PTZ_RANGE::strZoomMax, 1.0 / 16};

// The direction codes that are served. The server knows more of them, between those of pan and tilt; they get no
// motion.
struct DIRECTION {
  int nCode;
  const AXIS* pAxis;  // null: home
  bool blPositive;
};

constexpr DIRECTION k_rgDirection[] = {
    {1, &k_Pan, true},   {9, &k_Tilt, true},   {17, &k_Pan, false}, {25, &k_Tilt, false}, {k_nCodeHome, nullptr, true},
    {34, &k_Zoom, true}, {35, &k_Zoom, false},
};

const DIRECTION* FindDirection(int nCode) {
  for (const DIRECTION& direction : k_rgDirection) {
    if (direction.nCode == nCode) return &direction;
  }
  return nullptr;
}

// A number as strtod reads it in the C locale, whatever the process's locale is; 0 for a text without number.
double ReadReal(const std::string& strText) {
  static const locale_t pLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(strText.c_str(), nullptr, pLocale);
}

double StepOf(const AXIS& axis, const PTZ_RANGE& range) {
  const std::string& strMin = range.*axis.pstrMin;
  const std::string& strMax = range.*axis.pstrMax;
  if (strMin == "-INF" || strMax == "INF") return k_dbUnboundStep;
  return (ReadReal(strMax) - ReadReal(strMin)) * axis.dbStepPart;
}

// The bound in one direction; that of the other side is not looked at.
double BoundOf(const AXIS& axis, bool blPositive, const PTZ_RANGE& range) {
  const std::string& strBound = range.*(blPositive ? axis.pstrMax : axis.pstrMin);
  if (strBound == (blPositive ? "INF" : "-INF")) return blPositive ? 1.0 : -1.0;
  return ReadReal(strBound);
}

}  // namespace

void ONVIFAPI::GetPTZMovement(double& dbPanStep, double& dbTiltStep, double& dbZoomStep) {
  const PTZ_RANGE range = m_CamCap.GetPTZRange();
  dbPanStep = StepOf(k_Pan, range);
  dbTiltStep = StepOf(k_Tilt, range);
  dbZoomStep = StepOf(k_Zoom, range);
}

bool ONVIFAPI::GetPTZTranslation(int nCode, OVF_PTZ_MOVE_PARAM& translation) {
  translation = {0, 0, 0};
  OVF_PTZ_MOVE_PARAM step;
  GetPTZMovement(step.dbX, step.dbY, step.dbZoom);
  const DIRECTION* const pDirection = FindDirection(nCode);
  if (pDirection == nullptr) return false;
  if (pDirection->pAxis == nullptr) return true;
  const double dbStep = step.*pDirection->pAxis->pdbComponent;
  translation.*pDirection->pAxis->pdbComponent = pDirection->blPositive ? dbStep : -dbStep;
  return true;
}

bool ONVIFAPI::GetPTZVelocity(int nCode, OVF_PTZ_MOVE_PARAM& velocity, int nSpeed) {
  velocity = {0, 0, 0};
  const DIRECTION* const pDirection = FindDirection(nCode);
  if (pDirection == nullptr) return false;
  if (pDirection->pAxis != nullptr) {
    const double dbBound = BoundOf(*pDirection->pAxis, pDirection->blPositive, m_CamCap.GetPTZRange());
    velocity.*pDirection->pAxis->pdbComponent = dbBound;
  }
  const double dbPart = nSpeed / 5.0;  // not held within bounds: level 10 asks for twice the range
  velocity = {velocity.dbX * dbPart, velocity.dbY * dbPart, velocity.dbZoom * dbPart};
  return true;
}

int ONVIFAPI::LensPTZ(int nCode) {
  return AtBoundary(__func__, [&]() -> int {
    if (m_CamCap.IsPTZValid(nCode) == 0) return CAMERA_NOT_SUPPORTED;
    OVF_PTZ_MOVE_PARAM translation;
    if (!GetPTZTranslation(nCode, translation)) return CAMERA_FAILED;
    if (nCode == k_nCodeHome) return OkOrFailed(m_PtzService.GotoHomePosition(m_strRecProfileToken));
    OVF_PTZ_MOVE_PARAM speed{1.0, 1.0, 1.0};
    return OkOrFailed(m_PtzService.RelativeMove(m_strRecProfileToken, translation, speed));
  });
}

int ONVIFAPI::LensPTZStart(int nCode) {
  return AtBoundary(__func__, [&]() -> int { return LensPTZSpeedStart(nCode, k_nDefaultSpeed); });
}

int ONVIFAPI::LensPTZSpeedStart(int nCode, int nSpeed) {
  return AtBoundary(__func__, [&]() -> int {
    if (m_CamCap.IsPTZValid(nCode) == 0) return CAMERA_NOT_SUPPORTED;
    if (nCode == k_nCodeHome) return OkOrFailed(m_PtzService.GotoHomePosition(m_strRecProfileToken));
    OVF_PTZ_MOVE_PARAM velocity;
    if (!GetPTZVelocity(nCode, velocity, nSpeed)) return CAMERA_FAILED;
    return OkOrFailed(m_PtzService.ContinuousMove(m_strRecProfileToken, velocity, m_CamCap.GetPtzCap()));
  });
}

int ONVIFAPI::LensPTZStop(int nCode) {
  return AtBoundary(__func__, [&]() -> int {
    if (m_CamCap.IsPTZValid(nCode) == 0) return CAMERA_NOT_SUPPORTED;
    OVF_PTZ_MOVE_PARAM velocity{0, 0, 0};
    return OkOrFailed(m_PtzService.ContinuousMove(m_strRecProfileToken, velocity, m_CamCap.GetPtzCap()));
  });
}
