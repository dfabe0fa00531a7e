#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateTexts.h"

namespace quillon {

VeskUpdateProgressWindowPresenter::VeskUpdateProgressWindowPresenter(
    std::shared_ptr<VeskUpdateProgressWindowMaking> windows, std::shared_ptr<const QuillonFileManaging> fileManager,
    QuillonURL hostBundleURL, std::shared_ptr<const VeskUpdateLocalizationBundle> texts)
    : windows_(std::move(windows)),
      fileManager_(std::move(fileManager)),
      hostBundleURL_(std::move(hostBundleURL)),
      texts_(std::move(texts)) {}

std::shared_ptr<VeskUpdateProgressWindow> VeskUpdateProgressWindowPresenter::showProgressWindow(
    const std::string& title, const std::optional<std::string>& windowTitle) const {
  std::shared_ptr<VeskUpdateProgressWindow> window = windows_->makeProgressWindow(resolvedWindowTitle(windowTitle));
  window->configureProgressContent();
  updateProgressWindow(window, {.title = title});
  window->show();
  return window;
}

void VeskUpdateProgressWindowPresenter::updateProgressWindow(const std::shared_ptr<VeskUpdateProgressWindow>& window,
                                                             const VeskUpdateProgressWindowState& state) const {
  if (!window) return;
  if (!window->hasProgressContent()) window->configureProgressContent();
  window->setTitleText(state.title);
  const std::string statusText = state.statusText.value_or("");
  window->setStatusText(statusText);
  window->setStatusHidden(statusText.empty());
  // Whatever is shown, an installation that was offered before is not on offer any more.
  window->hideAndDisableActionButton();
  if (state.progressFraction) {
    // Written so that what is no number counts as 0.
    window->showDeterminateProgress(*state.progressFraction > 0.0 ? std::min(*state.progressFraction, 1.0) : 0.0);
  } else {
    window->showIndeterminateProgress();
  }
}

void VeskUpdateProgressWindowPresenter::showReadyToInstallAndRelaunch(
    const std::shared_ptr<VeskUpdateProgressWindow>& window, const std::string& title, const std::string& buttonTitle,
    std::function<void()> action) const {
  if (!window) return;
  // The state first: it hides the button.
  updateProgressWindow(window, {.title = title, .progressFraction = 1.0});
  window->showActionButton(buttonTitle, std::move(action));
}

void VeskUpdateProgressWindowPresenter::hideProgressWindow(
    const std::shared_ptr<VeskUpdateProgressWindow>& window) const {
  if (window) window->close();
}

std::string VeskUpdateProgressWindowPresenter::resolvedWindowTitle(
    const std::optional<std::string>& windowTitle) const {
  const std::string_view given = windowTitle ? trimmed(*windowTitle) : std::string_view();
  if (!given.empty()) return std::string(given);
  if (const std::optional<std::string> name = hostApplicationName()) {
    return formattedText(texts_->text(VeskUpdateTexts::applicationUpdate), {*name});
  }
  return texts_->text(VeskUpdateTexts::softwareUpdate);
}

std::optional<std::string> VeskUpdateProgressWindowPresenter::hostApplicationName() const {
  for (const std::string_view key : {"CFBundleDisplayName", "CFBundleName"}) {
    const std::optional<std::string> value = bundleInformationText(*fileManager_, hostBundleURL_, key);
    const std::string_view name = value ? trimmed(*value) : std::string_view();
    if (!name.empty()) return std::string(name);
  }
  return std::nullopt;
}

}  // namespace quillon
