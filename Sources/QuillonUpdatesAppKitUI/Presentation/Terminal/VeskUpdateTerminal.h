#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// What users read and type where there is no display: lines, one line at the bottom that is drawn in place, and
/// questions that are answered with a key. On the main thread only.
///
/// Texts from outside lose their control characters on the way, so that none of them can move the cursor, colour the
/// screen or type for the user.
class VeskUpdateTerminal {
 public:
  /// Keys that no text has.
  static constexpr char kReturnKey = '\n';
  static constexpr char kEscapeKey = '\x1b';
  static constexpr char kEndOfInput = '\x04';

  /// How the output is written. A file or pipe gets lines and nothing else.
  struct Style {
    bool drawsInPlace = false;
    std::size_t columns = 80;
  };
  struct Choice {
    /// The first one is shown, the others are keys that mean the same. A choice without title is not shown.
    std::string keys;
    std::string title;
    /// May end the question, and this terminal with it.
    std::function<void()> action;
  };
  /// Choices that can be made as long as this lives.
  class Question;

  /// `output` lives as long as this.
  VeskUpdateTerminal(std::ostream& output, Style style);
  ~VeskUpdateTerminal();
  VeskUpdateTerminal(const VeskUpdateTerminal&) = delete;
  VeskUpdateTerminal& operator=(const VeskUpdateTerminal&) = delete;

  [[nodiscard]] const Style& style() const noexcept { return style_; }

  /// Prints `text` in lines of its own, above what is drawn in place.
  void printLines(std::string_view text);
  /// Draws `text` in place of what was drawn before, cut off at the width of the terminal. Only where the style is so.
  void drawInPlace(std::string_view text);
  /// What is drawn in place becomes an ordinary line.
  void endDrawing();

  /// Prints the choices. The question that was asked last is the one that keys answer.
  [[nodiscard]] std::shared_ptr<Question> ask(std::vector<Choice> choices);
  /// A key of the user; one that is no choice does nothing. kEndOfInput goes to every question, the last one first.
  void keyPressed(char key);
  /// Nobody will answer any more: what is asked has to be answered by whoever asks.
  [[nodiscard]] bool didInputEnd() const;
  [[nodiscard]] bool isAsking() const { return questionNumber() != 0; }
  /// Of the question that keys answer; 0 when none is open. No two questions of a terminal have the same.
  [[nodiscard]] std::uint64_t questionNumber() const;
  /// Called whenever questionNumber() may have changed.
  void setAskingObserver(std::function<void(bool isAsking)> observer);

 private:
  struct Questions;

  std::ostream& output_;
  const Style style_;
  std::string drawn_;
  const std::shared_ptr<Questions> questions_;
};

/// What `text` takes at most: a character outside of ASCII is counted as two columns, which the widest of them take.
[[nodiscard]] std::size_t columnsOf(std::string_view text) noexcept;

/// `text` as it is shown in `columns`: cut off, with an ellipsis, where it may take more.
[[nodiscard]] std::string cutToColumns(std::string_view text, std::size_t columns);

}  // namespace quillon
