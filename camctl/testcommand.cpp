// camctl test: one look at whether a camera can be used.

#include "camctl/commands.h"

namespace camctl {

void RunTestCommand(Runner& runner) {
  if (runner.Discover()) runner.Run({&kTest});
}

}  // namespace camctl
