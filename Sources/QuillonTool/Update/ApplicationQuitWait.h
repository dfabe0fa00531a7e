#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonTool/Update/ApplicationProcesses.h"
#include "QuillonTool/Update/UpdatePause.h"

namespace quillon {

/// Waits until processes of an application have ended.
class ApplicationQuitWait {
 public:
  /// Which processes count.
  using Filter = std::function<bool(const ApplicationProcess&)>;
  /// Hears which processes are waited for: at the beginning, and whenever they are others.
  using Report = std::function<void(const std::vector<ApplicationProcess>&)>;

  static constexpr std::chrono::milliseconds interval{200};

  /// Without a `limit` it waits as long as it takes.
  ApplicationQuitWait(std::shared_ptr<const ApplicationProcessFinding> processes,
                      std::optional<std::chrono::seconds> limit, UpdatePause pause);

  /// Returns the processes that are still there: none, unless the limit has passed. Throws QuillonCancellationError
  /// after a stop. Without any process to wait for, `report` is not called.
  [[nodiscard]] std::vector<ApplicationProcess> wait(const QuillonURL& bundle, const Filter& filter,
                                                     const Report& report, const std::stop_token& stopToken) const;

 private:
  const std::shared_ptr<const ApplicationProcessFinding> processes_;
  const std::optional<std::chrono::seconds> limit_;
  const UpdatePause pause_;
};

}  // namespace quillon
