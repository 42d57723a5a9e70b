#pragma once

#include <unistd.h>

/// The pause between tries, in seconds: cameras need that long to take a change in.
inline constexpr unsigned int k_nRetryPause_s = 2;

/// Calls `fnTry`, with the number of the try from 1, until it succeeds, at most five times, with a pause of 2 seconds
/// after each failure, the last one included.
/// \return whether it succeeded
template <typename TRY>
bool TryWithPauses(TRY fnTry) {
  constexpr int nTries = 5;
  for (int nTry = 1; nTry <= nTries; ++nTry) {
    if (fnTry(nTry)) return true;
    sleep(k_nRetryPause_s);
  }
  return false;
}
