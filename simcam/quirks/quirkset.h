// Which quirks a camera has at the moment, and which of them hold for a call.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simcam/quirks/quirk.h"

namespace simcam {

// A text that switches no quirk on. what() says what is wrong and what would be right.
class QuirkError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A quirk that is switched on.
struct QuirkSwitch {
  const Quirk* quirk = nullptr;
  QuirkValue value{""};
  std::string operation;  // the only one that it holds for; empty: all that it can change
  unsigned nth = 0;       // the only one of those calls that it holds for, counted from 1; 0: all
  unsigned calls = 0;     // how many there were
};

// The name under which quirks hold for the GET of a snapshot; only those that change how bytes travel can.
constexpr std::string_view kSnapshotOperation = "snapshot";

// Reads NAME[=VALUE][@OPERATION][#NTH], with blanks nowhere but in a value. A value may hold @ and #: the last ones that
// are followed by a name and a number count. Throws QuirkError: unknown quirk (with the nearest), a value that is missing,
// not wanted or out of range, an operation that the camera does not have or that the quirk cannot change, a bad number.
QuirkSwitch ParseQuirk(std::string_view text);

// The same for several texts.
std::vector<QuirkSwitch> ParseQuirks(const std::vector<std::string>& texts);

// The same text again.
std::string FormatQuirk(const QuirkSwitch& entry);

// The quirks that hold for one call.
class CallQuirks {
 public:
  explicit CallQuirks(std::vector<QuirkSwitch> entries = {}) : m_entries(std::move(entries)) {}

  CallRules Rules() const;

  // The body of an answer as these quirks have it.
  std::string Bend(const std::string& operation, std::string body) const;

  WirePlan Wire() const;

 private:
  std::vector<QuirkSwitch> m_entries;
};

// Safe to use from several threads.
class QuirkSet {
 public:
  // Switches on what the texts say. Throws QuirkError.
  explicit QuirkSet(const std::vector<std::string>& texts = {});

  // In place of the same quirk for the same operation and call, if that was on. Throws QuirkError beyond a ceiling. Of
  // several all are switched on or none.
  void SwitchOn(const QuirkSwitch& entry) { SwitchOn(std::vector<QuirkSwitch>{entry}); }
  void SwitchOn(const std::vector<QuirkSwitch>& entries);

  // All switches of the quirk; returns how many there were.
  std::size_t SwitchOff(std::string_view name);
  void SwitchAllOff();

  std::vector<QuirkSwitch> Active() const;

  // Counts the call.
  CallQuirks ForCall(std::string_view operation);

 private:
  static constexpr std::size_t kMaxSwitches = 256;

  mutable std::mutex m_mutex;
  std::vector<QuirkSwitch> m_entries;
};

}  // namespace simcam
