#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"
#include "QuillonTool/FeedExplain/FeedCheckContext.h"
#include "QuillonTool/Update/UpdateSession.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineResult.h"

namespace quillon {

/// The steps of one run of ApplicationUpdate, in their order. Not on the main thread.
class ApplicationUpdateSteps {
 public:
  ApplicationUpdateSteps(const UpdateOptions& options, const ApplicationUpdateServices& services,
                         std::stop_source stopSource);

  /// Never throws: failures are part of the outcome.
  [[nodiscard]] UpdateOutcome run() noexcept;

 private:
  using Entry = QuillonPropertyListValue::Dictionary;

  void proceed();
  [[nodiscard]] QuillonURL bundleLocation() const;
  void waitForInstaller(const QuillonURL& bundle) const;
  void recoverBundle(const QuillonURL& bundle) const;
  [[nodiscard]] std::unique_ptr<QuillonFileLock> lock(const InstalledApplication& application) const;

  void check(const ApplicationSession& session);
  [[nodiscard]] QuillonURL feedLocation(const InstalledApplication& application) const;
  void apply(const ApplicationSession& session, const VeskUpdateFeed& feed, QuillonDate now);
  void remember(const VeskUpdateFeedPipelineResult& result, const ApplicationSession& session, QuillonDate now,
                const std::function<bool(const Entry&)>& show) const;
  void offer(const ApplicationSession& session, const VeskUpdateFeedPipelineResult& result, QuillonDate now);
  /// There is an update, which is not offered unasked because of `reason`.
  void withhold(const ApplicationSession& session, const VeskUpdateFeedProcessingCandidate& candidate,
                const std::string& reason);
  void sayThereIsNone(const ApplicationSession& session);
  void fail(std::string code, std::string message);

  const UpdateSession session_;
  UpdateOutcome outcome_;
};

}  // namespace quillon
