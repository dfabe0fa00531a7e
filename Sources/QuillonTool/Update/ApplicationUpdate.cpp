#include "QuillonTool/Update/ApplicationUpdate.h"

#include <exception>
#include <thread>
#include <utility>

#include "QuillonTool/Update/ApplicationUpdateSteps.h"

namespace quillon {

ApplicationUpdate::ApplicationUpdate(UpdateOptions options, ApplicationUpdateServices services)
    : options_(std::move(options)), services_(std::move(services)) {}

UpdateOutcome ApplicationUpdate::run(std::stop_source stopSource) const {
  const UpdateAnswers answers(services_.answering, services_.terminal, services_.mainThread);
  ApplicationUpdateSteps steps(options_, services_, std::move(stopSource));
  UpdateOutcome outcome;
  std::stop_source end;
  {
    const std::jthread worker([&] {
      outcome = steps.run();
      end.request_stop();
    });
    services_.mainThread->run(end.get_token());
  }
  services_.mainThread->drain();
  return outcome;
}

}  // namespace quillon
