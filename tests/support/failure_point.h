#pragma once

namespace testsupport {

/// Which allocations fail.
enum class Failing { kOnlyTheNth, kAllFromTheNth };

/// Counts the allocations of one thread and says which of them fail.
class FailurePoint {
 public:
  /// The nth allocation from now, counted from 1, is the first to fail.
  void Arm(long nth, Failing which) {
    m_left = nth;
    m_which = which;
    m_struck = false;
  }

  /// No allocation fails any more.
  void Disarm() { m_left = 0; }

  /// Whether an allocation has failed since the last `Arm`.
  bool HasStruck() const { return m_struck; }

  /// Counts an allocation; whether it fails.
  bool NextFails() {
    if (m_left == 0) return false;
    if (m_left > 1) {
      --m_left;
      return false;
    }
    m_struck = true;
    if (m_which == Failing::kOnlyTheNth) m_left = 0;
    return true;
  }

 private:
  long m_left = 0;  // 0: not armed
  Failing m_which = Failing::kOnlyTheNth;
  bool m_struck = false;
};

}  // namespace testsupport
