#include <libxml/parser.h>

#include <algorithm>
#include <memory>

#include "fuzz/require.h"
#include "fuzz/takebyte.h"
#include "fuzz/targets.h"
#include "tests/simcam/bench.h"

namespace camapifuzz {

namespace {

using simcamtest::Bench;

// Reading the models takes longer than answering: they are read once.
const std::vector<simcam::CameraModel>& Models() {
  static const std::vector<simcam::CameraModel> models = [] {
    std::vector<simcam::CameraModel> all;
    for (const char* const name : {"ptz-dome", "fixed-box", "legacy-1-0"}) {
      all.push_back(simcam::LoadModel(name));
    }
    return all;
  }();
  return models;
}

std::vector<const simcam::Quirk*> AllQuirks() {
  std::vector<const simcam::Quirk*> all;
  for (const simcam::QuirkGroup& group : simcam::AllQuirks()) {
    for (const simcam::Quirk& quirk : group.quirks) {
      all.push_back(&quirk);
    }
  }
  return all;
}

void RequireWholeEnvelope(const simcam::SoapAnswer& answer) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlReadMemory(answer.body.data(), static_cast<int>(answer.body.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE),
      xmlFreeDoc);
  xmlResetLastError();
  Require(document != nullptr, "the answer is well-formed");
  Require(answer.httpStatus == 200 || answer.httpStatus == 400 || answer.httpStatus == 500,
          "the status is one of SOAP");
}

void SwitchOn(Bench& bench, std::size_t number) {
  static const std::vector<const simcam::Quirk*> all = AllQuirks();
  const simcam::Quirk& quirk = *all[number % all.size()];
  // Small numbers, so that no answer takes long.
  const std::string value =
      quirk.parameter.kind == simcam::QuirkParameter::Kind::Whole ? "=" + std::to_string(quirk.parameter.min) : "";
  bench.Quirks().SwitchOn(simcam::ParseQuirk(quirk.name + value));
}

void SendRaw(const Bench& bench, std::string_view input) {
  const simcam::CameraModel& model = bench.Model();
  for (const std::string* const path : {&model.paths.device, &model.paths.media, &model.paths.ptz}) {
    RequireWholeEnvelope(bench.Send(*path, std::string(input)));
  }
}

void SendSigned(Bench& bench, std::string_view input, bool isBent) {
  const std::vector<simcam::Operation>& operations = simcam::AllOperations();
  const simcam::Operation& operation = operations[TakeByte(input) % operations.size()];
  if (isBent) {
    SwitchOn(bench, TakeByte(input));
  }
  const simcam::SoapAnswer answer = bench.Call(
      simcam::PathOf(operation.service, bench.Model()),
      simcamtest::Element(operation.name, simcam::NamespaceOf(operation.service, bench.Model()), std::string(input)));
  if (!isBent) {
    RequireWholeEnvelope(answer);
  }
}

}  // namespace

void SimcamRequest(std::string_view input) {
  Bench bench(Models()[TakeByte(input) % Models().size()]);
  const std::size_t use = TakeByte(input) % 3;
  if (use == 0) {
    SendRaw(bench, input);
  } else {
    SendSigned(bench, input, use == 2);
  }
}

}  // namespace camapifuzz
