#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateRequest.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"

/// How the sample application updates itself, with every window of an update. On the main thread only.
class SampleUpdater {
 public:
  /// `quit` ends the application when the installer waits for that.
  SampleUpdater(quillon::QuillonURL bundle, quillon::QuillonURL feed, std::function<void()> quit);

  /// Looks into the feed and offers what is there. Nothing happens while a check or an update is under way.
  void check();

 private:
  using Entry = quillon::QuillonPropertyListValue::Dictionary;

  [[nodiscard]] std::string information(std::string_view key) const;
  [[nodiscard]] std::optional<Entry> findUpdate(const std::stop_token& stopToken) const;
  void work(std::function<void(std::stop_token)> function);
  void offer(const Entry& entry);
  void install(const Entry& entry);
  void replace(const quillon::VeskAppBundleUpdateRequest& request,
               std::shared_ptr<quillon::VeskUpdateProgressWindow> window, const std::stop_token& stopToken) const;
  void finish(const std::string& failure);
  void showNothingFound(bool didCheck);

  const std::shared_ptr<quillon::QuillonFileManaging> files_ = quillon::makeSystemFileManager();
  const quillon::QuillonURL bundle_;
  const quillon::QuillonURL feed_;
  const std::function<void()> quit_;
  const std::shared_ptr<quillon::QuillonLogger> log_;
  const std::shared_ptr<quillon::QuillonAppleMainThread> mainThread_ =
      std::make_shared<quillon::QuillonAppleMainThread>();
  const std::shared_ptr<const quillon::VeskUpdateLocalizationBundle> texts_;
  const std::shared_ptr<const quillon::VeskUpdateProgressWindowPresenter> progress_;
  quillon::VeskUpdatePromptPresenter prompt_;
  const quillon::VeskUpdateAlertPresenter alerts_;
  std::shared_ptr<quillon::VeskUpdateProgressWindow> window_;
  bool isBusy_ = false;
  std::jthread worker_;  // last: it uses all the others
};
