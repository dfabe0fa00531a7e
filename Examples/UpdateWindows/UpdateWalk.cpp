#include "UpdateWalk.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>
#include <variant>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Text/QuillonByteCountFormatter.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"

using namespace quillon;
namespace Texts = VeskUpdateTexts;

namespace {

constexpr std::int64_t kArchiveBytes = 48'000'000;
constexpr std::int64_t kReports = 100;
constexpr std::chrono::milliseconds kTimeBetweenReports{25};

}  // namespace

UpdateWalk::UpdateWalk(QuillonURL bundle, std::string language, Toolkit toolkit)
    : files_(makeSystemFileManager()),
      bundle_(std::move(bundle)),
      language_(std::move(language)),
      toolkit_(std::move(toolkit)),
      texts_(std::make_shared<const VeskUpdateLocalizationBundle>(files_, bundle_, std::vector{language_})),
      progress_(toolkit_.progressWindows, files_, bundle_, texts_),
      prompt_(toolkit_.promptWindows, makeSystemWorkspace()),
      alerts_([](const QuillonURL& url) { return makeSystemWorkspace()->open(url); }, toolkit_.alerts) {}

void UpdateWalk::begin(std::function<void()> onEnd) {
  onEnd_ = std::move(onEnd);
  showPrompt([this](const VeskUpdatePromptAction& action) {
    // The prompt is still closing: what comes next comes after it.
    const bool installs = std::holds_alternative<VeskUpdatePromptAction::Install>(action.value);
    toolkit_.mainThread->post([this, installs] {
      if (installs) {
        download();
      } else {
        onEnd_();
      }
    });
  });
}

void UpdateWalk::showPrompt(VeskUpdatePromptPresenter::ActionHandler handler) {
  VeskUpdatePromptInput input;
  const auto set = [&input](const char* key, const std::string& value) {
    input.feed.emplace(key, QuillonPropertyListValue(value));
  };
  set("type", "update");
  set("title", "Example 2.1");
  set("current", "2.1");
  set("url", releaseNotes().absoluteString());
  set("app-installer", "https://example.org/Example.zip");
  input.isManualCheck = true;
  input.allowInstallAction = true;
  input.applicationName = "Example";
  input.applicationVersion = "2.0";
  input.applicationBuild = 200;
  input.applicationLogoImageName = "Logo";
  input.localizationBundle = texts_;
  input.defaultWindowWidth = 640;
  input.defaultWindowHeight = 560;
  prompt_.present(input, std::move(handler));
}

void UpdateWalk::showDownload() {
  openProgressWindow();
  showReceived(kArchiveBytes / 5 * 2);
}

void UpdateWalk::showConsent(std::function<void()> action) {
  if (!window_) openProgressWindow();
  progress_.showReadyToInstallAndRelaunch(window_, texts_->text(Texts::readyToInstall),
                                          texts_->text(Texts::installAndRelaunch), std::move(action));
}

void UpdateWalk::hideProgressWindow() {
  progress_.hideProgressWindow(std::exchange(window_, nullptr));
}

void UpdateWalk::showNoUpdates() const {
  static_cast<void>(alerts_.presentManualCheckCompletionAlert({.shouldShowNoUpdatesFoundDialog = true,
                                                               .updateCheckPerformedOK = true,
                                                               .applicationName = "Example",
                                                               .shouldOfferBetaToggle = true,
                                                               .betaToggleEnabled = false,
                                                               .localizationBundle = texts_}));
}

QuillonURL UpdateWalk::resources() const {
  return bundle_.appendingPathComponent("Contents/Resources");
}

QuillonURL UpdateWalk::releaseNotes() const {
  const QuillonURL translated = resources().appendingPathComponent("notes-" + language_ + ".html");
  return files_->fileExists(translated) ? translated : resources().appendingPathComponent("notes.html");
}

/// Reports come from another thread, as those of a real transfer do.
void UpdateWalk::download() {
  openProgressWindow();
  transfer_ = std::jthread([this](const std::stop_token& stopToken) {
    std::mutex lock;
    std::condition_variable_any clock;
    for (std::int64_t report = 1; report <= kReports; ++report) {
      std::unique_lock guard(lock);
      clock.wait_for(guard, stopToken, kTimeBetweenReports, [] { return false; });
      if (stopToken.stop_requested()) return;
      toolkit_.mainThread->post([this, report] { showReceived(kArchiveBytes / kReports * report); });
    }
    toolkit_.mainThread->post([this] { showConsent([this] { finish(); }); });
  });
}

void UpdateWalk::openProgressWindow() {
  window_ = progress_.showProgressWindow(texts_->text(Texts::downloadingUpdate), std::nullopt);
}

void UpdateWalk::showReceived(std::int64_t bytes) const {
  const auto size = [this](std::int64_t count) { return formattedFileByteCount(count, texts_->language()); };
  progress_.updateProgressWindow(
      window_,
      {.title = texts_->text(Texts::downloadingUpdate),
       .statusText = formattedText(texts_->text(Texts::receivedOfExpected), {size(bytes), size(kArchiveBytes)}),
       .progressFraction = static_cast<double>(bytes) / static_cast<double>(kArchiveBytes)});
}

void UpdateWalk::finish() {
  progress_.updateProgressWindow(window_, {.title = texts_->text(Texts::preparingToInstall)});
  // The button is still handling its press.
  toolkit_.mainThread->post([this] {
    hideProgressWindow();
    showNoUpdates();
    onEnd_();
  });
}
