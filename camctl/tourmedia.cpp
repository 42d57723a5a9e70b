#include "camctl/tourmedia.h"

#include "camctl/snapshot.h"
#include "camctl/text.h"

namespace camctl {

bool TourMedia::Run() {
  if (!m_runner.Run({&kRecordingStream, &kLiveStream, &kSnapshot})) return false;
  m_notPlayed = m_options.play ? "" : "--no-play";
  const bool passed = (!m_options.play || PlayBoth()) && m_runner.Run(SaveSnapshot(m_options.snapshot));
  m_failedBeside = !passed;
  return passed;
}

bool TourMedia::PlayBoth() {
  const bool possible = CanPlay(m_notPlayed);
  for (const PlayableStream* stream : {&kPlayRecording, &kPlayLive}) {
    const Step step = PlayStream(*stream, m_options.playTime, PlayPurpose::Check, m_interruption);
    if (!possible) m_runner.LeaveOut(step, m_notPlayed);
    if (possible && !m_runner.RunIfPossible(step, "")) return false;
  }
  return true;
}

std::string TourMedia::PlayedText() const {
  if (!m_notPlayed.empty()) return "nothing: " + m_notPlayed;
  std::vector<std::string> parts;
  for (const auto& [name, playback] : m_runner.GetSession().Camera().played) {
    const bool whole = playback.result == PlayResult::Played;
    // "recording" first, as everywhere.
    parts.insert(parts.begin(), name + " " + (whole ? DescribePlayback(playback) : playback.codec + " not supported"));
  }
  return Joined(parts, "; ");
}

void TourMedia::Show() const {
  Console& console = m_runner.GetConsole();
  const CameraReport& camera = m_runner.GetSession().Camera();
  console.Line("");
  console.Line("recording: ", Colour::Faint, camera.paths.at("recording").url);
  console.Line("live:      ", Colour::Faint, camera.paths.at("live").url);
  console.Line("snapshot:  ", Colour::Faint, DescribeSnapshot(*camera.snapshot));
  console.Line("played:    ", Colour::Faint, PlayedText());
}

}  // namespace camctl
