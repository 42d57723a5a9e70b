// One camera of the recorder's server: the driver object, what is asked of it, and what befalls the camera meanwhile.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "bench/soaking/simcamprocess.h"
#include "bench/soaking/tally.h"
#include "bench/soaking/troubles.h"
#include "onvif/camapi-onvif.h"

namespace soak {

// What is known of a model of simulated cameras, and what a healthy one answers.
struct Model {
  const char* name;
  const char* profiles;  // tokens of the recording and the live profile
  bool hasPtz;
  int audioType;  // code for SetAudio
  int audioAnswer;
  int videoType;  // code for SetStmProfile
  const char* size;
};

constexpr std::size_t kModelCount = 4;
const Model& ModelAt(std::size_t index);

// Which camera it is, and how it is treated.
struct CameraPlan {
  unsigned number = 0;  // from 0
  const Model* model = nullptr;
  CameraPorts ports;
  unsigned seed = 1;
  std::chrono::steady_clock::duration interval{};  // between rounds
  bool expectsWrongCode = false;                   // see SelfCheck::Code
};

// Not safe for two threads at once. What goes wrong is told to the tally; nothing is thrown but by Prepare().
class Camera {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // The tally must outlive the camera.
  Camera(const CameraPlan& plan, Tally& tally);

  // Reads the camera's capability report, as a server does that adds a camera. Throws std::runtime_error when it
  // cannot be had or is not that of the model.
  void Prepare();

  // Lets something befall the camera, or end, and asks it for this and that.
  void Round();

  Time Due() const { return m_due; }
  void Postpone() { m_due += m_plan.interval; }

 private:
  enum class Group { Converted, Plain, Ptz, Audio };

  // What is wrong with the camera, and for how long.
  struct Plight {
    std::size_t index = 0;
    int roundsLeft = 0;
    long number = 0;  // seconds that the clock is off, milliseconds of a reboot
    Time overEarliest;
    Time overLatest;
  };

  struct Event {
    unsigned round = 0;  // 0: none
    std::size_t trouble = 0;
    long number = 0;
  };

  int Below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(m_random); }
  const Trouble* Now() const { return m_plight ? &TroubleAt(m_plight->index) : nullptr; }
  void MakeDriver();
  void Befall();
  void Begin(std::size_t index);
  void End();
  void SwitchQuirks(const std::string& lines);
  void Reboot();
  bool IsClockCorrected() const;

  bool IsAllowed(Group group, int result, Time before) const;
  int Code(Group group, const Answers& answers) const;
  template <typename Call>
  bool Ask(const char* operation, Group group, Call call);
  void Complain(const std::string& what) const;
  void Note(const HTTP_EXCHANGE& exchange);
  void Claim(bool holds, const char* what) const;
  std::string History() const;

  void AskAll();
  void AskConnection();
  void AskIdentity();
  void AskPaths();
  void AskReport();
  void AskStream();
  void AskLens();
  void AskPresets();

  const CameraPlan m_plan;
  Tally& m_tally;
  std::mt19937 m_random;
  std::string m_password = kFirstPassword;  // that the server knows
  std::string m_newPassword;                // that the camera has, while they differ
  std::array<char, 160> m_exchange{};       // what became of the driver's latest request
  CameraCap m_cap;
  std::size_t m_reportSize = 0;
  std::unique_ptr<ONVIFAPI> m_driver;
  Time m_due;
  unsigned m_round = 0;
  std::optional<Plight> m_plight;
  std::array<Event, 12> m_events{};  // the latest ones, in a ring: a soak must not grow by itself
};

}  // namespace soak
