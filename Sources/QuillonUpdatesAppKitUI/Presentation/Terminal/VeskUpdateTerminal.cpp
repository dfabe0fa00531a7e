#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::string_view kClearLine = "\r\x1b[K";
constexpr std::string_view kEllipsis = "...";

std::size_t columnsOfScalar(std::string_view scalar) noexcept {
  return scalar.size() == 1 ? 1 : 2;
}

std::string_view takeScalarText(std::string_view& text) noexcept {
  const std::string_view before = text;
  static_cast<void>(takeFirstScalar(text));
  return before.substr(0, before.size() - text.size());
}

}  // namespace

class VeskUpdateTerminal::Question {
 public:
  Question(std::uint64_t number, std::vector<Choice> choices) : number_(number), choices_(std::move(choices)) {}

  [[nodiscard]] std::uint64_t number() const noexcept { return number_; }

  /// Null when `key` is no choice.
  [[nodiscard]] std::function<void()> actionFor(char key) const {
    for (const Choice& choice : choices_) {
      if (choice.keys.find(key) != std::string::npos) return choice.action;
    }
    return nullptr;
  }

  /// Told when this ends.
  std::function<void()> onEnd;

  ~Question() {
    if (onEnd) onEnd();
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

 private:
  const std::uint64_t number_;
  const std::vector<Choice> choices_;
};

struct VeskUpdateTerminal::Questions {
  /// Those that live; the last one is the one that is answered.
  std::vector<std::weak_ptr<Question>> asked;
  std::function<void(bool)> observer;
  std::uint64_t lastNumber = 0;
  bool didInputEnd = false;

  void tellObserver() {
    std::erase_if(asked, [](const std::weak_ptr<Question>& question) { return question.expired(); });
    if (observer) observer(!asked.empty());
  }
};

VeskUpdateTerminal::VeskUpdateTerminal(std::ostream& output, Style style)
    : output_(output), style_(style), questions_(std::make_shared<Questions>()) {}

VeskUpdateTerminal::~VeskUpdateTerminal() {
  questions_->observer = nullptr;
  endDrawing();
}

void VeskUpdateTerminal::printLines(std::string_view text) {
  const std::string lines = multiLineText(text);
  if (!drawn_.empty()) output_ << kClearLine;
  output_ << lines << '\n' << drawn_ << std::flush;
}

void VeskUpdateTerminal::drawInPlace(std::string_view text) {
  if (!style_.drawsInPlace) return;
  // The last column stays free: writing there makes some terminals begin another line.
  std::string line = cutToColumns(singleLineText(text), std::max<std::size_t>(style_.columns, 1) - 1);
  if (line == drawn_) return;
  drawn_ = std::move(line);
  output_ << kClearLine << drawn_ << std::flush;
}

void VeskUpdateTerminal::endDrawing() {
  if (drawn_.empty()) return;
  drawn_.clear();
  output_ << '\n' << std::flush;
}

std::shared_ptr<VeskUpdateTerminal::Question> VeskUpdateTerminal::ask(std::vector<Choice> choices) {
  for (const Choice& choice : choices) {
    if (choice.title.empty()) continue;
    printLines(std::string("  ") + choice.keys.front() + ") " + singleLineText(choice.title));
  }
  auto question = std::make_shared<Question>(++questions_->lastNumber, std::move(choices));
  question->onEnd = [questions = std::weak_ptr(questions_)] {
    if (const auto live = questions.lock()) live->tellObserver();
  };
  questions_->asked.push_back(question);
  questions_->tellObserver();
  return question;
}

void VeskUpdateTerminal::keyPressed(char key) {
  const std::weak_ptr<Questions> questions = questions_;
  if (key == kEndOfInput) questions_->didInputEnd = true;
  for (auto asked = questions_->asked; !asked.empty(); asked.pop_back()) {
    // Held: its action may end it.
    const std::shared_ptr<Question> question = asked.back().lock();
    if (!question) continue;
    if (const std::function<void()> action = question->actionFor(key)) action();
    if (key != kEndOfInput || questions.expired()) return;
  }
}

std::uint64_t VeskUpdateTerminal::questionNumber() const {
  for (auto asked = questions_->asked.rbegin(); asked != questions_->asked.rend(); ++asked) {
    if (const auto question = asked->lock()) return question->number();
  }
  return 0;
}

bool VeskUpdateTerminal::didInputEnd() const {
  return questions_->didInputEnd;
}

void VeskUpdateTerminal::setAskingObserver(std::function<void(bool)> observer) {
  questions_->observer = std::move(observer);
  questions_->tellObserver();
}

std::size_t columnsOf(std::string_view text) noexcept {
  std::size_t columns = 0;
  while (!text.empty()) columns += columnsOfScalar(takeScalarText(text));
  return columns;
}

std::string cutToColumns(std::string_view text, std::size_t columns) {
  std::size_t needed = 0;
  std::size_t fitting = 0;  // bytes that leave room for the ellipsis
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t width = columnsOfScalar(takeScalarText(rest));
    if (needed + width + kEllipsis.size() <= columns) fitting = text.size() - rest.size();
    needed += width;
    if (needed > columns) return std::string(text.substr(0, fitting)).append(kEllipsis.substr(0, columns));
  }
  return std::string(text);
}

}  // namespace quillon
