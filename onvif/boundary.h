#pragma once

/// The library's boundary: what the server calls returns a code and lets no exception out.
///
/// The rule: every virtual operation of `ONVIFAPI`, and `GetRTSPPort`, runs behind `AtBoundary`. Whatever is below them
/// (the service clients, the steps of the operations, the helpers) throws nothing but std::bad_alloc, and is not
/// guarded a second time. The constructor has no result: without memory it throws, and there is no object. The
/// destructor needs no memory.

/// Logs the exception that is being handled, as one line of the operation, without asking for memory.
/// \return CAMERA_FAILED
int FailedAtBoundary(const char* pOperation) noexcept;

/// Runs an operation of the server's.
/// \param pOperation its name, for the log
/// \return what `fnOperation` returns; CAMERA_FAILED when it throws
template <typename OPERATION>
int AtBoundary(const char* pOperation, OPERATION fnOperation) noexcept {
  try {
    return fnOperation();
  } catch (...) {
    return FailedAtBoundary(pOperation);
  }
}
