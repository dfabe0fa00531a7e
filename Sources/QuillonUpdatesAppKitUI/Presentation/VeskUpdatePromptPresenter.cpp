#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"

#include <string>
#include <utility>

#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptTexts.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using Keys = VeskUpdateFeedKeys;
using Policy = VeskUpdatePromptNavigationPolicy;

/// The entry's page, when a prompt may load it.
std::optional<QuillonURL> releaseNotesURL(const QuillonPropertyListValue::Dictionary& feed) {
  std::optional<QuillonURL> url = QuillonURL::parse(stringOrEmpty(feed, Keys::url));
  const bool isPage = url && (url->scheme() == "https" || url->scheme() == "http" || url->isFileURL());
  return isPage ? url : std::nullopt;
}

bool offersInstallation(const VeskUpdatePromptInput& input) noexcept {
  if (!input.allowInstallAction) return false;
  return VeskUpdatePromptPresenter::hasNonEmptyStringValue(input.feed, Keys::appBundleInstallerURL) ||
         VeskUpdatePromptPresenter::hasNonEmptyStringValue(input.feed, Keys::installerURL);
}

}  // namespace

VeskUpdatePromptPresenter::VeskUpdatePromptPresenter(std::shared_ptr<VeskUpdatePromptWindowMaking> windowMaker,
                                                     std::shared_ptr<QuillonWorkspaceOpening> workspace)
    : windowMaker_(std::move(windowMaker)), workspace_(std::move(workspace)) {}

VeskUpdatePromptPresenter::~VeskUpdatePromptPresenter() {
  actionHandler_ = nullptr;
  cancel();
}

void VeskUpdatePromptPresenter::present(const VeskUpdatePromptInput& input, ActionHandler actionHandler) {
  // A handler can present another prompt when its own is cancelled, or destroy this presenter.
  const std::weak_ptr<VeskUpdatePromptPresenter*> self = self_;
  while (promptWindow_) {
    cancel();
    if (self.expired()) return;
  }
  const VeskUpdatePromptContent content = makeContent(input);
  promptWindow_ = windowMaker_->makePromptWindow(content, *this);
  displayedFeed_ = input.feed;
  releaseNotesURL_ = content.releaseNotesURL;
  actionHandler_ = std::move(actionHandler);
  shouldRemindOnWindowClose_ = true;
  const auto window = promptWindow_;
  window->show();
}

void VeskUpdatePromptPresenter::cancel() {
  if (const auto window = promptWindow_) window->close();
}

void VeskUpdatePromptPresenter::installButtonPressed(const VeskUpdatePromptWindow& sender) {
  if (!isCurrent(sender) || !displayedFeed_) return;
  reportAndClose(Action::install(*displayedFeed_));
}

void VeskUpdatePromptPresenter::remindLaterButtonPressed(const VeskUpdatePromptWindow& sender) {
  if (!isCurrent(sender)) return;
  const Feed& feed = *displayedFeed_;
  const auto type = feed.find(Keys::type);
  const std::string* const text = type == feed.end() ? nullptr : type->second.getIf<std::string>();
  reportAndClose(Action::remindLater(text == nullptr ? std::string(Keys::updateType) : *text));
}

void VeskUpdatePromptPresenter::dismissButtonPressed(const VeskUpdatePromptWindow& sender) {
  if (!isCurrent(sender)) return;
  reportAndClose(Action::dismissed());
}

void VeskUpdatePromptPresenter::windowWillClose(const VeskUpdatePromptWindow& sender) {
  if (!isCurrent(sender)) return;
  // Everything is cleared before the handler hears of it, which may present again or destroy this presenter.
  const auto window = std::exchange(promptWindow_, nullptr);
  const ActionHandler handler = std::exchange(actionHandler_, nullptr);
  const bool isUnanswered = std::exchange(shouldRemindOnWindowClose_, false);
  displayedFeed_.reset();
  releaseNotesURL_.reset();
  if (isUnanswered && handler) handler(Action::dismissed());
}

bool VeskUpdatePromptPresenter::shouldNavigate(const VeskUpdatePromptWindow& sender,
                                               const VeskUpdatePromptNavigation& navigation) {
  if (!isCurrent(sender)) return false;
  const Policy policy = promptNavigationPolicy(navigation, releaseNotesURL_);
  if (policy == Policy::openWithWorkspace) {
    // A copy: the application that comes up may lead the host to destroy this presenter.
    const auto workspace = workspace_;
    // A desktop without application for it cannot be helped here: the page stays as it is.
    static_cast<void>(workspace->open(*navigation.url));
  }
  return policy == Policy::allow;
}

VeskUpdatePromptContent VeskUpdatePromptPresenter::makeContent(const VeskUpdatePromptInput& input) {
  const auto text = [&input](const VeskUpdateText& key) { return singleLineText(input.localizationBundle->text(key)); };
  VeskUpdatePromptContent content{.windowTitle = promptWindowTitle(input),
                                  .logoImageName = input.applicationLogoImageName,
                                  .headline = topTitleString(input),
                                  .description = secondaryTitleString(input),
                                  .releaseNotesTitle = text(VeskUpdateTexts::releaseNotes),
                                  .releaseNotesURL = releaseNotesURL(input.feed),
                                  .installButtonTitle = std::nullopt,
                                  .remindLaterButtonTitle = text(VeskUpdateTexts::remindMeLater),
                                  .dismissButtonTitle = text(VeskUpdateTexts::skipThisUpdate),
                                  .defaultButton = std::nullopt,
                                  .size = resolvedWindowSize(input)};
  const bool hasInstallButton = offersInstallation(input);
  if (hasInstallButton) content.installButtonTitle = text(VeskUpdateTexts::installUpdate);
  if (input.isManualCheck) {
    content.defaultButton = hasInstallButton ? VeskUpdatePromptButton::install : VeskUpdatePromptButton::remindLater;
  }
  return content;
}

VeskUpdatePromptWindowSize VeskUpdatePromptPresenter::resolvedWindowSize(const VeskUpdatePromptInput& input) {
  return usablePromptWindowSize(sizeFromString(stringOrEmpty(input.feed, Keys::size)),
                                {.width = input.defaultWindowWidth, .height = input.defaultWindowHeight});
}

bool VeskUpdatePromptPresenter::hasNonEmptyStringValue(const QuillonPropertyListValue::Dictionary& feed,
                                                       std::string_view key) noexcept {
  return !trimmed(stringOrEmpty(feed, key)).empty();
}

bool VeskUpdatePromptPresenter::isCurrent(const VeskUpdatePromptWindow& sender) const noexcept {
  return promptWindow_.get() == &sender;
}

/// Nothing of this presenter may be touched once the handler has run.
void VeskUpdatePromptPresenter::reportAndClose(const VeskUpdatePromptAction& action) {
  const auto window = promptWindow_;
  const ActionHandler handler = std::exchange(actionHandler_, nullptr);
  shouldRemindOnWindowClose_ = false;
  if (handler) handler(action);
  window->close();
}

}  // namespace quillon
