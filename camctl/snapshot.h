#pragma once

#include <string>

#include "camctl/httpget.h"
#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// Fetches the snapshot where the driver says it is, and writes it to `file`. Only a whole JPEG picture takes the place
/// of a file that is there; the session's report then tells of it.
Step SaveSnapshot(const std::string& file);

/// What a fetch means: result code, and cause and remedy of a failure. A body that is no JPEG picture is one.
StepOutcome OutcomeOf(const Fetched& fetched, const FetchRequest& request);

/// "snapshot.jpg, 640x360, 12345 bytes"
std::string DescribeSnapshot(const SnapshotFile& snapshot);

}  // namespace camctl
