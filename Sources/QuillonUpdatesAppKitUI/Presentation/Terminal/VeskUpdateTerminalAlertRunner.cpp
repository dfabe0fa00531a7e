#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalAlertRunner.h"

#include <string>
#include <utility>
#include <vector>

namespace quillon {
namespace {

constexpr const char* kCheckboxKey = "x";

std::string checkboxText(const std::string& title, bool isOn) {
  return (isOn ? "[x] " : "[ ] ") + title;
}

std::string keysOf(std::size_t index, std::size_t count) {
  std::string keys(1, static_cast<char>('1' + index));
  if (index == 0) keys += VeskUpdateTerminal::kReturnKey;
  if (index + 1 == count) {
    keys += VeskUpdateTerminal::kEscapeKey;
    keys += VeskUpdateTerminal::kEndOfInput;
  }
  return keys;
}

}  // namespace

VeskUpdateTerminalAlertRunner::VeskUpdateTerminalAlertRunner(std::shared_ptr<VeskUpdateTerminal> terminal,
                                                             ServeMainThread serveMainThread)
    : terminal_(std::move(terminal)), serveMainThread_(std::move(serveMainThread)) {}

VeskUpdateAlertAnswer VeskUpdateTerminalAlertRunner::run(const VeskUpdateAlert& alert) {
  VeskUpdateAlertAnswer answer;
  std::stop_source end;
  std::vector<VeskUpdateTerminal::Choice> choices;
  const std::vector<std::string> titles = alert.buttons.empty() ? std::vector{alert.defaultButtonTitle} : alert.buttons;
  for (std::size_t index = 0; index < titles.size(); ++index) {
    choices.push_back({.keys = keysOf(index, titles.size()), .title = titles[index], .action = [&answer, &end, index] {
                         answer.pressedButton = index;
                         end.request_stop();
                       }});
  }
  if (alert.suppressionCheckbox) {
    const std::string& title = alert.suppressionCheckbox->title;
    answer.isSuppressionCheckboxOn = alert.suppressionCheckbox->isOn;
    choices.push_back({.keys = kCheckboxKey,
                       .title = checkboxText(title, *answer.isSuppressionCheckboxOn),
                       .action = [this, &answer, &title] {
                         answer.isSuppressionCheckboxOn = !*answer.isSuppressionCheckboxOn;
                         terminal_->printLines(checkboxText(title, *answer.isSuppressionCheckboxOn));
                       }});
  }

  terminal_->endDrawing();
  terminal_->printLines(alert.title);
  if (!alert.body.empty()) terminal_->printLines(alert.body);
  const auto question = terminal_->ask(std::move(choices));
  if (terminal_->didInputEnd()) {
    answer.pressedButton = titles.size() - 1;
  } else {
    serveMainThread_(end.get_token());
  }
  return answer;
}

}  // namespace quillon
