#include "simcam/rtsp/connections.h"

#include <gst/rtsp-server/rtsp-client.h>

#include <algorithm>
#include <utility>

#include "simcam/rtspserver.h"

namespace simcam {

namespace {

bool HasSession(GstRTSPClient* client) {
  return !TakeList<GstRTSPSession>(gst_rtsp_client_session_filter(client, nullptr, nullptr)).empty();
}

}  // namespace

ClientPtr Connections::Add(GstRTSPClient* client, Time now) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_states.emplace(client, State{now, {}});
  if (m_states.size() <= kMaxRtspConnections) {
    return nullptr;
  }
  GstRTSPClient* longestSilent = client;
  for (const auto& [other, state] : m_states) {
    if (state.lastSaid < m_states.at(longestSilent).lastSaid && !HasSession(other)) {
      longestSilent = other;
    }
  }
  return Share(longestSilent);
}

void Connections::Remove(GstRTSPClient* client) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_states.erase(client);
  m_removed.notify_all();
}

void Connections::Touch(GstRTSPClient* client, Time now) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_states.find(client);
  if (found != m_states.end()) {
    found->second.lastSaid = now;
  }
}

void Connections::Use(GstRTSPClient* client, std::uint64_t edition) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_states.find(client);
  if (found != m_states.end()) {
    found->second.editions.insert(edition);
  }
}

std::vector<ClientPtr> Connections::Silent(Time now, Duration limit) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<ClientPtr> silent;
  for (const auto& [client, state] : m_states) {
    if (now - state.lastSaid > limit && !HasSession(client)) {
      silent.push_back(Share(client));
    }
  }
  return silent;
}

std::vector<ClientPtr> Connections::Outdated(const std::function<bool(std::uint64_t)>& isCurrent) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<ClientPtr> outdated;
  for (const auto& [client, state] : m_states) {
    if (!std::all_of(state.editions.begin(), state.editions.end(), isCurrent)) {
      outdated.push_back(Share(client));
    }
  }
  return outdated;
}

bool Connections::WaitUntilNone(Time deadline) {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_removed.wait_until(lock, deadline, [this] { return m_states.empty(); });
}

}  // namespace simcam
