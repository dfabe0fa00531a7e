#include "QuillonTool/Update/UpdateConsentWindows.h"

#include <utility>

namespace quillon {
namespace {

using Terminal = VeskUpdateTerminal;

class ConsentWindow final : public VeskUpdateProgressWindow {
 public:
  ConsentWindow(std::shared_ptr<VeskUpdateProgressWindow> window, std::shared_ptr<Terminal> terminal,
                std::string declineTitle, std::function<void()> onDecline)
      : window_(std::move(window)),
        terminal_(std::move(terminal)),
        declineTitle_(std::move(declineTitle)),
        onDecline_(std::move(onDecline)) {}

  [[nodiscard]] bool hasProgressContent() const override { return window_->hasProgressContent(); }
  void configureProgressContent() override {
    question_.reset();
    window_->configureProgressContent();
  }
  void setTitleText(const std::string& text) override { window_->setTitleText(text); }
  void setStatusText(const std::string& text) override { window_->setStatusText(text); }
  void setStatusHidden(bool hidden) override { window_->setStatusHidden(hidden); }
  void showDeterminateProgress(double fraction) override { window_->showDeterminateProgress(fraction); }
  void showIndeterminateProgress() override { window_->showIndeterminateProgress(); }
  void hideAndDisableActionButton() override {
    question_.reset();
    window_->hideAndDisableActionButton();
  }

  void showActionButton(const std::string& title, std::function<void()> action) override {
    terminal_->endDrawing();
    question_ = terminal_->ask({{.keys = std::string("1") + Terminal::kReturnKey,
                                 .title = title,
                                 .action = [this, action = std::move(action)] { answer(action); }},
                                {.keys = std::string("2") + Terminal::kEscapeKey + Terminal::kEndOfInput,
                                 .title = declineTitle_,
                                 .action = [this] { answer(onDecline_); }}});
    if (terminal_->didInputEnd()) answer(onDecline_);
  }

  void show() override { window_->show(); }
  void close() override {
    question_.reset();
    window_->close();
  }

 private:
  /// Nothing of this object may be touched once the action has run.
  void answer(const std::function<void()>& chosen) {
    const std::function<void()> action = chosen;
    question_.reset();
    if (action) action();
  }

  const std::shared_ptr<VeskUpdateProgressWindow> window_;
  const std::shared_ptr<Terminal> terminal_;
  const std::string declineTitle_;
  const std::function<void()> onDecline_;
  std::shared_ptr<Terminal::Question> question_;
};

}  // namespace

UpdateConsentWindows::UpdateConsentWindows(std::shared_ptr<VeskUpdateProgressWindowMaking> windows,
                                           std::shared_ptr<VeskUpdateTerminal> terminal, std::string declineTitle,
                                           std::function<void()> onDecline)
    : windows_(std::move(windows)),
      terminal_(std::move(terminal)),
      declineTitle_(std::move(declineTitle)),
      onDecline_(std::move(onDecline)) {}

std::shared_ptr<VeskUpdateProgressWindow> UpdateConsentWindows::makeProgressWindow(const std::string& windowTitle) {
  return std::make_shared<ConsentWindow>(windows_->makeProgressWindow(windowTitle), terminal_, declineTitle_,
                                         onDecline_);
}

}  // namespace quillon
