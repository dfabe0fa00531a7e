#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"

/// The windows of one update of the application "Example", with any toolkit. On the main thread only. Nothing is
/// downloaded or installed.
class UpdateWalk {
 public:
  /// What a toolkit gives.
  struct Toolkit {
    std::shared_ptr<quillon::QuillonMainThreadDispatching> mainThread;
    std::shared_ptr<quillon::VeskUpdateProgressWindowMaking> progressWindows;
    std::shared_ptr<quillon::VeskUpdatePromptWindowMaking> promptWindows;
    std::shared_ptr<quillon::VeskUpdateAlertRunning> alerts;
  };

  /// `bundle` is made by make_bundle; `language` is one of its languages, else texts are English.
  UpdateWalk(quillon::QuillonURL bundle, std::string language, Toolkit toolkit);

  /// Offer, download, consent, and the check afterwards. Calls `onEnd` on the main thread when the last window is gone.
  void begin(std::function<void()> onEnd);

  // Each window by itself.

  void showPrompt(quillon::VeskUpdatePromptPresenter::ActionHandler handler);
  /// A download of which two fifths are there.
  void showDownload();
  void showConsent(std::function<void()> action);
  void hideProgressWindow();
  void showNoUpdates() const;
  [[nodiscard]] const quillon::VeskUpdateAlertPresenter& alerts() const noexcept { return alerts_; }
  [[nodiscard]] const quillon::VeskUpdateLocalizationBundle& texts() const noexcept { return *texts_; }

 private:
  [[nodiscard]] quillon::QuillonURL resources() const;
  [[nodiscard]] quillon::QuillonURL releaseNotes() const;
  void download();
  void openProgressWindow();
  void showReceived(std::int64_t bytes) const;
  void finish();

  const std::shared_ptr<quillon::QuillonFileManaging> files_;
  const quillon::QuillonURL bundle_;
  const std::string language_;
  const Toolkit toolkit_;
  const std::shared_ptr<const quillon::VeskUpdateLocalizationBundle> texts_;
  const quillon::VeskUpdateProgressWindowPresenter progress_;
  quillon::VeskUpdatePromptPresenter prompt_;
  const quillon::VeskUpdateAlertPresenter alerts_;
  std::shared_ptr<quillon::VeskUpdateProgressWindow> window_;
  std::function<void()> onEnd_;
  std::jthread transfer_;
};
