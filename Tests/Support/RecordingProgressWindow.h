#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindow.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon::testing {

/// What became of a progress window, for a test that outlives it.
struct ProgressWindowRecord {
  /// What the window showed after each complete change, as RecordingProgressWindow::shown() says it.
  std::vector<std::string> states;
  /// Called after each of them, on the main thread.
  std::function<void(const std::string& state)> onState;
  bool wasUsedOffTheMainThread = false;
  bool isDestroyed = false;
};

/// A progress window without a screen. Calls to a press are the test's.
class RecordingProgressWindow final : public VeskUpdateProgressWindow {
 public:
  /// `mainThread`, where there is one, is where the window must be used; it outlives the window.
  explicit RecordingProgressWindow(std::string windowTitle = {},
                                   const QuillonMainThreadDispatching* mainThread = nullptr,
                                   std::shared_ptr<ProgressWindowRecord> record = nullptr);
  ~RecordingProgressWindow() override;
  RecordingProgressWindow(const RecordingProgressWindow&) = delete;
  RecordingProgressWindow& operator=(const RecordingProgressWindow&) = delete;

  [[nodiscard]] bool hasProgressContent() const override;
  void configureProgressContent() override;
  void setTitleText(const std::string& text) override;
  void setStatusText(const std::string& text) override;
  void setStatusHidden(bool hidden) override;
  void showDeterminateProgress(double fraction) override;
  void showIndeterminateProgress() override;
  void hideAndDisableActionButton() override;
  void showActionButton(const std::string& title, std::function<void()> action) override;
  void show() override;
  void close() override;

  /// A press by the user. Nothing happens when the button cannot be pressed.
  void press();
  /// Takes all content out, as a host might.
  void removeContent();

  /// Title, status unless it is hidden, bar and button: "Downloading update… | 1 KB of 2 KB | 50% | [Stop]"; "…" is a
  /// bar without value.
  [[nodiscard]] std::string shown() const;
  [[nodiscard]] const std::string& windowTitle() const noexcept { return windowTitle_; }
  [[nodiscard]] bool isVisible() const noexcept { return isVisible_; }
  [[nodiscard]] bool isStatusHidden() const noexcept { return isStatusHidden_; }
  [[nodiscard]] int configurations() const noexcept { return configurations_; }
  [[nodiscard]] const ProgressWindowRecord& record() const noexcept { return *record_; }

 private:
  void checkThread() const;
  void didChange();

  const std::string windowTitle_;
  const QuillonMainThreadDispatching* const mainThread_;
  const std::shared_ptr<ProgressWindowRecord> record_;
  bool hasContent_ = false;
  int configurations_ = 0;
  std::string title_;
  std::string status_;
  bool isStatusHidden_ = true;
  std::optional<double> fraction_;
  std::optional<std::string> buttonTitle_;
  bool isButtonEnabled_ = false;
  std::function<void()> action_;
  bool isVisible_ = false;
};

/// Makes recording windows and keeps the last one.
class RecordingProgressWindows final : public VeskUpdateProgressWindowMaking {
 public:
  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override {
    last = std::make_shared<RecordingProgressWindow>(windowTitle);
    return last;
  }

  std::shared_ptr<RecordingProgressWindow> last;
};

}  // namespace quillon::testing
