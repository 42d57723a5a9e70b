#include "simcam/snapshots.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "simcam/addresses.h"
#include "simcam/bytoken.h"
#include "simcam/picture.h"

namespace simcam {

namespace {

// The preferred algorithm first. None: no credentials are asked for.
std::vector<DigestAlgorithm> AlgorithmsOf(HttpAuthentication authentication) {
  switch (authentication) {
    case HttpAuthentication::None:
      return {};
    case HttpAuthentication::Digest:
      return {DigestAlgorithm::Md5};
    case HttpAuthentication::DigestSha256:
      return {DigestAlgorithm::Sha256};
    case HttpAuthentication::DigestBoth:
      return {DigestAlgorithm::Sha256, DigestAlgorithm::Md5};
  }
  return {};
}

const std::string* NodeOf(const PtzModel& ptz, const Profile& profile) {
  const PtzConfiguration* const configuration =
      FindByToken(ptz.configurations, profile.Binding(ConfigurationKind::Ptz));
  if (configuration != nullptr) {
    return &configuration->node;
  }
  return ptz.nodes.empty() ? nullptr : &ptz.nodes.front().token;
}

HttpAnswer Refuse(DigestChecker& digest, DigestVerdict verdict) {
  HttpAnswer answer = PlainAnswer(StatusOf(verdict), Describe(verdict));
  if (answer.status == 401) {
    for (std::string& challenge : digest.Challenges(verdict)) {
      answer.headers.emplace_back("WWW-Authenticate", std::move(challenge));
    }
  }
  return answer;
}

}  // namespace

std::optional<LensPosition> LensOf(const CameraModel& model, const CameraState& state, const Profile& profile) {
  const std::string* const node = model.ptz ? NodeOf(*model.ptz, profile) : nullptr;
  return node == nullptr ? std::nullopt : state.PositionOf(*node);
}

int JpegQualityOf(double quality, const WholeRange& range) {
  constexpr double kLeast = 30;  // below, text is hard to read
  constexpr double kMost = 95;   // beyond, files grow and nobody sees why
  const double span = range.max - range.min;
  const double place = span > 0 ? std::min(std::max((quality - range.min) / span, 0.0), 1.0) : 1;
  return static_cast<int>(std::lround(kLeast + (kMost - kLeast) * place));
}

SnapshotService::SnapshotService(const CameraModel& model, const CameraState& state, const Clock& clock,
                                 const std::string& user, const std::string& password)
    : m_model(model), m_state(state), m_clock(clock) {
  ChangeAccount(user, password);
}

void SnapshotService::ChangeAccount(const std::string& user, const std::string& password) {
  std::vector<DigestAlgorithm> algorithms = AlgorithmsOf(m_model.snapshotAuthentication);
  if (algorithms.empty()) {
    return;
  }
  auto digest = std::make_shared<DigestChecker>(DigestChecker::Account{user, password, m_model.identity.model},
                                                std::move(algorithms), m_clock);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_digest = std::move(digest);
}

std::shared_ptr<DigestChecker> SnapshotService::Checker() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_digest;
}

bool SnapshotService::HasTarget(const std::string& target) const {
  return ProfileInTarget(m_model.snapshotPath, target).has_value();
}

HttpAnswer SnapshotService::Answer(const HttpRequest& request) {
  if (const std::shared_ptr<DigestChecker> digest = Checker()) {
    const DigestVerdict verdict = digest->Check(request.method, request.target, request.authorization);
    if (verdict != DigestVerdict::Accepted) {
      return Refuse(*digest, verdict);
    }
  }
  return Picture(ProfileInTarget(m_model.snapshotPath, request.target).value_or(""));
}

HttpAnswer SnapshotService::Picture(const std::string& token) {
  const MediaSnapshot media = m_state.Media();
  const Profile* const profile = FindByToken(media.profiles, token);
  if (profile == nullptr) {
    return PlainAnswer(404, "there is no such profile");
  }
  if (profile->Binding(ConfigurationKind::VideoSource).empty()) {
    return PlainAnswer(404, "the profile has no video source");
  }
  const VideoEncoderConfiguration* const encoder =
      FindByToken(media.videoEncoders, profile->Binding(ConfigurationKind::VideoEncoder));
  if (encoder == nullptr) {
    return PlainAnswer(404, "the profile has no video encoder");
  }
  return {200, "image/jpeg", Draw(*profile, *encoder), {{"Cache-Control", "no-store"}}, {}};
}

std::string SnapshotService::Draw(const Profile& profile, const VideoEncoderConfiguration& encoder) {
  PictureText text;
  text.model = m_model.identity.model;
  text.profile = profile.name + " (" + profile.token + ")";
  text.codec = "JPEG";
  text.width = encoder.width;
  text.height = encoder.height;
  PictureRenderer renderer(std::move(text));
  const std::uint8_t* const picture = renderer.Render({m_clock.UtcNow(), ++m_taken, LensOf(m_model, m_state, profile)});
  const VideoEncoderOptions* const options = FindByToken(m_model.videoEncoderOptions, encoder.options);
  return EncodeJpeg(picture, encoder.width, encoder.height,
                    JpegQualityOf(encoder.quality, options == nullptr ? WholeRange() : options->quality));
}

}  // namespace simcam
