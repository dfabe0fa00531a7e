#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// What happens to the windows of a test and to who made them, in order.
using RecordedEvents = std::vector<std::string>;

/// A window that only remembers. A test clicks and closes it as a user does.
class RecordingPromptWindow final : public VeskUpdatePromptWindow {
 public:
  RecordingPromptWindow(VeskUpdatePromptContent content, VeskUpdatePromptWindowDelegate& delegate,
                        std::shared_ptr<RecordedEvents> events)
      : content_(std::move(content)), delegate_(delegate), events_(std::move(events)) {}

  void show() override { events_->emplace_back("show"); }
  void close() override {
    if (std::exchange(isClosed_, true)) return;
    events_->emplace_back("close");
    delegate_.windowWillClose(*this);
  }

  [[nodiscard]] const VeskUpdatePromptContent& content() const noexcept { return content_; }
  [[nodiscard]] bool isClosed() const noexcept { return isClosed_; }

  void press(VeskUpdatePromptButton button) {
    switch (button) {
      case VeskUpdatePromptButton::install:
        return delegate_.installButtonPressed(*this);
      case VeskUpdatePromptButton::remindLater:
        return delegate_.remindLaterButtonPressed(*this);
      case VeskUpdatePromptButton::dismiss:
        return delegate_.dismissButtonPressed(*this);
    }
  }
  void pressCloseControl() { close(); }
  [[nodiscard]] bool navigate(const VeskUpdatePromptNavigation& navigation) {
    return delegate_.shouldNavigate(*this, navigation);
  }

 private:
  const VeskUpdatePromptContent content_;
  VeskUpdatePromptWindowDelegate& delegate_;
  const std::shared_ptr<RecordedEvents> events_;
  bool isClosed_ = false;
};

/// Keeps every window that it has made.
class RecordingPromptWindowMaker final : public VeskUpdatePromptWindowMaking {
 public:
  std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(const VeskUpdatePromptContent& content,
                                                           VeskUpdatePromptWindowDelegate& delegate) override {
    windows.push_back(std::make_shared<RecordingPromptWindow>(content, delegate, events));
    return windows.back();
  }

  const std::shared_ptr<RecordedEvents> events = std::make_shared<RecordedEvents>();
  std::vector<std::shared_ptr<RecordingPromptWindow>> windows;
};

}  // namespace quillon
