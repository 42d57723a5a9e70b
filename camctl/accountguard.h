#pragma once

#include <optional>

#include "camctl/evidence.h"

namespace camctl {

/// Keeps the workbench from locking an account: cameras do that after a few wrong tries, and then refuse the right
/// password too. After a refusal nothing more is asked. An account that the camera has accepted before may be refused
/// once in between, because it may lack the right for a single operation.
class AccountGuard {
 public:
  /// Takes note of an exchange.
  /// \param[in,out] evidence of a refusal: its tries become those of all refusals in a row
  void Observe(Evidence& evidence);

  /// Whether the camera may be asked again.
  bool MayAsk() const { return !m_refusal; }

  /// The refusal that ended it, if one did.
  const std::optional<Evidence>& Refusal() const { return m_refusal; }

 private:
  bool m_proven = false;  // the camera answered what it answers to known users only
  int m_refusals = 0;     // in a row
  int m_digestTries = 0;  // of these
  std::optional<Evidence> m_refusal;
};

}  // namespace camctl
