#include "camctl/snapshot.h"

#include <algorithm>

#include "camctl/camerafile.h"
#include "camctl/cause.h"
#include "camctl/jpegsize.h"
#include "camctl/text.h"

namespace camctl {

namespace {

struct ResultRow {
  HTTP_POST_RESULT fetched;
  int result;
};

// Those that are not here are failures of the connection.
constexpr ResultRow kResults[] = {{HTTP_POST_OK, CAMERA_OK},
                                  {HTTP_POST_AUTH_REFUSED, CAMERA_NOT_AUTHORIZED},
                                  {HTTP_POST_BARE_STATUS, CAMERA_FAULT},
                                  {HTTP_POST_REDIRECTED, CAMERA_FAULT},
                                  {HTTP_POST_TOO_LARGE, CAMERA_FAULT},
                                  {HTTP_POST_OUT_OF_RESOURCES, CAMERA_FAILED}};

int ResultOf(HTTP_POST_RESULT fetched) {
  for (const ResultRow& row : kResults) {
    if (row.fetched == fetched) return row.result;
  }
  return CAMERA_UNREACHABLE;
}

constexpr const char* kOtherAddress = "restart the camera, or look for newer firmware";

Cause CauseOf(const Fetched& fetched, const FetchRequest& request) {
  const std::string where = HostPort(request.host, request.port) + request.path;
  if (fetched.basicOnly) {
    return {"the camera wants the password in the clear (Basic) for " + where + ", which is never sent",
            "switch Digest authentication on for snapshots in the camera's settings"};
  }
  if (fetched.result == HTTP_POST_BARE_STATUS) {
    return {"HTTP " + std::to_string(fetched.status) + " for the snapshot at " + where, kOtherAddress};
  }
  if (fetched.result == HTTP_POST_TIMED_OUT) {
    return {"no whole picture from " + where + " in time: " + fetched.error,
            "check the network and the port; a slow camera needs a longer --timeout"};
  }
  const Evidence evidence{fetched.result, fetched.status, request.path, fetched.error, {}};
  return FindCause(evidence, ResultOf(fetched.result), {request.host, request.port, request.user});
}

FetchRequest RequestFor(const Session& session, const std::string& path, int port) {
  const Connection& connection = session.GetConnection();
  FetchRequest request;
  request.host = connection.host;
  request.port = port;
  request.path = path;
  request.user = connection.user;
  request.password = connection.password;
  if (connection.timeoutSeconds > 0) request.deadline = std::chrono::seconds(connection.timeoutSeconds);
  return request;
}

StepOutcome Write(Session& session, const std::string& file, const std::string& picture) {
  const std::string error = WriteWhole(file, picture, true);
  if (!error.empty()) {
    return {CAMERA_FAILED, "", Cause{file + " cannot be written: " + error, "give another FILE"}};
  }
  const PictureSize size = ReadJpegSize(picture).value_or(PictureSize());
  session.Camera().snapshot = {file, size.width, size.height, picture.size()};
  return {CAMERA_OK, DescribeSnapshot(*session.Camera().snapshot), {}};
}

StepOutcome RunSave(Session& session, const std::string& file) {
  std::string path;
  int port = 0;
  int flag = 0;
  const int found = session.Driver().GetShotPathPort(path, port, flag);
  if (found != CAMERA_OK) return {found, "", {}};
  const FetchRequest request = RequestFor(session, path, port);
  const Fetched fetched = HttpGet(request);
  StepOutcome outcome = OutcomeOf(fetched, request);
  return outcome.result == CAMERA_OK ? Write(session, file, fetched.body) : outcome;
}

}  // namespace

std::string DescribeSnapshot(const SnapshotFile& snapshot) {
  return snapshot.path + ", " + std::to_string(snapshot.width) + "x" + std::to_string(snapshot.height) + ", " +
         std::to_string(snapshot.bytes) + " bytes";
}

StepOutcome OutcomeOf(const Fetched& fetched, const FetchRequest& request) {
  if (fetched.result != HTTP_POST_OK) return {ResultOf(fetched.result), "", CauseOf(fetched, request)};
  if (ReadJpegSize(fetched.body)) return {CAMERA_OK, "", {}};
  return {CAMERA_FAULT, "",
          Cause{"what " + HostPort(request.host, request.port) + request.path + " answered is no whole JPEG picture (" +
                    std::to_string(fetched.body.size()) + " bytes)",
                kOtherAddress}};
}

Step SaveSnapshot(const std::string& file) {
  return {"snapshot file", "HTTP", [file](Session& session) { return RunSave(session, file); }, true};
}

}  // namespace camctl
