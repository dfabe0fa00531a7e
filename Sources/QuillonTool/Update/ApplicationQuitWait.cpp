#include "QuillonTool/Update/ApplicationQuitWait.h"

#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

ApplicationQuitWait::ApplicationQuitWait(std::shared_ptr<const ApplicationProcessFinding> processes,
                                         std::optional<std::chrono::seconds> limit, UpdatePause pause)
    : processes_(std::move(processes)), limit_(limit), pause_(std::move(pause)) {}

std::vector<ApplicationProcess> ApplicationQuitWait::wait(const QuillonURL& bundle, const Filter& filter,
                                                          const Report& report,
                                                          const std::stop_token& stopToken) const {
  std::vector<ApplicationProcess> reported;
  std::chrono::milliseconds waited{0};
  for (;;) {
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    std::vector<ApplicationProcess> present = processes_->processesOf(bundle);
    std::erase_if(present, [&filter](const ApplicationProcess& process) { return !filter(process); });
    if (present.empty() || (limit_ && waited >= *limit_)) return present;
    if (present != reported) report(present);
    reported = std::move(present);
    pause_(interval, stopToken);
    waited += interval;
  }
}

}  // namespace quillon
