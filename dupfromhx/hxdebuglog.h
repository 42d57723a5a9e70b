#pragma once

namespace DevicePackOwned {

/// Appends one message, behind a time stamp and a blank, to the log file that the server and all its drivers share,
/// "/var/log/hexwatch.log". The message is written as it is: end `pFormat` with a line feed.
///
/// An exclusive file lock keeps messages of several threads and processes whole. After a write that leaves more than
/// 204800 bytes in the file, `HxArchiveLogs` runs under the same lock. Trouble with the file goes to the system log;
/// nothing reaches the caller, and a message whose lock fails is dropped.
/// \param pFormat as for printf. Drivers begin it with "%s:%d:%s(): " for source, line and function.
void HxPrintf(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));

/// Local time as "Nov  5 13:07:42" ("%b %e %T"), empty when it cannot be computed.
/// \return one static buffer that all calls share; `HxPrintf` uses it under its lock
const char* HxTimeStamp();

}  // namespace DevicePackOwned

/// Moves the file `pPath` into its archives: "PATH.9.gz", the oldest, is deleted, "PATH.0.gz" to "PATH.8.gz" move up by
/// one, and the file becomes "PATH.0.gz". Gaps in the numbers stay. A step that fails is reported to the system log and
/// ends the rotation. A null path does nothing. The caller holds the lock of the log.
void HxArchiveLogs(const char* pPath);
