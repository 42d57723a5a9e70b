#pragma once

#include "tests/support/failure_point.h"

namespace testsupport {

/// Blocks that this thread got from `operator new` less those that it gave back.
long OutstandingNews();

/// While one lives, `operator new` throws std::bad_alloc in this thread: the nth time that it is asked, from 1, or from
/// there on.
class FailingNew {
 public:
  FailingNew(long nth, Failing which);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;

  /// Whether it has been asked that often.
  bool Struck() const;
};

}  // namespace testsupport
