// camctl snapshot: the camera's picture of now, into a file.

#include "camctl/commands.h"
#include "camctl/snapshot.h"
#include "camctl/usageerror.h"

namespace camctl {

Task PrepareSnapshot(const Request& request) {
  if (request.words.size() != 1 || request.words.front().empty()) throw UsageError("snapshot needs the name of a FILE");
  return [file = request.words.front()](Runner& runner) {
    if (!runner.Discover() || !runner.LearnProfiles() || !runner.Run({&kSnapshot}) || !runner.Run(SaveSnapshot(file)))
      return;
    runner.GetConsole().Line("Written: " + DescribeSnapshot(*runner.GetSession().Camera().snapshot));
  };
}

}  // namespace camctl
