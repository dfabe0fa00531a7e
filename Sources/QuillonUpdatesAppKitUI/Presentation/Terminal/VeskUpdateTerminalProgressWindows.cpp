#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalProgressWindows.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "QuillonCore/Text/QuillonPlainText.h"

namespace quillon {
namespace {

constexpr std::size_t kMostBarColumns = 24;
/// A bar of fewer says less than the percents beside it.
constexpr std::size_t kFewestBarColumns = 6;
constexpr int kPercentBetweenLines = 10;
constexpr double kNanosecondsPerSecond = 1e9;

std::string bar(double fraction, std::size_t columns) {
  const auto filled = static_cast<std::size_t>(std::floor(fraction * static_cast<double>(columns)));
  return '[' + std::string(filled, '#') + std::string(columns - filled, '.') + "] ";
}

std::string percent(double fraction) {
  return std::to_string(static_cast<int>(std::floor(fraction * 100))) + " %";
}

/// How fast the share that is done grows, since the first report of a step.
class Speed {
 public:
  void restart() noexcept { begin_.reset(); }

  /// Whole percents a second; absent while nothing can be said.
  [[nodiscard]] std::optional<int> percentPerSecond(double fraction, std::uint64_t now) {
    if (!begin_ || fraction < begin_->fraction) begin_ = Report{fraction, now};
    const double seconds = static_cast<double>(now - begin_->time) / kNanosecondsPerSecond;
    if (seconds < 1) return std::nullopt;
    return static_cast<int>(std::lround((fraction - begin_->fraction) * 100 / seconds));
  }

 private:
  struct Report {
    double fraction = 0;
    std::uint64_t time = 0;
  };
  std::optional<Report> begin_;
};

class ProgressWindow final : public VeskUpdateProgressWindow {
 public:
  ProgressWindow(std::shared_ptr<VeskUpdateTerminal> terminal, QuillonMonotonicTimeProvider monotonicTime,
                 std::function<void()> nobodyAnswers, std::string windowTitle)
      : terminal_(std::move(terminal)),
        monotonicTime_(std::move(monotonicTime)),
        nobodyAnswers_(std::move(nobodyAnswers)),
        windowTitle_(std::move(windowTitle)) {}

  ~ProgressWindow() override {
    if (isVisible_) terminal_->endDrawing();
  }

  ProgressWindow(const ProgressWindow&) = delete;
  ProgressWindow& operator=(const ProgressWindow&) = delete;

  [[nodiscard]] bool hasProgressContent() const override { return hasContent_; }

  void configureProgressContent() override {
    hasContent_ = true;
    question_.reset();
    title_.clear();
    status_.clear();
    isStatusHidden_ = true;
    fraction_.reset();
  }

  void setTitleText(const std::string& text) override {
    if (text == title_) return;
    // The line of a step that is over stays, as it was last.
    if (isVisible_) terminal_->endDrawing();
    title_ = text;
    lastPrintedPercent_.reset();
    speed_.restart();
  }
  void setStatusText(const std::string& text) override { status_ = text; }
  void setStatusHidden(bool hidden) override { isStatusHidden_ = hidden; }

  void showDeterminateProgress(double fraction) override {
    fraction_ = fraction;
    draw();
  }
  void showIndeterminateProgress() override {
    fraction_.reset();
    draw();
  }

  void hideAndDisableActionButton() override { question_.reset(); }

  void showActionButton(const std::string& title, std::function<void()> action) override {
    terminal_->endDrawing();
    // Nothing of this object may be touched once one of these has run.
    const auto answer = [this](std::function<void()> consequence) {
      return [this, consequence = std::move(consequence)] {
        question_.reset();
        if (consequence) consequence();
      };
    };
    std::vector<VeskUpdateTerminal::Choice> choices{{.keys = std::string("1") + VeskUpdateTerminal::kReturnKey,
                                                     .title = title,
                                                     .action = answer(std::move(action))}};
    if (nobodyAnswers_) {
      choices.push_back(
          {.keys = std::string(1, VeskUpdateTerminal::kEndOfInput), .title = {}, .action = answer(nobodyAnswers_)});
    }
    question_ = terminal_->ask(std::move(choices));
    if (terminal_->didInputEnd() && nobodyAnswers_) answer(nobodyAnswers_)();
  }

  void show() override {
    if (std::exchange(isVisible_, true)) return;
    terminal_->printLines(windowTitle_);
    draw();
  }
  void close() override {
    question_.reset();
    if (std::exchange(isVisible_, false)) terminal_->endDrawing();
  }

 private:
  void draw() {
    if (!isVisible_) return;
    if (terminal_->style().drawsInPlace) {
      terminal_->drawInPlace(line());
    } else {
      printWhenDue();
    }
  }

  /// The bar takes what the texts leave of the line.
  [[nodiscard]] std::string line() {
    const std::string status = isStatusHidden_ ? "" : "  " + status_;
    if (!fraction_) return title_ + status;
    std::string share = percent(*fraction_);
    if (const auto speed = speed_.percentPerSecond(*fraction_, monotonicTime_())) {
      share += " (" + std::to_string(*speed) + " %/s)";
    }
    std::string text = title_ + "  " + share + status;
    // Two brackets and a blank, and the last column, which is never drawn in.
    const std::size_t taken = columnsOf(text) + 4;
    const std::size_t columns = terminal_->style().columns;
    const std::size_t room = columns > taken ? std::min(columns - taken, kMostBarColumns) : 0;
    if (room < kFewestBarColumns) return text;
    return title_ + "  " + bar(*fraction_, room) + share + status;
  }

  /// A line at the beginning of a step, and another one whenever a tenth more of it is done.
  void printWhenDue() {
    const int percents = fraction_ ? static_cast<int>(std::floor(*fraction_ * 100)) : 0;
    const int tenth = percents / kPercentBetweenLines;
    if (lastPrintedPercent_ && tenth <= *lastPrintedPercent_ / kPercentBetweenLines) return;
    lastPrintedPercent_ = percents;
    std::string text = singleLineText(title_);
    if (fraction_) text += "  " + percent(*fraction_);
    if (!isStatusHidden_) text += "  " + singleLineText(status_);
    terminal_->printLines(text);
  }

  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const QuillonMonotonicTimeProvider monotonicTime_;
  const std::function<void()> nobodyAnswers_;
  const std::string windowTitle_;
  bool hasContent_ = false;
  bool isVisible_ = false;
  std::string title_;
  std::string status_;
  bool isStatusHidden_ = true;
  std::optional<double> fraction_;
  std::optional<int> lastPrintedPercent_;
  Speed speed_;
  std::shared_ptr<VeskUpdateTerminal::Question> question_;
};

}  // namespace

VeskUpdateTerminalProgressWindows::VeskUpdateTerminalProgressWindows(std::shared_ptr<VeskUpdateTerminal> terminal,
                                                                     QuillonMonotonicTimeProvider monotonicTime,
                                                                     std::function<void()> nobodyAnswers)
    : terminal_(std::move(terminal)),
      monotonicTime_(std::move(monotonicTime)),
      nobodyAnswers_(std::move(nobodyAnswers)) {}

std::shared_ptr<VeskUpdateProgressWindow> VeskUpdateTerminalProgressWindows::makeProgressWindow(
    const std::string& windowTitle) {
  return std::make_shared<ProgressWindow>(terminal_, monotonicTime_, nobodyAnswers_, windowTitle);
}

}  // namespace quillon
