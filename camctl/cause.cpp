#include "camctl/cause.h"

#include <algorithm>
#include <string_view>

#include "camctl/text.h"
#include "onvif/onvifservice.h"
#include "platform/cameraresult.h"
#include "platform/httplimits.h"

namespace camctl {

namespace {

constexpr const char* kCheckAccount =
    "check user and password; a camera whose clock is off by minutes refuses right ones too";
constexpr const char* kCheckAddress = "check address, port and power";
constexpr const char* kWaitLonger = "; a slow camera needs a longer --timeout";

// Placeholders of the texts: {address} host and port, {host}, {user}, {path}, {status}, {error}, {fault}, {tries}.
struct FaultRow {
  const char* subcode;  // part of the subcode; empty: every fault
  const char* cause;
  const char* remedy;
};

constexpr FaultRow kFaults[] = {
    {"NotAuthorized", "the camera refused the account '{user}' ({fault}), {tries}", kCheckAccount},
    {"FailedAuthentication", "the camera refused the account '{user}' ({fault}), {tries}", kCheckAccount},
    {"NoProfile", "the camera does not know the profile it was asked for ({fault})",
     "leave out --profiles and stored profiles, then the camera's own list is used"},
    {"ActionNotSupported", "the camera does not support this operation ({fault})",
     "look for newer firmware, or use another service address"},
    {"", "the camera answered with a fault ({fault})", "look the fault up in the camera's manual or its log"},
};

// `hint` must be part of the error text, or be the status or all that a 401 asks for; an empty hint fits always.
struct ExchangeRow {
  HTTP_POST_RESULT result;
  std::string_view hint;
  const char* cause;
  const char* remedy;
  long longest = 0;  // seconds that the driver waits; a shorter --timeout may be to blame
};

constexpr ExchangeRow kExchanges[] = {
    {HTTP_POST_OK, "", "the answer of {path} lacks what was asked for",
     "look for newer firmware; the driver cannot use this answer"},
    {HTTP_POST_NO_CONNECTION, "resolve host", "unknown host '{host}'",
     "check the spelling, or give the address in numbers"},
    {HTTP_POST_NO_CONNECTION, "no HTTP address", "'{host}' cannot be an address: {error}",
     "give a host name or an address, without http:// and without a path"},
    {HTTP_POST_NO_CONNECTION, "refused", "nothing listens at {address}: {error}", kCheckAddress},
    {HTTP_POST_NO_CONNECTION, "", "nothing answers at {address}: {error}", kCheckAddress},
    {HTTP_POST_TIMED_OUT, "Resolving", "'{host}' could not be looked up in time: {error}",
     "check the network, or give the address in numbers", HTTP_CONNECT_TIMEOUT_S},
    {HTTP_POST_TIMED_OUT, "Connection time", "nothing answers at {address} in time: {error}", kCheckAddress,
     HTTP_CONNECT_TIMEOUT_S},
    {HTTP_POST_TIMED_OUT, "", "no complete answer from {address} in time: {error}", "check the network and the port",
     ONVIF_EXCHANGE_TIMEOUT_S},
    {HTTP_POST_NOT_XML, "", "what {address}{path} answered is no XML; is this the camera's web page?",
     "check the port: the ONVIF service may be on another one"},
    {HTTP_POST_TOO_LARGE, "", "the answer of {address}{path} is too large to be one of a camera",
     "check the port, or look for newer firmware"},
    {HTTP_POST_AUTH_REFUSED, "Basic", "the camera asks for HTTP Basic, which would send the password openly ({tries})",
     "switch Digest or token authentication on in the camera's settings"},
    {HTTP_POST_AUTH_REFUSED, "", "the camera refused the account '{user}' (HTTP 401), {tries}", kCheckAccount},
    {HTTP_POST_ERROR_STATUS, "", "HTTP {status} at {path}, with XML that explains nothing",
     "check the port, or restart the camera"},
    {HTTP_POST_LIMIT_REFUSED, "", "the answer of {address}{path} holds what no camera should send, and was refused",
     "make sure that this is the camera and not something in its place"},
    {HTTP_POST_CONNECTION_LOST, "", "the connection to {address} broke, or does not speak HTTP: {error}",
     "check the port (HTTPS does not work) and whether the camera restarts"},
    {HTTP_POST_BARE_STATUS, "404", "there is no service at {address}{path} (HTTP 404)",
     "check the port; some cameras need ONVIF switched on in their settings"},
    {HTTP_POST_BARE_STATUS, "", "HTTP {status} at {address}{path}, without an explanation",
     "check the port, or restart the camera"},
    {HTTP_POST_REDIRECTED, "", "{address}{path} sends elsewhere (HTTP {status}), which is never followed",
     "give the address and port of the camera itself; HTTPS only does not work"},
    {HTTP_POST_OUT_OF_RESOURCES, "", "this machine has no memory or descriptors left: {error}",
     "end other programs, then try again"},
};

struct MeaningRow {
  int result;
  const char* meaning;
};

constexpr MeaningRow kMeanings[] = {
    {CAMERA_OK, "success"},
    {CAMERA_FAILED, "failure without a more precise code"},
    {CAMERA_PRESET_RANGE, "preset number out of range"},
    {CAMERA_UNREACHABLE, "the camera cannot be reached"},
    {CAMERA_NOT_AUTHORIZED, "the camera refused the account"},
    {CAMERA_FAULT, "the camera answered with a fault, or an argument was bad"},
    {CAMERA_NOT_SUPPORTED, "not supported by this camera or the driver"},
};

std::string FaultText(const Fault& fault) {
  const std::string subcode = fault.subcode.empty() ? "no subcode" : fault.subcode;
  return fault.reason.empty() ? subcode : subcode + ": " + fault.reason;
}

// The HTTP library begins with the address, which our own sentence names already.
std::string ShortError(const std::string& error) {
  constexpr std::string_view connecting = "Failed to connect to ";
  const std::size_t reason = error.find(" ms: ");
  if (error.compare(0, connecting.size(), connecting) != 0 || reason == std::string::npos) return error;
  return error.substr(reason + std::string_view(" ms: ").size());
}

std::string Times(int count) {
  return count == 1 ? "once" : std::to_string(count) + " times";
}

// How often the account was tried.
std::string TriesText(const Evidence& evidence) {
  std::string tokens = "tried " + Times(evidence.tokenTries);
  if (evidence.digestTries == 0) return tokens;
  return tokens + " with a token and " + Times(evidence.digestTries) + " with HTTP Digest";
}

std::string Filled(std::string text, const Evidence& evidence, const Party& party) {
  const std::pair<const char*, std::string> values[] = {
      {"{address}", HostPort(party.host, party.port)},
      {"{host}", party.host},
      {"{user}", party.user},
      {"{path}", evidence.path.empty() ? "/" : evidence.path},
      {"{status}", std::to_string(evidence.status)},
      {"{error}", evidence.error.empty() ? "no further detail" : ShortError(evidence.error)},
      {"{tries}", TriesText(evidence)},
      {"{fault}", evidence.fault ? FaultText(*evidence.fault) : ""}};
  for (const auto& [name, value] : values) text = ReplaceAll(std::move(text), name, value);
  return OneLine(text);
}

bool Fits(const ExchangeRow& row, const Evidence& evidence) {
  if (row.result != evidence.result) return false;
  return evidence.error.find(row.hint) != std::string::npos || row.hint == std::to_string(evidence.status) ||
         row.hint == evidence.challenges;
}

Cause FromFault(const Evidence& evidence, const Party& party) {
  const auto* const row = std::find_if(std::begin(kFaults), std::end(kFaults), [&](const FaultRow& candidate) {
    return evidence.fault->subcode.find(candidate.subcode) != std::string::npos;
  });
  return {Filled(row->cause, evidence, party), row->remedy};
}

Cause FromExchange(const Evidence& evidence, int result, const Party& party) {
  const auto* const row = std::find_if(std::begin(kExchanges), std::end(kExchanges),
                                       [&](const ExchangeRow& candidate) { return Fits(candidate, evidence); });
  if (row == std::end(kExchanges)) return {MeaningOf(result), kCheckAddress};
  const bool couldWait = party.timeoutSeconds > 0 && party.timeoutSeconds < row->longest;
  return {Filled(row->cause, evidence, party), row->remedy + std::string(couldWait ? kWaitLonger : "")};
}

}  // namespace

Cause FindCause(const std::optional<Evidence>& evidence, int result, const Party& party) {
  if (!evidence) return {MeaningOf(result), "see whether the camera's manual mentions this function"};
  const bool refused = evidence->result == HTTP_POST_AUTH_REFUSED;
  return evidence->fault && !refused ? FromFault(*evidence, party) : FromExchange(*evidence, result, party);
}

bool MayBeTheClock(const Cause& cause) {
  return cause.remedy == kCheckAccount;
}

const char* MeaningOf(int result) {
  for (const MeaningRow& row : kMeanings) {
    if (row.result == result) return row.meaning;
  }
  return "a result that is not known";
}

}  // namespace camctl
