#pragma once

#include <chrono>
#include <string>

#include "camctl/interruption.h"
#include "camctl/playing.h"
#include "camctl/runner.h"

namespace camctl {

/// What the tour does with pictures.
struct TourOptions {
  bool play = true;
  std::chrono::milliseconds playTime = kUsualPlayTime;  ///< of each stream
  std::string snapshot = "snapshot.jpg";                ///< file that the snapshot is written to
};

/// The part of the tour that looks at pictures: where streams and snapshot are, both streams played, the snapshot
/// fetched. `options` and `interruption`, which ends playing, must outlive it.
class TourMedia {
 public:
  TourMedia(Runner& runner, const TourOptions& options, Interruption& interruption)
      : m_runner(runner), m_options(options), m_interruption(interruption) {}

  /// \return false when the run failed
  bool Run();

  /// Whether it failed beside the camera's services, which then still answer.
  bool FailedBeside() const { return m_failedBeside; }

  /// Shows the addresses, the file, and in one line what was played.
  void Show() const;

 private:
  bool PlayBoth();
  std::string PlayedText() const;

  Runner& m_runner;
  const TourOptions& m_options;
  Interruption& m_interruption;
  std::string m_notPlayed;  // why; empty: it was
  bool m_failedBeside = false;
};

}  // namespace camctl
