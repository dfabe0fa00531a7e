#include "QuillonTool/Update/UpdateOfferPrompt.h"

#include <stop_token>
#include <utility>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalPromptWindows.h"

namespace quillon {
namespace {

/// A terminal has no page whose links could be followed.
class NoWorkspace final : public QuillonWorkspaceOpening {
 public:
  [[nodiscard]] bool open(const QuillonURL& /*url*/) noexcept override { return false; }
};

}  // namespace

UpdateOfferPrompt::UpdateOfferPrompt(const ApplicationSession& session, std::optional<std::string> releaseNotes)
    : session_(session), releaseNotes_(std::move(releaseNotes)) {}

UpdateOfferPrompt::~UpdateOfferPrompt() {
  session_.services.mainThread->post([presenter = std::move(presenter_)] {});
}

void UpdateOfferPrompt::present(const QuillonPropertyListValue::Dictionary& entry) {
  presenter_ = std::make_shared<VeskUpdatePromptPresenter>(
      std::make_shared<VeskUpdateTerminalPromptWindows>(
          session_.services.terminal, [notes = releaseNotes_](const QuillonURL&) { return notes.value_or(""); }),
      std::make_shared<NoWorkspace>());
  VeskUpdatePromptInput input;
  input.feed = entry;
  input.isManualCheck = !session_.options.isScheduled;
  input.allowInstallAction = true;
  input.applicationName = session_.application.name;
  input.applicationVersion = session_.application.version;
  input.applicationBuild = session_.application.build;
  input.localizationBundle = session_.texts;
  presenter_->present(input, [chosen = chosen_](const VeskUpdatePromptAction& action) { chosen->set_value(action); });
}

VeskUpdatePromptAction UpdateOfferPrompt::waitForAction() {
  const std::stop_token stopToken = session_.stopSource.get_token();
  const std::stop_callback cancellation(stopToken, [this] {
    session_.services.mainThread->post([presenter = std::weak_ptr(presenter_)] {
      if (const auto live = presenter.lock()) live->cancel();
    });
  });
  VeskUpdatePromptAction action = chosen_->get_future().get();
  if (stopToken.stop_requested()) throw QuillonCancellationError();
  return action;
}

}  // namespace quillon
