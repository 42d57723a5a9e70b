#pragma once

#include <functional>
#include <list>
#include <optional>
#include <string>

#include "camctl/report.h"
#include "camctl/session.h"

namespace camctl {

/// What a step came to.
struct StepOutcome {
  int result = 0;              ///< result code of the server
  std::string detail;          ///< what was found
  std::optional<Cause> cause;  ///< of a failure that the last exchange does not explain
};

/// Where cameras have their device service before they say so themselves.
inline constexpr const char* kDevicePath = "/onvif/device_service";

/// One step in the life of a camera: its name, the operation it stands for, and how it is done.
struct Step {
  const char* name;
  const char* operation;
  std::function<StepOutcome(Session& session)> run;
  bool local = false;  ///< its failure says nothing about the camera's services, so that there is nothing to diagnose
};

/// Finds the services of a camera that was never seen, and makes the record for the driver of them.
extern const Step kServices;
/// The connection test.
extern const Step kTest;
/// Identity.
extern const Step kIdentity;
/// Lists the profiles; the first two become the recording and the live profile, unless they are chosen already.
extern const Step kProfiles;
/// The capability report. It becomes the record, of which the next driver object is made.
extern const Step kReport;
/// Where the streams and the snapshot are.
extern const Step kRecordingStream;
extern const Step kLiveStream;
extern const Step kSnapshot;
/// Key that stands in every complete capability report, and in no other record.
inline constexpr const char* kReportMark = "single_stream";

/// \return the profile that has the token; null where none has
const OVF_MED_PROFILE* FindProfile(const std::list<OVF_MED_PROFILE>& profiles, const std::string& token);

/// The first or the second token of a pair; a pair of one token has it twice.
std::string MainOf(const std::string& pair);
std::string LiveOf(const std::string& pair);

/// The connection test after a failure that has no precise code of its own.
extern const Step kDiagnosis;

}  // namespace camctl
