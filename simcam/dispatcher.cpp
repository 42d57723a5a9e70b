#include "simcam/dispatcher.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "simcam/namespaces.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

constexpr int kNotFound = 404;
constexpr Service kServices[] = {Service::Device, Service::Media, Service::Ptz};

constexpr const char* kRefusalPage =
    "<!DOCTYPE html>\n<html><head><title>401 Unauthorized</title></head>"
    "<body><h1>Unauthorized</h1><p>Please log in.<br></body></html>\n";

bool IsPtzNamespace(std::string_view nameSpace) {
  return nameSpace == ns::kPtz10 || nameSpace == ns::kPtz20;
}

SoapFault UnknownNamespace(const CameraModel& model, const XmlElement& operation) {
  if (!model.ptz && IsPtzNamespace(operation.Namespace())) {
    return SoapFault("Receiver", {"ActionNotSupported", "PTZNotSupported"}, "the camera has no PTZ service");
  }
  return SoapFault("Sender", {"Namespace"},
                   "no service of the camera has the namespace " + std::string(operation.Namespace()));
}

// The device service is where clients begin: they know its address before any answer could tell them a query.
void CheckQuery(const Operation& operation, const Endpoint& endpoint, const CallRules& rules) {
  if (!rules.neededQuery.empty() && operation.service != Service::Device && endpoint.query != rules.neededQuery) {
    throw SoapFault("Sender", {"ActionNotSupported"}, "nothing is served without the query " + rules.neededQuery)
        .WithStatus(kNotFound);
  }
}

std::string WriteResponse(const Operation& operation, const Call& call) {
  XmlWriter writer;
  OpenEnvelope(writer, NamespaceOf(Service::Ptz, call.model));
  writer.Open(std::string(PrefixOf(operation.service)) + ":" + operation.name + "Response");
  if (!call.rules.isIdle) {
    operation.handler(call, writer);
  }
  return writer.Finish();
}

}  // namespace

const std::vector<Operation>& AllOperations() {
  static const std::vector<Operation> operations = [] {
    std::vector<Operation> all;
    for (const auto& table : {DeviceOperations(), MediaProfileOperations(), MediaUriOperations(),
                              MediaSourceOperations(), VideoEncoderOperations(), AudioEncoderOperations(),
                              PtzOperations(), PtzNodeOperations(), PtzPresetOperations()}) {
      all.insert(all.end(), table.begin(), table.end());
    }
    return all;
  }();
  return operations;
}

bool Supports(const CameraModel& model, const Operation& operation) {
  const std::vector<std::string>& missing = model.unsupportedOperations;
  return operation.sinceMajor <= model.versions.front().major &&
         std::find(missing.begin(), missing.end(), operation.name) == missing.end();
}

std::string NamespaceOf(Service service, const CameraModel& model) {
  switch (service) {
    case Service::Device:
      return ns::kDevice;
    case Service::Media:
      return ns::kMedia;
    case Service::Ptz:
      break;
  }
  return model.ptz ? model.ptz->serviceNamespace : ns::kPtz20;
}

const char* PrefixOf(Service service) {
  constexpr const char* kPrefixes[] = {"tds", "trt", "tptz"};
  return kPrefixes[static_cast<std::size_t>(service)];
}

const std::string& PathOf(Service service, const CameraModel& model) {
  const std::string* const paths[] = {&model.paths.device, &model.paths.media, &model.paths.ptz};
  return *paths[static_cast<std::size_t>(service)];
}

struct Dispatcher::Question {
  std::string_view path;
  const Endpoint& endpoint;
  const HttpProof& proof;
  std::optional<SoapRequest> request;
  std::optional<SoapFault> fault;  // why there is no request

  std::string OperationName() const { return request ? std::string(request->Operation().Name()) : std::string(); }
};

Dispatcher::Dispatcher(const CameraModel& model, CameraState& state, TokenChecker& tokens, const Clock& clock,
                       QuirkSet& quirks)
    : m_model(model),
      m_state(state),
      m_tokens(tokens),
      m_clock(clock),
      m_quirks(quirks),
      m_start(clock.UtcNow()),
      m_guard(tokens, clock) {}

bool Dispatcher::HasPath(std::string_view path) const {
  if (path.empty()) {
    return false;
  }
  const auto isHere = [&](Service service) { return PathOf(service, m_model) == path; };
  return std::any_of(std::begin(kServices), std::end(kServices), isHere) ||
         CallQuirks(m_quirks.Active()).Rules().otherPath == path;
}

SoapAnswer Dispatcher::Answer(std::string_view path, const Endpoint& endpoint, std::string_view body,
                              const HttpProof& proof) const {
  Question question{path, endpoint, proof, {}, {}};
  try {
    question.request.emplace(body);
  } catch (const SoapFault& fault) {
    question.fault = fault;
  }
  const std::string operation = question.OperationName();
  const CallQuirks quirks = m_quirks.ForCall(operation);
  SoapAnswer answer = Judge(question, quirks.Rules());
  if (answer.contentType == kSoapType) {
    answer.body = quirks.Bend(operation, std::move(answer.body));
  }
  answer.wire = quirks.Wire();
  return answer;
}

SoapAnswer Dispatcher::Judge(const Question& question, const CallRules& rules) const {
  ++m_requests;
  try {
    return {200, Run(question, rules), {}};
  } catch (const AccessRefusal& refusal) {
    ++m_refused;
    return AnswerRefusal(refusal, rules.access.refusal);
  } catch (const SoapFault& fault) {
    ++m_faults;
    return {fault.HttpStatus(), fault.Message(), {}};
  }
}

SoapAnswer Dispatcher::AnswerRefusal(const AccessRefusal& refusal, const RefusalRules& rules) {
  SoapAnswer answer{refusal.HttpStatus(), refusal.Message(), {}};
  for (const std::string& challenge : refusal.Challenges()) {
    answer.httpStatus = 401;
    answer.headers.emplace_back("WWW-Authenticate", challenge);
  }
  answer.httpStatus = rules.status.value_or(answer.httpStatus);
  if (rules.body != RefusalRules::Body::Fault) {
    answer.contentType = "text/html";
    answer.body = rules.body == RefusalRules::Body::Page ? kRefusalPage : "";
  }
  return answer;
}

void Dispatcher::Restart() {
  m_start = m_clock.UtcNow();
  m_tokens.ForgetNonces();
  m_guard.Forget();
}

void Dispatcher::ChangeAccount(TokenChecker::Account account) {
  m_tokens.ChangeAccount(std::move(account));
  m_guard.Forget();
}

CallCounts Dispatcher::Counts() const {
  return {m_requests, m_refused, m_faults, m_guard.WrongTries()};
}

std::string Dispatcher::Run(const Question& question, const CallRules& rules) const {
  if (question.fault) {
    throw SoapFault(*question.fault);
  }
  const SoapRequest& request = *question.request;
  const Operation& operation = FindOperation(question.path, request, rules);
  CheckQuery(operation, question.endpoint, rules);
  const BentClock clock(m_clock, m_start, rules.clock);
  m_guard.Check(operation, {request.Security(), question.proof}, clock.UtcNow(), rules.access);
  if (rules.fault) {
    throw SoapFault(*rules.fault);
  }
  return WriteResponse(operation, Call{m_model, m_state, clock, question.endpoint, request, rules});
}

const Operation& Dispatcher::FindOperation(std::string_view path, const SoapRequest& request,
                                           const CallRules& rules) const {
  const XmlElement element = request.Operation();
  const auto isOfNamespace = [&](Service service) {
    return !PathOf(service, m_model).empty() && NamespaceOf(service, m_model) == element.Namespace();
  };
  if (std::none_of(std::begin(kServices), std::end(kServices), isOfNamespace)) {
    throw UnknownNamespace(m_model, element);
  }
  const auto answers = [&](const Operation& operation) {
    return operation.name == element.Name() && isOfNamespace(operation.service) &&
           (PathOf(operation.service, m_model) == path || rules.otherPath == path) && Supports(m_model, operation);
  };
  const auto found = std::find_if(AllOperations().begin(), AllOperations().end(), answers);
  if (found == AllOperations().end()) {
    throw ActionNotSupported("the operation " + std::string(element.Name()) + " is not supported at " +
                             std::string(path));
  }
  return *found;
}

}  // namespace simcam
