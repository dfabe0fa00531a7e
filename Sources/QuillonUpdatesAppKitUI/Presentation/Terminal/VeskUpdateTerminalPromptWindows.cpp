#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalPromptWindows.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Text/Newlines.h"

namespace quillon {
namespace {

using Button = VeskUpdatePromptButton;

/// Indented, so that no line of theirs is taken for a choice.
std::string quoted(std::string_view releaseNotes) {
  std::string quote;
  for (const std::string_view line : lines(releaseNotes)) {
    if (!quote.empty()) quote += '\n';
    quote.append("  | ").append(line);
  }
  return quote;
}

class PromptWindow final : public VeskUpdatePromptWindow {
 public:
  PromptWindow(std::shared_ptr<VeskUpdateTerminal> terminal, VeskUpdatePromptContent content,
               VeskUpdatePromptWindowDelegate& delegate, std::string releaseNotes)
      : terminal_(std::move(terminal)),
        content_(std::move(content)),
        delegate_(delegate),
        releaseNotes_(std::move(releaseNotes)) {}

  void show() override {
    if (isClosed_) return;
    terminal_->endDrawing();
    for (const std::string& text : {content_.windowTitle, content_.headline, content_.description}) {
      if (!text.empty()) terminal_->printLines(text);
    }
    if (content_.releaseNotesURL) {
      terminal_->printLines(content_.releaseNotesTitle + ' ' + content_.releaseNotesURL->absoluteString());
      if (!releaseNotes_.empty()) terminal_->printLines(quoted(releaseNotes_));
    }
    question_ = terminal_->ask(choices());
    if (terminal_->didInputEnd()) press(Button::remindLater);
  }

  void close() override {
    if (std::exchange(isClosed_, true)) return;
    question_.reset();
    delegate_.windowWillClose(*this);
  }

 private:
  [[nodiscard]] std::vector<VeskUpdateTerminal::Choice> choices() {
    std::vector<VeskUpdateTerminal::Choice> choices;
    const auto add = [&](Button button, const std::string& title) {
      std::string keys(1, static_cast<char>('1' + choices.size()));
      if (content_.defaultButton == button) keys += VeskUpdateTerminal::kReturnKey;
      if (button == Button::remindLater) {
        keys += VeskUpdateTerminal::kEscapeKey;
        keys += VeskUpdateTerminal::kEndOfInput;
      }
      choices.push_back({.keys = keys, .title = title, .action = [this, button] { press(button); }});
    };
    if (content_.installButtonTitle) add(Button::install, *content_.installButtonTitle);
    add(Button::remindLater, content_.remindLaterButtonTitle);
    add(Button::dismiss, content_.dismissButtonTitle);
    return choices;
  }

  /// Nothing of this object may be touched once the delegate has been told.
  void press(Button button) {
    if (isClosed_) return;
    switch (button) {
      case Button::install:
        delegate_.installButtonPressed(*this);
        return;
      case Button::remindLater:
        delegate_.remindLaterButtonPressed(*this);
        return;
      case Button::dismiss:
        delegate_.dismissButtonPressed(*this);
        return;
    }
  }

  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const VeskUpdatePromptContent content_;
  VeskUpdatePromptWindowDelegate& delegate_;
  const std::string releaseNotes_;
  std::shared_ptr<VeskUpdateTerminal::Question> question_;
  bool isClosed_ = false;
};

}  // namespace

VeskUpdateTerminalPromptWindows::VeskUpdateTerminalPromptWindows(std::shared_ptr<VeskUpdateTerminal> terminal,
                                                                 ReleaseNotesText releaseNotesText)
    : terminal_(std::move(terminal)), releaseNotesText_(std::move(releaseNotesText)) {}

std::shared_ptr<VeskUpdatePromptWindow> VeskUpdateTerminalPromptWindows::makePromptWindow(
    const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) {
  std::string releaseNotes;
  if (content.releaseNotesURL && releaseNotesText_) releaseNotes = releaseNotesText_(*content.releaseNotesURL);
  return std::make_shared<PromptWindow>(terminal_, content, delegate, std::move(releaseNotes));
}

}  // namespace quillon
