#pragma once

#include <string>
#include <vector>

namespace testsupport {

inline constexpr char kLogPath[] = "/var/log/hexwatch.log";

/// One message of `syslog`: its priority number (facility and severity, 11 is user.err) and its text without the time
/// and the program's name.
struct SyslogMessage {
  int priority = 0;
  std::string text;

  bool operator==(const SyslogMessage& other) const { return priority == other.priority && text == other.text; }
};

/// Moves this process into a mount namespace of its own with an empty /var/log and a /dev whose /dev/log is read by the
/// rig, so that no test touches the machine's logs. Once, before any thread is started; the common main does it.
void EnterPrivateLog();

/// Ends the reader of /dev/log.
void LeavePrivateLog();

/// Why this process has no private logs; empty when it has. Log tests skip with this text.
std::string PrivateLogReason();

/// The log file's text; empty when there is none, when something else stands in its place, or the logs are not private.
std::string LogText();

/// The log file's lines without their line feeds; a last line without one counts.
std::vector<std::string> LogLines();

/// Empties the private /var/log and forgets the messages of syslog. Nothing happens when the logs are not private.
void ClearLog();

/// Messages sent to syslog by this process and its children since the last call, oldest first.
std::vector<SyslogMessage> SyslogMessages();

}  // namespace testsupport
