#include "simcam/control.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "simcam/bytoken.h"
#include "simcam/encoderoptions.h"

namespace simcam {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kQuirkPrefix = "/quirks/";
constexpr int kMostDown = 600000;            // milliseconds
constexpr std::size_t kMaxAccountText = 64;  // bytes of a user name or password

// A request that is refused; what() says why.
class Refused : public std::runtime_error {
 public:
  Refused(int status, const std::string& reason) : std::runtime_error(reason), m_status(status) {}

  int Status() const { return m_status; }

 private:
  int m_status;
};

struct Question {
  const Control::Camera& camera;
  const Control::Actions& actions;
  const HttpRequest& request;
  const Control::Outside& outside;
};

HttpAnswer JsonAnswer(int status, const Json& json) {
  // Texts of requests may hold bytes that are not UTF-8.
  return {status, "application/json", json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", {}, {}};
}

// A web page elsewhere must not reach the camera through the browser of somebody who sits here: neither by a name that
// leads to this address, nor by a form.
void CheckCaller(const HttpRequest& request) {
  const std::string& host = request.host;
  const std::size_t end = host.find(':', host.rfind('[', 0) == 0 ? host.find(']') : 0);
  const std::string name = host.substr(0, end);
  if (name != "127.0.0.1" && name != "localhost" && name != "[::1]") {
    throw Refused(403, "ask for 127.0.0.1 or localhost, not for \"" + name + "\"");
  }
  if (!request.origin.empty()) {
    throw Refused(403, "requests of web pages are refused");
  }
}

Json ActiveTexts(const QuirkSet& quirks) {
  Json texts = Json::array();
  for (const QuirkSwitch& entry : quirks.Active()) {
    texts.push_back(FormatQuirk(entry));
  }
  return texts;
}

Json DescribeParameter(const QuirkParameter& parameter) {
  if (parameter.kind == QuirkParameter::Kind::None) {
    return nullptr;
  }
  Json json = {{"meaning", parameter.meaning}, {"standard", parameter.standard}};
  if (parameter.kind == QuirkParameter::Kind::Whole) {
    json["min"] = parameter.min;
    json["max"] = parameter.max;
  }
  if (parameter.kind == QuirkParameter::Kind::Choice) {
    json["choices"] = parameter.choices;
  }
  return json;
}

Json DescribeQuirk(const QuirkGroup& group, const Quirk& quirk) {
  return {{"name", quirk.name},
          {"group", group.name},
          {"trouble", quirk.trouble},
          {"value", DescribeParameter(quirk.parameter)},
          {"operations", quirk.operations}};
}

Json OnOnly(const Question& question) {
  return {{"on", ActiveTexts(question.camera.quirks)}};
}

Json ListQuirks(const Question& question) {
  Json json = OnOnly(question);
  for (const QuirkGroup& group : AllQuirks()) {
    for (const Quirk& quirk : group.quirks) {
      json["quirks"].push_back(DescribeQuirk(group, quirk));
    }
  }
  return json;
}

std::vector<std::string> LinesOf(const std::string& body) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < body.size()) {
    const std::size_t end = std::min(body.find_first_of("\r\n", begin), body.size());
    if (end > begin) {
      lines.push_back(body.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  return lines;
}

Json SwitchOn(const Question& question) {
  const std::vector<std::string> lines = LinesOf(question.request.body);
  if (lines.empty()) {
    throw Refused(400, "give one quirk a line: NAME[=VALUE][@OPERATION][#NTH]");
  }
  try {
    question.camera.quirks.SwitchOn(ParseQuirks(lines));
  } catch (const QuirkError& error) {
    throw Refused(400, error.what());
  }
  return OnOnly(question);
}

Json SwitchAllOff(const Question& question) {
  question.camera.quirks.SwitchAllOff();
  return OnOnly(question);
}

Json SwitchOneOff(const Question& question) {
  const std::string name = question.request.Path().substr(kQuirkPrefix.size());
  if (question.camera.quirks.SwitchOff(name) == 0) {
    throw Refused(404, "no quirk \"" + name + "\" is on");
  }
  return OnOnly(question);
}

// The one line of the body; empty when there are more, or none.
std::string OneLineOf(const std::string& body) {
  const std::vector<std::string> lines = LinesOf(body);
  return lines.size() == 1 ? lines.front() : std::string();
}

Json Reboot(const Question& question) {
  const std::string text = OneLineOf(question.request.body);
  int down = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), down);
  if (error != std::errc() || end != text.data() + text.size() || down < 0 || down > kMostDown) {
    throw Refused(400, "give the milliseconds that the camera is gone, 0 to " + std::to_string(kMostDown));
  }
  question.actions.reboot(std::chrono::milliseconds(down));
  return {{"down", down}};
}

Json Disconnect(const Question& question) {
  return {{"disconnected", question.actions.disconnect()}};
}

Json ChangeAccount(const Question& question) {
  const std::vector<std::string> lines = LinesOf(question.request.body);
  const auto isTooLong = [](const std::string& line) { return line.size() > kMaxAccountText; };
  if (lines.size() != 2 || std::any_of(lines.begin(), lines.end(), isTooLong)) {
    throw Refused(400, "give a user name and, in a second line, a password, each of 1 to " +
                           std::to_string(kMaxAccountText) + " bytes");
  }
  question.actions.changeAccount(lines[0], lines[1]);
  return {{"user", lines[0]}};
}

Json DescribeEncoder(const MediaSnapshot& media, const Profile& profile) {
  const auto* const encoder = FindByToken(media.videoEncoders, profile.Binding(ConfigurationKind::VideoEncoder));
  if (encoder == nullptr) {
    return nullptr;
  }
  return {{"token", encoder->token},         {"encoding", NameOf(encoder->codec)}, {"width", encoder->width},
          {"height", encoder->height},       {"frameRate", encoder->frameRate},    {"bitrateKbit", encoder->bitrate},
          {"govLength", encoder->govLength}, {"quality", encoder->quality}};
}

Json DescribeProfiles(const MediaSnapshot& media) {
  Json profiles = Json::array();
  for (const Profile& profile : media.profiles) {
    profiles.push_back(
        {{"token", profile.token}, {"name", profile.name}, {"videoEncoder", DescribeEncoder(media, profile)}});
  }
  return profiles;
}

Json DescribeLenses(const Control::Camera& camera) {
  Json lenses = Json::array();
  if (!camera.model.ptz) {
    return lenses;
  }
  for (const PtzNode& node : camera.model.ptz->nodes) {
    const LensPosition position = camera.state.PositionOf(node.token).value_or(LensPosition());
    lenses.push_back({{"node", node.token},
                      {"pan", position.pan},
                      {"tilt", position.tilt},
                      {"zoom", position.zoom},
                      {"moving", camera.state.IsMoving(node.token)},
                      {"presets", camera.state.PresetsOf(node.token).size()}});
  }
  return lenses;
}

Json DescribeCamera(const Question& question) {
  const CallCounts counts = question.camera.dispatcher.Counts();
  return {{"model", question.camera.model.name},
          {"port", question.outside.port},
          {"streamPort", question.outside.streamPort ? Json(*question.outside.streamPort) : Json()},
          {"controlPort", question.request.port},
          {"profiles", DescribeProfiles(question.camera.state.Media())},
          {"lenses", DescribeLenses(question.camera)},
          {"viewers", question.outside.viewers},
          {"quirks", ActiveTexts(question.camera.quirks)},
          {"requests", counts.requests},
          {"refused", counts.refused},
          {"faults", counts.faults},
          {"wrongTries", counts.wrongTries}};
}

struct Route {
  std::string_view path;
  bool isPrefix;
  const char* method;
  Json (*answer)(const Question& question);

  bool Fits(std::string_view target) const {
    return isPrefix ? target.size() > path.size() && target.substr(0, path.size()) == path : target == path;
  }
};

constexpr Route kRoutes[] = {{"/camera", false, "GET", DescribeCamera},    {"/quirks", false, "GET", ListQuirks},
                             {"/quirks", false, "POST", SwitchOn},         {"/quirks", false, "DELETE", SwitchAllOff},
                             {kQuirkPrefix, true, "DELETE", SwitchOneOff}, {"/reboot", false, "POST", Reboot},
                             {"/disconnect", false, "POST", Disconnect},   {"/account", false, "POST", ChangeAccount}};

HttpAnswer Refuse(int status, const std::string& reason) {
  return JsonAnswer(status, {{"error", reason}});
}

HttpAnswer NoRoute(const HttpRequest& request) {
  std::string allowed;
  for (const Route& route : kRoutes) {
    if (route.Fits(request.Path())) {
      allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
    }
  }
  if (allowed.empty()) {
    return Refuse(404, "there are /camera, /quirks, /quirks/NAME, /reboot, /disconnect and /account");
  }
  HttpAnswer answer = Refuse(405, "here you can " + allowed);
  answer.headers.emplace_back("Allow", allowed);
  return answer;
}

}  // namespace

HttpAnswer Control::Answer(const HttpRequest& request, const Outside& outside) const {
  try {
    CheckCaller(request);
    for (const Route& route : kRoutes) {
      if (route.Fits(request.Path()) && request.method == route.method) {
        return JsonAnswer(200, route.answer({m_camera, m_actions, request, outside}));
      }
    }
  } catch (const Refused& refused) {
    return Refuse(refused.Status(), refused.what());
  }
  return NoRoute(request);
}

}  // namespace simcam
