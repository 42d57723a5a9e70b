#include "simcam/simcamera.h"

#include <libxml/parser.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "simcam/camerastate.h"
#include "simcam/camerastreams.h"
#include "simcam/control.h"
#include "simcam/dispatcher.h"
#include "simcam/front.h"
#include "simcam/security.h"

namespace simcam {

namespace {

std::shared_ptr<const Clock> ClockOf(const CameraOptions& options) {
  // The parser must be ready before a second thread uses it.
  xmlInitParser();
  return options.clock ? options.clock : std::make_shared<const Clock>();
}

// Clients are told the port that is really listened on.
void TellRtspPort(CameraModel& model, std::uint16_t port) {
  for (NetworkProtocol& protocol : model.protocols) {
    if (protocol.name == "RTSP") {
      protocol.port = port;
    }
  }
}

std::vector<std::string> AllQuirkTexts(const CameraModel& model, const CameraOptions& options) {
  std::vector<std::string> texts = model.quirks;
  texts.insert(texts.end(), options.quirks.begin(), options.quirks.end());
  return texts;
}

std::unique_ptr<HttpServer> Serve(
    std::uint16_t port, HttpServer::Handler handler, HttpServer::Admission admits = [] { return true; }) {
  try {
    return std::make_unique<HttpServer>(port, std::move(handler), std::move(admits));
  } catch (const std::runtime_error& error) {
    throw CameraError("cannot serve on 127.0.0.1 port " + std::to_string(port) + ": " + error.what());
  }
}

}  // namespace

// The members refer to those above them; the servers, which use them all, come last and end first.
class SimCamera::Parts {
 public:
  Parts(CameraModel cameraModel, const CameraOptions& options)
      : rtsp(MakeRtspServer(cameraModel, options)),
        model(std::move(cameraModel)),
        clock(ClockOf(options)),
        state(model, *clock),
        tokens(options.user, options.password, options.clockWindow),
        quirks(AllQuirkTexts(model, options)),
        dispatcher(model, state, tokens, *clock, quirks),
        snapshots(model, state, *clock, options.user, options.password),
        front(dispatcher, snapshots, quirks),
        control({model, state, dispatcher, quirks},
                {[this](std::chrono::milliseconds down) { Reboot(down); }, [this] { return DropConnections(); },
                 [this](const std::string& user, const std::string& password) { ChangeAccount(user, password); }}),
        server(Serve(
            options.port, [this](const HttpRequest& request) { return Answer(request); }, [this] { return IsUp(); })) {
    if (options.controlPort) {
      controlServer = Serve(*options.controlPort,
                            [this](const HttpRequest& request) { return control.Answer(request, Outside()); });
    }
    RefreshStreams();
  }

  ~Parts() { Stop(); }

  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  void Stop() {
    if (controlServer) {
      controlServer->Stop();
    }
    server->Stop();
    if (rtsp) {
      rtsp->Stop();
    }
  }

  Control::Outside Outside() const {
    if (!rtsp) {
      return {server->Port(), std::nullopt, 0};
    }
    return {server->Port(), rtsp->Port(), rtsp->Viewers()};
  }

  void Reboot(std::chrono::milliseconds down) {
    downUntil = clock->SteadyNow() + down;
    dispatcher.Restart();
    const TokenChecker::Account account = tokens.CurrentAccount();
    snapshots.ChangeAccount(account.user, account.password);
    state.HaltLenses();
    DropConnections();
  }

  std::size_t DropConnections() {
    if (rtsp) {
      rtsp->DropConnections();
    }
    return server->DropConnections();
  }

  void ChangeAccount(const std::string& user, const std::string& password) {
    dispatcher.ChangeAccount({user, password});
    snapshots.ChangeAccount(user, password);
    if (rtsp) {
      rtsp->ChangeAccount(user, password);
    }
  }

  using Time = std::chrono::steady_clock::time_point;

  std::atomic<Time> downUntil{Time::min()};
  const std::unique_ptr<RtspServer> rtsp;  // null: no streams; asks the members below until it is stopped
  const CameraModel model;
  const std::shared_ptr<const Clock> clock;
  CameraState state;
  TokenChecker tokens;
  QuirkSet quirks;
  Dispatcher dispatcher;
  SnapshotService snapshots;
  const Front front;
  CameraStreams streams;
  const Control control;
  const std::unique_ptr<HttpServer> server;
  std::unique_ptr<HttpServer> controlServer;  // null: no control address

 private:
  // Connections may come before the camera has its clock; it has not gone down by then.
  bool IsUp() const {
    const Time until = downUntil;
    return until == Time::min() || clock->SteadyNow() >= until;
  }

  // Also writes into the model where the server listens.
  std::unique_ptr<RtspServer> MakeRtspServer(CameraModel& cameraModel, const CameraOptions& options) {
    if (!options.rtspPort) {
      return nullptr;
    }
    RtspOptions rtspOptions;
    rtspOptions.port = *options.rtspPort;
    rtspOptions.user = options.user;
    rtspOptions.password = options.password;
    rtspOptions.admits = [this] { return IsUp(); };
    const auto moment = [this](const std::string& profile) { return MomentOf(model, state, *clock, profile); };
    try {
      auto made = std::make_unique<RtspServer>(rtspOptions, cameraModel.identity.model, moment);
      TellRtspPort(cameraModel, made->Port());
      return made;
    } catch (const std::runtime_error& error) {
      throw CameraError("cannot stream on 127.0.0.1 port " + std::to_string(rtspOptions.port) + ": " + error.what());
    }
  }

  // What a client has changed is streamed before the client is told.
  HttpAnswer Answer(const HttpRequest& request) {
    HttpAnswer answer = front.Answer(request);
    RefreshStreams();
    return answer;
  }

  void RefreshStreams() {
    if (rtsp) {
      streams.Refresh(*rtsp, model, state);
    }
  }
};

SimCamera::SimCamera(CameraModel model, CameraOptions options) {
  try {
    m_parts = std::make_unique<Parts>(std::move(model), options);
  } catch (const CameraError&) {
    throw;
  } catch (const QuirkError& error) {
    throw CameraError(error.what());
  }
}

SimCamera::~SimCamera() = default;

void SimCamera::SwitchOn(const std::string& quirk) {
  try {
    m_parts->quirks.SwitchOn(ParseQuirk(quirk));
  } catch (const QuirkError& error) {
    throw CameraError(error.what());
  }
}

bool SimCamera::SwitchOff(const std::string& name) {
  return m_parts->quirks.SwitchOff(name) > 0;
}

std::uint16_t SimCamera::Port() const {
  return m_parts->server->Port();
}

std::uint16_t SimCamera::ControlPort() const {
  return m_parts->controlServer ? m_parts->controlServer->Port() : std::uint16_t{0};
}

std::optional<std::uint16_t> SimCamera::StreamPort() const {
  return m_parts->rtsp ? std::make_optional(m_parts->rtsp->Port()) : std::nullopt;
}

std::size_t SimCamera::Viewers() const {
  return m_parts->rtsp ? m_parts->rtsp->Viewers() : 0;
}

void SimCamera::Stop() {
  m_parts->Stop();
}

const CameraModel& SimCamera::Model() const {
  return m_parts->model;
}

void SimCamera::Reboot(std::chrono::milliseconds down) {
  m_parts->Reboot(down);
}

std::size_t SimCamera::DropConnections() {
  return m_parts->DropConnections();
}

void SimCamera::ChangeAccount(const std::string& user, const std::string& password) {
  m_parts->ChangeAccount(user, password);
}

std::vector<Profile> SimCamera::Profiles() const {
  return m_parts->state.Profiles();
}

std::vector<std::string> SimCamera::ProfileTokens() const {
  const std::vector<Profile> profiles = Profiles();
  std::vector<std::string> tokens;
  std::transform(profiles.begin(), profiles.end(), std::back_inserter(tokens),
                 [](const Profile& profile) { return profile.token; });
  return tokens;
}

std::optional<LensPosition> SimCamera::PositionOf(const std::string& nodeToken) const {
  return m_parts->state.PositionOf(nodeToken);
}

}  // namespace simcam
